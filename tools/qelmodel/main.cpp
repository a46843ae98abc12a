#include "OffscreenContext.h"

#include "ModelVersions.h"

#include <QelGL/BufferObject.h>
#include <QelGL/OpenGLDeviceContext.h>

#include <QGuiApplication>
#include <QTextStream>

using namespace Vardune::Qel;

namespace {

int usage(QTextStream &err)
{
    err << "usage: qelmodel version\n"
           "       qelmodel demo\n";
    return 2;
}

int version(QTextStream &out)
{
    out << "QelModel " << ModelVersions::getVersion() << " (" << ModelVersions::getGitHash() << ")\n";
    return 0;
}

// Uploads a buffer through the platform layer and reads OpenGL's copy back.
int demo(QTextStream &out, QTextStream &err)
{
    version(out);
    OffscreenContext context;
    if (!context.isValid()) {
        err << "qelmodel: no OpenGL context could be made (run under a display or xvfb-run)\n";
        return 1;
    }
    out << "OpenGL: " << context.description() << "\n";
    const QSharedPointer<BufferObject> buffer = OpenGLDeviceContext::current()->createBufferObject();
    const unsigned int indices[6] = { 0, 1, 2, 2, 1, 3 };
    buffer->setTarget(0x8893);
    buffer->bind();
    buffer->uploadGLuintData(indices, 6, 0x88E4);
    buffer->unbind();
    const QByteArray stored = buffer->readBack();
    const bool same = stored == QByteArray(reinterpret_cast<const char *>(indices), sizeof indices);
    out << "index buffer " << buffer->bufferId() << ": " << stored.size() << " bytes on the GPU, "
        << (same ? "identical to the upload" : "DIFFERENT from the upload") << "\n";
    return same ? 0 : 1;
}

} // namespace

int main(int argc, char **argv)
{
    QGuiApplication application(argc, argv);
    QTextStream out(stdout);
    QTextStream err(stderr);
    const QStringList arguments = application.arguments().mid(1);
    if (arguments == QStringList { QStringLiteral("version") })
        return version(out);
    if (arguments == QStringList { QStringLiteral("demo") })
        return demo(out, err);
    return usage(err);
}
