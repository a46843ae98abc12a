// Throughput of the OBJ import into a builder (text to builder streams, no upload), with the
// general-purpose tinyobjloader reading the same files for scale when it was found at
// configure time.
//
// Usage: bench_objimport [file.obj ...]; without arguments, the largest models of the corpus.

#include "ModelBuilder.h"
#include "ObjModelReader.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QTextStream>

#include <algorithm>
#include <functional>

#ifdef QELMODEL_HAVE_TINYOBJLOADER
#include <tiny_obj_loader.h>
#endif

using namespace Vardune::Qel;

namespace {

constexpr int kRuns = 3;

double bestSeconds(const std::function<void()> &run)
{
    double best = 1e30;
    for (int i = 0; i < kRuns; ++i) {
        QElapsedTimer timer;
        timer.start();
        run();
        best = std::min(best, timer.nsecsElapsed() * 1e-9);
    }
    return best;
}

QStringList defaultFiles()
{
    const QString corpus = QStringLiteral(QELMODEL_CORPUS_DIR);
    return { corpus + QStringLiteral("/libigl-libigl-tutorial-data/armadillo.obj"),
        corpus + QStringLiteral("/helix-toolkit-helix-toolkit/Models/obj/tour.obj"),
        corpus + QStringLiteral("/alecjacobson-common-3d-test-models/data/beast.obj"),
        corpus + QStringLiteral("/alecjacobson-common-3d-test-models/data/stanford-bunny.obj") };
}

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    QTextStream out(stdout);
    QStringList files = application.arguments().mid(1);
    if (files.isEmpty())
        files = defaultFiles();

    out << "file | MB | readObjModel ms | MB/s";
#ifdef QELMODEL_HAVE_TINYOBJLOADER
    out << " | tinyobjloader ms | MB/s";
#endif
    out << "\n";
    for (const QString &path : files) {
        const double megabytes = QFileInfo(path).size() / 1e6;
        bool ok = true;
        const double seconds = bestSeconds([&] {
            ModelBuilder builder;
            QString error;
            ok = readObjModel(path, builder, error);
        });
        if (!ok) {
            out << path << ": not read\n";
            continue;
        }
        out << QFileInfo(path).fileName() << " | " << QString::number(megabytes, 'f', 2) << " | "
            << QString::number(seconds * 1e3, 'f', 1) << " | " << QString::number(megabytes / seconds, 'f', 1);
#ifdef QELMODEL_HAVE_TINYOBJLOADER
        const double peerSeconds = bestSeconds([&] {
            tinyobj::ObjReader reader;
            reader.ParseFromFile(path.toStdString());
        });
        out << " | " << QString::number(peerSeconds * 1e3, 'f', 1) << " | "
            << QString::number(megabytes / peerSeconds, 'f', 1);
#endif
        out << "\n";
    }
    return 0;
}
