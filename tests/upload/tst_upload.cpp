#include "GLTestContext.h"
#include "MessageCapture.h"
#include "ModelBuilderProbe.h"
#include "NormalGeneration.h"
#include "StreamElements.h"
#include "VectorNormalization.h"

#include <QelGL/GPUModel.h>

#include <QRandomGenerator>
#include <QTest>

#include <cmath>
#include <cstring>
#include <numeric>

using namespace Vardune::Qel;

namespace {

constexpr unsigned int kFloat = 0x1406;
constexpr unsigned int kUnsignedShort = 0x1403;
constexpr unsigned int kUnsignedInt = 0x1405;
constexpr unsigned int kStaticDraw = 0x88E4;
constexpr unsigned int kTriangles = 4;

// A unit cube: six quads, counter-clockwise seen from outside. Texture coordinates are indexed
// independently of the positions: every face uses the four corners of the unit square.
const float kCubePositions[24] = { 0, 0, 0, 1, 0, 0, 1, 1, 0, 0, 1, 0, 0, 0, 1, 1, 0, 1, 1, 1, 1, 0, 1, 1 };
const unsigned int kCubeFaces[6][4] = { { 0, 3, 2, 1 }, { 4, 5, 6, 7 }, { 0, 1, 5, 4 },
                                        { 3, 7, 6, 2 }, { 0, 4, 7, 3 }, { 1, 2, 6, 5 } };
const float kSquareCorners[8] = { 0, 0, 1, 0, 1, 1, 0, 1 };

InstanceData colour(float r, float g, float b)
{
    InstanceData material(QStringLiteral("OBJMaterial"));
    const float kd[3] = { r, g, b };
    material.set(QStringLiteral("Kd"), kd, sizeof kd);
    return material;
}

InstanceData identityInstance()
{
    InstanceData instance(QStringLiteral("InstanceInfo"));
    const float identity[16] = { 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1 };
    instance.set(QStringLiteral("ModelMatrix"), identity, sizeof identity);
    return instance;
}

// The cube with "sides" (faces 0-2, flags 0x1) and "caps" (faces 3-5, flags 0x2).
void feedCube(ModelBuilder &builder)
{
    builder.createMaterialGroup(QStringLiteral("sides"), colour(1, 0, 0), -1, 0x1);
    builder.createMaterialGroup(QStringLiteral("caps"), colour(0, 0, 1), -1, 0x2);
    builder.createVertexAttribute(QStringLiteral("va_Vertex"), 3, kFloat, 0, 0);
    builder.addValuesToVertexAttribute(QStringLiteral("va_Vertex"), 24, kCubePositions, kFloat);
    builder.createVertexAttribute(QStringLiteral("va_TexCoord"), 2, kFloat, 0, 0);
    builder.addValuesToVertexAttribute(QStringLiteral("va_TexCoord"), 8, kSquareCorners, kFloat);
    const unsigned int squareCorner[4] = { 0, 1, 2, 3 };
    const unsigned int four = 4;
    for (unsigned int f = 0; f < 6; ++f) {
        builder.addVertexCountsToFaces(1, &four);
        builder.addIndicesToVertexAttribute(QStringLiteral("va_Vertex"), 4, kCubeFaces[f]);
        builder.addIndicesToVertexAttribute(QStringLiteral("va_TexCoord"), 4, squareCorner);
        builder.addFacesToMaterialGroup(f < 3 ? QStringLiteral("sides") : QStringLiteral("caps"), 1, &f,
                                        f < 3 ? QStringLiteral("box") : QStringLiteral("lid"));
    }
}

// The vertex buffer of an attribute, as OpenGL holds it.
QByteArray uploadedValues(const GPUModel &model, const QString &attribute)
{
    const auto attributes = model.draw(0).buffers->VAO()->attributes();
    for (const auto &entry : attributes) {
        if (entry.name == attribute)
            return entry.buffer->readBack();
    }
    return {};
}

int drawOfGroup(const GPUModel &model, const QString &group, int *position)
{
    for (int d = 0; d < model.drawCount(); ++d) {
        const qsizetype at = model.draw(d).materialNames.indexOf(group);
        if (at >= 0) {
            *position = static_cast<int>(at);
            return d;
        }
    }
    return -1;
}

// Attribute "p" with the given positions, one corner per entry of `corners`, faces of `counts`
// corners; the caller makes the groups.
void feedFaces(ModelBuilder &builder, const QList<float> &positions, const QList<unsigned int> &corners,
               const QList<unsigned int> &counts)
{
    builder.createVertexAttribute(QStringLiteral("p"), 3, kFloat, 0, 0);
    builder.addValuesToVertexAttribute(QStringLiteral("p"), size_t(positions.size()), positions.constData(), kFloat);
    builder.addIndicesToVertexAttribute(QStringLiteral("p"), size_t(corners.size()), corners.constData());
    builder.addVertexCountsToFaces(size_t(counts.size()), counts.constData());
}

void upload(ModelBuilder &builder, GPUModel *model, const QString &positions = QStringLiteral("va_Vertex"),
            const QString &materialIdName = QString())
{
    builder.upload(model, identityInstance(), positions, materialIdName, kStaticDraw, kTriangles);
}

} // namespace

