#include "CommandLine.h"

#include <QCommandLineParser>
#include <QRegularExpression>

#include <cmath>

namespace {

constexpr int kLargestImageSide = 16384;

struct Options
{
    QCommandLineOption help { QStringList { QStringLiteral("h"), QStringLiteral("help") } };
    QCommandLineOption json { QStringLiteral("json") };
    QCommandLineOption output { QStringList { QStringLiteral("o"), QStringLiteral("output") }, QString(),
        QStringLiteral("png") };
    QCommandLineOption size { QStringLiteral("size"), QString(), QStringLiteral("WxH") };
    QCommandLineOption azimuth { QStringLiteral("azimuth"), QString(), QStringLiteral("degrees") };
    QCommandLineOption elevation { QStringLiteral("elevation"), QString(), QStringLiteral("degrees") };
};

bool parseSize(const QString &text, QSize &size, QString &error)
{
    static const QRegularExpression pattern(QStringLiteral("^(\\d{1,5})x(\\d{1,5})$"));
    const QRegularExpressionMatch match = pattern.match(text);
    const int width = match.hasMatch() ? match.captured(1).toInt() : 0;
    const int height = match.hasMatch() ? match.captured(2).toInt() : 0;
    if (width < 1 || height < 1 || width > kLargestImageSide || height > kLargestImageSide) {
        error = QStringLiteral("--size '%1' is not WIDTHxHEIGHT with sides from 1 to %2")
                    .arg(text)
                    .arg(kLargestImageSide);
        return false;
    }
    size = QSize(width, height);
    return true;
}

bool parseAngle(const QString &option, const QString &text, double limit, double &degrees, QString &error)
{
    bool ok = false;
    const double value = text.toDouble(&ok);
    if (!ok || !std::isfinite(value) || std::abs(value) > limit) {
        error = QStringLiteral("--%1 '%2' is not a number of degrees from -%3 to %3").arg(option, text).arg(limit);
        return false;
    }
    degrees = value;
    return true;
}

// Options that belong to another command than the one given.
QString foreignOption(const QCommandLineParser &parser, const Options &options, CommandLine::Command command)
{
    if (command != CommandLine::Info && parser.isSet(options.json))
        return QStringLiteral("--json");
    if (command != CommandLine::Render) {
        const QCommandLineOption *renderOptions[]
            = { &options.output, &options.size, &options.azimuth, &options.elevation };
        for (const QCommandLineOption *option : renderOptions) {
            if (parser.isSet(*option))
                return QStringLiteral("--") + option->names().constLast();
        }
    }
    return QString();
}

bool readRenderOptions(
    const QCommandLineParser &parser, const Options &options, CommandLine &commandLine, QString &error)
{
    commandLine.outputPath = parser.value(options.output);
    if (commandLine.outputPath.isEmpty()) {
        error = QStringLiteral("render needs an output file: -o OUT.png");
        return false;
    }
    return (!parser.isSet(options.size) || parseSize(parser.value(options.size), commandLine.imageSize, error))
        && (!parser.isSet(options.azimuth)
            || parseAngle(
                QStringLiteral("azimuth"), parser.value(options.azimuth), 360.0, commandLine.azimuthDegrees, error))
        && (!parser.isSet(options.elevation)
            || parseAngle(QStringLiteral("elevation"), parser.value(options.elevation), 90.0,
                commandLine.elevationDegrees, error));
}

} // namespace

bool parseCommandLine(const QStringList &arguments, CommandLine &commandLine, QString &error)
{
    Options options;
    QCommandLineParser parser;
    parser.addOptions({ options.help, options.json, options.output, options.size, options.azimuth, options.elevation });
    if (!parser.parse(QStringList { QStringLiteral("qelmodel") } + arguments)) {
        error = parser.errorText();
        return false;
    }
    commandLine = CommandLine();
    if (parser.isSet(options.help))
        return true;

    const QStringList positional = parser.positionalArguments();
    const QString name = positional.value(0);
    const int expected = name == QLatin1String("version") ? 1 : 2;
    if (name == QLatin1String("version"))
        commandLine.command = CommandLine::Version;
    else if (name == QLatin1String("info"))
        commandLine.command = CommandLine::Info;
    else if (name == QLatin1String("render"))
        commandLine.command = CommandLine::Render;
    else {
        error = name.isEmpty() ? QStringLiteral("no command given") : QStringLiteral("unknown command '%1'").arg(name);
        return false;
    }
    if (positional.size() != expected) {
        error = positional.size() < expected ? QStringLiteral("%1 needs a model file").arg(name)
                                             : QStringLiteral("unexpected argument '%1'").arg(positional.at(expected));
        return false;
    }
    const QString foreign = foreignOption(parser, options, commandLine.command);
    if (!foreign.isEmpty()) {
        error = QStringLiteral("%1 is not an option of %2").arg(foreign, name);
        return false;
    }
    commandLine.modelPath = positional.value(1);
    commandLine.json = parser.isSet(options.json);
    return commandLine.command != CommandLine::Render || readRenderOptions(parser, options, commandLine, error);
}

QString commandLineHelp()
{
    return QStringLiteral(
        "usage: qelmodel info FILE.obj [--json]\n"
        "       qelmodel render FILE.obj -o OUT.png [--size WxH] [--azimuth DEG] [--elevation DEG]\n"
        "       qelmodel version\n"
        "       qelmodel --help\n"
        "\n"
        "info      loads the model into an offscreen OpenGL context and reports what reached the GPU:\n"
        "          counts, index type, attributes, material groups, bounds and the library's warnings;\n"
        "          --json writes one JSON object instead of tables\n"
        "render    draws the model with its own indirect draw commands and writes a PNG image;\n"
        "          --size (default 800x600), --azimuth (default 30) and --elevation (default 20,\n"
        "          from -90 to 90) place the camera, which frames the model's bounding box\n"
        "version   prints the library's version and git revision\n"
        "\n"
        "Exit status: 0 success, 1 the model (or OpenGL, or the output) failed, 2 usage error.\n");
}
