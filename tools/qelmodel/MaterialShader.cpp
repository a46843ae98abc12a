#include "MaterialShader.h"

#include "ObjModelNames.h"

namespace {

const char kVertexShader[] = R"(#version 330 core
in vec3 va_Vertex;
in vec3 va_Normal;
in vec2 va_TexCoord;
uniform mat4 viewProjection;
out vec3 normal;
out vec2 texCoord;
void main()
{
    normal = va_Normal;
    texCoord = va_TexCoord;
    gl_Position = viewProjection * vec4(va_Vertex, 1.0);
}
)";

const char kFragmentShader[] = R"(#version 330 core
in vec3 normal;
in vec2 texCoord;
uniform vec3 lightDirection;
uniform vec3 diffuseColour;
uniform sampler2D diffuseMap;
out vec4 fragmentColour;
void main()
{
    float facing = dot(normal, normal) > 0.0 ? abs(dot(normalize(normal), lightDirection)) : 1.0;
    vec3 base = diffuseColour * texture(diffuseMap, texCoord).rgb;
    fragmentColour = vec4(base * (0.2 + 0.8 * facing), 1.0);
}
)";

} // namespace

bool MaterialShader::build(const Vardune::Qel::VertexArrayObject &vertexArray, QString &error)
{
    const QString inputs[3]
        = { Vardune::Qel::ObjModelNames::positions(), Vardune::Qel::ObjModelNames::normals(), Vardune::Qel::ObjModelNames::texCoords() };
    // Inputs the array lacks go to locations past its attributes, which it leaves disabled.
    int unused = static_cast<int>(vertexArray.attributes().size());
    for (const QString &input : inputs) {
        const int location = vertexArray.attributeLocation(input);
        _program.bindAttributeLocation(input, location >= 0 ? location : unused++);
    }
    if (!_program.addShaderFromSourceCode(QOpenGLShader::Vertex, kVertexShader)
        || !_program.addShaderFromSourceCode(QOpenGLShader::Fragment, kFragmentShader) || !_program.link()) {
        error = _program.log();
        return false;
    }
    _program.bind();
    _program.setUniformValue("diffuseMap", 0);
    return true;
}

void MaterialShader::setViewProjection(const QMatrix4x4 &matrix)
{
    _program.setUniformValue("viewProjection", matrix);
}

void MaterialShader::setLightDirection(const QVector3D &direction)
{
    _program.setUniformValue("lightDirection", direction);
}

void MaterialShader::setDiffuseColour(const QVector3D &colour)
{
    _program.setUniformValue("diffuseColour", colour);
}
