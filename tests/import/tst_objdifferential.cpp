// The import against the plain reading through Qt's own calls (ReferenceObjReader): the same
// gathered arrays on generated text full of edge cases, and on every corpus file the same
// builder contents, messages and uploaded GPU data; and loadModelFromOBJFile, which uploads its
// builder once, against an import whose builder keeps everything: the same messages and GPU data.

#include "GLTestContext.h"
#include "LoadModelFromOBJFile.h"
#include "MessageCapture.h"
#include "ModelBuilderProbe.h"
#include "ModelDataArray.h"
#include "ObjModelReader.h"
#include "ObjNumberText.h"
#include "ObjScanDifference.h"
#include "ObjTestFiles.h"
#include "ReferenceObjReader.h"

#include <QelGL/BufferObject.h>
#include <QelGL/DrawBuffers.h>
#include <QelGL/GPUModel.h>
#include <QelGL/VertexArrayObject.h>

#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QRandomGenerator>
#include <QRegularExpression>
#include <QTest>

#include <cmath>
#include <cstdio>
#include <algorithm>
#include <cstring>
#include <memory>

using namespace Vardune::Qel;

namespace {

constexpr int kGeneratedFiles = 21;
constexpr int kLinesPerFile = 5000;

// Text that mixes every way a line can be spelled.
class LineGenerator
{
public:
    explicit LineGenerator(quint32 seed)
        : _random(seed)
    { }

    QByteArray line()
    {
        static const char *const keywords[] = { "v", "vn", "vt", "f", "usemtl", "mtllib", "#", "g", "vp", "V", "v1",
            "f1", "\xEF\xBB\xBFv", "v\xC2\xA0", "" };
        const int pick = int(_random.bounded(100));
        QByteArray text = space(true);
        if (pick < 25) {
            text += "v";
            text += values(3 + int(_random.bounded(2)));
        } else if (pick < 35) {
            text += "vn";
            text += values(3);
        } else if (pick < 45) {
            text += "vt";
            text += values(2 + int(_random.bounded(2)));
        } else if (pick < 80) {
            text += "f";
            const int corners = _random.bounded(50) == 0 ? 2000 : int(_random.bounded(7));
            for (int c = 0; c < corners; ++c)
                text += space(false) + corner();
            if (_random.bounded(10) == 0)
                text += space(false) + "# note 1/2/3";
        } else if (pick < 84) {
            text += "usemtl" + space(false) + name();
        } else if (pick < 86) {
            text += "mtllib" + space(false) + name() + ".mtl";
        } else {
            text += keywords[_random.bounded(int(std::size(keywords)))];
            text += values(int(_random.bounded(3)));
        }
        if (_random.bounded(200) == 0)
            text += QByteArray(70000 + int(_random.bounded(1000)), ' ') + "7";
        return text + space(true) + ending();
    }

    // Corners that give every kind one number ("f 1/1/1"), nine in ten, or ones of any numbers.
    void setAlikeCorners(bool alike) { _alikeCorners = alike; }

    QByteArray fileStart()
    {
        switch (_random.bounded(4)) {
        case 0:
            return "\xEF\xBB\xBF";
        case 1:
            return "\r";
        default:
            return QByteArray();
        }
    }

private:
    QByteArray space(bool mayBeEmpty)
    {
        static const char *const spaces[] = { " ", " ", " ", "\t", "\v", "\f", "\r", "  ", " \t ", "\xC2\xA0",
            "\xE3\x80\x80", "\xC2\x85", "\xE2\x80\x80" };
        if (mayBeEmpty && _random.bounded(2) == 0)
            return QByteArray();
        return spaces[_random.bounded(int(std::size(spaces)))];
    }

    QByteArray ending()
    {
        const int pick = int(_random.bounded(40));
        return pick == 0 ? "\r" : pick == 1 ? "\r\n" : pick == 2 ? "\n\n" : "\n";
    }

    QByteArray digits(int count)
    {
        QByteArray text;
        for (int i = 0; i < count; ++i)
            text += char('0' + _random.bounded(10));
        return text;
    }

