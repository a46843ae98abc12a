#include "MessageCapture.h"
#include "ModelBuilderProbe.h"
#include "ModelDataArray.h"
#include "StreamElements.h"

#include <QelGL/InstanceDataRegistry.h>

#include <QTest>

#include <atomic>
#include <thread>
#include <vector>

using namespace Vardune::Qel;

namespace {

constexpr unsigned int kFloat = 0x1406;
constexpr unsigned int kDouble = 0x140A;

// Counts the streams it makes, to prove that the builder makes every stream through it.
class CountingAllocator : public ModelDataArrayAllocator
{
public:
    ModelDataStream *alloc(unsigned int type, size_t count) override
    {
        ++made;
        return ModelDataArrayAllocator::alloc(type, count);
    }
    int made = 0;
};

InstanceData materialNamed(const char *name)
{
    InstanceData material(QStringLiteral("OBJMaterial"));
    material.set(QStringLiteral("tag"), name, qstrlen(name));
    return material;
}

// One triangle in one group: the smallest valid builder.
void feedTriangle(ModelBuilder &builder)
{
    const float positions[9] = { 0, 0, 0, 1, 0, 0, 0, 1, 0 };
    const unsigned int corners[3] = { 0, 1, 2 };
    const unsigned int cornerCount = 3;
    const unsigned int face = 0;
    builder.createMaterialGroup(QStringLiteral("g"), InstanceData(), -1, 0);
    builder.createVertexAttribute(QStringLiteral("p"), 3, kFloat, 0, 0);
    builder.addValuesToVertexAttribute(QStringLiteral("p"), 9, positions, kFloat);
    builder.addIndicesToVertexAttribute(QStringLiteral("p"), 3, corners);
    builder.addVertexCountsToFaces(1, &cornerCount);
    builder.addFacesToMaterialGroup(QStringLiteral("g"), 1, &face, QString());
}

ModelBuilder::VertexAttribute &attribute(ModelBuilder &builder, const char *name)
{
    return ModelBuilderProbe::vertexAttributes(builder)[QLatin1String(name)];
}

} // namespace

class TestModelBuilder : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void newBuilderAnswersEmpty();
    void groupIdsNumberByGroupCount();
    void recreatingAGroupReplacesIt();
    void recreatingAnAttributeReplacesItsStreams();
    void refusedAttributesChangeNothing_data();
    void refusedAttributesChangeNothing();
    void mismatchedInputIsIgnored();
    void secondObjectInAGroupWarns();
    void validity_data();
    void validity();
    void clearReleasesStreamsWithoutEmptyingThem();
};

void TestModelBuilder::initTestCase()
{
    // The first builders of the process, constructed at once on several threads, must
    // register the per-instance plan exactly once.
    MessageCapture capture;
    std::atomic<int> ready { 0 };
    std::vector<std::thread> threads;
    for (int i = 0; i < 8; ++i) {
        threads.emplace_back([&ready] {
            ++ready;
            while (ready.load() < 8) {
            }
            ModelBuilder builder;
        });
    }
    for (std::thread &thread : threads)
        thread.join();
    ModelBuilder later;
    QVERIFY(capture.messages().isEmpty());
    const InstanceDataPlan *plan = InstanceDataRegistry::Instance().plan(QStringLiteral("InstanceInfo"));
    QVERIFY(plan);
    QStringList members;
    for (const InstanceDataPlan::Member &member : plan->members()) {
        QCOMPARE(member.type, InstanceDataPlan::Mat4);
        members << member.name;
    }
    QCOMPARE(members, QStringList({ "ModelMatrix", "ModelNormalMatrix" }));
}

