#include "GLTestContext.h"
#include "MessageCapture.h"
#include "ObjTestFiles.h"

#include "DefaultMaterial.h"
#include "MaterialLibrary.h"

#include <QelGL/InstanceDataRegistry.h>

#include <QTest>

#include <charconv>
#include <cstring>

using namespace Vardune::Qel;

namespace {

// A material as "member=value" words in member order: numbers in the shortest form that reads
// back as the same float, texture paths with `dir` written as DIR.
QString describe(const InstanceData &material, const QString &dir = QString())
{
    QStringList words;
    for (const QString &member : material.memberNames()) {
        const QByteArray bytes = material.value(member);
        QStringList numbers;
        for (qsizetype at = 0; at + 4 <= bytes.size(); at += 4) {
            float value;
            std::memcpy(&value, bytes.constData() + at, 4);
            char text[32];
            numbers << QString::fromLatin1(text, std::to_chars(text, text + sizeof text, value).ptr - text);
        }
        const QString path = material.texturePath(member);
        words << member + u'=' + (bytes.isNull() ? (dir.isEmpty() ? path : QString(path).replace(dir, "DIR"))
                                                 : numbers.join(u','));
    }
    return words.join(u' ');
}

} // namespace

class TestMtlReader : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void librariesBecomeGroups_data();
    void librariesBecomeGroups();
    void missingLibraryFailsSilently();
    void addedGroupsAreReported_data();
    void addedGroupsAreReported();
    void materialPlanIsRegisteredOnce();
    void defaultMaterial();

private:
    ObjTestFiles _files;
};

void TestMtlReader::initTestCase()
{
    // The texture manager deletes its textures at exit and asks for the current context then,
    // so Qt's per-thread context storage must be made first to be destroyed after it.
    QOpenGLContext::currentContext();
}

void TestMtlReader::librariesBecomeGroups_data()
{
    QTest::addColumn<QByteArrayList>("libraries"); // read in turn into one builder
    QTest::addColumn<QStringList>("groups");       // besides "<default>", as "name#id: material"

    const auto row = [](const char *tag, const QByteArray &lines, const QStringList &groups) {
        QTest::newRow(tag) << QByteArrayList { "newmtl m\n" + lines + "\n" } << groups;
    };
    QTest::newRow("definition order") << QByteArrayList { "newmtl red\nKd 1 0 0\nnewmtl blue\nKd 0 0 1\n" }
                                      << QStringList { "red#1: Kd=1,0,0 d=1", "blue#2: Kd=0,0,1 d=1" };
    // The "<default>" group made before the first library is kept.
    QTest::newRow("first definition wins")
        << QByteArrayList { "newmtl red\nKd 1 0 0\nnewmtl red\nKd 0 1 0\n", "newmtl <default>\nKd 0 0 0\nnewmtl red\nd 0\n" }
        << QStringList { "red#1: Kd=1,0,0 d=1" };
    QTest::newRow("every material starts cleared")
        << QByteArrayList { "Kd 1 0 0\nd 0.5\nnewmtl glass\nd 0.5\nKs 1 1 1\nmap_Kd g.png\nnewmtl wood\n" }
        << QStringList { "glass#1: Ks=1,1,1 d=0.5 map_Kd=DIR/g.png", "wood#2: d=1" };
    QTest::newRow("nameless newmtl keeps the previous material")
        << QByteArrayList { "newmtl a\nKd 1 0 0\nnewmtl\nKd 0 1 0\n" } << QStringList { "a#1: Kd=0,1,0 d=1" };
    QTest::newRow("no material") << QByteArrayList { "", "# newmtl hidden\n   # more\n\n", "Kd 1 0 0\nNs 10\n",
                                                     "newmtl\nKd 1 0 0\n" }
                                 << QStringList();
    row("Ka", "Ka 0.1 0.2 0.3", { "m#1: Ka=0.1,0.2,0.3 d=1" });
    row("Kd with comment", "Kd 1 1 1 # white", { "m#1: Kd=1,1,1 d=1" });
    row("Ks, extra words", "Ks 0.5 0.5 0.5 1", { "m#1: Ks=0.5,0.5,0.5 d=1" });
    row("Ns indented", "   Ns 96.0", { "m#1: Ns=96 d=1" });
    row("d", "d 0.25", { "m#1: d=0.25" });
    row("Kd with two numbers", "Kd 1 1", { "m#1: d=1" });
    row("Ks with a word", "Ks 1 x 1", { "m#1: d=1" });
    row("lower-case ns", "ns 96", { "m#1: d=1" });
    row("Ke is not read", "Ke 1 1 1\nmap_Ke glow.png", { "m#1: d=1" });
    row("map_Kd relative", "map_Kd textures/wood.png", { "m#1: d=1 map_Kd=DIR/textures/wood.png" });
    row("map_Ks absolute", "map_Ks /images/s.png", { "m#1: d=1 map_Ks=/images/s.png" });
    row("map_Ka and map_Ns", "map_Ka a.png\nmap_Ns n.png", { "m#1: d=1 map_Ka=DIR/a.png map_Ns=DIR/n.png" });
    row("map_Ks without path", "map_Ks   ", { "m#1: d=1" });
    row("option taken for the path", "map_Kd -s 1 1 1 wood.png", { "m#1: d=1 map_Kd=DIR/-s" });
}

