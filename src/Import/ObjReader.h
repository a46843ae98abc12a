#pragma once

#include "ObjLineWords.h"

#include <QDir>
#include <QList>
#include <QString>
#include <QStringList>
#include <QtGlobal>

class QTextStream;

namespace Vardune::Qel {

// Reads an OBJ file as a sequence of classified lines: positions, normals, texture
// coordinates, faces, material libraries and material names. Every other line is passed over.
//
// Use: construct (the reader then stands on the first recognised line), setDirectory(), then
// while hasLine(): parse(), use the values when it returned true, advance().
//
// Relative (negative) corner numbers resolve against the lines of their kind read so far.
// Indices are not compared with those counts: a number past them passes through.
class ObjReader
{
public:
    explicit ObjReader(QTextStream *input);

    ObjReader(const ObjReader &) = delete;
    ObjReader &operator=(const ObjReader &) = delete;

    // The directory against which relative material-library paths are made absolute.
    void setDirectory(const QString &absolutePath);
    void advance();
    // Converts the current line's values. False for a face with a corner field that is not an
    // integer, a bare "mtllib" or "usemtl", or a stream in error.
    bool parse();

    ObjLineType lineType() const { return _lineType; }
    bool hasLine() const { return _lineType != ObjLineType::End; }
    // Numbers of a "v" or "vn" line (three) or a "vt" line (two); missing numbers read as 0.
    const float *lineValues() const { return _lineValues; }
    // Absolute path of an "mtllib" line, or material name of a "usemtl" line.
    QString lineName() const { return _lineName; }
    qint32 cornerCount() const { return static_cast<qint32>(_faceCorners.size()); }
    ObjCorner corner(qint32 index) const { return _faceCorners.at(index); }
    // 1-based number of the current line in the file.
    qint64 lineNumber() const { return _lineNumber; }
    // Lines of each kind classified so far.
    qint32 positionCount() const { return _counts.positions; }
    qint32 normalCount() const { return _counts.normals; }
    qint32 texCoordCount() const { return _counts.texCoords; }

private:
    bool parseName();

    QDir _baseDir;
    QTextStream *_input;
    QStringList _words;
    bool _lineOk = false;
    ObjLineType _lineType = ObjLineType::None;
    float _lineValues[3] = { 0.0f, 0.0f, 0.0f };
    QString _lineName;
    QList<ObjCorner> _faceCorners;
    ObjLineCounts _counts;
    qint64 _lineNumber = 0;
};

} // namespace Vardune::Qel
