// Line classifier for Wavefront OBJ text over a QTextStream: one line and one split per call,
// the words read by the shared line semantics; the corner list keeps its capacity from face to
// face.

#include "ObjReader.h"

#include <QTextStream>

namespace Vardune::Qel {

namespace {

constexpr qsizetype kReservedCorners = 100;

} // namespace

ObjReader::ObjReader(QTextStream *input)
    : _baseDir(QString())
    , _input(input)
{
    _faceCorners.reserve(kReservedCorners);
    advance();
}

void ObjReader::setDirectory(const QString &absolutePath)
{
    _baseDir = QDir(absolutePath);
}

void ObjReader::advance()
{
    _lineType = ObjLineType::None;
    _lineOk = false;
    while (!_input->atEnd()) {
        const QString line = _input->readLine();
        ++_lineNumber;
        _lineType = objLineTypeOfText(line);
        if (_lineType == ObjLineType::None)
            continue;
        _words = splitObjLine(line);
        switch (_lineType) {
        case ObjLineType::Vertex:
            ++_counts.positions;
            return;
        case ObjLineType::Normal:
            ++_counts.normals;
            return;
        case ObjLineType::TexCoord:
            ++_counts.texCoords;
            return;
        default:
            return;
        }
    }
    _lineType = ObjLineType::End;
}

bool ObjReader::parse()
{
    switch (_lineType) {
    case ObjLineType::Vertex:
    case ObjLineType::Normal:
    case ObjLineType::TexCoord:
        // A word that is not a number reads as 0; only the stream can fail the line.
        readObjValues(_words, _lineType == ObjLineType::TexCoord ? 2 : 3, _lineValues);
        _lineOk = _input->status() == QTextStream::Ok;
        break;
    case ObjLineType::Face:
        _lineOk = _input->status() == QTextStream::Ok && readObjFaceCorners(_words, _counts, _faceCorners);
        break;
    case ObjLineType::MaterialLibrary:
        _lineOk = parseName();
        if (_lineOk && QDir::isRelativePath(_lineName))
            _lineName = _baseDir.absoluteFilePath(_lineName);
        break;
    case ObjLineType::UseMaterial:
        _lineOk = parseName();
        break;
    case ObjLineType::End:
    case ObjLineType::None:
        break;
    }
    return _lineOk;
}

bool ObjReader::parseName()
{
    if (_words.size() < 2)
        return false;
    _lineName = _words.at(1);
    return _input->status() == QTextStream::Ok;
}

} // namespace Vardune::Qel
