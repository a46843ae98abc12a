// Line reader for Wavefront MTL text. The first non-blank character of a line is found by one
// pattern compiled once for the process; the values after the keyword are read by a text
// stream over the trimmed line, so a missing or malformed value fails the line.

#include "MtlReader.h"

#include <QRegularExpression>

namespace Vardune::Qel {

namespace {

const QRegularExpression contentStart(QStringLiteral("\\S"));

} // namespace

MtlReader::MtlReader(QTextStream *input, bool skipUnknown)
    : _skipUnknown(skipUnknown)
    , _baseDir(QString())
    , _input(input)
{ }

void MtlReader::setDirectory(const QString &absolutePath)
{
    _baseDir = QDir(absolutePath);
}

void MtlReader::advance()
{
    _lineOk = false;
    do {
        if (!readContentLine()) {
            _lineType = MtlLineType::End;
            return;
        }
        _lineStream.setString(&_currentLine, QIODevice::ReadOnly);
        _lineStream.resetStatus();
        QString keyword;
        _lineStream >> keyword;
        _lineType = lineTypeOf(keyword);
    } while (_skipUnknown && _lineType == MtlLineType::None);
}

// Leaves in _currentLine the next line's content: from its first non-blank character up to
// any '#', trimmed. False at the end of the input.
bool MtlReader::readContentLine()
{
    while (!_input->atEnd()) {
        _currentLine = _input->readLine();
        if (_currentLine.isEmpty())
            continue;
        const qsizetype first = contentStart.match(_currentLine).capturedStart();
        if (first < 0)
            continue;
        qsizetype commentStart = _currentLine.indexOf(u'#');
        if (commentStart < 0)
            commentStart = _currentLine.size();
        if (first >= commentStart)
            continue;
        _currentLine = _currentLine.sliced(first, commentStart - first).trimmed();
        return true;
    }
    return false;
}

MtlLineType MtlReader::lineTypeOf(const QString &keyword)
{
    static const struct
    {
        QLatin1StringView keyword;
        MtlLineType type;
    } keywords[] = {
        { QLatin1StringView("newmtl"), MtlLineType::NewMaterial },
        { QLatin1StringView("Ka"), MtlLineType::AmbientColor },
        { QLatin1StringView("Kd"), MtlLineType::DiffuseColor },
        { QLatin1StringView("Ks"), MtlLineType::SpecularColor },
        { QLatin1StringView("Ns"), MtlLineType::SpecularExponent },
        { QLatin1StringView("d"), MtlLineType::Dissolve },
        { QLatin1StringView("map_Kd"), MtlLineType::DiffuseMap },
        { QLatin1StringView("map_Ks"), MtlLineType::SpecularMap },
        { QLatin1StringView("map_Ka"), MtlLineType::AmbientMap },
        { QLatin1StringView("map_Ns"), MtlLineType::SpecularExponentMap },
    };
    for (const auto &entry : keywords) {
        if (keyword == entry.keyword)
            return entry.type;
    }
    return MtlLineType::None;
}

bool MtlReader::parse()
{
    switch (_lineType) {
    case MtlLineType::NewMaterial:
        _lineStream >> _lineName;
        break;
    case MtlLineType::AmbientColor:
    case MtlLineType::DiffuseColor:
    case MtlLineType::SpecularColor:
        _lineStream >> _lineValues[0] >> _lineValues[1] >> _lineValues[2];
        break;
    case MtlLineType::SpecularExponent:
    case MtlLineType::Dissolve:
        _lineStream >> _lineValues[0];
        break;
    case MtlLineType::DiffuseMap:
    case MtlLineType::SpecularMap:
    case MtlLineType::AmbientMap:
    case MtlLineType::SpecularExponentMap:
        _lineStream >> _lineName;
        if (QDir::isRelativePath(_lineName))
            _lineName = _baseDir.absoluteFilePath(_lineName);
        break;
    case MtlLineType::End:
    case MtlLineType::None:
        _lineOk = false;
        return false;
    }
    _lineOk = _lineStream.status() == QTextStream::Ok;
    return _lineOk;
}

} // namespace Vardune::Qel
