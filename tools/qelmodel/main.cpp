// qelmodel: shows what the library makes of an OBJ file, as numbers (info) or as a picture
// (render). Exit status 0 on success, 1 when the model, OpenGL or the output fails, 2 for a
// usage error.

#include "CommandLine.h"
#include "JsonReport.h"
#include "ModelLoad.h"
#include "ModelRenderer.h"
#include "ModelReport.h"
#include "OffscreenContext.h"
#include "PositionBounds.h"
#include "ReportPrinter.h"

#include "ModelVersions.h"

#include <QGuiApplication>
#include <QTextStream>

using namespace Vardune::Qel;

namespace {

constexpr int kFailed = 1;
constexpr int kUsageError = 2;

int version(QTextStream &out)
{
    out << "QelModel " << ModelVersions::getVersion() << " (" << ModelVersions::getGitHash() << ")\n";
    return 0;
}

bool requireContext(const OffscreenContext &context, QTextStream &err)
{
    if (!context.isValid())
        err << "qelmodel: no OpenGL 4.3 context could be made (run under a display or xvfb-run)\n";
    return context.isValid();
}

int info(const CommandLine &commandLine, QTextStream &out, QTextStream &err)
{
    const OffscreenContext context;
    if (!requireContext(context, err))
        return kFailed;
    const LoadedModel loaded = loadModel(commandLine.modelPath);
    const ModelReport report = gatherModelReport(commandLine.modelPath, loaded);
    if (commandLine.json)
        out << jsonReport(report);
    else if (report.ok)
        printReport(report, out);
    if (!report.ok) {
        err << report.error << '\n';
        return kFailed;
    }
    return 0;
}

int render(const CommandLine &commandLine, QTextStream &out, QTextStream &err)
{
    const OffscreenContext context;
    if (!requireContext(context, err))
        return kFailed;
    const LoadedModel loaded = loadModel(commandLine.modelPath);
    if (!loaded.model) {
        err << loaded.error << '\n';
        return kFailed;
    }
    for (const QString &warning : loaded.warnings)
        err << "warning: " << warning << '\n';

    const PositionBounds bounds = uploadedPositionBounds(*loaded.model);
    const QSize size = commandLine.imageSize;
    const RenderCamera camera(bounds.min, bounds.max, commandLine.azimuthDegrees, commandLine.elevationDegrees,
        double(size.width()) / double(size.height()));
    QString error;
    const QImage image = renderModel(*loaded.model, camera, size, error);
    if (image.isNull()) {
        err << "qelmodel: " << error << '\n';
        return kFailed;
    }
    if (!image.save(commandLine.outputPath, "PNG")) {
        err << "qelmodel: cannot write '" << commandLine.outputPath << "'\n";
        return kFailed;
    }
    out << "Wrote " << commandLine.outputPath << " (" << size.width() << "x" << size.height() << ")\n";
    return 0;
}

} // namespace

int main(int argc, char **argv)
{
    QGuiApplication application(argc, argv);
    QTextStream out(stdout);
    QTextStream err(stderr);
    CommandLine commandLine;
    QString error;
    if (!parseCommandLine(application.arguments().mid(1), commandLine, error)) {
        err << "qelmodel: " << error << "\n(qelmodel --help shows the usage)\n";
        return kUsageError;
    }
    switch (commandLine.command) {
    case CommandLine::Help:
        out << commandLineHelp();
        return 0;
    case CommandLine::Version:
        return version(out);
    case CommandLine::Info:
        return info(commandLine, out, err);
    case CommandLine::Render:
        return render(commandLine, out, err);
    }
    return kUsageError;
}
