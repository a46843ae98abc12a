// Texture loading: what a first request costs (decode, conversion to BGRA, upload, mipmaps)
// against decoding alone, per picture layout, and what a repeated request costs (one hash lookup).
// Run under a real OpenGL context: a GPU where there is one, `xvfb-run -a` with Mesa otherwise.

#include <LoadTexture.h>
#include <QelGL/Texture.h>

#include <QElapsedTimer>
#include <QGuiApplication>
#include <QImage>
#include <QOffscreenSurface>
#include <QOpenGLContext>
#include <QOpenGLFunctions>
#include <QTemporaryDir>

#include <algorithm>
#include <cstdio>
#include <vector>

using namespace Vardune::Qel;

namespace {

constexpr int kSide = 1024;
constexpr int kRuns = 5;

QImage makePicture(QImage::Format format)
{
    QImage picture(kSide, kSide, QImage::Format_ARGB32);
    for (int y = 0; y < kSide; ++y) {
        auto *row = reinterpret_cast<QRgb *>(picture.scanLine(y));
        for (int x = 0; x < kSide; ++x)
            row[x] = qRgba(x & 255, y & 255, (x ^ y) & 255, 255 - (y & 127));
    }
    return picture.convertToFormat(format);
}

double medianMs(std::vector<double> samples)
{
    std::sort(samples.begin(), samples.end());
    return samples[samples.size() / 2];
}

// Median first-load time over distinct copies of one file, so that every call misses the cache.
void measureFirstLoad(
    QOpenGLFunctions *gl, const QTemporaryDir &dir, const char *label, QImage::Format format, const char *fileFormat)
{
    const QImage picture = makePicture(format);
    const QString suffix = QString::fromLatin1(fileFormat).toLower();
    std::vector<QString> paths;
    for (int run = 0; run < kRuns; ++run) {
        paths.push_back(dir.filePath(QStringLiteral("%1-%2.%3").arg(int(format)).arg(run).arg(suffix)));
        picture.save(paths.back(), fileFormat);
    }
    std::vector<double> decode;
    std::vector<double> load;
    for (const QString &path : paths) {
        QElapsedTimer timer;
        timer.start();
        QImage image;
        image.load(path);
        decode.push_back(timer.nsecsElapsed() / 1e6);

        timer.start();
        LoadTexture(path);
        gl->glFinish();
        load.push_back(timer.nsecsElapsed() / 1e6);
    }
    std::printf(
        "%-24s %10.2f %12.2f %12.2f\n", label, medianMs(decode), medianMs(load), medianMs(load) - medianMs(decode));
}

void measureCacheHit(const QTemporaryDir &dir)
{
    const QString path = dir.filePath(QStringLiteral("hit.png"));
    makePicture(QImage::Format_RGB32).save(path, "PNG");
    Texture *texture = LoadTexture(path);
    constexpr int kCalls = 1000000;
    QElapsedTimer timer;
    timer.start();
    int same = 0;
    for (int i = 0; i < kCalls; ++i)
        same += LoadTexture(path) == texture;
    std::printf("cache hit: %.1f ns per call (%d of %d the same texture)\n", double(timer.nsecsElapsed()) / kCalls,
        same, kCalls);
}

} // namespace

int main(int argc, char **argv)
{
    QGuiApplication app(argc, argv);
    QOffscreenSurface surface;
    surface.create();
    QOpenGLContext context;
    if (!context.create() || !context.makeCurrent(&surface)) {
        std::fprintf(stderr, "no OpenGL context: run under a display or xvfb-run -a\n");
        return 1;
    }
    QOpenGLFunctions *gl = context.functions();
    std::printf("%s, %dx%d pictures, median of %d\n", reinterpret_cast<const char *>(gl->glGetString(GL_RENDERER)),
        kSide, kSide, kRuns);

    QTemporaryDir dir;
    std::printf("%-24s %10s %12s %12s\n", "picture", "decode ms", "LoadTexture", "beyond ms");
    measureFirstLoad(gl, dir, "PNG ARGB32", QImage::Format_ARGB32, "PNG");
    measureFirstLoad(gl, dir, "PNG RGB (as RGB32)", QImage::Format_RGB32, "PNG");
    measureFirstLoad(gl, dir, "PNG grey", QImage::Format_Grayscale8, "PNG");
    measureFirstLoad(gl, dir, "PNG indexed", QImage::Format_Indexed8, "PNG");
    measureFirstLoad(gl, dir, "PNG 16-bit RGBA", QImage::Format_RGBA64, "PNG");
    measureFirstLoad(gl, dir, "JPEG RGB", QImage::Format_RGB32, "JPEG");
    measureFirstLoad(gl, dir, "BMP 24-bit", QImage::Format_RGB888, "BMP");
    measureCacheHit(dir);
    return 0;
}
