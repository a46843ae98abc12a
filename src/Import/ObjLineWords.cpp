// Word-level meaning of OBJ lines through Qt's own conversions: one splitting pattern compiled
// once for the process, QString::toFloat for values and QStringView::toInt for corner fields,
// which are cut at '/' in place.

#include "ObjLineWords.h"

#include <QRegularExpression>
#include <QStringView>

namespace Vardune::Qel {

namespace {

const QRegularExpression wordSeparator(QStringLiteral("\\s+"));
const QRegularExpression firstWord(QStringLiteral("\\S+"));

// A texture-coordinate or normal field: absent or empty gives 0; anything that is not an
// integer fails.
bool fieldNumber(QStringView field, int &number)
{
    if (field.isEmpty()) {
        number = 0;
        return true;
    }
    bool ok = false;
    number = field.toInt(&ok, 10);
    return ok;
}

ObjLineType keywordType(QStringView keyword)
{
    if (keyword.startsWith(u'#'))
        return ObjLineType::None;
    if (keyword == u"v")
        return ObjLineType::Vertex;
    if (keyword == u"vn")
        return ObjLineType::Normal;
    if (keyword == u"vt")
        return ObjLineType::TexCoord;
    if (keyword == u"f")
        return ObjLineType::Face;
    if (keyword == u"usemtl")
        return ObjLineType::UseMaterial;
    if (keyword == u"mtllib")
        return ObjLineType::MaterialLibrary;
    return ObjLineType::None;
}

} // namespace

QStringList splitObjLine(const QString &line)
{
    return line.split(wordSeparator, Qt::SkipEmptyParts);
}

// Among ASCII characters, the pattern's "\s" (no Unicode properties asked for) is these six.
QStringList splitAsciiObjLine(const char *begin, const char *end)
{
    const auto isSeparator = [](char c) {
        return c == ' ' || c == '\t' || c == '\n' || c == '\v' || c == '\f' || c == '\r';
    };
    QStringList words;
    for (const char *p = begin; p != end;) {
        if (isSeparator(*p)) {
            ++p;
            continue;
        }
        const char *word = p;
        while (p != end && !isSeparator(*p))
            ++p;
        words.append(QString::fromLatin1(word, p - word));
    }
    return words;
}

ObjLineType objLineType(const QStringList &words)
{
    return words.isEmpty() ? ObjLineType::None : keywordType(words.first());
}

// The first part that splitting would give is the first run of non-white-space characters.
ObjLineType objLineTypeOfText(const QString &line)
{
    const QRegularExpressionMatch word = firstWord.match(line);
    return word.hasMatch() ? keywordType(word.capturedView()) : ObjLineType::None;
}

void readObjValues(const QStringList &words, int count, float *values)
{
    for (int i = 0; i < count; ++i)
        values[i] = i + 1 < words.size() ? words.at(i + 1).toFloat() : 0.0f;
}

bool readObjFaceCorners(const QStringList &words, const ObjLineCounts &counts, QList<ObjCorner> &corners)
{
    corners.clear();
    for (qsizetype w = 1; w < words.size(); ++w) {
        const QStringView word(words.at(w));
        if (word.startsWith(u'#'))
            return true;
        // Fields position/texture coordinate/normal; fields after the third are ignored.
        QStringView fields[3];
        qsizetype fieldStart = 0;
        for (int field = 0; field < 3; ++field) {
            const qsizetype slash = word.indexOf(u'/', fieldStart);
            fields[field] = word.sliced(fieldStart, (slash < 0 ? word.size() : slash) - fieldStart);
            if (slash < 0)
                break;
            fieldStart = slash + 1;
        }
        bool positionOk = false;
        const int position = fields[0].toInt(&positionOk, 10);
        int texCoord = 0;
        int normal = 0;
        if (!positionOk || !fieldNumber(fields[1], texCoord) || !fieldNumber(fields[2], normal))
            return false;
        ObjCorner corner;
        corner.position = objCornerIndex(position, counts.positions);
        corner.texCoord = objCornerIndex(texCoord, counts.texCoords);
        corner.normal = objCornerIndex(normal, counts.normals);
        corners.append(corner);
    }
    return true;
}

} // namespace Vardune::Qel
