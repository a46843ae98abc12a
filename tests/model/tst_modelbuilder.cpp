#include "MessageCapture.h"
#include "ModelBuilderInspector.h"
#include "ModelDataArray.h"

#include <QelGL/InstanceDataRegistry.h>

#include <QTest>

#include <atomic>
#include <thread>
#include <vector>

using namespace Vardune::Qel;

namespace {

constexpr unsigned int kFloat = 0x1406;
constexpr unsigned int kDouble = 0x140A;
constexpr unsigned int kUnsignedInt = 0x1405;

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

template<typename T>
QList<T> elementsOf(const QSharedPointer<ModelDataStream> &stream)
{
    const T *first = static_cast<const T *>(stream->data(0));
    return QList<T>(first, first + stream->size());
}

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
    void valuesOfAnotherTypeOrNameAreIgnored();
    void countsAreElementsNotVertices();
    void facesOfUnknownGroupAreRefused();
    void secondObjectInAGroupWarns();
    void validity_data();
    void validity();
    void generateNormalsKeepsTheLastName();
    void clearReleasesStreamsWithoutEmptyingThem();
    void everyStreamComesFromTheAllocator();
    void removalRequestsChangeNothing();

private:
    bool _planWarned = false;
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
    const QList<InstanceDataPlan::Member> members = plan->members();
    QCOMPARE(members.size(), 2);
    QCOMPARE(members[0].name, QStringLiteral("ModelMatrix"));
    QCOMPARE(members[1].name, QStringLiteral("ModelNormalMatrix"));
    QCOMPARE(members[0].type, InstanceDataPlan::Mat4);
    QCOMPARE(members[1].type, InstanceDataPlan::Mat4);
}

void TestModelBuilder::newBuilderAnswersEmpty()
{
    ModelBuilder builder;
    QVERIFY(!builder.isValid());
    QVERIFY(!builder.hasMaterialGroup(QStringLiteral("<default>")));
    QVERIFY(!builder.hasVertexAttribute(QStringLiteral("va_Vertex")));
    QCOMPARE(builder.materialGroupId(QStringLiteral("x")), -1);
    QCOMPARE(builder.materialGroupFlags(QStringLiteral("x")), size_t(0));
    // Asking never creates a record.
    QVERIFY(ModelBuilderInspector::materialGroups(builder).isEmpty());
    QVERIFY(ModelBuilderInspector::vertexAttributes(builder).isEmpty());
    QCOMPARE(ModelBuilderInspector::verticesPerFace(builder)->type(), kUnsignedInt);
    QCOMPARE(ModelBuilderInspector::triangleIndices(builder)->type(), kUnsignedInt);
    QCOMPARE(ModelBuilderInspector::indexType(), kUnsignedInt);
    QCOMPARE(ModelBuilderInspector::indexStride(), 4);
}

void TestModelBuilder::groupIdsNumberByGroupCount()
{
    ModelBuilder builder;
    builder.createMaterialGroup(QStringLiteral("a"), InstanceData(), -1, 0);
    builder.createMaterialGroup(QStringLiteral("b"), InstanceData(), -1, 0);
    builder.createMaterialGroup(QStringLiteral("c"), InstanceData(), 5, 0);
    QCOMPARE(builder.materialGroupId(QStringLiteral("a")), 0);
    QCOMPARE(builder.materialGroupId(QStringLiteral("b")), 1);
    QCOMPARE(builder.materialGroupId(QStringLiteral("c")), 5);
    // The count is taken before the lookup: re-creating "a" sees three groups.
    builder.createMaterialGroup(QStringLiteral("a"), InstanceData(), -7, 0);
    QCOMPARE(builder.materialGroupId(QStringLiteral("a")), 3);
    builder.createMaterialGroup(QStringLiteral("d"), InstanceData(), -1, 0);
    QCOMPARE(builder.materialGroupId(QStringLiteral("d")), 3);
    QCOMPARE(ModelBuilderInspector::materialGroups(builder).size(), 4);
}