void TestModelBuilder::newBuilderAnswersEmpty()
{
    ModelBuilder builder;
    QVERIFY(!builder.hasMaterialGroup(QStringLiteral("<default>")));
    QVERIFY(!builder.hasVertexAttribute(QStringLiteral("va_Vertex")));
    QCOMPARE(builder.materialGroupId(QStringLiteral("x")), -1);
    QCOMPARE(builder.materialGroupFlags(QStringLiteral("x")), size_t(0));
    // Neither asking nor naming the normals creates a record; the last name given is kept.
    builder.generateNormals(QStringLiteral("first"));
    builder.generateNormals(QStringLiteral("va_Normal"));
    QCOMPARE(ModelBuilderProbe::normalsAttributeName(builder), QStringLiteral("va_Normal"));
    QVERIFY(ModelBuilderProbe::materialGroups(builder).isEmpty());
    QVERIFY(ModelBuilderProbe::vertexAttributes(builder).isEmpty());
}

void TestModelBuilder::groupIdsNumberByGroupCount()
{
    ModelBuilder builder;
    for (const char *name : { "a", "b" })
        builder.createMaterialGroup(QLatin1String(name), InstanceData(), -1, 0);
    builder.createMaterialGroup(QStringLiteral("c"), InstanceData(), 5, 0);
    QCOMPARE(builder.materialGroupId(QStringLiteral("b")), 1);
    QCOMPARE(builder.materialGroupId(QStringLiteral("c")), 5);
    // The count is taken before the lookup: re-creating "a" sees three groups.
    builder.createMaterialGroup(QStringLiteral("a"), InstanceData(), -7, 0);
    QCOMPARE(builder.materialGroupId(QStringLiteral("a")), 3);
    builder.createMaterialGroup(QStringLiteral("d"), InstanceData(), -1, 0);
    QCOMPARE(builder.materialGroupId(QStringLiteral("d")), 3);
}

void TestModelBuilder::recreatingAGroupReplacesIt()
{
    ModelBuilder builder;
    builder.createMaterialGroup(QStringLiteral("g"), materialNamed("first"), 4, 0x3);
    const unsigned int faces[2] = { 0, 1 };
    QVERIFY(builder.addFacesToMaterialGroup(QStringLiteral("g"), 2, faces, QStringLiteral("cube")));
    builder.createMaterialGroup(QStringLiteral("g"), materialNamed("second"), 9, 0x10);

    const auto &groups = ModelBuilderProbe::materialGroups(builder);
    QCOMPARE(groups.size(), 1);
    const ModelBuilder::MaterialGroup &group = groups[QStringLiteral("g")];
    QCOMPARE(group.material, materialNamed("second"));
    QCOMPARE(group.id, 9);
    QCOMPARE(builder.materialGroupFlags(QStringLiteral("g")), size_t(0x10));
    QVERIFY(group.faces->isEmpty());
    QVERIFY(group.objectName.isNull());
}

void TestModelBuilder::recreatingAnAttributeReplacesItsStreams()
{
    ModelBuilder builder;
    builder.createVertexAttribute(QStringLiteral("uv"), 2, kFloat, 4, 3);
    // The initial counts are elements, not vertices.
    const float values[3] = { 7, 8, 9 };
    builder.addValuesToVertexAttribute(QStringLiteral("uv"), 3, values, kFloat);
    auto &uv = attribute(builder, "uv");
    QCOMPARE(elementsOf<float>(uv.values), QList<float>({ 0, 0, 0, 0, 7, 8, 9 }));
    QCOMPARE(uv.indices->size(), size_t(3));
    uv.gpuValues = uv.values;
    uv.gpuIndices = uv.indices;

    builder.createVertexAttribute(QStringLiteral("uv"), 3, kDouble, 0, 0);
    const auto &replaced = attribute(builder, "uv");
    QCOMPARE(replaced.values->type(), kDouble);
    QVERIFY(replaced.values->isEmpty());
    QVERIFY(replaced.indices->isEmpty());
    QVERIFY(replaced.gpuValues.isNull());
    QVERIFY(replaced.gpuIndices.isNull());
    QCOMPARE(replaced.componentsPerVertex, 3);
}

