#pragma once

#include <QString>

// The fixed names of an imported OBJ model's attributes and default material group.
namespace Vardune::Qel::ObjModelNames {

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
inline QString defaultMaterial()
{
    return QStringLiteral("<default>");
}

} // namespace Vardune::Qel::ObjModelNames
