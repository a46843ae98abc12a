#include "MessageCapture.h"
#include "ObjModelReader.h"
#include "ObjReader.h"
#include "ObjTestFiles.h"

#include "DefaultMaterial.h"
#include "GLTypes.h"
#include "MaterialLibrary.h"

#include <QDirIterator>
#include <QFile>
#include <QTest>
#include <QTextStream>

#include <algorithm>
#include <numeric>

using namespace Vardune::Qel;

using Corner = QList<unsigned int>; // position, normal, texture coordinate
using Corners = QList<Corner>;
using Indices = QList<unsigned int>;
using Floats = QList<float>;

namespace {

constexpr unsigned int N = ObjCorner::kNoIndex;

QString defaultGroup()
{
    return QStringLiteral("<default>");
}

// Every recognised line of a text parsed in order, the reader left on the last one, so that
// relative numbers of that line see the counts of the lines before it.
struct ParsedText
{
    explicit ParsedText(const QString &text)
        : content(text)
        , stream(&content, QIODevice::ReadOnly)
        , reader(&stream)
    {
        reader.setDirectory(QStringLiteral("/models"));
        while (reader.hasLine()) {
            lastOk = reader.parse();
            if (stream.atEnd())
                break;
            reader.advance();
        }
    }

    QString content;
    QTextStream stream;
    ObjReader reader;
    bool lastOk = false;
};

Corners cornersOf(const ObjReader &reader)
{
    Corners corners;
    for (qint32 i = 0; i < reader.cornerCount(); ++i) {
        const ObjCorner c = reader.corner(i);
        corners.append({ c.position, c.normal, c.texCoord });
    }
    return corners;
}

// The import as a plain sequence of builder calls, one per line, value, corner and face: the
// state that the bulk import must reproduce for files within the builder's input contract.
bool feedLineByLine(const QString &path, ModelBuilder &builder)
{
    const QString names[3]
        = { QStringLiteral("va_Vertex"), QStringLiteral("va_Normal"), QStringLiteral("va_TexCoord") };
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly | QIODevice::Text))
        return false;
    builder.createMaterialGroup(defaultGroup(), makeDefaultMaterial(), -1, 0);
    QString material = defaultGroup();
    unsigned int face = 0;
    unsigned int cornerTotal = 0;
    QTextStream text(&file);
    ObjReader reader(&text);
    reader.setDirectory(QFileInfo(path).dir().absolutePath());
    for (; reader.hasLine(); reader.advance()) {
        if (!reader.parse())
            continue;
        const auto type = reader.lineType();
        if (type == ObjLineType::Vertex || type == ObjLineType::Normal || type == ObjLineType::TexCoord) {
            const QString &name = names[int(type)];
            const int components = type == ObjLineType::TexCoord ? 2 : 3;
            if (!builder.hasVertexAttribute(name))
                builder.createVertexAttribute(name, components, GLType::Float, 0, 0);
            builder.addValuesToVertexAttribute(name, components, reader.lineValues(), GLType::Float);
        } else if (type == ObjLineType::Face) {
            const auto n = unsigned(reader.cornerCount());
            builder.addVertexCountsToFaces(1, &n);
            for (qint32 i = 0; i < reader.cornerCount(); ++i) {
                const ObjCorner corner = reader.corner(i);
                const unsigned int indices[3] = { corner.position, corner.normal, corner.texCoord };
                for (int a = 0; a < 3; ++a) {
                    if (builder.hasVertexAttribute(names[a]))
                        builder.addIndicesToVertexAttribute(names[a], 1, &indices[a]);
                }
            }
            builder.addFacesToMaterialGroup(material, 1, &face, QString());
            ++face;
            cornerTotal += n;
        } else if (type == ObjLineType::MaterialLibrary) {
            if (!loadMaterialLibrary(reader.lineName(), builder))
                return false;
        } else if (type == ObjLineType::UseMaterial) {
            material = reader.lineName();
        }
    }
    if (!builder.hasVertexAttribute(names[1]))
        builder.generateNormals(names[1]);
    if (!builder.hasVertexAttribute(names[2])) {
        const float origin[2] = { 0, 0 };
        const unsigned int zero = 0;
        builder.createVertexAttribute(names[2], 2, GLType::Float, 0, 0);
        builder.addValuesToVertexAttribute(names[2], 2, origin, GLType::Float);
        for (unsigned int i = 0; i < cornerTotal; ++i)
            builder.addIndicesToVertexAttribute(names[2], 1, &zero);
    }
    return true;
}