class TestUpload : public QObject
{
    Q_OBJECT

private slots:
    void texturedCubeReachesTheGPU();
    void indexTypeFollowsVertexCount_data();
    void indexTypeFollowsVertexCount();
    void groupsBecomeDraws_data();
    void groupsBecomeDraws();
    void groupsWithoutTrianglesStillGetACommand();
    void contractViolationsAreRefused_data();
    void contractViolationsAreRefused();
    void nothingHappensWithoutContextOrValidity();
    void wrongFaceCountTypeIsReported();
    void generateNormalsArithmetic_data();
    void generateNormalsArithmetic();
    void generateNormalsMatchesOneTriangleAtATime();
};

void TestUpload::texturedCubeReachesTheGPU()
{
    GLTestContext gl;
    QEL_REQUIRE_GL(gl);
    ModelBuilder builder(nullptr, 0x3);
    feedCube(builder);
    builder.generateNormals(QStringLiteral("va_Normal"));
    MessageCapture capture;
    GPUModel model;
    upload(builder, &model);

    // 24 corners, of which (position 0, corner 0) and (position 6, corner 2) occur three
    // times each: 20 distinct vertices.
    QCOMPARE(model.drawCount(), 2);
    const DrawBuffers *first = model.draw(0).buffers;
    QCOMPARE(first->vertexCount(), 20u);
    QCOMPARE(first->indexCount(), 36);
    QCOMPARE(first->indexType(), kUnsignedShort);
    QCOMPARE(first->primitiveType(), kTriangles);

    const QList<unsigned short> indices = elementsOf<unsigned short>(first->indexBuffer()->readBack());
    const QList<float> positions = elementsOf<float>(uploadedValues(model, QStringLiteral("va_Vertex")));
    const QList<float> texCoords = elementsOf<float>(uploadedValues(model, QStringLiteral("va_TexCoord")));
    const QList<float> normals = elementsOf<float>(uploadedValues(model, QStringLiteral("va_Normal")));
    QCOMPARE(texCoords.size(), 40);

    // Each group's stretch of the shared index buffer draws its quads as (0, 1, 3), (1, 2, 3).
    const int pattern[6] = { 0, 1, 3, 1, 2, 3 };
    for (const QString &group : { QStringLiteral("sides"), QStringLiteral("caps") }) {
        int position = -1;
        const int d = drawOfGroup(model, group, &position);
        QVERIFY(d >= 0);
        const GPUModel::Draw &draw = model.draw(d);
        QCOMPARE(draw.key, group == QLatin1String("sides") ? 1ull : 2ull);
        QCOMPARE(draw.objectNames.value(position),
                 group == QLatin1String("sides") ? QStringLiteral("box") : QStringLiteral("lid"));
        const DrawElementsIndirectCommand command = draw.buffers->drawElementsIndirectCommands().at(position);
        QVERIFY(command == (DrawElementsIndirectCommand { 18, 1, command.firstIndex, 0, 0 }));
        const unsigned int firstFace = group == QLatin1String("sides") ? 0 : 3;
        for (unsigned int i = 0; i < 18; ++i) {
            const unsigned int face = firstFace + i / 6;
            const int corner = pattern[i % 6];
            const unsigned short vertex = indices.at(command.firstIndex + i);
            const unsigned int p = kCubeFaces[face][corner];
            QCOMPARE(positions.mid(3 * vertex, 3), QList<float>(kCubePositions + 3 * p, kCubePositions + 3 * p + 3));
            QCOMPARE(texCoords.mid(2 * vertex, 2), QList<float>(kSquareCorners + 2 * corner, kSquareCorners + 2 * corner + 2));
        }
        // The same buffers serve both draws.
        QCOMPARE(draw.buffers->indexBuffer(), model.draw(0).buffers->indexBuffer());
        QCOMPARE(draw.materials->name(), QStringLiteral("OBJMaterial"));
    }

    // Generated normals point inward (the faces run counter-clockwise seen from outside).
    const float third = 1.0f / std::hypot(1.0f, 1.0f, 1.0f);
    const float half = 1.0f / std::hypot(1.0f, 1.0f);
    const float capCorner = -half / std::hypot(half, half, half);
    for (int v = 0; v < 20; ++v) {
        const QList<float> p = positions.mid(3 * v, 3);
        const QList<float> n = normals.mid(3 * v, 3);
        const QList<float> uv = texCoords.mid(2 * v, 2);
        if (p == QList<float>({ 0, 0, 0 }) && uv == QList<float>({ 0, 0 })) {
            // Shared by three faces, each adding its inward unit normal at a right angle.
            QCOMPARE(n, QList<float>(3, third));
        } else if (p == QList<float>({ 1, 1, 1 }) && uv == QList<float>({ 1, 1 })) {
            // Shared by three faces, at the middle corner of their second triangles (45 degrees).
            QCOMPARE(n, QList<float>(3, capCorner));
        } else {
            // Used by one face only: its inward axis, exactly, pointing away from the side it lies on.
            QCOMPARE(std::fabs(n[0]) + std::fabs(n[1]) + std::fabs(n[2]), 1.0f);
            for (int axis = 0; axis < 3; ++axis)
                QCOMPARE(n[axis], n[axis] == 0 ? 0.0f : (p[axis] == 0 ? 1.0f : -1.0f));
        }
    }
    auto &attributes = ModelBuilderProbe::vertexAttributes(builder);
    QCOMPARE(attributes[QStringLiteral("va_Normal")].gpuIndices, attributes[QStringLiteral("va_Vertex")].gpuIndices);

    // A second upload reuses the preparation: no second weld, the same streams, the same draws.
    const QSharedPointer<ModelDataStream> triangles = ModelBuilderProbe::triangleIndices(builder);
    const QSharedPointer<ModelDataStream> normalValues = attributes[QStringLiteral("va_Normal")].gpuValues;
    GPUModel second;
    upload(builder, &second);
    QCOMPARE(capture.texts(QtDebugMsg).filter(QStringLiteral("Vertices Map")).size(), 1);
    QCOMPARE(ModelBuilderProbe::triangleIndices(builder), triangles);
    QCOMPARE(attributes[QStringLiteral("va_Normal")].gpuValues, normalValues);
    QCOMPARE(second.drawCount(), model.drawCount());
    for (int d = 0; d < model.drawCount(); ++d) {
        QCOMPARE(second.draw(d).materialNames, model.draw(d).materialNames);
        QCOMPARE(second.draw(d).buffers->drawElementsIndirectCommands(),
                 model.draw(d).buffers->drawElementsIndirectCommands());
    }
}

