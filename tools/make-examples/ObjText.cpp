#include "ObjText.h"

ObjText::ObjText()
    : _stream(&_text)
{ }

QString ObjText::text()
{
    _stream.flush();
    return _text;
}

QString ObjText::number(double value)
{
    QString text = QString::number(value, 'f', 6);
    while (text.endsWith(QLatin1Char('0')))
        text.chop(1);
    if (text.endsWith(QLatin1Char('.')))
        text.chop(1);
    return text == QLatin1String("-0") ? QStringLiteral("0") : text;
}

ObjText &ObjText::line(const QString &text)
{
    _stream << text << '\n';
    return *this;
}

ObjText &ObjText::triple(const char *keyword, float x, float y, float z)
{
    _stream << keyword << ' ' << number(x) << ' ' << number(y) << ' ' << number(z) << '\n';
    return *this;
}

ObjText &ObjText::vertex(const QVector3D &position)
{
    return triple("v", position.x(), position.y(), position.z());
}

ObjText &ObjText::normal(const QVector3D &normal)
{
    return triple("vn", normal.x(), normal.y(), normal.z());
}

ObjText &ObjText::texCoord(float u, float v)
{
    _stream << "vt " << number(u) << ' ' << number(v) << '\n';
    return *this;
}

ObjText &ObjText::colour(const QString &keyword, float r, float g, float b)
{
    _stream << keyword << ' ' << number(r) << ' ' << number(g) << ' ' << number(b) << '\n';
    return *this;
}
