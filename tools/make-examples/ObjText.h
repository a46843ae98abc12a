#pragma once

#include <QString>
#include <QTextStream>
#include <QVector3D>

// Writes OBJ and MTL text with numbers in one fixed, platform-independent spelling: at most six
// decimals, no trailing zeros and never "-0", so that the generated files are byte-identical
// wherever they are made.
class ObjText
{
public:
    ObjText();

    // Everything written so far.
    QString text();

    ObjText &line(const QString &text);
    ObjText &vertex(const QVector3D &position);
    ObjText &normal(const QVector3D &normal);
    ObjText &texCoord(float u, float v);
    // "Kd r g b" and the like.
    ObjText &colour(const QString &keyword, float r, float g, float b);

    static QString number(double value);

private:
    ObjText &triple(const char *keyword, float x, float y, float z);

    QString _text;
    QTextStream _stream;
};
