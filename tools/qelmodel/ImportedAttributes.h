#pragma once

#include <QString>

// The vertex attribute names that loadModelFromOBJFile gives an imported model.
namespace ImportedAttributes {

inline QString positions()
{
    return QStringLiteral("va_Vertex");
}
inline QString normals()
{
    return QStringLiteral("va_Normal");
}
inline QString texCoords()
{
    return QStringLiteral("va_TexCoord");
}

} // namespace ImportedAttributes
