#include "Diagnostics.h"

#include <QCoreApplication>
#include <QProcess>
#include <QTest>

using namespace Vardune::Qel;

// The logging switch is read once per process, so every case runs in a child process of this
// executable, started with the environment under test and a scenario name.
namespace {

const char kExpectedReport[] = "[ModelBuilder.cpp:926] [ !! ] Assertion 'GL_UNSIGNED_INT == _verticesPerFace->type()' "
                               "failed: Wrong Face type 0x1403, needs to be 0x1405";

int runScenario(const QByteArray &scenario)
{
    if (scenario == "report") {
        reportAssertionFailure("GL_UNSIGNED_INT == _verticesPerFace->type()", "/build/src/Model/ModelBuilder.cpp", 926,
                               "Wrong Face type 0x%X, needs to be 0x%X", 0x1403u, 0x1405u);
        qWarning("plain warning");
    } else if (scenario == "change-after-first-use") {
        reportAssertionFailure("first", "a/b.cpp", 1, "%d", 1);
        qputenv("QEL_ENABLE_LOGGING", "0");
        reportAssertionFailure("second", "a/b.cpp", 2, "%d", 2);
    } else if (scenario == "percent") {
        reportAssertionFailure("a % b == 100%", "x/y/File.cpp", 7, "%d%%", 50);
    } else if (scenario == "no-slash") {
        reportAssertionFailure("x", "C:\\src\\File.cpp", 3, "%s", "d");
    }
    return 0;
}

} // namespace

class TestDiagnostics : public QObject
{
    Q_OBJECT

private slots:
    void switchFollowsEnvironment_data();
    void switchFollowsEnvironment();
    void switchIsReadOnce();
    void percentIsEscapedInExpression();
    void pathWithoutSlashIsShownWhole();

private:
    static QString runChild(const QString &scenario, const char *variable = nullptr);
};

QString TestDiagnostics::runChild(const QString &scenario, const char *variable)
{
    QProcess child;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.remove(QStringLiteral("QEL_ENABLE_LOGGING"));
    environment.remove(QStringLiteral("QT_MESSAGE_PATTERN"));
    if (variable)
        environment.insert(QStringLiteral("QEL_ENABLE_LOGGING"), QString::fromUtf8(variable));
    child.setProcessEnvironment(environment);
    child.start(QCoreApplication::applicationFilePath(), { QStringLiteral("--scenario"), scenario });
    if (!child.waitForFinished(30000))
        return QStringLiteral("<child did not finish>");
    return QString::fromLocal8Bit(child.readAllStandardError());
}

void TestDiagnostics::switchFollowsEnvironment_data()
{
    QTest::addColumn<QByteArray>("value");
    QTest::addColumn<bool>("unset");
    QTest::addColumn<bool>("reported");
    QTest::newRow("unset") << QByteArray() << true << true;
    QTest::newRow("1") << QByteArray("1") << false << true;
    QTest::newRow("0") << QByteArray("0") << false << false;
    QTest::newRow("false") << QByteArray("false") << false << false;
    QTest::newRow("FaLsE") << QByteArray("FaLsE") << false << false;
    QTest::newRow("empty") << QByteArray("") << false << false;
    QTest::newRow("off") << QByteArray("off") << false << true;
    QTest::newRow("no") << QByteArray("no") << false << true;
    QTest::newRow("2") << QByteArray("2") << false << true;
    QTest::newRow("00") << QByteArray("00") << false << true;
}

void TestDiagnostics::switchFollowsEnvironment()
{
    QFETCH(QByteArray, value);
    QFETCH(bool, unset);
    QFETCH(bool, reported);
    const QString output = runChild(QStringLiteral("report"), unset ? nullptr : value.constData());
    const QStringList lines = output.split(QLatin1Char('\n'), Qt::SkipEmptyParts);
    QStringList expected;
    if (reported)
        expected << QString::fromLatin1(kExpectedReport);
    expected << QStringLiteral("plain warning"); // warnings are never gated
    QCOMPARE(lines, expected);
}

void TestDiagnostics::switchIsReadOnce()
{
    const QString output = runChild(QStringLiteral("change-after-first-use"));
    QCOMPARE(output.split(QLatin1Char('\n'), Qt::SkipEmptyParts),
             QStringList({ "[b.cpp:1] [ !! ] Assertion 'first' failed: 1", "[b.cpp:2] [ !! ] Assertion 'second' failed: 2" }));
}

void TestDiagnostics::percentIsEscapedInExpression()
{
    QCOMPARE(runChild(QStringLiteral("percent")).trimmed(),
             QStringLiteral("[File.cpp:7] [ !! ] Assertion 'a \\% b == 100\\%' failed: 50%"));
}

void TestDiagnostics::pathWithoutSlashIsShownWhole()
{
    QCOMPARE(runChild(QStringLiteral("no-slash")).trimmed(),
             QStringLiteral("[C:\\src\\File.cpp:3] [ !! ] Assertion 'x' failed: d"));
}

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    const QStringList arguments = application.arguments();
    const qsizetype scenario = arguments.indexOf(QStringLiteral("--scenario"));
    if (scenario >= 0 && scenario + 1 < arguments.size())
        return runScenario(arguments.at(scenario + 1).toLatin1());
    TestDiagnostics test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_diagnostics.moc"