    QByteArray number()
    {
        static const char *const special[] = { "nan", "NaN", "-nan", "inf", "-inf", "+inf", "Inf", "infinity", "1e39",
            "-1e39", "1e-46", "-1e-46", "1e400", "-1e-400", "3.4028235e38", "3.4028234e38", "1.4e-45", "7e-46",
            "-7.1e-46", "1e-320", "1e", "1e+", "--1", "+-1", "0x1A", "1,5", "abc", "1.2.3", ".", "-", "+", "1.", ".5",
            "-.5", "+.5", "007", "-0", "+0", "1\xC2\xA0",
            "\xC2\xA0"
            "1",
            "\xEF\xBC\x91", "\xC3\xA9", "1\xFF", "\xC3", "1\xE2\x80", "1e5\xC2\x85" };
        const int pick = int(_random.bounded(20));
        if (pick == 0)
            return special[_random.bounded(int(std::size(special)))];
        if (pick == 1)
            return QByteArray("1\0", 2) + digits(2);
        QByteArray text;
        if (_random.bounded(3) == 0)
            text += _random.bounded(4) == 0 ? "+" : "-";
        if (pick == 2)
            text += QByteArray(int(_random.bounded(30)), '0');
        text += digits(pick == 3 ? 25 + int(_random.bounded(20)) : 1 + int(_random.bounded(8)));
        if (_random.bounded(3) != 0)
            text += "." + digits(int(_random.bounded(pick == 4 ? 40 : 9)));
        if (_random.bounded(5) == 0) {
            text += _random.bounded(2) == 0 ? "e" : "E";
            if (_random.bounded(2) == 0)
                text += _random.bounded(2) == 0 ? "-" : "+";
            text += digits(1 + int(_random.bounded(3)));
        }
        return text;
    }

    QByteArray values(int count)
    {
        QByteArray text;
        for (int i = 0; i < count; ++i)
            text += space(false) + number();
        return text;
    }

    QByteArray index()
    {
        static const char *const special[] = { "0", "-0", "+3", "007", "2147483647", "2147483648", "-2147483648",
            "-2147483649", "99999999999999999999", "x", "1.0", "1e3", "\xEF\xBC\x91", "3\xC2\xA0", "" };
        const int pick = int(_random.bounded(30));
        if (pick == 0)
            return special[_random.bounded(int(std::size(special)))];
        if (pick < 6)
            return "-" + QByteArray::number(1 + _random.bounded(20));
        return QByteArray::number(1 + _random.bounded(60));
    }

    QByteArray corner()
    {
        if (_alikeCorners && _random.bounded(10) != 0) {
            const QByteArray i = index();
            // Now and then a later field that only starts like the first.
            const QByteArray second = _random.bounded(8) == 0 ? i + digits(1) : i;
            const QByteArray third = _random.bounded(8) == 0 ? i + digits(1) : i;
            static const char *const separators[] = { "/", "//" };
            return _random.bounded(3) == 0 ? i + separators[_random.bounded(2)] + third : i + "/" + second + "/" + third;
        }
        switch (_random.bounded(6)) {
        case 0:
            return index();
        case 1:
            return index() + "/" + index();
        case 2:
            return index() + "//" + index();
        case 3:
            return index() + "/";
        case 4:
            return index() + "/" + index() + "/" + index() + "/" + index();
        default:
            return index() + "/" + index() + "/" + index();
        }
    }

    QByteArray name()
    {
        static const char *const names[] = { "red", "blue",
            "r\xC3\xA9"
            "d",
            "bad\xFF"
            "name",
            "\xEF\xBB\xBFred",
            "a\xC2\xA0"
            "b",
            "sub/dir/x", "/abs/y" };
        return names[_random.bounded(int(std::size(names)))];
    }

