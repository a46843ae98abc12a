#include "GLTestContext.h"
#include "MessageCapture.h"
#include "ObjTestFiles.h"

#include "DefaultMaterial.h"
#include "MaterialLibrary.h"

#include <QelGL/InstanceDataRegistry.h>

#include <QTest>

using namespace Vardune::Qel;

using Floats = QList<float>;

namespace {

QByteArray bytesOf(const Floats &values)
{
    return QByteArray(reinterpret_cast<const char *>(values.constData()), values.size() * qsizetype(sizeof(float)));
}

InstanceData materialOf(ModelBuilder &builder, const QString &name)
{
    return ModelBuilderInspector::materialGroups(builder).value(name).material;
}

} // namespace

class TestMtlReader : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void materialsBecomeGroupsInDefinitionOrder();
    void linesSetMaterialMembers_data();
    void linesSetMaterialMembers();
    void firstDefinitionOfANameWins();
    void everyMaterialStartsClearedWithOpaqueDissolve();
    void newmtlWithoutNameKeepsChangingThePreviousMaterial();
    void libraryWithoutMaterialsAddsNothing_data();
    void libraryWithoutMaterialsAddsNothing();
    void missingLibraryFails();
    void addedGroupsAreReported_data();
    void addedGroupsAreReported();
    void materialPlanIsRegisteredOnce();
    void defaultMaterialValues();
    void defaultMaterialSharesOneWhiteTexture();

private:
    ObjTestFiles _files;
};

void TestMtlReader::initTestCase()
{
    // The texture manager deletes its textures at exit and asks for the current context then,
    // so Qt's per-thread context storage must be made first to be destroyed after it.
    QOpenGLContext::currentContext();
}

void TestMtlReader::materialsBecomeGroupsInDefinitionOrder()
{
    const QString path = _files.write(QStringLiteral("colours.mtl"), "newmtl red\nKd 1 0 0\nnewmtl blue\nKd 0 0 1\n");
    ModelBuilder builder;
    builder.createMaterialGroup(QStringLiteral("<default>"), makeDefaultMaterial(), -1, 0);
    QVERIFY(loadMaterialLibrary(path, builder));

    QCOMPARE(ModelBuilderInspector::materialGroups(builder).size(), 3);
    QCOMPARE(builder.materialGroupId(QStringLiteral("blue")), 2);
    for (const auto &[name, kd] :
        { std::pair { "red", Floats { 1, 0, 0 } }, std::pair { "blue", Floats { 0, 0, 1 } } }) {
        InstanceData expected(QStringLiteral("OBJMaterial"));
        expected.set(QStringLiteral("Kd"), kd.constData(), 12);
        expected.set(QStringLiteral("d"), bytesOf({ 1 }).constData(), 4);
        QCOMPARE(materialOf(builder, QLatin1StringView(name)), expected);
    }
}

void TestMtlReader::linesSetMaterialMembers_data()
{
    QTest::addColumn<QByteArray>("lines");
    QTest::addColumn<QString>("member"); // besides "d", or null for none
    QTest::addColumn<QByteArray>("value");
    QTest::addColumn<QString>("texturePath"); // with DIR for the library's directory

    QTest::newRow("Ka") << QByteArray("Ka 0.1 0.2 0.3") << "Ka" << bytesOf({ 0.1f, 0.2f, 0.3f }) << QString();
    QTest::newRow("Kd with comment") << QByteArray("Kd 1 1 1 # white") << "Kd" << bytesOf({ 1, 1, 1 }) << QString();
    QTest::newRow("Ks, extra words") << QByteArray("Ks 0.5 0.5 0.5 1") << "Ks" << bytesOf({ 0.5f, 0.5f, 0.5f })
                                     << QString();
    QTest::newRow("Ns indented") << QByteArray("   Ns 96.0") << "Ns" << bytesOf({ 96 }) << QString();
    QTest::newRow("d") << QByteArray("d 0.25") << "d" << bytesOf({ 0.25f }) << QString();
    QTest::newRow("Kd with two numbers") << QByteArray("Kd 1 1") << QString() << QByteArray() << QString();
    QTest::newRow("Ks with a word") << QByteArray("Ks 1 x 1") << QString() << QByteArray() << QString();
    QTest::newRow("lower-case ns") << QByteArray("ns 96") << QString() << QByteArray() << QString();
    QTest::newRow("Ke is not read") << QByteArray("Ke 1 1 1\nmap_Ke glow.png") << QString() << QByteArray()
                                    << QString();
    QTest::newRow("map_Kd relative") << QByteArray("map_Kd textures/wood.png") << "map_Kd" << QByteArray()
                                     << "DIR/textures/wood.png";
    QTest::newRow("map_Ks absolute") << QByteArray("map_Ks /images/s.png") << "map_Ks" << QByteArray()
                                     << "/images/s.png";
    QTest::newRow("map_Ka") << QByteArray("map_Ka a.png") << "map_Ka" << QByteArray() << "DIR/a.png";
    QTest::newRow("map_Ns") << QByteArray("map_Ns n.png") << "map_Ns" << QByteArray() << "DIR/n.png";
    QTest::newRow("map_Ks without path") << QByteArray("map_Ks   ") << QString() << QByteArray() << QString();
    QTest::newRow("option taken for the path")
        << QByteArray("map_Kd -s 1 1 1 wood.png") << "map_Kd" << QByteArray() << "DIR/-s";
}