// True when there are positions and every attribute holds one in-range index per corner.
bool meetsInputContract(ModelBuilder &builder)
{
    if (!builder.hasVertexAttribute(QStringLiteral("va_Vertex")))
        return false;
    const auto counts = indicesOf(ModelBuilderProbe::verticesPerFace(builder));
    const size_t corners = std::accumulate(counts.begin(), counts.end(), size_t(0));
    for (const auto &attribute : ModelBuilderProbe::vertexAttributes(builder)) {
        const size_t vertices = attribute.values->size() / size_t(attribute.componentsPerVertex);
        const auto *indices = static_cast<const unsigned int *>(attribute.indices->data(0));
        if (attribute.indices->size() != corners
            || !std::all_of(indices, indices + corners, [&](unsigned int i) { return i < vertices; }))
            return false;
    }
    return true;
}

// The first difference between two builders' input states, or null.
QString inputDifference(ModelBuilder &a, ModelBuilder &b)
{
    if (indicesOf(ModelBuilderProbe::verticesPerFace(a)) != indicesOf(ModelBuilderProbe::verticesPerFace(b)))
        return QStringLiteral("face corner counts");
    if (ModelBuilderProbe::normalsAttributeName(a) != ModelBuilderProbe::normalsAttributeName(b))
        return QStringLiteral("normals request");
    auto &groupsA = ModelBuilderProbe::materialGroups(a);
    auto &groupsB = ModelBuilderProbe::materialGroups(b);
    if (groupsA.keys() != groupsB.keys())
        return QStringLiteral("group names");
    for (auto group = groupsA.cbegin(); group != groupsA.cend(); ++group) {
        const auto &other = groupsB[group.key()];
        if (group->id != other.id || group->flags != other.flags || group->material != other.material
            || group->objectName.isNull() != other.objectName.isNull()
            || indicesOf(group->faces) != indicesOf(other.faces))
            return QStringLiteral("group ") + group.key();
    }
    auto &attributesA = ModelBuilderProbe::vertexAttributes(a);
    auto &attributesB = ModelBuilderProbe::vertexAttributes(b);
    if (attributesA.keys() != attributesB.keys())
        return QStringLiteral("attribute names");
    for (auto attribute = attributesA.cbegin(); attribute != attributesA.cend(); ++attribute) {
        const auto &other = attributesB[attribute.key()];
        if (attribute->componentsPerVertex != other.componentsPerVertex
            || floatsOf(attribute->values) != floatsOf(other.values)
            || indicesOf(attribute->indices) != indicesOf(other.indices))
            return QStringLiteral("attribute ") + attribute.key();
    }
    return QString();
}

} // namespace

class TestObjImport : public QObject
{
    Q_OBJECT

private slots:
    void readerConvertsValueLines_data();
    void readerConvertsValueLines();
    void readerPassesOverOtherLines();
    void readerReadsFaceCorners_data();
    void readerReadsFaceCorners();
    void readerReadsNames_data();
    void readerReadsNames();

    void missingObjFileFails_data();
    void missingObjFileFails();
    void missingMaterialLibraryFails_data();
    void missingMaterialLibraryFails();
    void positionsOnlyFileGetsGeneratedNormalsAndConstantTexCoords();
    void fullFileFeedsEveryAttribute();
    void facesGoToTheGroupTheirMaterialNamesWhenRead();
    void cornersWithoutAnIndexUseOneDefaultValue();
    void unusableFacesAreSkippedWithAWarning_data();
    void unusableFacesAreSkippedWithAWarning();
    void skippedFaceWarningsStopAfterTwenty_data();
    void skippedFaceWarningsStopAfterTwenty();
    void corpusFilesGiveInRangeIndices();
    void importMatchesLineByLineFeeding_data();
    void importMatchesLineByLineFeeding();

private:
    ObjTestFiles _files;
};