void TestUpload::indexTypeFollowsVertexCount_data()
{
    QTest::addColumn<int>("triangles");
    QTest::addColumn<int>("quads");
    QTest::addColumn<unsigned int>("indexType");
    QTest::newRow("65,534 vertices") << 21842 << 2 << kUnsignedShort;
    QTest::newRow("65,535 vertices") << 21845 << 0 << kUnsignedInt;
}

void TestUpload::indexTypeFollowsVertexCount()
{
    QFETCH(int, triangles);
    QFETCH(int, quads);
    QFETCH(unsigned int, indexType);
    GLTestContext gl;
    QEL_REQUIRE_GL(gl);
    // Every corner its own position, so that no vertex welds.
    const int vertexCount = 3 * triangles + 4 * quads;
    QList<float> positions;
    QList<unsigned int> corners, counts(triangles, 3u);
    for (int v = 0; v < vertexCount; ++v) {
        positions << float(v % 256) << float(v / 256) << 0.0f;
        corners << unsigned(v);
    }
    counts.append(QList<unsigned int>(quads, 4u));
    QList<unsigned int> faces(counts.size());
    std::iota(faces.begin(), faces.end(), 0u);
    ModelBuilder builder;
    feedFaces(builder, positions, corners, counts);
    builder.createMaterialGroup(QStringLiteral("g"), colour(1, 1, 1), -1, 0);
    builder.addFacesToMaterialGroup(QStringLiteral("g"), size_t(faces.size()), faces.constData(), QString());
    GPUModel model;
    upload(builder, &model, QStringLiteral("p"));

    QCOMPARE(model.drawCount(), 1);
    const DrawBuffers *draw = model.draw(0).buffers;
    QCOMPARE(draw->vertexCount(), unsigned(vertexCount));
    QCOMPARE(draw->indexType(), indexType);
    const QList<unsigned int> triangleIndices = elementsOf<unsigned int>(ModelBuilderProbe::triangleIndices(builder));
    QCOMPARE(draw->indexCount(), triangleIndices.size());
    const QByteArray stored = draw->indexBuffer()->readBack();
    const QList<unsigned short> narrow = elementsOf<unsigned short>(stored);
    QCOMPARE(indexType == kUnsignedInt ? elementsOf<unsigned int>(stored) : QList<unsigned int>(narrow.begin(), narrow.end()),
             triangleIndices);
    QCOMPARE(elementsOf<float>(uploadedValues(model, QStringLiteral("p"))), positions);
}