    QRandomGenerator _random;
    bool _alikeCorners = false;
};

// The builder state that the upload reads and leaves, in a form that compares exactly.
QStringList builderState(ModelBuilder &builder)
{
    QStringList state;
    auto bytes = [](const QSharedPointer<ModelDataStream> &stream) {
        return stream ? QString::fromLatin1(
                   QByteArray(static_cast<const char *>(stream->data(0)), qsizetype(stream->byteCount())).toHex())
                      : QStringLiteral("null");
    };
    state << bytes(ModelBuilderProbe::verticesPerFace(builder))
          << ModelBuilderProbe::normalsAttributeName(builder)
          << bytes(ModelBuilderProbe::triangleIndices(builder));
    const auto &attributes = ModelBuilderProbe::vertexAttributes(builder);
    for (auto it = attributes.cbegin(); it != attributes.cend(); ++it) {
        state << it.key() << QString::number(it->componentsPerVertex) << bytes(it->values) << bytes(it->indices)
              << bytes(it->gpuValues) << bytes(it->gpuIndices);
    }
    const auto &groups = ModelBuilderProbe::materialGroups(builder);
    for (auto it = groups.cbegin(); it != groups.cend(); ++it)
        state << it.key() << QString::number(it->id) << bytes(it->faces) << QString::number(it->flags);
    const auto &commands = ModelBuilderProbe::drawCommands(builder);
    for (auto it = commands.cbegin(); it != commands.cend(); ++it) {
        for (const DrawElementsIndirectCommand &command : *it)
            state << QStringLiteral("%1 %2 %3").arg(command.count).arg(command.firstIndex).arg(it.key());
        state << ModelBuilderProbe::drawGroupNames(builder).value(it.key());
    }
    return state;
}

// Messages with the builder's address taken out of the statistics line.
QStringList messageTexts(const MessageCapture &capture)
{
    QStringList texts;
    for (const MessageCapture::Message &message : capture.messages())
        texts << QString::number(int(message.type)) + message.text.section(u' ', 1);
    return texts;
}

// What the GPU holds for a model: per draw, its commands, its index buffer and its vertex
// buffers by attribute name, read back.
QList<QByteArray> uploadedData(const GPUModel &model)
{
    QList<QByteArray> data;
    for (int d = 0; d < model.drawCount(); ++d) {
        const DrawBuffers *draw = model.draw(d).buffers;
        for (const DrawElementsIndirectCommand &command : draw->drawElementsIndirectCommands())
            data << QByteArray::number(command.count) + ' ' + QByteArray::number(command.firstIndex);
        data << draw->indexBuffer()->readBack();
        QList<VertexArrayObject::Attribute> attributes = draw->VAO()->attributes();
        std::sort(attributes.begin(), attributes.end(),
            [](const auto &a, const auto &b) { return a.name < b.name; });
        for (const VertexArrayObject::Attribute &attribute : attributes)
            data << attribute.name.toUtf8() << attribute.buffer->readBack();
    }
    return data;
}

struct Import
{
    bool ok = false;
    QString error;
    QStringList messages;
    QStringList state;
    QList<QByteArray> gpu;
};

// Another allocator type: the builder then copies the import's arrays into streams it makes
// and zero-fills every stream, so the reference side also checks the hand-over without adoption.
struct OtherAllocator : ModelDataArrayAllocator
{
};

Import importWith(const QString &path, bool reference)
{
    Import result;
    MessageCapture capture;
    ModelBuilder builder(reference ? QSharedPointer<ModelDataStreamAllocator>(new OtherAllocator)
                                   : QSharedPointer<ModelDataStreamAllocator>());
    if (reference) {
        ObjMesh mesh;
        Reference::readObjMesh(path, mesh);
        result.ok = assembleObjModel(mesh, path, builder, result.error);
    } else {
        result.ok = readObjModel(path, builder, result.error);
    }
    if (result.ok) {
        GPUModel model;
        static const float identity[16] = { 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1 };
        InstanceData instance(QStringLiteral("InstanceInfo"));
        instance.set(QStringLiteral("ModelMatrix"), identity, sizeof identity);
        builder.upload(&model, instance, QStringLiteral("va_Vertex"), QString(), 0x88E4, 4);
        result.gpu = uploadedData(model);
    }
    result.messages = messageTexts(capture);
    result.state = builderState(builder);
    return result;
}

// loadModelFromOBJFile's messages, draws and GPU data. Its builder is uploaded once and
// discarded, so the upload frees each stream once used, makes new ones in freed blocks and, with
// no face to draw, builds no stream at all: all must still be those of an upload that keeps
// everything.
struct Load
{
    QStringList messages;
    int draws = -1;
    QList<QByteArray> gpu;
};

Load loadWhole(const QString &path)
{
    Load result;
    MessageCapture capture;
    QString error;
    const std::unique_ptr<GPUModel> model(loadModelFromOBJFile(path, error));
    result.messages = messageTexts(capture);
    result.draws = model ? model->drawCount() : -1;
    if (model)
        result.gpu = uploadedData(*model);
    return result;
}

} // namespace

