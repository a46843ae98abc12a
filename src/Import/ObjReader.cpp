// Line classifier for Wavefront OBJ text. Each line is split at runs of white space by one
// pattern compiled once for the process; a face's corners are cut at '/' in place, without
// allocating per corner, into a list whose capacity survives from face to face.

#include "ObjReader.h"

#include <QRegularExpression>
#include <QStringView>
#include <QTextStream>

namespace Vardune::Qel {

namespace {

const QRegularExpression wordSeparator(QStringLiteral("\\s+"));

constexpr qsizetype kReservedCorners = 100;

// Index of a corner number against the lines of its kind read so far: 1-based when
// positive, counted back from the latest line when negative, absent when 0.
quint32 cornerIndex(int number, qint32 countSoFar)
{
    if (number > 0)
        return static_cast<quint32>(number - 1);
    if (number < 0)
        return static_cast<quint32>(static_cast<qint64>(countSoFar) + number);
    return ObjCorner::kNoIndex;
}

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
        _words = line.split(wordSeparator, Qt::SkipEmptyParts);
        if (_words.isEmpty() || _words.first().startsWith(u'#'))
            continue;
        const QString &keyword = _words.first();
        if (keyword == u"v") {
            _lineType = ObjLineType::Vertex;
            ++_positionCount;
        } else if (keyword == u"vn") {
            _lineType = ObjLineType::Normal;
            ++_normalCount;
        } else if (keyword == u"vt") {
            _lineType = ObjLineType::TexCoord;
            ++_texCoordCount;
        } else if (keyword == u"f") {
            _lineType = ObjLineType::Face;
        } else if (keyword == u"usemtl") {
            _lineType = ObjLineType::UseMaterial;
        } else if (keyword == u"mtllib") {
            _lineType = ObjLineType::MaterialLibrary;
        } else {
            continue;
        }
        return;
    }
    _lineType = ObjLineType::End;
}

bool ObjReader::parse()
{
    switch (_lineType) {
    case ObjLineType::Vertex:
    case ObjLineType::Normal:
        _lineOk = parseValues(3);
        break;
    case ObjLineType::TexCoord:
        _lineOk = parseValues(2);
        break;
    case ObjLineType::Face:
        _lineOk = parseFace();
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

bool ObjReader::parseValues(int count)
{
    // A missing number reads as 0, like a word that is not a number.
    for (int i = 0; i < count; ++i)
        _lineValues[i] = i + 1 < _words.size() ? _words.at(i + 1).toFloat() : 0.0f;
    return _input->status() == QTextStream::Ok;
}

bool ObjReader::parseName()
{
    if (_words.size() < 2)
        return false;
    _lineName = _words.at(1);
    return _input->status() == QTextStream::Ok;
}

bool ObjReader::parseFace()
{
    if (_input->status() != QTextStream::Ok)
        return false;
    _faceCorners.clear();
    for (qsizetype w = 1; w < _words.size(); ++w) {
        const QStringView word(_words.at(w));
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
        corner.position = cornerIndex(position, _positionCount);
        corner.texCoord = cornerIndex(texCoord, _texCoordCount);
        corner.normal = cornerIndex(normal, _normalCount);
        _faceCorners.append(corner);
    }
    return true;
}

} // namespace Vardune::Qel
