#pragma once

// One measurement in a child process, so that each starts from a fresh heap: the child's one
// line of standard output and its peak resident memory (wait4).

#include <string>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

struct ChildMeasurement
{
    std::string line;
    double peakMiB = 0;
};

// Runs `program` with `arguments`; false when it cannot start or does not exit with status 0.
inline bool measureChild(const char *program, const std::vector<std::string> &arguments, ChildMeasurement &result)
{
    int pipeEnds[2];
    if (pipe(pipeEnds) != 0)
        return false;
    std::vector<char *> argv { const_cast<char *>(program) };
    for (const std::string &argument : arguments)
        argv.push_back(const_cast<char *>(argument.c_str()));
    argv.push_back(nullptr);
    const pid_t child = fork();
    if (child == 0) {
        dup2(pipeEnds[1], STDOUT_FILENO);
        close(pipeEnds[0]);
        close(pipeEnds[1]);
        execv(program, argv.data());
        _exit(127);
    }
    close(pipeEnds[1]);
    char buffer[256];
    result.line.clear();
    ssize_t got = 0;
    while ((got = read(pipeEnds[0], buffer, sizeof buffer)) > 0)
        result.line.append(buffer, size_t(got));
    close(pipeEnds[0]);
    int status = 0;
    rusage usage {};
    if (child < 0 || wait4(child, &status, 0, &usage) != child)
        return false;
    result.peakMiB = double(usage.ru_maxrss) / 1024.0;
    return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}
