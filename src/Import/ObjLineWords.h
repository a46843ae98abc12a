#pragma once

#include <QList>
#include <QString>
#include <QStringList>
#include <QtGlobal>

namespace Vardune::Qel {

// What a line of an OBJ file holds.
enum class ObjLineType {
    Vertex, // "v"
    Normal, // "vn"
    TexCoord, // "vt"
    Face, // "f"
    MaterialLibrary, // "mtllib"
    UseMaterial, // "usemtl"
    End, // the input is exhausted
    None, // no recognised line
};

// One face corner: zero-based indices in the order position, normal, texture coordinate
// (not the order of the file's p/t/n fields).
struct ObjCorner
{
    // A component that the corner text leaves out or gives as 0.
    static constexpr quint32 kNoIndex = 0x7FFFFFFF;

    quint32 position = kNoIndex;
    quint32 normal = kNoIndex;
    quint32 texCoord = kNoIndex;
};

// Lines of each kind read so far, against which relative corner numbers resolve.
struct ObjLineCounts
{
    qint32 positions = 0;
    qint32 texCoords = 0;
    qint32 normals = 0;
};

// The meaning of one decoded OBJ line, word by word: the definition that every reading path
// of the import follows, and the one it falls back to for text outside its fast grammar.

// The words of a line: split at runs of white space ("\s+"), empty parts dropped.
QStringList splitObjLine(const QString &line);
// The same for a line of ASCII bytes [begin, end), which decodes to the same characters.
QStringList splitAsciiObjLine(const char *begin, const char *end);
// The type of a line from its words; None for no words, a comment or an unknown keyword.
ObjLineType objLineType(const QStringList &words);
// The same from the line itself, reading only its first word: the rest of a line of no type
// need not be split.
ObjLineType objLineTypeOfText(const QString &line);
// Words 1 to `count` as floats (QString::toFloat); a missing word or one that is not a number
// reads as 0.
void readObjValues(const QStringList &words, int count, float *values);
// The corners of an "f" line into `corners` (emptied first). False when a corner field is not
// a 32-bit integer; the corners read before it are left in the list.
bool readObjFaceCorners(const QStringList &words, const ObjLineCounts &counts, QList<ObjCorner> &corners);
// Index of a corner number against the lines of its kind read so far: 1-based when positive,
// counted back from the latest line when negative, kNoIndex when 0.
inline quint32 objCornerIndex(qint32 number, qint32 countSoFar)
{
    if (number > 0)
        return static_cast<quint32>(number - 1);
    if (number < 0)
        return static_cast<quint32>(static_cast<qint64>(countSoFar) + number);
    return ObjCorner::kNoIndex;
}

} // namespace Vardune::Qel