void TestObjImport::readerConvertsValueLines_data()
{
    QTest::addColumn<QString>("line");
    QTest::addColumn<int>("type");
    QTest::addColumn<Floats>("values");

    const int v = int(ObjLineType::Vertex);
    const int vn = int(ObjLineType::Normal);
    const int vt = int(ObjLineType::TexCoord);
    QTest::newRow("fourth coordinate ignored") << "v 1 2 3 4" << v << Floats { 1, 2, 3 };
    QTest::newRow("third texture coordinate ignored") << "vt 0.5 0.25 0" << vt << Floats { 0.5f, 0.25f };
    QTest::newRow("word that is no number") << "v 1 x 3" << v << Floats { 1, 0, 3 };
    QTest::newRow("# only marks a comment first") << "v 1 2 # note" << v << Floats { 1, 2, 0 };
    QTest::newRow("blanks and tabs") << "  \tv  1\t\t2   3  " << v << Floats { 1, 2, 3 };
    QTest::newRow("missing third position") << "v 1 2" << v << Floats { 1, 2, 0 };
    QTest::newRow("missing third normal") << "vn 0 1" << vn << Floats { 0, 1, 0 };
    QTest::newRow("missing second texture coordinate") << "vt 0.5" << vt << Floats { 0.5f, 0 };
    QTest::newRow("bare v") << "v" << v << Floats { 0, 0, 0 };
}

void TestObjImport::readerConvertsValueLines()
{
    QFETCH(QString, line);
    QFETCH(int, type);
    QFETCH(Floats, values);

    // Earlier values must not survive into a line that lacks numbers.
    ParsedText parsed(QStringLiteral("v 9 9 9\nvn 9 9 9\nvt 9 9\n") + line + u'\n');
    QCOMPARE(int(parsed.reader.lineType()), type);
    QVERIFY(parsed.lastOk);
    QCOMPARE(Floats(parsed.reader.lineValues(), parsed.reader.lineValues() + values.size()), values);
}

void TestObjImport::readerPassesOverOtherLines()
{
    QString content = QStringLiteral("V 1 2 3\no cube\ng part\ns 1\nl 1 2\nvp 0.5\n#v 1 2 3\n\n  \t \nvt 1 2\n");
    QTextStream stream(&content, QIODevice::ReadOnly);
    ObjReader reader(&stream);
    QCOMPARE(reader.lineType(), ObjLineType::TexCoord);
    QCOMPARE(reader.lineNumber(), 10);
    QCOMPARE(reader.positionCount(), 0);
    QCOMPARE(reader.texCoordCount(), 1);
    reader.advance();
    QVERIFY(!reader.hasLine());
    QVERIFY(!reader.parse());
}

void TestObjImport::readerReadsFaceCorners_data()
{
    QTest::addColumn<QString>("line");
    QTest::addColumn<bool>("ok");
    QTest::addColumn<Corners>("corners");

    // Read after three "v", two "vt" and two "vn" lines.
    QTest::newRow("p") << "f 1 2 3" << true << Corners { { 0, N, N }, { 1, N, N }, { 2, N, N } };
    QTest::newRow("relative p") << "f -3 -2 -1" << true << Corners { { 0, N, N }, { 1, N, N }, { 2, N, N } };
    QTest::newRow("p/t/n") << "f 1/2/3" << true << Corners { { 0, 2, 1 } };
    QTest::newRow("p//n") << "f 1//3" << true << Corners { { 0, 2, N } };
    QTest::newRow("p/t") << "f 1/2" << true << Corners { { 0, N, 1 } };
    QTest::newRow("p/") << "f 1/" << true << Corners { { 0, N, N } };
    QTest::newRow("0 is no index") << "f 0/0/0" << true << Corners { { N, N, N } };
    QTest::newRow("fourth field ignored") << "f 1/2/1/x" << true << Corners { { 0, 0, 1 } };
    QTest::newRow("relative t and n") << "f -1/-2/-1" << true << Corners { { 2, 1, 0 } };
    QTest::newRow("relative before the first line") << "f -4" << true << Corners { { 0xFFFFFFFFu, N, N } };
    QTest::newRow("beyond the count passes") << "f 7" << true << Corners { { 6, N, N } };
    QTest::newRow("comment after corners")
        << "f 1 2 3 # half a quad" << true << Corners { { 0, N, N }, { 1, N, N }, { 2, N, N } };
    QTest::newRow("bare f") << "f" << true << Corners {};
    QTest::newRow("only a comment") << "f # nothing" << true << Corners {};
    QTest::newRow("word that is no number") << "f 1 2 x" << false << Corners {};
    QTest::newRow("empty position") << "f /1 2 3" << false << Corners {};
    QTest::newRow("bad texture coordinate") << "f 1/x" << false << Corners {};
    QTest::newRow("bad normal") << "f 1/1/1.5" << false << Corners {};
    QTest::newRow("outside 32 bits") << "f 4294967297" << false << Corners {};
}