class TestObjDifferential : public QObject
{
    Q_OBJECT

private slots:
    void generatedTextReadsAlike();
    void fullLengthDecimalsReadAlike();
    void textStartsReadAlike_data();
    void textStartsReadAlike();
    void cutSequencesReadAlike_data();
    void cutSequencesReadAlike();
    void singleUseLoadsAlike_data();
    void singleUseLoadsAlike();
    void corpusImportsAlike_data();
    void corpusImportsAlike();

private:
    ObjTestFiles _files;
    GLTestContext _gl;
};

void TestObjDifferential::generatedTextReadsAlike()
{
    LineGenerator generator(20250611);
    int lines = 0;
    for (int f = 0; f < kGeneratedFiles; ++f) {
        QByteArray text = generator.fileStart();
        // Every other file has texture coordinates and normals before its first face, and
        // corners that mostly repeat one number, which the import keeps once until they part.
        generator.setAlikeCorners(f % 2 == 1);
        if (f % 2 == 1)
            text += "vt 0.5 0.5\nvn 0 0 1\n";
        for (int l = 0; l < kLinesPerFile; ++l, ++lines)
            text += generator.line();
        if (f % 3 == 0) // no final line end, at times in the middle of a character
            text += f % 2 == 0 ? "v 1 2 \xC3" : "f 1 2 3";
        const QString path = _files.write(QStringLiteral("generated%1.obj").arg(f), text);
        const QString difference = objScanDifference(path);
        QVERIFY2(difference.isNull(), qPrintable(QStringLiteral("file %1: %2").arg(f).arg(difference)));
    }
    QVERIFY(lines >= 100000);
}