void TestMtlReader::linesSetMaterialMembers()
{
    QFETCH(QByteArray, lines);
    QFETCH(QString, member);
    QFETCH(QByteArray, value);
    QFETCH(QString, texturePath);

    const QString path = _files.write(QStringLiteral("members.mtl"), "newmtl m\n" + lines + "\n");
    ModelBuilder builder;
    QVERIFY(loadMaterialLibrary(path, builder));
    const InstanceData material = materialOf(builder, QStringLiteral("m"));

    QStringList members { QStringLiteral("d") };
    if (!member.isNull() && member != u"d")
        members.append(member);
    members.sort();
    QCOMPARE(material.memberNames(), members);
    if (!value.isNull())
        QCOMPARE(material.value(member), value);
    if (!texturePath.isNull())
        QCOMPARE(material.texturePath(member), texturePath.replace("DIR", QFileInfo(path).absolutePath()));
}

void TestMtlReader::firstDefinitionOfANameWins()
{
    const QString first = _files.write(QStringLiteral("first.mtl"), "newmtl red\nKd 1 0 0\nnewmtl red\nKd 0 1 0\n");
    const QString second = _files.write(QStringLiteral("second.mtl"), "newmtl <default>\nKd 0 0 0\nnewmtl red\nd 0\n");
    ModelBuilder builder;
    const InstanceData defaultMaterial = makeDefaultMaterial();
    builder.createMaterialGroup(QStringLiteral("<default>"), defaultMaterial, -1, 0);
    QVERIFY(loadMaterialLibrary(first, builder));
    QVERIFY(loadMaterialLibrary(second, builder));

    QCOMPARE(ModelBuilderInspector::materialGroups(builder).size(), 2);
    QCOMPARE(builder.materialGroupId(QStringLiteral("red")), 1);
    QCOMPARE(materialOf(builder, QStringLiteral("red")).value(QStringLiteral("Kd")), bytesOf({ 1, 0, 0 }));
    QCOMPARE(materialOf(builder, QStringLiteral("red")).value(QStringLiteral("d")), bytesOf({ 1 }));
    QCOMPARE(materialOf(builder, QStringLiteral("<default>")), defaultMaterial);
}

void TestMtlReader::everyMaterialStartsClearedWithOpaqueDissolve()
{
    const QString path = _files.write(QStringLiteral("reset.mtl"),
        "Kd 1 0 0\nd 0.5\n" // before the first material: no effect
        "newmtl glass\nd 0.5\nKs 1 1 1\nmap_Kd g.png\nnewmtl wood\n");
    ModelBuilder builder;
    QVERIFY(loadMaterialLibrary(path, builder));
    const InstanceData glass = materialOf(builder, QStringLiteral("glass"));
    QCOMPARE(glass.memberNames(), (QStringList { "Ks", "d", "map_Kd" }));
    QCOMPARE(glass.value(QStringLiteral("d")), bytesOf({ 0.5f }));
    const InstanceData wood = materialOf(builder, QStringLiteral("wood"));
    QCOMPARE(wood.memberNames(), QStringList { "d" });
    QCOMPARE(wood.value(QStringLiteral("d")), bytesOf({ 1 }));
}

void TestMtlReader::newmtlWithoutNameKeepsChangingThePreviousMaterial()
{
    const QString path = _files.write(QStringLiteral("noname.mtl"), "newmtl a\nKd 1 0 0\nnewmtl\nKd 0 1 0\n");
    ModelBuilder builder;
    QVERIFY(loadMaterialLibrary(path, builder));
    QCOMPARE(ModelBuilderInspector::materialGroups(builder).keys(), QStringList { "a" });
    QCOMPARE(materialOf(builder, QStringLiteral("a")).value(QStringLiteral("Kd")), bytesOf({ 0, 1, 0 }));
}

void TestMtlReader::libraryWithoutMaterialsAddsNothing_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::newRow("empty") << QByteArray();
    QTest::newRow("comments") << QByteArray("# newmtl hidden\n   # more\n\n");
    QTest::newRow("values only") << QByteArray("Kd 1 0 0\nNs 10\n");
    QTest::newRow("nameless material") << QByteArray("newmtl\nKd 1 0 0\n");
}

void TestMtlReader::libraryWithoutMaterialsAddsNothing()
{
    QFETCH(QByteArray, content);
    const QString path = _files.write(QStringLiteral("nothing.mtl"), content);
    ModelBuilder builder;
    QVERIFY(loadMaterialLibrary(path, builder));
    QVERIFY(ModelBuilderInspector::materialGroups(builder).isEmpty());
}