void TestObjImport::readerReadsFaceCorners()
{
    QFETCH(QString, line);
    QFETCH(bool, ok);
    QFETCH(Corners, corners);

    ParsedText parsed(QStringLiteral("v 0 0 0\nv 0 0 0\nvt 0 0\nv 0 0 0\nvn 0 0 1\nvt 0 0\nvn 0 0 1\n") + line);
    QCOMPARE(parsed.reader.lineType(), ObjLineType::Face);
    QCOMPARE(parsed.lastOk, ok);
    if (ok)
        QCOMPARE(cornersOf(parsed.reader), corners);
}

void TestObjImport::readerReadsNames_data()
{
    QTest::addColumn<QString>("line");
    QTest::addColumn<bool>("ok");
    QTest::addColumn<QString>("name");

    QTest::newRow("relative library") << "mtllib materials.mtl" << true << "/models/materials.mtl";
    QTest::newRow("absolute library") << "mtllib /lib/a.mtl" << true << "/lib/a.mtl";
    QTest::newRow("first library only") << "mtllib a.mtl b.mtl" << true << "/models/a.mtl";
    QTest::newRow("library in a subfolder") << "mtllib ../m/x.mtl" << true << "/models/../m/x.mtl";
    QTest::newRow("material") << "usemtl red # shiny" << true << "red";
    QTest::newRow("bare usemtl") << "usemtl" << false << QString();
    QTest::newRow("bare mtllib") << "mtllib   " << false << QString();
}

void TestObjImport::readerReadsNames()
{
    QFETCH(QString, line);
    QFETCH(bool, ok);
    QFETCH(QString, name);

    ParsedText parsed(line);
    QCOMPARE(parsed.lastOk, ok);
    if (ok)
        QCOMPARE(parsed.reader.lineName(), name);
}

void TestObjImport::missingObjFileFails_data()
{
    QTest::addColumn<QString>("path");
    QTest::newRow("relative") << "no/such/model.obj";
    QTest::newRow("absolute") << _files.path(QStringLiteral("missing.obj"));
    QTest::newRow("directory") << _files.path(QString());
}

void TestObjImport::missingObjFileFails()
{
    QFETCH(QString, path);
    ModelBuilder builder;
    QString error;
    QVERIFY(!readObjModel(path, builder, error));
    QCOMPARE(error, QStringLiteral("Failed to load OBJ file '%1'").arg(path));
    QVERIFY(!builder.hasMaterialGroup(defaultGroup()));
}

void TestObjImport::missingMaterialLibraryFails_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<QString>("library"); // as named in the message
    _files.write(QStringLiteral("found.mtl"), "newmtl red\n");
    QTest::newRow("missing") << QByteArray("v 0 0 0\nmtllib missing.mtl\nf 1 1 1\n")
                             << _files.path(QStringLiteral("missing.mtl"));
    // Another spelling of a library read before is still a path of its own: here one that
    // leads nowhere.
    QTest::newRow("read before, through a missing folder")
        << QByteArray("mtllib found.mtl\nmtllib nowhere/../found.mtl\n")
        << _files.path(QStringLiteral("nowhere/../found.mtl"));
}

void TestObjImport::missingMaterialLibraryFails()
{
    QFETCH(QByteArray, content);
    QFETCH(QString, library);
    const QString path = _files.write(QStringLiteral("nolib.obj"), content);
    ModelBuilder builder;
    QString error;
    QVERIFY(!readObjModel(path, builder, error));
    QCOMPARE(error, QStringLiteral("Failed to load MTL file '%1'").arg(library));
}

void TestObjImport::positionsOnlyFileGetsGeneratedNormalsAndConstantTexCoords()
{
    const QString path = _files.write(
        QStringLiteral("quad.obj"), "# two faces\nv 0 0 0\nv 1 0 0\nv 0 1 0\nv 1 1 0\nf 1 2 3\nf 2 4 3 1\n");
    ModelBuilder builder;
    QString error = QStringLiteral("untouched");
    QVERIFY(readObjModel(path, builder, error));
    QCOMPARE(error, QStringLiteral("untouched"));

    auto &groups = ModelBuilderProbe::materialGroups(builder);
    QCOMPARE(groups.keys(), QStringList { defaultGroup() });
    QCOMPARE(groups[defaultGroup()].id, 0);
    QCOMPARE(indicesOf(groups[defaultGroup()].faces), (Indices { 0, 1 }));
    QVERIFY(groups[defaultGroup()].objectName.isNull());
    QCOMPARE(indicesOf(ModelBuilderProbe::verticesPerFace(builder)), (Indices { 3, 4 }));

    auto &attributes = ModelBuilderProbe::vertexAttributes(builder);
    QCOMPARE(attributes.size(), 2);
    const auto &positions = attributes[QStringLiteral("va_Vertex")];
    QCOMPARE(positions.componentsPerVertex, 3);
    QCOMPARE(positions.values->type(), GLType::Float);
    QCOMPARE(floatsOf(positions.values), (Floats { 0, 0, 0, 1, 0, 0, 0, 1, 0, 1, 1, 0 }));
    QCOMPARE(indicesOf(positions.indices), (Indices { 0, 1, 2, 1, 3, 2, 0 }));
    const auto &texCoords = attributes[QStringLiteral("va_TexCoord")];
    QCOMPARE(texCoords.componentsPerVertex, 2);
    QCOMPARE(floatsOf(texCoords.values), (Floats { 0, 0 }));
    QCOMPARE(indicesOf(texCoords.indices), (Indices { 0, 0, 0, 0, 0, 0, 0 }));
    QCOMPARE(ModelBuilderProbe::normalsAttributeName(builder), QStringLiteral("va_Normal"));
    QVERIFY(builder.isValid());
}