void TestUpload::groupsBecomeDraws_data()
{
    QTest::addColumn<qulonglong>("mask");
    QTest::addColumn<QString>("materialIdName");
    QTest::addColumn<int>("draws");
    QTest::newRow("mask 0: one draw") << 0ull << QString() << 1;
    QTest::newRow("mask 1: two draws") << 1ull << QString() << 2;
    QTest::newRow("all bits: three draws") << ~0ull << QString() << 3;
    QTest::newRow("empty but not null: ids") << 0ull << QString(QLatin1String("")) << 1;
    QTest::newRow("named: ids") << 1ull << QStringLiteral("MaterialId") << 2;
}

void TestUpload::groupsBecomeDraws()
{
    QFETCH(qulonglong, mask);
    QFETCH(QString, materialIdName);
    QFETCH(int, draws);
    GLTestContext gl;
    QEL_REQUIRE_GL(gl);
    ModelBuilder builder(nullptr, size_t(mask));
    feedFaces(builder, { 0, 0, 0, 1, 0, 0, 0, 1, 0 }, { 0, 1, 2, 0, 1, 2, 0, 1, 2 }, { 3, 3, 3 });
    for (unsigned int g = 0; g < 3; ++g) {
        const QString name = QStringLiteral("group%1").arg(g + 1);
        builder.createMaterialGroup(name, colour(float(g), 0, 0), int(g) + 7, g + 1);
        builder.addFacesToMaterialGroup(name, 1, &g, QStringLiteral("object%1").arg(g + 1));
    }
    GPUModel model;
    upload(builder, &model, QStringLiteral("p"), materialIdName);
    QCOMPARE(model.drawCount(), draws);
    QStringList names;
    QList<unsigned int> firstIndices;
    for (int d = 0; d < model.drawCount(); ++d) {
        const GPUModel::Draw &draw = model.draw(d);
        const auto commands = draw.buffers->drawElementsIndirectCommands();
        QCOMPARE(draw.instances->count(), commands.size());
        // Material ids, when named, replace the materials: each copy of the instance data holds its group's id.
        QCOMPARE(draw.materials == nullptr, !materialIdName.isNull());
        for (int i = 0; i < commands.size(); ++i) {
            const QString name = draw.materialNames.value(i);
            QCOMPARE(draw.objectNames.value(i), QString(name).replace(QStringLiteral("group"), QStringLiteral("object")));
            QCOMPARE(draw.key, qulonglong(builder.materialGroupFlags(name)) & mask);
            QCOMPARE(commands[i].count, 3u);
            const int id = builder.materialGroupId(name);
            InstanceData instance = identityInstance();
            if (!materialIdName.isNull())
                instance.set(materialIdName, &id, 4);
            else
                QCOMPARE(draw.materials->at(i), colour(float(id - 7), 0, 0));
            QCOMPARE(draw.instances->at(i), instance);
            names << name;
            firstIndices << commands[i].firstIndex;
        }
    }
    names.sort();
    std::sort(firstIndices.begin(), firstIndices.end());
    QCOMPARE(names, QStringList({ "group1", "group2", "group3" }));
    // The groups' stretches follow one another without gaps.
    QCOMPARE(firstIndices, QList<unsigned int>({ 0, 3, 6 }));
}

