#pragma once

#include <QDir>
#include <QString>
#include <QTextStream>

namespace Vardune::Qel {

// What the current line of an MTL file holds.
enum class MtlLineType {
    NewMaterial, // "newmtl"
    AmbientColor, // "Ka"
    DiffuseColor, // "Kd"
    SpecularColor, // "Ks"
    SpecularExponent, // "Ns"
    Dissolve, // "d"
    DiffuseMap, // "map_Kd"
    SpecularMap, // "map_Ks"
    AmbientMap, // "map_Ka"
    SpecularExponentMap, // "map_Ns"
    End, // the input is exhausted
    None, // unknown keyword, or nothing read yet
};

// Reads an MTL material library line by line. Everything from a '#' to the end of a line is
// a comment; blank and comment lines are passed over, and so are lines with unknown keywords
// when the reader is told to skip them.
//
// Use: construct (no line is read yet), setDirectory(), then advance() to each line and
// parse() it; hasLine() turns false at the end of the input.
class MtlReader
{
public:
    MtlReader(QTextStream *input, bool skipUnknown);

    MtlReader(const MtlReader &) = delete;
    MtlReader &operator=(const MtlReader &) = delete;

    // The directory against which relative texture paths are made absolute.
    void setDirectory(const QString &absolutePath);
    void advance();
    // Reads the current line's values after its keyword. False when a number or a word is
    // missing or malformed, and for unknown lines and the end.
    bool parse();

    MtlLineType lineType() const { return _lineType; }
    bool hasLine() const { return _lineType != MtlLineType::End; }
    // One number ("Ns", "d") or three (colours).
    const float *lineValues() const { return _lineValues; }
    // Material name of a "newmtl" line, or absolute image path of a "map_" line.
    QString lineName() const { return _lineName; }

private:
    bool readContentLine();
    static MtlLineType lineTypeOf(const QString &keyword);

    bool _skipUnknown;
    QDir _baseDir;
    QTextStream *_input;
    QString _currentLine;
    QTextStream _lineStream;
    bool _lineOk = false;
    MtlLineType _lineType = MtlLineType::None;
    float _lineValues[3] = { 0.0f, 0.0f, 0.0f };
    QString _lineName;
};

} // namespace Vardune::Qel