void TestObjImport::fullFileFeedsEveryAttribute()
{
    const QString path = _files.write(QStringLiteral("full.obj"),
        "v 0 0 0\nv 1 0 0\nv 0 1 0\nvt 0 0\nvt 1 0\nvt 0 1\nvn 0 0 1\nvn 0 0 -1\n"
        "f 1/1/1 2/2/1 3/3/1\nf -1/-1/-2 -2/-2/-2 -3/-3/-2 # reversed\n"
        "f 1//2 3//2 2//2\n");
    ModelBuilder builder;
    QString error;
    QVERIFY(readObjModel(path, builder, error));

    auto &attributes = ModelBuilderProbe::vertexAttributes(builder);
    QCOMPARE(attributes.size(), 3);
    QCOMPARE(indicesOf(attributes[QStringLiteral("va_Vertex")].indices), (Indices { 0, 1, 2, 2, 1, 0, 0, 2, 1 }));
    const auto &normals = attributes[QStringLiteral("va_Normal")];
    QCOMPARE(normals.componentsPerVertex, 3);
    QCOMPARE(floatsOf(normals.values), (Floats { 0, 0, 1, 0, 0, -1 }));
    QCOMPARE(indicesOf(normals.indices), (Indices { 0, 0, 0, 0, 0, 0, 1, 1, 1 }));
    // The third face has no texture coordinates: one (0, 0) is appended for it.
    const auto &texCoords = attributes[QStringLiteral("va_TexCoord")];
    QCOMPARE(floatsOf(texCoords.values), (Floats { 0, 0, 1, 0, 0, 1, 0, 0 }));
    QCOMPARE(indicesOf(texCoords.indices), (Indices { 0, 1, 2, 2, 1, 0, 3, 3, 3 }));
    QVERIFY(ModelBuilderProbe::normalsAttributeName(builder).isNull());
    QCOMPARE(indicesOf(ModelBuilderProbe::verticesPerFace(builder)), (Indices { 3, 3, 3 }));
}

void TestObjImport::facesGoToTheGroupTheirMaterialNamesWhenRead()
{
    _files.write(QStringLiteral("colours.mtl"), "newmtl red\nKd 1 0 0\nnewmtl blue\nKd 0 0 1\n");
    const QString path = _files.write(QStringLiteral("groups.obj"),
        "v 0 0 0\nv 1 0 0\nv 0 1 0\n"
        "f 1 2 3\n" // 0: <default>
        "usemtl red\n"
        "f 1 2 3\n" // 1: red is no group yet
        "mtllib colours.mtl\n"
        "f 1 2 3\n" // 2: red
        "usemtl blue\n"
        "f\n" // 3: blue, no corners
        "f 1 2 x\n" // fails to parse: no face number
        "mtllib colours.mtl\n"
        "usemtl green\n"
        "f 1 2 3\n" // 4: green is never a group
        "usemtl <default>\n"
        "f 3 2 1\n"); // 5: <default>
    ModelBuilder builder;
    QString error;
    QVERIFY(readObjModel(path, builder, error));

    auto &groups = ModelBuilderProbe::materialGroups(builder);
    QCOMPARE(groups.size(), 3);
    QCOMPARE(builder.materialGroupId(defaultGroup()), 0);
    QCOMPARE(builder.materialGroupId(QStringLiteral("red")), 1);
    QCOMPARE(builder.materialGroupId(QStringLiteral("blue")), 2);
    QCOMPARE(indicesOf(groups[defaultGroup()].faces), (Indices { 0, 5 }));
    QCOMPARE(indicesOf(groups[QStringLiteral("red")].faces), (Indices { 2 }));
    QCOMPARE(indicesOf(groups[QStringLiteral("blue")].faces), (Indices { 3 }));
    QCOMPARE(indicesOf(ModelBuilderProbe::verticesPerFace(builder)), (Indices { 3, 3, 3, 0, 3, 3 }));
    QCOMPARE(ModelBuilderProbe::vertexAttributes(builder)[QStringLiteral("va_TexCoord")].indices->size(), 15u);
}