void TestUpload::groupsWithoutTrianglesStillGetACommand()
{
    GLTestContext gl;
    QEL_REQUIRE_GL(gl);
    ModelBuilder builder;
    feedFaces(builder, { 0, 0, 0, 1, 0, 0 }, { 0, 1, 0, 1 }, { 2, 2 });
    const unsigned int faces[2] = { 0, 1 };
    builder.createMaterialGroup(QStringLiteral("lines"), colour(1, 1, 1), -1, 0);
    builder.createMaterialGroup(QStringLiteral("empty"), colour(1, 1, 1), -1, 0);
    builder.addFacesToMaterialGroup(QStringLiteral("lines"), 2, faces, QString());
    MessageCapture capture;
    GPUModel model;
    upload(builder, &model, QStringLiteral("p"));
    QCOMPARE(capture.texts(QtWarningMsg).size(), 2); // one per face
    QCOMPARE(model.drawCount(), 1);
    QCOMPARE(model.draw(0).materialNames, QStringList({ "lines" }));
    QCOMPARE(model.draw(0).buffers->drawElementsIndirectCommands(),
             QList<DrawElementsIndirectCommand>({ DrawElementsIndirectCommand { 0, 1, 0, 0, 0 } }));
}

void TestUpload::contractViolationsAreRefused_data()
{
    QTest::addColumn<QString>("breach");
    QTest::addColumn<QString>("warning");
    QTest::newRow("index count") << "index count"
                                 << "upload refused: attribute 'va_TexCoord' has 23 indices for 24 face corners";
    QTest::newRow("index range") << "index range"
                                 << "upload refused: attribute 'va_TexCoord' index 4 at corner 5 is outside its 4 vertices";
    // Sharing the positions' indices, which reach 7: the scan that passed them for 8 positions
    // does not pass them for 4 texture coordinates.
    QTest::newRow("shared index range")
        << "shared index range"
        << "upload refused: attribute 'va_TexCoord' index 4 at corner 4 is outside its 4 vertices";
    QTest::newRow("face number") << "face number"
                                 << "upload refused: material group 'caps' lists face 6 at position 3, but there are 6 faces";
    QTest::newRow("position components")
        << "position components" << "upload refused: position attribute 'va_TexCoord' must hold 3 GL_FLOAT components per vertex";
    QTest::newRow("added after upload") << "added after upload"
                                        << "upload refused: attribute 'va_Color' was created after the first upload; "
                                           "clear() the builder and feed it again";
    // A first upload that drew nothing leaves the builder to prepare again, over its old GPU streams.
    QTest::newRow("grown after upload") << "grown after upload"
                                        << "upload refused: attribute '%1' was prepared for 24 face corners, the "
                                           "builder now has 27; clear() the builder and feed it again";
}