void TestModelBuilder::refusedAttributesChangeNothing_data()
{
    QTest::addColumn<int>("components");
    QTest::addColumn<unsigned int>("type");
    QTest::addColumn<QString>("reason");
    QTest::newRow("no components") << 0 << kFloat << "0 components per vertex";
    QTest::newRow("negative components") << -3 << kFloat << "-3 components per vertex";
    QTest::newRow("3-byte type") << 3 << 0x1408u << "0x1408 is not a scalar type code";
    QTest::newRow("zero type") << 3 << 0u << "0x0 is not a scalar type code";
}

void TestModelBuilder::refusedAttributesChangeNothing()
{
    QFETCH(int, components);
    QFETCH(unsigned int, type);
    QFETCH(QString, reason);
    ModelBuilder builder;
    builder.createVertexAttribute(QStringLiteral("n"), 2, kFloat, 2, 1);
    const ModelBuilder::VertexAttribute before = attribute(builder, "n");
    MessageCapture capture;
    builder.createVertexAttribute(QStringLiteral("n"), components, type, 5, 5);
    builder.createVertexAttribute(QStringLiteral("other"), components, type, 5, 5);
    QCOMPARE(capture.texts(QtWarningMsg).value(0), "createVertexAttribute: attribute 'n' refused: " + reason);
    const ModelBuilder::VertexAttribute after = attribute(builder, "n");
    QCOMPARE(after.values, before.values);
    QCOMPARE(after.indices, before.indices);
    QCOMPARE(after.componentsPerVertex, 2);
    QVERIFY(!builder.hasVertexAttribute(QStringLiteral("other")));
}

void TestModelBuilder::mismatchedInputIsIgnored()
{
    ModelBuilder builder;
    builder.createVertexAttribute(QStringLiteral("p"), 3, kFloat, 0, 0);
    const double doubles[3] = { 1, 2, 3 };
    builder.addValuesToVertexAttribute(QStringLiteral("p"), 3, doubles, kDouble);
    builder.addValuesToVertexAttribute(QStringLiteral("q"), 3, doubles, kDouble);
    const unsigned int indices[2] = { 0, 0 };
    builder.addIndicesToVertexAttribute(QStringLiteral("q"), 2, indices);
    QVERIFY(!builder.addFacesToMaterialGroup(QStringLiteral("nope"), 2, indices, QStringLiteral("o")));
    QVERIFY(attribute(builder, "p").values->isEmpty());
    QVERIFY(!builder.hasVertexAttribute(QStringLiteral("q")));
    QVERIFY(!builder.hasMaterialGroup(QStringLiteral("nope")));
}

void TestModelBuilder::secondObjectInAGroupWarns()
{
    ModelBuilder builder;
    builder.createMaterialGroup(QStringLiteral("g"), InstanceData(), -1, 0);
    const unsigned int faces[3] = { 0, 1, 2 };
    MessageCapture capture;
    QVERIFY(builder.addFacesToMaterialGroup(QStringLiteral("g"), 2, faces, QStringLiteral("A")));
    QVERIFY(builder.addFacesToMaterialGroup(QStringLiteral("g"), 1, faces + 2, QStringLiteral("B")));
    const QList<MessageCapture::Message> messages = capture.messages();
    QCOMPARE(messages.size(), 1);
    QCOMPARE(messages[0].type, QtWarningMsg);
    QCOMPARE(messages[0].text, QStringLiteral("adding object 'B'' to material group for object 'A'"));
    QVERIFY(!messages[0].hasContext);
    const ModelBuilder::MaterialGroup &group = ModelBuilderProbe::materialGroups(builder)[QStringLiteral("g")];
    QCOMPARE(group.objectName, QStringLiteral("A"));
    QCOMPARE(elementsOf<unsigned int>(group.faces), QList<unsigned int>({ 0, 1, 2 }));
}

