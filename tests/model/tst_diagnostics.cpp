#include "Diagnostics.h"

#include <QCoreApplication>
#include <QProcess>
#include <QTest>

using namespace Vardune::Qel;

// The logging switch is read once per process, so every case runs in a child process of this
// executable, started with the environment under test and a scenario name.
namespace {

const char kReport[] = "[ModelBuilder.cpp:926] [ !! ] Assertion 'GL_UNSIGNED_INT == _verticesPerFace->type()' "
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

// Standard error of the scenario, run with QEL_ENABLE_LOGGING set to `variable` (unset when null).
QStringList runChild(const QString &scenario, const QByteArray &variable)
{
    QProcess child;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.remove(QStringLiteral("QEL_ENABLE_LOGGING"));
    environment.remove(QStringLiteral("QT_MESSAGE_PATTERN"));
    if (!variable.isNull())
        environment.insert(QStringLiteral("QEL_ENABLE_LOGGING"), QString::fromUtf8(variable));
    child.setProcessEnvironment(environment);
    child.start(QCoreApplication::applicationFilePath(), { QStringLiteral("--scenario"), scenario });
    if (!child.waitForFinished(30000))
        return { QStringLiteral("<child did not finish>") };
    return QString::fromLocal8Bit(child.readAllStandardError()).split(QLatin1Char('\n'), Qt::SkipEmptyParts);
}

} // namespace

class TestDiagnostics : public QObject
{
    Q_OBJECT

private slots:
    void reports_data();
    void reports();
};

void TestDiagnostics::reports_data()
{
    QTest::addColumn<QString>("scenario");
    QTest::addColumn<QByteArray>("variable");
    QTest::addColumn<QStringList>("lines");

    // Only an empty value, the digit 0 and the word false in any letter case switch reports off;
    // warnings are never gated.
    const QStringList reported = { kReport, "plain warning" };
    const QStringList silenced = { "plain warning" };
    QTest::newRow("unset") << "report" << QByteArray() << reported;
    QTest::newRow("0") << "report" << QByteArray("0") << silenced;
    QTest::newRow("FaLsE") << "report" << QByteArray("FaLsE") << silenced;
    QTest::newRow("empty") << "report" << QByteArray("") << silenced;
    QTest::newRow("off") << "report" << QByteArray("off") << reported;
    QTest::newRow("no") << "report" << QByteArray("no") << reported;
    QTest::newRow("2") << "report" << QByteArray("2") << reported;
    QTest::newRow("00") << "report" << QByteArray("00") << reported;
    QTest::newRow("switch read once")
        << "change-after-first-use" << QByteArray()
        << QStringList({ "[b.cpp:1] [ !! ] Assertion 'first' failed: 1", "[b.cpp:2] [ !! ] Assertion 'second' failed: 2" });
    QTest::newRow("percent escaped in expression")
        << "percent" << QByteArray() << QStringList({ "[File.cpp:7] [ !! ] Assertion 'a \\% b == 100\\%' failed: 50%" });
    QTest::newRow("path without slash shown whole")
        << "no-slash" << QByteArray() << QStringList({ "[C:\\src\\File.cpp:3] [ !! ] Assertion 'x' failed: d" });
}

void TestDiagnostics::reports()
{
    QFETCH(QString, scenario);
    QFETCH(QByteArray, variable);
    QFETCH(QStringList, lines);
    QCOMPARE(runChild(scenario, variable), lines);
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
