// Runs a fuzz target's entry point once on every file of the folders (or files) named on the
// command line, in name order, so that the test suite replays the seeds and every reproducer
// with any compiler. Files whose names start with a dot are passed over. A path that does not
// exist fails the run: a mistyped folder must not pass silently.

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerInitialize(int *argc, char ***argv);
extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size);

namespace {

std::vector<std::filesystem::path> inputsIn(const std::filesystem::path &path)
{
    std::vector<std::filesystem::path> files;
    if (std::filesystem::is_regular_file(path))
        return { path };
    for (const auto &entry : std::filesystem::directory_iterator(path)) {
        if (entry.is_regular_file() && entry.path().filename().string().front() != '.')
            files.push_back(entry.path());
    }
    std::sort(files.begin(), files.end());
    return files;
}

} // namespace

int main(int argc, char **argv)
{
    std::vector<std::filesystem::path> paths(argv + 1, argv + argc);
    LLVMFuzzerInitialize(&argc, &argv);
    int replayed = 0;
    for (const auto &path : paths) {
        if (!std::filesystem::exists(path)) {
            std::fprintf(stderr, "no such file or folder: %s\n", path.c_str());
            return 1;
        }
        for (const auto &file : inputsIn(path)) {
            std::ifstream stream(file, std::ios::binary);
            const std::vector<char> bytes { std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>() };
            std::printf("%s (%zu bytes)\n", file.c_str(), bytes.size());
            std::fflush(stdout);
            LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t *>(bytes.data()), bytes.size());
            ++replayed;
        }
    }
    std::printf("replayed %d inputs\n", replayed);
    return 0;
}