void TestObjImport::cornersWithoutAnIndexUseOneDefaultValue()
{
    const QString path = _files.write(QStringLiteral("defaults.obj"),
        "v 0 0 0\nv 1 0 0\nv 0 1 0\n"
        "f 1/1/1 2/1/1 3/1/1\n" // before any vt or vn: defaults
        "vt 0.5 0.5\nvn 0 0 1\n"
        "f 1/1/1 2//1 3/1 1/0/0\n");
    ModelBuilder builder;
    QString error;
    QVERIFY(readObjModel(path, builder, error));

    auto &attributes = ModelBuilderProbe::vertexAttributes(builder);
    const auto &normals = attributes[QStringLiteral("va_Normal")];
    QCOMPARE(floatsOf(normals.values), (Floats { 0, 0, 1, 0, 0, 0 }));
    QCOMPARE(indicesOf(normals.indices), (Indices { 1, 1, 1, 0, 0, 1, 1 }));
    const auto &texCoords = attributes[QStringLiteral("va_TexCoord")];
    QCOMPARE(floatsOf(texCoords.values), (Floats { 0.5f, 0.5f, 0, 0 }));
    QCOMPARE(indicesOf(texCoords.indices), (Indices { 1, 1, 1, 0, 1, 0, 1 }));
    QCOMPARE(indicesOf(attributes[QStringLiteral("va_Vertex")].indices), (Indices { 0, 1, 2, 0, 1, 2, 0 }));
}

void TestObjImport::unusableFacesAreSkippedWithAWarning_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<QString>("warning"); // with FILE for the path
    QTest::addColumn<Indices>("positionIndices");
    QTest::addColumn<Indices>("defaultFaces");

    const QByteArray triangle = "v 0 0 0\nv 1 0 0\nv 0 1 0\n";
    QTest::newRow("position left out") << triangle + "f 1 2 3\nf 1 0 2\nf 3 2 1\n"
                                       << "FILE:5: face skipped: corner 2 has no position index"
                                       << Indices { 0, 1, 2, 2, 1, 0 } << Indices { 0, 1 };
    QTest::newRow("texture coordinate of a file without any")
        << triangle + "f 1 2/7 3\nf 2 3 1\n"
        << QString() << Indices { 0, 1, 2, 1, 2, 0 } << Indices { 0, 1 };
    QTest::newRow("position beyond the file") << triangle + "f 1 2 4\nf 2 3 1\n"
                                              << "FILE:4: face skipped: position index 4 is outside the 3 "
                                                 "positions of the file"
                                              << Indices { 1, 2, 0 } << Indices { 0 };
    QTest::newRow("relative before the first line") << QByteArray("v 0 0 0\nf -2 1 1\nv 1 0 0\nv 0 1 0\nf 1 2 3\n")
                                                    << "FILE:2: face skipped: position index 0 is outside the 3 "
                                                       "positions of the file"
                                                    << Indices { 0, 1, 2 } << Indices { 0 };
    QTest::newRow("forward reference kept")
        << "f 1 2 3\n" + triangle << QString() << Indices { 0, 1, 2 } << Indices { 0 };
    QTest::newRow("texture coordinate beyond the file")
        << triangle + "vt 0 0\nf 1/1 2/2 3/1\nf 1/1 2/1 3/1\n"
        << "FILE:5: face skipped: texture coordinate index 2 is outside the 1 texture coordinates of the file"
        << Indices { 0, 1, 2 } << Indices { 0 };
    QTest::newRow("texture coordinate beyond the file, corners alike")
        << triangle + "vt 0 0\nvt 1 0\nf 1/1 2/2 3/3\nf 2/2 1/1 2/2\n"
        << "FILE:6: face skipped: texture coordinate index 3 is outside the 2 texture coordinates of the file"
        << Indices { 1, 0, 1 } << Indices { 0 };
    QTest::newRow("normal beyond the file") << triangle + "vn 0 0 1\nf 1//1 2//5 3//1\nf 1//1 2//1 3//1\n"
                                            << "FILE:5: face skipped: normal index 5 is outside the 1 normals "
                                               "of the file"
                                            << Indices { 0, 1, 2 } << Indices { 0 };
}