void TestModelBuilder::validity_data()
{
    // What the builder is fed: a Group, a Face count, an Attribute, its Values, its Indices, and
    // a record that only normal generation made (N), which has no values and is skipped.
    QTest::addColumn<QString>("fed");
    QTest::addColumn<bool>("valid");
    QTest::newRow("everything") << "GFAVI" << true;
    QTest::newRow("no group") << "FAVI" << false;
    QTest::newRow("no face") << "GAVI" << false;
    QTest::newRow("no attribute") << "GF" << false;
    QTest::newRow("attribute never fed") << "GFA" << false;
    QTest::newRow("values without indices") << "GFAV" << false;
    QTest::newRow("indices without values") << "GFAI" << false;
    QTest::newRow("plus a generated attribute") << "GFAVIN" << true;
    QTest::newRow("only a generated attribute") << "GFN" << true;
}

void TestModelBuilder::validity()
{
    QFETCH(QString, fed);
    QFETCH(bool, valid);
    ModelBuilder builder;
    const unsigned int three = 3;
    const float value[3] = { 1, 2, 3 };
    const unsigned int index = 0;
    if (fed.contains(u'G'))
        builder.createMaterialGroup(QStringLiteral("g"), InstanceData(), -1, 0);
    if (fed.contains(u'F'))
        builder.addVertexCountsToFaces(1, &three);
    if (fed.contains(u'A'))
        builder.createVertexAttribute(QStringLiteral("p"), 3, kFloat, 0, 0);
    if (fed.contains(u'V'))
        builder.addValuesToVertexAttribute(QStringLiteral("p"), 3, value, kFloat);
    if (fed.contains(u'I'))
        builder.addIndicesToVertexAttribute(QStringLiteral("p"), 1, &index);
    if (fed.contains(u'N'))
        attribute(builder, "n");
    QCOMPARE(builder.isValid(), valid);
}

void TestModelBuilder::clearReleasesStreamsWithoutEmptyingThem()
{
    const auto counting = QSharedPointer<CountingAllocator>::create();
    ModelBuilder builder(counting, 0x6);
    QCOMPARE(counting->made, 2); // face counts and triangle indices
    feedTriangle(builder); // a group's faces, an attribute's values and indices
    QCOMPARE(counting->made, 5);
    builder.generateNormals(QStringLiteral("n"));
    ModelBuilderProbe::drawCommands(builder)[0].append(DrawElementsIndirectCommand { 3, 1, 0, 0, 0 });
    ModelBuilderProbe::drawGroupNames(builder)[0].append(QStringLiteral("g"));
    const QSharedPointer<ModelDataStream> heldValues = attribute(builder, "p").values;
    const QSharedPointer<ModelDataStream> heldCounts = ModelBuilderProbe::verticesPerFace(builder);

    builder.clear();
    QCOMPARE(counting->made, 7);
    QVERIFY(ModelBuilderProbe::materialGroups(builder).isEmpty());
    QVERIFY(ModelBuilderProbe::vertexAttributes(builder).isEmpty());
    QVERIFY(ModelBuilderProbe::normalsAttributeName(builder).isNull());
    QVERIFY(ModelBuilderProbe::drawCommands(builder).isEmpty());
    QVERIFY(ModelBuilderProbe::drawGroupNames(builder).isEmpty());
    QVERIFY(ModelBuilderProbe::verticesPerFace(builder)->isEmpty());
    QVERIFY(ModelBuilderProbe::allocator(builder) == counting);
    QCOMPARE(ModelBuilderProbe::flagsMask(builder), size_t(0x6));
    // Other holders keep what they hold.
    QCOMPARE(heldValues->size(), size_t(9));
    QCOMPARE(elementsOf<unsigned int>(heldCounts), QList<unsigned int>({ 3 }));
}

QTEST_GUILESS_MAIN(TestModelBuilder)
#include "tst_modelbuilder.moc"