void TestModelBuilder::recreatingAGroupReplacesIt()
{
    ModelBuilder builder;
    builder.createMaterialGroup(QStringLiteral("g"), materialNamed("first"), 4, 0x3);
    const unsigned int faces[2] = { 0, 1 };
    QVERIFY(builder.addFacesToMaterialGroup(QStringLiteral("g"), 2, faces, QStringLiteral("cube")));
    builder.createMaterialGroup(QStringLiteral("g"), materialNamed("second"), 9, 0x10);

    const auto &groups = ModelBuilderInspector::materialGroups(builder);
    QCOMPARE(groups.size(), 1);
    const ModelBuilder::MaterialGroup &group = groups[QStringLiteral("g")];
    QCOMPARE(group.material, materialNamed("second"));
    QCOMPARE(group.id, 9);
    QCOMPARE(group.flags, size_t(0x10));
    QCOMPARE(builder.materialGroupFlags(QStringLiteral("g")), size_t(0x10));
    QVERIFY(group.faces->isEmpty());
    QCOMPARE(group.faces->type(), kUnsignedInt);
    QVERIFY(group.objectName.isNull());
}

void TestModelBuilder::recreatingAnAttributeReplacesItsStreams()
{
    ModelBuilder builder;
    builder.createVertexAttribute(QStringLiteral("uv"), 2, kFloat, 4, 3);
    auto &attribute = ModelBuilderInspector::vertexAttributes(builder)[QStringLiteral("uv")];
    QCOMPARE(attribute.values->size(), size_t(4));
    QCOMPARE(attribute.indices->size(), size_t(3));
    QCOMPARE(elementsOf<float>(attribute.values), QList<float>({ 0, 0, 0, 0 }));
    attribute.gpuValues = attribute.values;
    attribute.gpuIndices = attribute.indices;
    const QSharedPointer<ModelDataStream> oldValues = attribute.values;

    builder.createVertexAttribute(QStringLiteral("uv"), 3, kDouble, 0, 0);
    const auto &replaced = ModelBuilderInspector::vertexAttributes(builder)[QStringLiteral("uv")];
    QVERIFY(replaced.values != oldValues);
    QCOMPARE(replaced.values->type(), kDouble);
    QVERIFY(replaced.values->isEmpty());
    QVERIFY(replaced.indices->isEmpty());
    QCOMPARE(replaced.indices->type(), kUnsignedInt);
    QVERIFY(replaced.gpuValues.isNull());
    QVERIFY(replaced.gpuIndices.isNull());
    QCOMPARE(replaced.componentsPerVertex, 3);
}

void TestModelBuilder::refusedAttributesChangeNothing_data()
{
    QTest::addColumn<int>("components");
    QTest::addColumn<unsigned int>("type");
    QTest::addColumn<QString>("warning");
    QTest::newRow("no components") << 0 << kFloat
                                   << "createVertexAttribute: attribute 'n' refused: 0 components per vertex";
    QTest::newRow("negative components") << -3 << kFloat
                                         << "createVertexAttribute: attribute 'n' refused: -3 components per vertex";
    QTest::newRow("3-byte type") << 3 << 0x1408u
                                 << "createVertexAttribute: attribute 'n' refused: 0x1408 is not a scalar type code";
    QTest::newRow("zero type") << 3 << 0u << "createVertexAttribute: attribute 'n' refused: 0x0 is not a scalar type code";
}

void TestModelBuilder::refusedAttributesChangeNothing()
{
    QFETCH(int, components);
    QFETCH(unsigned int, type);
    QFETCH(QString, warning);
    ModelBuilder builder;
    builder.createVertexAttribute(QStringLiteral("n"), 2, kFloat, 2, 1);
    const ModelBuilder::VertexAttribute before = ModelBuilderInspector::vertexAttributes(builder)[QStringLiteral("n")];
    MessageCapture capture;
    builder.createVertexAttribute(QStringLiteral("n"), components, type, 5, 5);
    builder.createVertexAttribute(QStringLiteral("other"), components, type, 5, 5);
    QCOMPARE(capture.texts(QtWarningMsg).value(0), warning);
    const ModelBuilder::VertexAttribute after = ModelBuilderInspector::vertexAttributes(builder)[QStringLiteral("n")];
    QCOMPARE(after.values, before.values);
    QCOMPARE(after.indices, before.indices);
    QCOMPARE(after.componentsPerVertex, 2);
    QVERIFY(!builder.hasVertexAttribute(QStringLiteral("other")));
}

void TestModelBuilder::valuesOfAnotherTypeOrNameAreIgnored()
{
    ModelBuilder builder;
    builder.createVertexAttribute(QStringLiteral("p"), 3, kFloat, 0, 0);
    const double doubles[3] = { 1, 2, 3 };
    builder.addValuesToVertexAttribute(QStringLiteral("p"), 3, doubles, kDouble);
    builder.addValuesToVertexAttribute(QStringLiteral("q"), 3, doubles, kDouble);
    const unsigned int indices[2] = { 0, 0 };
    builder.addIndicesToVertexAttribute(QStringLiteral("q"), 2, indices);
    QVERIFY(ModelBuilderInspector::vertexAttributes(builder)[QStringLiteral("p")].values->isEmpty());
    QVERIFY(!builder.hasVertexAttribute(QStringLiteral("q")));
}