// Decimals of 17 to 19 significant digits, as exporters print doubles in full, read through the
// rounding shortcut; those printed at or next to a midpoint between two floats must not. Also
// the edges of the range that narrows to a float plainly.
void TestObjDifferential::fullLengthDecimalsReadAlike()
{
    QRandomGenerator random(20261123);
    int compared = 0;
    int mismatches = 0;
    QByteArray firstMismatch;
    const auto check = [&](const QByteArray &text) {
        const float fast = objTextToFloat(text.constData(), text.constData() + text.size());
        const float qt = QString::fromLatin1(text).toFloat();
        ++compared;
        if (std::memcmp(&fast, &qt, sizeof fast) != 0 && mismatches++ == 0)
            firstMismatch = text;
    };
    char text[64];
    for (int i = 0; i < 200000; ++i) {
        // A random double printed in full, and a float midpoint printed in full and nudged.
        const double value = std::ldexp(random.generateDouble() + 0.5, int(random.bounded(120)) - 60);
        std::snprintf(text, sizeof text, "%.*g", 17 + int(random.bounded(3)), random.bounded(2) ? value : -value);
        check(text);
        const float low = float(value);
        const double midpoint = (double(low) + double(std::nextafter(low, INFINITY))) / 2;
        const int length = std::snprintf(text, sizeof text, "%.18e", midpoint);
        check(QByteArray(text, length));
        const char *mantissaEnd = std::strchr(text, 'e');
        for (int nudge : { -2, -1, 1, 2 }) {
            QByteArray nudged(text, length);
            const qsizetype last = mantissaEnd - text - 1;
            nudged[last] = char('0' + (nudged[last] - '0' + 10 + nudge) % 10);
            check(nudged);
        }
        // The midpoint without an exponent, 17 to 19 digits: a mantissa beyond 2^53.
        if (std::fabs(midpoint) >= 1.0 && std::fabs(midpoint) < 100.0) {
            const int fixedLength = std::snprintf(text, sizeof text, "%.*f", 16 + int(random.bounded(2)), midpoint);
            for (int nudge : { 0, -1, 1 }) {
                QByteArray nudged(text, fixedLength);
                nudged[fixedLength - 1] = char('0' + (nudged[fixedLength - 1] - '0' + 10 + nudge) % 10);
                check(nudged);
            }
        }
    }
    // Fractions of more digits than an exact power of ten has, after leading zeros.
    for (const char *zeros : { "0.0000000000000000000001", "-0.00000000000000000000001", "0.000000000000000000000000123",
             "1.00000000000000000000000", "0.0000000000000000000000000000000000000000000001" })
        check(zeros);
    // Where narrowing leaves the plain conversion: 2^-150, half the smallest float, and the
    // doubles beside it; the largest float and the midpoint above it, where it turns infinite.
    for (const char *edge : { "7.00649232162408535461864791644958065640130970938257885878534141944895541342930300743319094181060791015625e-46",
             "7.006492321624086e-46", "-7.006492321624085e-46", "340282346638528859811704183484516925440",
             "340282356779733661637539395458142568448", "-3.4028235677973366e38", "3.4028235677973362e38" })
        check(edge);
    QVERIFY2(mismatches == 0, qPrintable(QStringLiteral("%1 of %2 differ from Qt, first: %3")
                                              .arg(mismatches).arg(compared).arg(QString::fromLatin1(firstMismatch))));
}

void TestObjDifferential::textStartsReadAlike_data()
{
    QTest::addColumn<QByteArray>("text");
    auto utf16 = [](const QString &text, bool bigEndian) {
        QByteArray bytes = bigEndian ? QByteArray("\xFE\xFF") : QByteArray("\xFF\xFE");
        for (QChar c : text) {
            const char high = char(c.unicode() >> 8);
            const char low = char(c.unicode() & 0xFF);
            bytes += bigEndian ? QByteArray { high, low } : QByteArray { low, high };
        }
        return bytes;
    };
    const QString sample = QStringLiteral("v 1 2 3\nv 4 5 6\nvt 0.5 0.5\nf 1/1 2/1 -1/1\n");
    QTest::newRow("empty") << QByteArray();
    QTest::newRow("mark only") << QByteArray("\xEF\xBB\xBF");
    QTest::newRow("UTF-8 mark") << QByteArray("\xEF\xBB\xBF") + sample.toUtf8();
    QTest::newRow("mark after a carriage return") << QByteArray("\r\xEF\xBB\xBF") + sample.toUtf8();
    QTest::newRow("mark on the second line") << QByteArray("v 0 0 0\n\xEF\xBB\xBF") + sample.toUtf8();
    QTest::newRow("UTF-16 little endian") << utf16(sample, false);
    QTest::newRow("UTF-16 big endian") << utf16(sample, true);
    QTest::newRow("UTF-32 little endian") << QByteArray("\xFF\xFE\0\0v\0\0\0", 8);
    QTest::newRow("carriage returns only") << sample.toUtf8().replace('\n', '\r');
    QTest::newRow("carriage return line ends") << sample.toUtf8().replace("\n", "\r\n");
    QTest::newRow("carriage return inside a number") << QByteArray("v 1\r5 2 3\nf 1 1 1\n");
    static const char withNuls[] = "v 1\0 2 3\nf 1\0 1 1\n\0v 1 1 1\n";
    QTest::newRow("NUL bytes") << QByteArray(withNuls, sizeof withNuls - 1);
    QTest::newRow("truncated character at the end") << QByteArray("usemtl a\xC3");
    QTest::newRow("lines longer than a read block")
        << QByteArray("v ") + QByteArray(3 << 20, ' ') + "1 2 3\nf " + QByteArray(3 << 20, '\t') + "1 1 1\n";
    // Long lines that the scanner passes over without keeping them; the bad faces after them
    // show their line numbers.
    const QByteArray after = "\nv 1 2 3\nf 1 1 1\nf 1 1 9\n";
    const QByteArray block(3 << 20, 'c');
    QTest::newRow("comment longer than a read block") << "v 0 0 0\n   #" + block + after;
    QTest::newRow("comment after a UTF-8 mark") << "\xEF\xBB\xBF#" + block + after;
    QTest::newRow("unknown keyword longer than a read block") << "vp" + QByteArray(" 0.5").repeated(1 << 20) + after;
    QTest::newRow("first word longer than a keyword") << QByteArray(3 << 20, 'v') + " 1 2 3" + after;
    QTest::newRow("first word without a line end") << "v 1 2 3\nf 1 1 1\n" + QByteArray(3 << 20, 'f');
    QTest::newRow("spaces longer than a read block") << QByteArray(3 << 20, ' ') + "# c" + after;
    // Long lines that the scanner reads.
    QTest::newRow("face longer than a read block") << "v 1 2 3\nf" + QByteArray(" 1").repeated(3 << 19) + after;
    QTest::newRow("material name longer than a read block") << "usemtl " + block + after;
    QTest::newRow("UTF-16 lines of no type")
        << utf16("#" + QString(1 << 16, u'w') + " x y\n  \u00A0vp" + QString(" 0.5").repeated(1 << 16)
                + "\nv\u00A01 2 3\n\u2003v 1 2 3\n" + sample,
               false);
    QTest::newRow("keyword cut by the end of a read block")
        << QByteArray((1 << 20) - 1, ' ') + "vn 0 0 1\nf 1//1 1//1 1//1" + after;
    QTest::newRow("keyword at the end of a read block")
        << QByteArray((1 << 20) - 3, '#') + "\nv 4 5 6" + after;
}

