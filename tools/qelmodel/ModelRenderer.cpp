#include "ModelRenderer.h"

#include "GroupMaterial.h"
#include "MaterialShader.h"

#include <QelGL/Texture.h>

#include <QOpenGLFramebufferObject>
#include <QOpenGLFunctions_4_3_Core>
#include <QOpenGLVersionFunctionsFactory>

using namespace Vardune::Qel;

namespace {

constexpr int kSamples = 4;

// The draw's commands in a GL_DRAW_INDIRECT_BUFFER, bound while the object lives.
class IndirectCommandBuffer
{
public:
    IndirectCommandBuffer(QOpenGLFunctions_4_3_Core *gl, const QList<DrawElementsIndirectCommand> &commands)
        : _gl(gl)
    {
        _gl->glGenBuffers(1, &_id);
        _gl->glBindBuffer(GL_DRAW_INDIRECT_BUFFER, _id);
        _gl->glBufferData(GL_DRAW_INDIRECT_BUFFER, commands.size() * qsizetype(sizeof(DrawElementsIndirectCommand)),
            commands.constData(), GL_STATIC_DRAW);
    }
    ~IndirectCommandBuffer()
    {
        _gl->glBindBuffer(GL_DRAW_INDIRECT_BUFFER, 0);
        _gl->glDeleteBuffers(1, &_id);
    }

    IndirectCommandBuffer(const IndirectCommandBuffer &) = delete;
    IndirectCommandBuffer &operator=(const IndirectCommandBuffer &) = delete;

private:
    QOpenGLFunctions_4_3_Core *_gl;
    GLuint _id = 0;
};

void bindDiffuseMap(QOpenGLFunctions_4_3_Core *gl, const InstanceData &material)
{
    gl->glActiveTexture(GL_TEXTURE0);
    if (Texture *texture = GroupMaterial::diffuseMapTexture(material))
        gl->glBindTexture(texture->target(), texture->textureId());
    else
        gl->glBindTexture(GL_TEXTURE_2D, 0);
}

bool drawOne(QOpenGLFunctions_4_3_Core *gl, const GPUModel::Draw &draw, const RenderCamera &camera, QString &error)
{
    const DrawBuffers &buffers = *draw.buffers;
    const QSharedPointer<VertexArrayObject> vertexArray = buffers.VAO();
    if (!vertexArray || !buffers.indexBuffer())
        return true;
    MaterialShader shader;
    if (!shader.build(*vertexArray, error))
        return false;
    shader.setViewProjection(camera.viewProjection());
    shader.setLightDirection(camera.towardsCamera());

    vertexArray->bind();
    gl->glBindBuffer(GL_ELEMENT_ARRAY_BUFFER, buffers.indexBuffer()->bufferId());
    const QList<DrawElementsIndirectCommand> commands = buffers.drawElementsIndirectCommands();
    const IndirectCommandBuffer indirect(gl, commands);
    for (int i = 0; i < commands.size(); ++i) {
        const InstanceData material = GroupMaterial::materialOf(draw, i);
        shader.setDiffuseColour(GroupMaterial::diffuseColour(material).value_or(QVector3D(1, 1, 1)));
        bindDiffuseMap(gl, material);
        const auto offset = static_cast<quintptr>(i) * sizeof(DrawElementsIndirectCommand);
        gl->glMultiDrawElementsIndirect(
            buffers.primitiveType(), buffers.indexType(), reinterpret_cast<const void *>(offset), 1, 0);
    }
    vertexArray->unbind();
    return true;
}

} // namespace

QColor renderBackground()
{
    return QColor(38, 42, 51);
}

QImage renderModel(const GPUModel &model, const RenderCamera &camera, const QSize &size, QString &error)
{
    QOpenGLContext *context = QOpenGLContext::currentContext();
    auto *gl = context ? QOpenGLVersionFunctionsFactory::get<QOpenGLFunctions_4_3_Core>(context) : nullptr;
    if (!gl || !gl->initializeOpenGLFunctions()) {
        error = QStringLiteral("rendering needs an OpenGL 4.3 core context");
        return QImage();
    }
    QOpenGLFramebufferObjectFormat format;
    format.setAttachment(QOpenGLFramebufferObject::Depth);
    format.setSamples(kSamples);
    QOpenGLFramebufferObject framebuffer(size, format);
    if (!framebuffer.isValid() || !framebuffer.bind()) {
        error = QStringLiteral("no %1x%2 framebuffer could be made").arg(size.width()).arg(size.height());
        return QImage();
    }
    gl->glViewport(0, 0, size.width(), size.height());
    const QColor background = renderBackground();
    gl->glClearColor(background.redF(), background.greenF(), background.blueF(), 1.0f);
    gl->glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
    gl->glEnable(GL_DEPTH_TEST);
    bool drawn = true;
    for (int d = 0; d < model.drawCount() && drawn; ++d)
        drawn = drawOne(gl, model.draw(d), camera, error);
    gl->glDisable(GL_DEPTH_TEST);
    framebuffer.release();
    return drawn ? framebuffer.toImage().convertToFormat(QImage::Format_RGB32) : QImage();
}