void TestUpload::contractViolationsAreRefused()
{
    QFETCH(QString, breach);
    QFETCH(QString, warning);
    GLTestContext gl;
    QEL_REQUIRE_GL(gl);
    ModelBuilder builder;
    feedCube(builder);
    QString position = QStringLiteral("va_Vertex");
    auto &texCoords = ModelBuilderProbe::vertexAttributes(builder)[QStringLiteral("va_TexCoord")];
    const unsigned int four = 4;
    GPUModel model;
    if (breach == QLatin1String("index count")) {
        texCoords.indices->resize(23);
    } else if (breach == QLatin1String("index range")) {
        texCoords.indices->setData(5, 1, &four);
    } else if (breach == QLatin1String("shared index range")) {
        texCoords.indices = ModelBuilderProbe::vertexAttributes(builder)[QStringLiteral("va_Vertex")].indices;
    } else if (breach == QLatin1String("face number")) {
        const unsigned int face = 6;
        builder.addFacesToMaterialGroup(QStringLiteral("caps"), 1, &face, QStringLiteral("lid"));
    } else if (breach == QLatin1String("position components")) {
        position = QStringLiteral("va_TexCoord");
    } else if (breach == QLatin1String("grown after upload")) {
        builder.createMaterialGroup(QStringLiteral("sides"), colour(1, 0, 0), -1, 0);
        builder.createMaterialGroup(QStringLiteral("caps"), colour(0, 0, 1), -1, 0);
        builder.generateNormals(QStringLiteral("va_Normal"));
        GPUModel first;
        upload(builder, &first);
        QCOMPARE(first.drawCount(), 0);
        const unsigned int three = 3, corners[3] = { 0, 1, 2 }, face = 6;
        builder.addVertexCountsToFaces(1, &three);
        builder.addIndicesToVertexAttribute(QStringLiteral("va_Vertex"), 3, corners);
        builder.addIndicesToVertexAttribute(QStringLiteral("va_TexCoord"), 3, corners);
        builder.addFacesToMaterialGroup(QStringLiteral("caps"), 1, &face, QString());
        for (auto it = ModelBuilderProbe::vertexAttributes(builder).cbegin();; ++it) {
            if (it->values) {
                warning = warning.arg(it.key());
                break;
            }
        }
    } else {
        GPUModel first;
        upload(builder, &first);
        QCOMPARE(first.drawCount(), 1);
        const QList<unsigned int> corners(24, 0u);
        builder.createVertexAttribute(QStringLiteral("va_Color"), 4, 0x1401, 0, 0);
        builder.addValuesToVertexAttribute(QStringLiteral("va_Color"), 4, "\xff\xff\xff\xff", 0x1401);
        builder.addIndicesToVertexAttribute(QStringLiteral("va_Color"), 24, corners.constData());
    }
    MessageCapture capture;
    upload(builder, &model, position);
    QCOMPARE(capture.texts(QtWarningMsg), QStringList({ warning }));
    QVERIFY(model.isEmpty());
}

void TestUpload::nothingHappensWithoutContextOrValidity()
{
    ModelBuilder builder;
    feedCube(builder);
    GPUModel model;
    MessageCapture capture;
    upload(builder, &model);
    QVERIFY(model.isEmpty());

    GLTestContext gl;
    QEL_REQUIRE_GL(gl);
    upload(builder, &model, QStringLiteral("va_Position"));
    ModelBuilder empty;
    upload(empty, &model);
    QVERIFY(model.isEmpty());
    QVERIFY(capture.messages().isEmpty());
    QVERIFY(ModelBuilderProbe::vertexAttributes(builder)[QStringLiteral("va_Vertex")].gpuValues.isNull());
}

void TestUpload::wrongFaceCountTypeIsReported()
{
    ModelBuilder builder;
    feedCube(builder);
    ModelBuilderProbe::buildGPUFriendlyStreams(builder, false);
    ModelBuilderProbe::verticesPerFace(builder)->setType(kUnsignedShort);
    MessageCapture capture;
    ModelBuilderProbe::prepareMaterialGroupForUpload(builder, QStringLiteral("caps"), { 0, 4, 8, 12, 16, 20 },
                                                         QStringLiteral("va_Vertex"));
    QCOMPARE(capture.texts(QtCriticalMsg),
             QStringList({ "[MaterialGroupPreparation.cpp:926] [ !! ] Assertion 'GL_UNSIGNED_INT == "
                           "_verticesPerFace->type()' failed: Wrong Face type 0x1403, needs to be 0x1405" }));
    QCOMPARE(ModelBuilderProbe::drawCommands(builder)[0].size(), 1);
    QCOMPARE(ModelBuilderProbe::drawCommands(builder)[0][0].count, 0u);
}