void TestObjDifferential::textStartsReadAlike()
{
    QFETCH(QByteArray, text);
    const QString path = _files.write(QStringLiteral("start.obj"), text);
    const QString difference = objScanDifference(path);
    QVERIFY2(difference.isNull(), qPrintable(difference));
}

// UTF-8 sequences cut short. A text stream reads 16 KiB at a time as stored and decodes a
// sequence cut there in its own way when the sequence is not valid: text around such boundaries,
// carriage returns before them included. The end of the text, where a cut sequence decodes to
// nothing, also in a line's first word. And carriage returns, which the text stream drops after
// decoding, inside sequences.
void TestObjDifferential::cutSequencesReadAlike_data()
{
    QTest::addColumn<QByteArray>("text");
    constexpr qsizetype kChunk = 16384;
    // Vertex lines, ended by `lineEnd`, and a comment filling up to `size` bytes as stored.
    const auto filler = [](qsizetype size, const QByteArray &lineEnd) {
        const QByteArray line = "v 1 2 3" + lineEnd;
        QByteArray text;
        while (size - text.size() > line.size() + 2)
            text += line;
        return text + "#" + QByteArray(size - text.size() - 2, 'x') + "\n";
    };
    // `cut` placed so that its first `before` bytes end at the boundary, inside a vertex line
    // (where a lost space joins two numbers) or a material name (where a lost character shows).
    const auto inVertex = [&](qsizetype boundary, const QByteArray &cut, qsizetype before, const QByteArray &lineEnd) {
        return filler(boundary - 5 - before, lineEnd) + "v 4 5" + cut + " 6 7" + lineEnd + "v 8 9 10" + lineEnd;
    };
    const auto inName = [&](const QByteArray &cut, qsizetype before) {
        return filler(kChunk - 8 - before, "\n") + "usemtl m" + cut + "n\nf 1 2 3\n";
    };
    QTest::newRow("truncated sequence, the space after it") << inVertex(kChunk, "\xE2\x80", 2, "\n");
    QTest::newRow("truncated sequence after carriage returns") << inVertex(kChunk, "\xE2\x80", 2, "\r\n");
    QTest::newRow("truncated sequence at the third boundary") << inVertex(3 * kChunk, "\xE2\x80", 2, "\r\n");
    QTest::newRow("lead byte alone") << inVertex(kChunk, "\xC3", 1, "\n");
    QTest::newRow("lead byte, then a sequence") << inName("\xC3\xC3\xA9", 1);
    QTest::newRow("truncated sequence, then a sequence") << inName("\xE2\x82\xC3\xA9", 2);
    QTest::newRow("surrogate") << inName("\xED\xA0\x80", 1);
    QTest::newRow("overlong form") << inName("\xE0\x80\x80", 1);
    QTest::newRow("above U+10FFFF") << inName("\xF4\x90\x80\x80", 2);
    // The line end itself after the cut: the stream joins the next line to a comment.
    QTest::newRow("comment ending in a truncated sequence")
        << filler(kChunk - 3, "\n") + "#\xE2\x80" + "\nv 8 9 10\nf 1 2 3\n";
    QTest::newRow("keyword cut short by the end of the text") << QByteArray("v 1 2 3\nvt\xEE");
    QTest::newRow("face keyword cut short by the end of the text")
        << QByteArray("v 1 2 3\nv 4 5 6\nv 7 8 9\nf\xE2\x82");
    // The text stream drops carriage returns after decoding: one inside a sequence breaks it.
    const auto named = [](const QByteArray &name) { return "v 1 2 3\nusemtl " + name + "\nf 1 1 1\n"; };
    QTest::newRow("carriage return inside a sequence") << named("m\xF1\r\x91\x91\x91n");
    QTest::newRow("carriage returns inside a sequence") << named("m\xC3\r\r\xA9n");
    // The import reads 128 KiB at a time: carriage returns end its first read, or run on.
    constexpr qsizetype kRead = 128 * 1024;
    QTest::newRow("carriage returns ending a read inside a sequence")
        << filler(kRead - 10, "\n") + "usemtl \xF1\r\r\x91\x91\x91n\nf 1 2 3\n";
    QTest::newRow("carriage returns across a read inside a sequence")
        << filler(kRead - 10, "\n") + "usemtl \xF1\r\r\r\x91\x91\x91n\nf 1 2 3\n";
    // The corner reader loads words that run past the line's end: a face that ends a full read,
    // and one that ends the text.
    const QByteArray face = "f 1/1/1 2/2/2 3/3/3\n";
    QTest::newRow("repeated corner fields ending a read")
        << filler(kRead - face.size(), "\n") + face + face.chopped(1);
    // The stream's chunks count from the file's first byte, a UTF-8 mark included.
    QTest::newRow("truncated sequence after a UTF-8 mark")
        << "\xEF\xBB\xBF" + inVertex(kChunk - 3, "\xE2\x80", 2, "\n");
}