void TestObjImport::unusableFacesAreSkippedWithAWarning()
{
    QFETCH(QByteArray, content);
    QFETCH(QString, warning);
    QFETCH(Indices, positionIndices);
    QFETCH(Indices, defaultFaces);

    const QString path = _files.write(QStringLiteral("skipped.obj"), content);
    ModelBuilder builder;
    QString error;
    MessageCapture capture;
    QVERIFY(readObjModel(path, builder, error));

    const QStringList expected = warning.isNull() ? QStringList() : QStringList { warning.replace("FILE", path) };
    QCOMPARE(capture.texts(QtWarningMsg), expected);
    auto &attributes = ModelBuilderProbe::vertexAttributes(builder);
    QCOMPARE(indicesOf(attributes[QStringLiteral("va_Vertex")].indices), positionIndices);
    QCOMPARE(indicesOf(ModelBuilderProbe::materialGroups(builder)[defaultGroup()].faces), defaultFaces);
    for (const auto &attribute : attributes)
        QCOMPARE(attribute.indices->size(), size_t(positionIndices.size()));
}

void TestObjImport::skippedFaceWarningsStopAfterTwenty_data()
{
    QTest::addColumn<int>("badFaces");
    QTest::addColumn<QString>("summary");
    QTest::newRow("twenty") << 20 << QString();
    QTest::newRow("twenty-one") << 21 << "FILE: 1 more faces skipped";
    QTest::newRow("twenty-five") << 25 << "FILE: 5 more faces skipped";
}

void TestObjImport::skippedFaceWarningsStopAfterTwenty()
{
    QFETCH(int, badFaces);
    QFETCH(QString, summary);

    // Other lines now and then between the faces, so that the faces' lines do not all follow on.
    QByteArray content = "v 0 0 0\nv 1 0 0\nv 0 1 0\n";
    int line = 3;
    QList<int> badLines;
    for (int i = 0; i < badFaces; ++i) {
        content += "f 1 2 9\n";
        badLines << ++line;
        if (i % 3 == 0) {
            content += "# between\n";
            ++line;
        }
        content += "f 1 2 3\n";
        ++line;
    }
    const QString path = _files.write(QStringLiteral("many.obj"), content);
    ModelBuilder builder;
    QString error;
    MessageCapture capture;
    QVERIFY(readObjModel(path, builder, error));

    const QStringList warnings = capture.texts(QtWarningMsg);
    QCOMPARE(warnings.size(), summary.isNull() ? 20 : 21);
    for (int i = 0; i < 20; ++i) {
        QCOMPARE(warnings.at(i),
            QStringLiteral("%1:%2: face skipped: position index 9 is outside the 3 positions of the file")
                .arg(path)
                .arg(badLines[i]));
    }
    if (!summary.isNull())
        QCOMPARE(warnings.last(), summary.replace("FILE", path));
    QCOMPARE(ModelBuilderProbe::verticesPerFace(builder)->size(), size_t(badFaces));
}

void TestObjImport::corpusFilesGiveInRangeIndices()
{
    const QString corpus = QStringLiteral(QELMODEL_CORPUS_DIR);
    if (!QFileInfo(corpus).isDir())
        QSKIP("no model corpus");
    MessageCapture capture; // skipped faces of broken files are expected, not noise
    int read = 0;
    QDirIterator files(
        corpus, { QStringLiteral("*.obj"), QStringLiteral("*.OBJ") }, QDir::Files, QDirIterator::Subdirectories);
    while (files.hasNext()) {
        const QString path = files.next();
        ModelBuilder builder;
        QString error;
        if (!readObjModel(path, builder, error)) {
            QVERIFY2(error.startsWith(QStringLiteral("Failed to load MTL file")), qPrintable(error));
            continue;
        }
        ++read;
        const auto counts = indicesOf(ModelBuilderProbe::verticesPerFace(builder));
        const size_t corners = std::accumulate(counts.begin(), counts.end(), size_t(0));
        for (const auto &[name, attribute] : ModelBuilderProbe::vertexAttributes(builder).asKeyValueRange()) {
            const QByteArray where = (path + u' ' + name).toUtf8();
            QVERIFY2(attribute.indices->size() == corners, where.constData());
            const size_t vertices = attribute.values->size() / size_t(attribute.componentsPerVertex);
            const auto *indices = static_cast<const unsigned int *>(attribute.indices->data(0));
            QVERIFY2(std::all_of(indices, indices + corners, [&](unsigned int i) { return i < vertices; }),
                where.constData());
        }
    }
    QVERIFY(read > 0);
}

