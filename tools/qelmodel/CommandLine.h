#pragma once

#include <QSize>
#include <QString>
#include <QStringList>

// What the user asked for, read from the arguments after the program name.
struct CommandLine
{
    enum Command { Help, Version, Info, Render };

    Command command = Help;
    QString modelPath;
    bool json = false; // info
    QString outputPath; // render
    QSize imageSize { 800, 600 };
    double azimuthDegrees = 30.0;
    double elevationDegrees = 20.0;
};

// Fills `commandLine` from `arguments`; returns false with `error` naming the bad argument
// when they do not make one of the commands.
bool parseCommandLine(const QStringList &arguments, CommandLine &commandLine, QString &error);

// The text of `qelmodel --help`.
QString commandLineHelp();
