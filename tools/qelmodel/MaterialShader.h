#pragma once

#include <QelGL/VertexArrayObject.h>

#include <QOpenGLShaderProgram>
#include <QVector3D>

// The renderer's one shader: "Kd" times the "map_Kd" texel, lit from the camera's direction
// on both sides of every triangle (generated normals may face either way). Its inputs are
// bound to the locations the draw's vertex array gives "va_Vertex", "va_Normal" and
// "va_TexCoord"; one the array lacks reads OpenGL's constant default (a zero normal counts as
// fully lit).
class MaterialShader
{
public:
    // Returns false with OpenGL's log in `error` when the program does not build.
    bool build(const Vardune::Qel::VertexArrayObject &vertexArray, QString &error);

    void bind() { _program.bind(); }
    void setViewProjection(const QMatrix4x4 &matrix);
    void setLightDirection(const QVector3D &direction);
    void setDiffuseColour(const QVector3D &colour);
    // The diffuse map is read from texture unit 0.

private:
    QOpenGLShaderProgram _program;
};