void TestObjDifferential::cutSequencesReadAlike()
{
    QFETCH(QByteArray, text);
    const QString path = _files.write(QStringLiteral("boundary.obj"), text);
    const QString difference = objScanDifference(path);
    QVERIFY2(difference.isNull(), qPrintable(difference));
}

// Grids large enough for arrays of their own huge pages, which the single-use upload hands on
// from the arrays it frees to those it makes next. A normal written for each corner gives about
// as many values as corners, so that the corners are welded without numbering their tuples; a
// material that no library defines leaves nothing to draw, so that only the weld is counted.
void TestObjDifferential::singleUseLoadsAlike_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<int>("draws");
    constexpr int kSide = 160;
    QByteArray values;
    for (int row = 0; row < kSide; ++row) {
        for (int column = 0; column < kSide; ++column) {
            const double height = (row * column) % 7 * 0.25;
            values += "v " + QByteArray::number(column) + ' ' + QByteArray::number(height) + ' '
                + QByteArray::number(row) + "\nvt " + QByteArray::number(column / double(kSide)) + ' '
                + QByteArray::number(row / double(kSide)) + "\nvn 0 1 " + QByteArray::number(row % 3) + '\n';
        }
    }
    // Corner k of a face names position and texture coordinate p and normal normalOf(p, k).
    const auto faces = [](int fields, auto normalOf) {
        QByteArray text;
        for (int row = 0; row + 1 < kSide; ++row) {
            for (int column = 0; column + 1 < kSide; ++column) {
                const int corners[4] = { row * kSide + column + 1, row * kSide + column + 2,
                    (row + 1) * kSide + column + 2, (row + 1) * kSide + column + 1 };
                text += 'f';
                for (int k = 0; k < 4; ++k) {
                    const QByteArray number = QByteArray::number(corners[k]);
                    text += ' ' + number + '/' + number;
                    if (fields == 3)
                        text += '/' + QByteArray::number(normalOf(corners[k], k));
                }
                text += '\n';
            }
        }
        return text;
    };
    const QByteArray perVertex = faces(3, [](int p, int) { return p; });
    // A normal of its own for each corner, of three contents in all: many corners merge.
    QByteArray cornerNormals;
    for (int n = 0; n < 4 * kSide * kSide; ++n)
        cornerNormals += "vn 1 0 " + QByteArray::number(n % 3) + '\n';
    const QByteArray perCorner
        = cornerNormals + faces(3, [](int p, int k) { return kSide * kSide + 4 * (p - 1) + k + 1; });
    const QByteArray generated = faces(2, [](int, int) { return 0; });
    const QByteArray undefined = "usemtl nowhere\n";
    QTest::newRow("normals by vertex") << values + perVertex << 1;
    QTest::newRow("normals by corner") << values + perCorner << 1;
    QTest::newRow("normals generated") << values + generated << 1;
    QTest::newRow("normals by corner, nothing drawn") << values + undefined + perCorner << 0;
    QTest::newRow("normals generated, nothing drawn") << values + undefined + generated << 0;
}