void TestObjImport::importMatchesLineByLineFeeding_data()
{
    QTest::addColumn<QString>("path");
    _files.write(QStringLiteral("lib.mtl"), "newmtl red\nKd 1 0 0\nnewmtl blue\nnewmtl <default>\n");
    QTest::newRow("materials") << _files.write(QStringLiteral("same.obj"),
        "mtllib lib.mtl\nv 0 0 0\nv 1 0 0\nvt 0 0\nv 0 1 0\nvn 0 0 1\n"
        "usemtl blue\nf 1/1/1 2/1/1 3/1/1\nusemtl grey\nf -3/-1/-1 -2/1/1 -1/1/1\n"
        "f\nusemtl red\nf 3/1/1 2/1/1 1/1/1 2/1/1\nusemtl blue\nf 1/1/1 2/1/1 3/1/1\n");
    // A library named again, under any spelling, is read once; the result is the same as
    // reading it at every line.
    _files.write(QStringLiteral("more.mtl"), "newmtl green\nnewmtl red\nKd 0 1 0\n");
    QDir(_files.path(QString())).mkdir(QStringLiteral("sub"));
    QTest::newRow("libraries named again")
        << _files.write(QStringLiteral("again.obj"),
               "v 0 0 0\nv 1 0 0\nv 0 1 0\nusemtl green\nf 1 2 3\nmtllib lib.mtl\nusemtl red\nf 1 2 3\n"
               "mtllib ./lib.mtl\nusemtl green\nf 1 2 3\nmtllib more.mtl\nf 1 2 3\nmtllib sub/../lib.mtl\n"
               "mtllib "
            + _files.path(QStringLiteral("more.mtl")).toUtf8()
            + "\nmtllib lib.mtl\nusemtl blue\nf 3 2 1\nusemtl green\nf 1 2 3\n");
    // Corners that give every kind one number share one index stream until they part.
    const QByteArray values = "v 0 0 0\nv 1 0 0\nv 0 1 0\nvt 0 0\nvt 1 0\nvt 0 1\nvn 0 0 1\nvn 0 1 0\nvn 1 0 0\n";
    QTest::newRow("corners alike") << _files.write(QStringLiteral("alike.obj"),
        values + "f 1/1/1 2/2/2 3/3/3\nf -1/-1/-1 -3/-3/-3 -2/-2/-2\nf 2/2/2 3/3/3 1/1/1\n");
    QTest::newRow("corners part ways") << _files.write(QStringLiteral("parting.obj"),
        values + "f 1/1/1 2/2/2 3/3/3\nf 1/1/1 2/3/2 3/2/1\nf 3/3/3 1/1/1 2/2/2\n");
    QTest::newRow("normals alike only") << _files.write(QStringLiteral("normals.obj"),
        values + "f 1/2/1 2/3/2 3/1/3\nf 3/3/3 2/2/2 1/1/1\n");
    QTest::newRow("texture coordinates before positions") << _files.write(QStringLiteral("first.obj"),
        "vt 0 0\nvt 1 0\nvt 0 1\nv 0 0 0\nv 1 0 0\nv 0 1 0\nf 1/1 2/2 3/3\nf 3/3 2/2 1/1\n");
    const QString corpus = QStringLiteral(QELMODEL_CORPUS_DIR);
    QDirIterator files(
        corpus, { QStringLiteral("*.obj"), QStringLiteral("*.OBJ") }, QDir::Files, QDirIterator::Subdirectories);
    while (files.hasNext()) {
        const QString path = files.next();
        QTest::newRow(qPrintable(QDir(corpus).relativeFilePath(path))) << path;
    }
}

void TestObjImport::importMatchesLineByLineFeeding()
{
    QFETCH(QString, path);
    MessageCapture capture;
    ModelBuilder reference;
    if (!feedLineByLine(path, reference) || !meetsInputContract(reference))
        QSKIP("outside the builder's input contract when fed line by line");
    ModelBuilder imported;
    QString error;
    QVERIFY(readObjModel(path, imported, error));
    QCOMPARE(inputDifference(imported, reference), QString());
    QVERIFY(capture.texts(QtWarningMsg).isEmpty());
}

QTEST_GUILESS_MAIN(TestObjImport)
#include "tst_objimport.moc"