void TestMtlReader::missingLibraryFails()
{
    ModelBuilder builder;
    MessageCapture capture;
    QVERIFY(!loadMaterialLibrary(_files.path(QStringLiteral("missing.mtl")), builder));
    QVERIFY(!loadMaterialLibrary(_files.path(QString()), builder)); // a directory
    QVERIFY(ModelBuilderInspector::materialGroups(builder).isEmpty());
    QVERIFY(capture.messages().isEmpty());
}

void TestMtlReader::addedGroupsAreReported_data()
{
    QTest::addColumn<QStringList>("groups"); // before the library
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<QStringList>("added");
    QTest::newRow("definition order") << QStringList() << QByteArray("newmtl b\nnewmtl a\nKd 1 0 0\nnewmtl c\n")
                                      << QStringList { "b", "a", "c" };
    QTest::newRow("first definition") << QStringList() << QByteArray("newmtl a\nnewmtl b\nnewmtl a\n")
                                      << QStringList { "a", "b" };
    QTest::newRow("existing groups") << QStringList { "<default>", "a" }
                                     << QByteArray("newmtl a\nnewmtl <default>\nnewmtl z\n") << QStringList { "z" };
    QTest::newRow("nameless material") << QStringList() << QByteArray("Kd 1 0 0\nnewmtl\n") << QStringList();
}

// What the import relies on to read a library once: the names reported are exactly the groups
// added, and a second reading adds none and writes nothing.
void TestMtlReader::addedGroupsAreReported()
{
    QFETCH(QStringList, groups);
    QFETCH(QByteArray, content);
    QFETCH(QStringList, added);
    const QString path = _files.write(QStringLiteral("added.mtl"), content);
    ModelBuilder builder;
    for (const QString &name : groups)
        builder.createMaterialGroup(name, makeDefaultMaterial(), -1, 0);
    MessageCapture capture;
    QStringList reported { QStringLiteral("kept") };
    QVERIFY(loadMaterialLibrary(path, builder, &reported));
    QCOMPARE(reported, QStringList { QStringLiteral("kept") } + added);
    const auto before = ModelBuilderInspector::materialGroups(builder);
    reported.clear();
    QVERIFY(loadMaterialLibrary(path, builder, &reported));
    QCOMPARE(reported, QStringList());
    QCOMPARE(ModelBuilderInspector::materialGroups(builder).size(), before.size());
    QVERIFY(capture.messages().isEmpty());
}

void TestMtlReader::materialPlanIsRegisteredOnce()
{
    const QString path = _files.write(QStringLiteral("plan.mtl"), "newmtl p\n");
    ModelBuilder builder;
    MessageCapture capture; // the registry warns about a second plan of one name
    QVERIFY(loadMaterialLibrary(path, builder));
    QVERIFY(loadMaterialLibrary(path, builder));
    registerObjMaterialPlan();
    QVERIFY(capture.messages().isEmpty());

    const InstanceDataPlan *plan = InstanceDataRegistry::Instance().plan(QStringLiteral("OBJMaterial"));
    QVERIFY(plan);
    QStringList members;
    for (const InstanceDataPlan::Member &member : plan->members())
        members.append(QStringLiteral("%1 %2").arg(member.name).arg(member.type));
    QCOMPARE(members, (QStringList { "Ns 13", "d 13", "Kd 15", "Ks 15", "Ke 15", "map_Ns 0", "map_Kd 0", "map_Ks 0",
                                     "map_Ke 0" }));
}

void TestMtlReader::defaultMaterialValues()
{
    const InstanceData material = makeDefaultMaterial();
    QCOMPARE(material.name(), QStringLiteral("OBJMaterial"));
    QCOMPARE(material.memberNames(), (QStringList { "Ka", "Kd", "Ks", "Ns", "d", "map_Kd", "map_Ks" }));
    QCOMPARE(material.value(QStringLiteral("Ka")), bytesOf({ 0, 0, 0 }));
    const quint32 seventenths = 0x3F333333;
    QCOMPARE(
        material.value(QStringLiteral("Kd")), QByteArray(reinterpret_cast<const char *>(&seventenths), 4).repeated(3));
    QCOMPARE(material.value(QStringLiteral("Ks")), bytesOf({ 1, 1, 1 }));
    QCOMPARE(material.value(QStringLiteral("Ns")), bytesOf({ 10 }));
    QCOMPARE(material.value(QStringLiteral("d")), bytesOf({ 1 }));
    QCOMPARE(material.texture(QStringLiteral("map_Kd")), nullptr); // no context is current
}

void TestMtlReader::defaultMaterialSharesOneWhiteTexture()
{
    GLTestContext gl;
    QEL_REQUIRE_GL(gl);
    const InstanceData material = makeDefaultMaterial();
    Texture *white = material.texture(QStringLiteral("map_Kd"));
    QVERIFY(white);
    QCOMPARE(material.texture(QStringLiteral("map_Ks")), white);
    QCOMPARE(makeDefaultMaterial().texture(QStringLiteral("map_Kd")), white);
}

QTEST_MAIN(TestMtlReader)
#include "tst_mtlreader.moc"