void TestObjDifferential::singleUseLoadsAlike()
{
    QFETCH(QByteArray, text);
    QFETCH(int, draws);
    QEL_REQUIRE_GL(_gl);
    const QString path = _files.write(QStringLiteral("grid.obj"), text);
    const Load loaded = loadWhole(path);
    const Import imported = importWith(path, false);
    QCOMPARE(loaded.draws, draws);
    QCOMPARE(loaded.messages, imported.messages);
    QVERIFY(loaded.gpu == imported.gpu);
}

void TestObjDifferential::corpusImportsAlike_data()
{
    QTest::addColumn<QString>("path");
    const QString corpus = QStringLiteral(QELMODEL_CORPUS_DIR);
    QDirIterator files(corpus, { QStringLiteral("*.obj") }, QDir::Files, QDirIterator::Subdirectories);
    while (files.hasNext()) {
        const QString path = files.next();
        QTest::newRow(qPrintable(path.mid(corpus.size() + 1))) << path;
    }
    if (!QFileInfo::exists(corpus))
        QTest::newRow("no corpus") << QString();
}

void TestObjDifferential::corpusImportsAlike()
{
    QFETCH(QString, path);
    if (path.isEmpty())
        QSKIP("the model corpus is not installed");
    QEL_REQUIRE_GL(_gl);
    const QString difference = objScanDifference(path);
    QVERIFY2(difference.isNull(), qPrintable(difference));

    const Import imported = importWith(path, false);
    const Import reference = importWith(path, true);
    QCOMPARE(imported.ok, reference.ok);
    QCOMPARE(imported.error, reference.error);
    QCOMPARE(imported.messages, reference.messages);
    QVERIFY(imported.state == reference.state);
    const Load loaded = loadWhole(path);
    QCOMPARE(loaded.messages, imported.messages);
    QVERIFY(loaded.gpu == imported.gpu);
}

QTEST_MAIN(TestObjDifferential)
#include "tst_objdifferential.moc"