void TestModelBuilder::countsAreElementsNotVertices()
{
    ModelBuilder builder;
    builder.createVertexAttribute(QStringLiteral("p"), 3, kFloat, 2, 0);
    const float values[3] = { 7, 8, 9 };
    builder.addValuesToVertexAttribute(QStringLiteral("p"), 3, values, kFloat);
    const auto &attribute = ModelBuilderInspector::vertexAttributes(builder)[QStringLiteral("p")];
    QCOMPARE(elementsOf<float>(attribute.values), QList<float>({ 0, 0, 7, 8, 9 }));

    const unsigned int cornerCounts[3] = { 4, 3, 0 };
    builder.addVertexCountsToFaces(3, cornerCounts);
    QCOMPARE(elementsOf<unsigned int>(ModelBuilderInspector::verticesPerFace(builder)),
             QList<unsigned int>({ 4, 3, 0 }));
}

void TestModelBuilder::facesOfUnknownGroupAreRefused()
{
    ModelBuilder builder;
    const unsigned int face = 0;
    QVERIFY(!builder.addFacesToMaterialGroup(QStringLiteral("nope"), 1, &face, QStringLiteral("o")));
    QVERIFY(!builder.hasMaterialGroup(QStringLiteral("nope")));
}

void TestModelBuilder::secondObjectInAGroupWarns()
{
    ModelBuilder builder;
    builder.createMaterialGroup(QStringLiteral("g"), InstanceData(), -1, 0);
    const unsigned int first[2] = { 0, 1 };
    const unsigned int second[1] = { 2 };
    MessageCapture capture;
    QVERIFY(builder.addFacesToMaterialGroup(QStringLiteral("g"), 2, first, QStringLiteral("A")));
    QVERIFY(capture.messages().isEmpty());
    QVERIFY(builder.addFacesToMaterialGroup(QStringLiteral("g"), 1, second, QStringLiteral("B")));
    const QList<MessageCapture::Message> messages = capture.messages();
    QCOMPARE(messages.size(), 1);
    QCOMPARE(messages[0].type, QtWarningMsg);
    QCOMPARE(messages[0].text, QStringLiteral("adding object 'B'' to material group for object 'A'"));
    QVERIFY(!messages[0].hasContext);
    const ModelBuilder::MaterialGroup &group = ModelBuilderInspector::materialGroups(builder)[QStringLiteral("g")];
    QCOMPARE(group.objectName, QStringLiteral("A"));
    QCOMPARE(elementsOf<unsigned int>(group.faces), QList<unsigned int>({ 0, 1, 2 }));
}

void TestModelBuilder::validity_data()
{
    QTest::addColumn<bool>("group");
    QTest::addColumn<bool>("face");
    QTest::addColumn<bool>("attribute");
    QTest::addColumn<bool>("values");
    QTest::addColumn<bool>("indices");
    QTest::addColumn<bool>("generatedOnly");
    QTest::addColumn<bool>("valid");
    QTest::newRow("everything") << true << true << true << true << true << false << true;
    QTest::newRow("no group") << false << true << true << true << true << false << false;
    QTest::newRow("no face") << true << false << true << true << true << false << false;
    QTest::newRow("no attribute") << true << true << false << false << false << false << false;
    QTest::newRow("attribute never fed") << true << true << true << false << false << false << false;
    QTest::newRow("values without indices") << true << true << true << true << false << false << false;
    QTest::newRow("indices without values") << true << true << true << false << true << false << false;
    // A record that only normal generation made has no values and is skipped.
    QTest::newRow("plus a generated attribute") << true << true << true << true << true << true << true;
    QTest::newRow("only a generated attribute") << true << true << false << false << false << true << true;
}

void TestModelBuilder::validity()
{
    QFETCH(bool, group);
    QFETCH(bool, face);
    QFETCH(bool, attribute);
    QFETCH(bool, values);
    QFETCH(bool, indices);
    QFETCH(bool, generatedOnly);
    QFETCH(bool, valid);
    ModelBuilder builder;
    if (group)
        builder.createMaterialGroup(QStringLiteral("g"), InstanceData(), -1, 0);
    const unsigned int three = 3;
    if (face)
        builder.addVertexCountsToFaces(1, &three);
    if (attribute)
        builder.createVertexAttribute(QStringLiteral("p"), 3, kFloat, 0, 0);
    const float value[3] = { 1, 2, 3 };
    if (values)
        builder.addValuesToVertexAttribute(QStringLiteral("p"), 3, value, kFloat);
    const unsigned int index = 0;
    if (indices)
        builder.addIndicesToVertexAttribute(QStringLiteral("p"), 1, &index);
    if (generatedOnly)
        ModelBuilderInspector::vertexAttributes(builder)[QStringLiteral("n")];
    QCOMPARE(builder.isValid(), valid);
}

