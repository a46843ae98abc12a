#include "FuzzSupport.h"

#include <QFile>
#include <QGuiApplication>
#include <QOffscreenSurface>
#include <QOpenGLContext>
#include <QSurfaceFormat>
#include <QTemporaryDir>

#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace FuzzSupport {

namespace {

void dropMessage(QtMsgType type, const QMessageLogContext &, const QString &message)
{
    if (type == QtFatalMsg) {
        std::fprintf(stderr, "fatal Qt message: %s\n", qPrintable(message));
        std::abort();
    }
}

QTemporaryDir &temporaryFolder()
{
    static QTemporaryDir folder;
    return folder;
}

void makeCurrentContext()
{
    QSurfaceFormat format;
    format.setVersion(4, 5);
    format.setProfile(QSurfaceFormat::CoreProfile);
    // Kept for the whole process; nothing is torn down between inputs.
    auto *surface = new QOffscreenSurface;
    surface->setFormat(format);
    surface->create();
    auto *context = new QOpenGLContext;
    context->setFormat(format);
    if (!context->create() || !context->makeCurrent(surface)) {
        std::fprintf(stderr, "no OpenGL context: run under Xvfb (xvfb-run -a)\n");
        std::abort();
    }
}

} // namespace

void initialize(int *argc, char ***argv, bool needsOpenGL)
{
    // Textures are deleted at exit and ask for the current context then, so Qt's per-thread
    // context storage must be made first to be destroyed after them.
    QOpenGLContext::currentContext();
    // Kept for the whole process. Only OpenGL needs a display, so only the OpenGL targets ask for one.
    static QCoreApplication *application
        = needsOpenGL ? new QGuiApplication(*argc, *argv) : new QCoreApplication(*argc, *argv);
    Q_UNUSED(application);
    qInstallMessageHandler(dropMessage);
    if (!temporaryFolder().isValid()) {
        std::fprintf(stderr, "no temporary folder\n");
        std::abort();
    }
    if (needsOpenGL)
        makeCurrentContext();
}

QString writeFile(const QString &name, const char *data, size_t size)
{
    QFile file(temporaryFolder().filePath(name));
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate) || file.write(data, qint64(size)) != qint64(size)) {
        std::fprintf(stderr, "cannot write %s\n", qPrintable(file.fileName()));
        std::abort();
    }
    return file.fileName();
}

float ByteReader::rawFloat()
{
    const uint32_t bits = u32();
    float value;
    std::memcpy(&value, &bits, sizeof value);
    return value;
}

QByteArray ByteReader::rest()
{
    const size_t start = _position < _size ? _position : _size;
    _position = _size;
    return QByteArray(reinterpret_cast<const char *>(_data + start), qsizetype(_size - start));
}

} // namespace FuzzSupport