void TestUpload::generateNormalsArithmetic_data()
{
    QTest::addColumn<QList<float>>("positions");
    QTest::addColumn<QList<unsigned int>>("indices");
    QTest::addColumn<QList<float>>("normals");
    const QList<float> square = { 0, 0, 0, 1, 0, 0, 1, 1, 0, 0, 1, 0, 5, 5, 5 };
    QTest::newRow("square seen from +z, unused vertex")
        << square << QList<unsigned int>({ 0, 1, 2, 0, 2, 3 })
        << QList<float>({ 0, 0, -1, 0, 0, -1, 0, 0, -1, 0, 0, -1, 0, 0, 0 });
    QTest::newRow("coincident corners add nothing")
        << square << QList<unsigned int>({ 0, 1, 2, 0, 0, 3 })
        << QList<float>({ 0, 0, -1, 0, 0, -1, 0, 0, -1, 0, 0, 0, 0, 0, 0 });
    QTest::newRow("no triangles") << square << QList<unsigned int>() << QList<float>(15, 0.0f);
    // Lengths not near 1 are divided out: a triangle twice as large gives the same normal.
    QTest::newRow("scaled") << QList<float>({ 0, 0, 0, 0, 2, 0, 2, 0, 0 }) << QList<unsigned int>({ 0, 1, 2 })
                            << QList<float>({ 0, 0, 1, 0, 0, 1, 0, 0, 1 });
}

void TestUpload::generateNormalsArithmetic()
{
    QFETCH(QList<float>, positions);
    QFETCH(QList<unsigned int>, indices);
    QFETCH(QList<float>, normals);
    QList<float> result(positions.size(), 42.0f);
    GenerateNormals(int(positions.size() / 3), int(indices.size()), positions.constData(), indices.constData(),
                    result.data());
    QCOMPARE(result, normals);
}

// Triangles taken eight and four at a time must give the normals of the plain loop bit for bit,
// whatever the coordinates: well-shaped triangles, slivers, repeated corners, and every bit
// pattern.
void TestUpload::generateNormalsMatchesOneTriangleAtATime()
{
    QRandomGenerator random(20261125);
    QList<float> positions;
    for (int v = 0; v < 2007; ++v) {
        for (int c = 0; c < 3; ++c) {
            const quint32 bits = random.generate();
            float any;
            std::memcpy(&any, &bits, sizeof any);
            positions << (v % 5 == 4 ? any : float(random.bounded(2.0)) + (v % 5 == 3 ? 1e4f : 0.0f));
        }
    }
    const int vertexCount = int(positions.size() / 3);
    QList<unsigned int> indices;
    for (int i = 0; i < 3 * 1007; ++i) // groups of eight, one of four and three single ones
        indices << (i % 7 == 6 ? indices.last() : unsigned(random.bounded(vertexCount)));

    QList<float> expected(positions.size(), 0.0f);
    for (qsizetype t = 0; t < indices.size(); t += 3) {
        const float *p0 = positions.constData() + 3 * indices[t];
        const float *p1 = positions.constData() + 3 * indices[t + 1];
        const float *p2 = positions.constData() + 3 * indices[t + 2];
        const Vector3f u = normalized(Vector3f { p2[0] - p0[0], p2[1] - p0[1], p2[2] - p0[2] });
        const Vector3f v = normalized(Vector3f { p1[0] - p0[0], p1[1] - p0[1], p1[2] - p0[2] });
        const float n[3] = { u.y * v.z - u.z * v.y, u.z * v.x - u.x * v.z, u.x * v.y - u.y * v.x };
        for (qsizetype k = t; k < t + 3; ++k) {
            for (int c = 0; c < 3; ++c)
                expected[3 * indices[k] + c] += n[c];
        }
    }
    for (int i = 0; i < vertexCount; ++i) {
        Vector3f normal { expected[3 * i], expected[3 * i + 1], expected[3 * i + 2] };
        normalize(normal);
        expected[3 * i] = normal.x;
        expected[3 * i + 1] = normal.y;
        expected[3 * i + 2] = normal.z;
    }

    QList<float> result(positions.size(), 42.0f);
    GenerateNormals(vertexCount, int(indices.size()), positions.constData(), indices.constData(), result.data());
    for (qsizetype i = 0; i < result.size(); ++i) {
        const bool same = std::isnan(expected[i]) ? std::isnan(result[i])
                                                  : std::memcmp(&result[i], &expected[i], sizeof(float)) == 0;
        QVERIFY2(same, qPrintable(QStringLiteral("component %1: %2 instead of %3").arg(i).arg(result[i]).arg(expected[i])));
    }
}

QTEST_MAIN(TestUpload)
#include "tst_upload.moc"