void TestModelBuilder::generateNormalsKeepsTheLastName()
{
    ModelBuilder builder;
    QVERIFY(ModelBuilderInspector::normalsAttributeName(builder).isNull());
    builder.generateNormals(QStringLiteral("first"));
    builder.generateNormals(QStringLiteral("va_Normal"));
    QCOMPARE(ModelBuilderInspector::normalsAttributeName(builder), QStringLiteral("va_Normal"));
    QVERIFY(!builder.hasVertexAttribute(QStringLiteral("va_Normal")));
}

void TestModelBuilder::clearReleasesStreamsWithoutEmptyingThem()
{
    ModelBuilder builder(QSharedPointer<CountingAllocator>::create(), 0x6);
    feedTriangle(builder);
    builder.generateNormals(QStringLiteral("n"));
    ModelBuilderInspector::drawCommands(builder)[0].append(DrawElementsIndirectCommand { 3, 1, 0, 0, 0 });
    ModelBuilderInspector::drawGroupNames(builder)[0].append(QStringLiteral("g"));
    const QSharedPointer<ModelDataStream> heldValues
        = ModelBuilderInspector::vertexAttributes(builder)[QStringLiteral("p")].values;
    const QSharedPointer<ModelDataStream> heldCounts = ModelBuilderInspector::verticesPerFace(builder);
    const auto allocator = ModelBuilderInspector::allocator(builder);
    QVERIFY(builder.isValid());

    builder.clear();
    QVERIFY(!builder.isValid());
    QVERIFY(ModelBuilderInspector::materialGroups(builder).isEmpty());
    QVERIFY(ModelBuilderInspector::vertexAttributes(builder).isEmpty());
    QVERIFY(ModelBuilderInspector::normalsAttributeName(builder).isNull());
    QVERIFY(ModelBuilderInspector::drawCommands(builder).isEmpty());
    QVERIFY(ModelBuilderInspector::drawGroupNames(builder).isEmpty());
    QVERIFY(ModelBuilderInspector::verticesPerFace(builder)->isEmpty());
    QVERIFY(ModelBuilderInspector::triangleIndices(builder)->isEmpty());
    QCOMPARE(ModelBuilderInspector::allocator(builder), allocator);
    QCOMPARE(ModelBuilderInspector::flagsMask(builder), size_t(0x6));
    // Other holders keep what they hold.
    QCOMPARE(heldValues->size(), size_t(9));
    QCOMPARE(elementsOf<unsigned int>(heldCounts), QList<unsigned int>({ 3 }));

    builder.createMaterialGroup(QStringLiteral("again"), InstanceData(), -1, 0);
    QCOMPARE(builder.materialGroupId(QStringLiteral("again")), 0);
}

void TestModelBuilder::everyStreamComesFromTheAllocator()
{
    const auto allocator = QSharedPointer<CountingAllocator>::create();
    ModelBuilder builder(allocator);
    QCOMPARE(allocator->made, 2); // face counts and triangle indices
    feedTriangle(builder); // a group's faces, an attribute's values and indices
    QCOMPARE(allocator->made, 5);
    builder.clear();
    QCOMPARE(allocator->made, 7);
}

void TestModelBuilder::removalRequestsChangeNothing()
{
    ModelBuilder builder;
    feedTriangle(builder);
    const auto before = ModelBuilderInspector::vertexAttributes(builder)[QStringLiteral("p")];
    const QList<float> values = elementsOf<float>(before.values);
    builder.removeDuplicateVertices();
    builder.removeUnusedVertices();
    const auto after = ModelBuilderInspector::vertexAttributes(builder)[QStringLiteral("p")];
    QCOMPARE(after.values, before.values);
    QCOMPARE(elementsOf<float>(after.values), values);
    QCOMPARE(elementsOf<unsigned int>(after.indices), QList<unsigned int>({ 0, 1, 2 }));
}

QTEST_GUILESS_MAIN(TestModelBuilder)
#include "tst_modelbuilder.moc"