void TestMtlReader::librariesBecomeGroups()
{
    QFETCH(QByteArrayList, libraries);
    QFETCH(QStringList, groups);

    ModelBuilder builder;
    builder.createMaterialGroup(QStringLiteral("<default>"), InstanceData(), -1, 0);
    for (qsizetype i = 0; i < libraries.size(); ++i)
        QVERIFY(loadMaterialLibrary(_files.write(QStringLiteral("library%1.mtl").arg(i), libraries[i]), builder));

    const QString dir = QFileInfo(_files.path(QStringLiteral("x"))).absolutePath();
    const auto &made = ModelBuilderProbe::materialGroups(builder);
    QStringList described(made.size() - 1);
    for (auto group = made.cbegin(); group != made.cend(); ++group) {
        if (group.key() == u"<default>")
            QCOMPARE(group->material, InstanceData());
        else if (group->id >= 1 && group->id < made.size())
            described[group->id - 1] = QStringLiteral("%1#%2: %3").arg(group.key()).arg(group->id).arg(describe(group->material, dir));
    }
    QCOMPARE(described, groups);
}

void TestMtlReader::missingLibraryFailsSilently()
{
    ModelBuilder builder;
    MessageCapture capture;
    QVERIFY(!loadMaterialLibrary(_files.path(QStringLiteral("missing.mtl")), builder));
    QVERIFY(!loadMaterialLibrary(_files.path(QString()), builder)); // a directory
    QVERIFY(ModelBuilderProbe::materialGroups(builder).isEmpty());
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
    const auto before = ModelBuilderProbe::materialGroups(builder);
    reported.clear();
    QVERIFY(loadMaterialLibrary(path, builder, &reported));
    QCOMPARE(reported, QStringList());
    QCOMPARE(ModelBuilderProbe::materialGroups(builder).size(), before.size());
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

void TestMtlReader::defaultMaterial()
{
    const InstanceData material = makeDefaultMaterial();
    QCOMPARE(material.name(), QStringLiteral("OBJMaterial"));
    QCOMPARE(describe(material), QStringLiteral("Ka=0,0,0 Kd=0.7,0.7,0.7 Ks=1,1,1 Ns=10 d=1 map_Kd= map_Ks="));
    QCOMPARE(material.texture(QStringLiteral("map_Kd")), nullptr); // no context is current

    // With a context, one white texture serves both maps of every default material.
    GLTestContext gl;
    QEL_REQUIRE_GL(gl);
    const InstanceData withContext = makeDefaultMaterial();
    Texture *white = withContext.texture(QStringLiteral("map_Kd"));
    QVERIFY(white);
    QCOMPARE(withContext.texture(QStringLiteral("map_Ks")), white);
    QCOMPARE(makeDefaultMaterial().texture(QStringLiteral("map_Kd")), white);
}

QTEST_MAIN(TestMtlReader)
#include "tst_mtlreader.moc"
