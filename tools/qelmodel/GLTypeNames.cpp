#include "GLTypeNames.h"

#include <QOpenGLContext>

QString glTypeName(unsigned int type)
{
    switch (type) {
    case GL_BYTE:
        return QStringLiteral("GL_BYTE");
    case GL_UNSIGNED_BYTE:
        return QStringLiteral("GL_UNSIGNED_BYTE");
    case GL_SHORT:
        return QStringLiteral("GL_SHORT");
    case GL_UNSIGNED_SHORT:
        return QStringLiteral("GL_UNSIGNED_SHORT");
    case GL_INT:
        return QStringLiteral("GL_INT");
    case GL_UNSIGNED_INT:
        return QStringLiteral("GL_UNSIGNED_INT");
    case GL_HALF_FLOAT:
        return QStringLiteral("GL_HALF_FLOAT");
    case GL_FLOAT:
        return QStringLiteral("GL_FLOAT");
    case 0x140A:
        return QStringLiteral("GL_DOUBLE");
    default:
        return QStringLiteral("0x%1").arg(QString::number(type, 16).toUpper());
    }
}
