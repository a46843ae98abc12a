// Runs the qelmodel tool as a user does and checks what it prints, writes and returns.

#include <QColor>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QImage>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

#include <algorithm>

namespace {

struct ToolRun
{
    int exitCode = -1;
    QByteArray out;
    QByteArray err;
};

// The checkerboard's middle cell and the renderer's background, as the README gives them.
const QColor kCheckerCentre(230, 120, 30);
const QColor kBackground(38, 42, 51);

QString example(const QString &name)
{
    return QStringLiteral(QELMODEL_EXAMPLES_DIR "/") + name;
}

QJsonArray triple(double x, double y, double z)
{
    return { x, y, z };
}

QJsonArray floatAttributes()
{
    const auto attribute = [](const char *name, int components) {
        return QJsonObject { { QStringLiteral("name"), QLatin1String(name) },
            { QStringLiteral("components"), components }, { QStringLiteral("type"), QStringLiteral("GL_FLOAT") } };
    };
    return { attribute("va_Normal", 3), attribute("va_TexCoord", 2), attribute("va_Vertex", 3) };
}

// A group as the tool reports it, less "first_index", which depends on the order in which the
// library lays the groups out; the groups' stretches must tile the index buffer instead.
QJsonObject group(const char *name, int indexCount, const QJsonValue &kd, const QJsonValue &mapKd)
{
    return { { QStringLiteral("name"), QLatin1String(name) }, { QStringLiteral("draw"), 0 },
        { QStringLiteral("index_count"), indexCount }, { QStringLiteral("object"), QString() },
        { QStringLiteral("Kd"), kd }, { QStringLiteral("map_Kd"), mapKd } };
}

bool sameColour(QRgb pixel, const QColor &expected, int tolerance)
{
    return std::abs(qRed(pixel) - expected.red()) <= tolerance
        && std::abs(qGreen(pixel) - expected.green()) <= tolerance
        && std::abs(qBlue(pixel) - expected.blue()) <= tolerance;
}

QString describe(QRgb pixel)
{
    return QStringLiteral("(%1, %2, %3)").arg(qRed(pixel)).arg(qGreen(pixel)).arg(qBlue(pixel));
}

} // namespace

class tst_QelModelTool : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();

    void infoJsonReportsWhatReachedTheGPU_data();
    void infoJsonReportsWhatReachedTheGPU();
    void infoJsonListsTheLibrarysWarnings();
    void infoTableNamesEveryGroup();
    void failedLoadExitsWithOneAndTheLibrarysMessage();
    void renderFramesTheModel_data();
    void renderFramesTheModel();
    void usageErrorsExitWithTwo_data();
    void usageErrorsExitWithTwo();
    void helpExitsWithZero();
    void examplesAreWhatTheirGeneratorWrites();

private:
    ToolRun run(const QString &program, const QStringList &arguments) const;
    ToolRun runTool(const QStringList &arguments) const { return run(QStringLiteral(QELMODEL_TOOL), arguments); }
    QJsonObject infoJson(const QString &file);

    QTemporaryDir _scratch;
};

void tst_QelModelTool::initTestCase()
{
    QVERIFY(_scratch.isValid());
    QVERIFY(QFileInfo::exists(QStringLiteral(QELMODEL_TOOL)));
}

ToolRun tst_QelModelTool::run(const QString &program, const QStringList &arguments) const
{
    QProcess process;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    // Keeps Qt's start-up note about a missing runtime directory off standard error.
    environment.insert(QStringLiteral("XDG_RUNTIME_DIR"), _scratch.path());
    process.setProcessEnvironment(environment);
    process.start(program, arguments);
    ToolRun result;
    if (!process.waitForFinished(120000) || process.exitStatus() != QProcess::NormalExit)
        return result;
    result.exitCode = process.exitCode();
    result.out = process.readAllStandardOutput();
    result.err = process.readAllStandardError();
    return result;
}

QJsonObject tst_QelModelTool::infoJson(const QString &file)
{
    const ToolRun result = runTool({ QStringLiteral("info"), file, QStringLiteral("--json") });
    if (result.exitCode != 0)
        qWarning("qelmodel exited with %d: %s", result.exitCode, result.err.constData());
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(result.out, &error);
    if (error.error != QJsonParseError::NoError)
        qWarning("not JSON: %s", qPrintable(error.errorString()));
    return document.object();
}

void tst_QelModelTool::infoJsonReportsWhatReachedTheGPU_data()
{
    QTest::addColumn<QString>("file");
    QTest::addColumn<int>("vertices");
    QTest::addColumn<int>("indices");
    QTest::addColumn<QJsonArray>("groups");
    QTest::addColumn<QJsonArray>("boundsMin");
    QTest::addColumn<QJsonArray>("boundsMax");

    // Six faces of four corners with a normal per face: no two corners weld.
    QTest::newRow("textured cube") << QStringLiteral("textured-cube.obj") << 24 << 36
                                   << QJsonArray { group(
                                          "checker", 36, triple(1, 1, 1), example(QStringLiteral("checker.png"))) }
                                   << triple(-1, -1, -1) << triple(1, 1, 1);
    // One face of 24 corners: 22 triangles over its own 24 vertices.
    QTest::newRow("star") << QStringLiteral("star.obj") << 24 << 66
                          << QJsonArray { group("gold", 66, triple(0.9, 0.7, 0.2), QJsonValue()) } << triple(-1, -1, 0)
                          << triple(1, 1, 0);
    // 32 × 16 quads over 512 shared positions; normals are generated per welded vertex.
    QTest::newRow("torus") << QStringLiteral("torus.obj") << 512 << 3072
                           << QJsonArray { group("<default>", 3072, triple(0.7, 0.7, 0.7), QStringLiteral("<white>")) }
                           << triple(-1.35, -0.35, -1.35) << triple(1.35, 0.35, 1.35);
    // Five boxes of 24 vertices; red takes the first and the last block, "white" is unused.
    QTest::newRow("blocks") << QStringLiteral("blocks.obj") << 120 << 180
                            << QJsonArray { group("<default>", 36, triple(0.7, 0.7, 0.7), QStringLiteral("<white>")),
                                   group("blue", 36, triple(0.15, 0.35, 0.85), QJsonValue()),
                                   group("green", 36, triple(0.2, 0.7, 0.25), QJsonValue()),
                                   group("red", 72, triple(0.85, 0.15, 0.1), QJsonValue()) }
                            << triple(-0.25, -0.2, -0.25) << triple(4.75, 2.5, 1.25);
}

void tst_QelModelTool::infoJsonReportsWhatReachedTheGPU()
{
    QFETCH(QString, file);
    QFETCH(int, vertices);
    QFETCH(int, indices);
    QFETCH(QJsonArray, groups);
    QFETCH(QJsonArray, boundsMin);
    QFETCH(QJsonArray, boundsMax);

    const QJsonObject report = infoJson(example(file));
    QStringList keys = report.keys();
    keys.sort();
    QCOMPARE(keys,
        QStringList({ "attributes", "bounds", "bytes", "draws", "error", "file", "groups", "index_type", "indices",
            "load_ms", "ok", "triangles", "vertices", "warnings" }));
    QCOMPARE(report.value("file").toString(), example(file));
    QCOMPARE(report.value("ok").toBool(), true);
    QVERIFY(report.value("error").isNull());
    QCOMPARE(report.value("bytes").toInteger(), QFileInfo(example(file)).size());
    QVERIFY(report.value("load_ms").toDouble() >= 0.0);
    QCOMPARE(report.value("vertices").toInt(), vertices);
    QCOMPARE(report.value("indices").toInt(), indices);
    QCOMPARE(report.value("triangles").toInt(), indices / 3);
    QCOMPARE(report.value("index_type").toString(), QStringLiteral("GL_UNSIGNED_SHORT"));
    QCOMPARE(report.value("draws").toInt(), 1);
    QCOMPARE(report.value("attributes").toArray(), floatAttributes());
    const QJsonArray reportedGroups = report.value("groups").toArray();
    QCOMPARE(reportedGroups.size(), groups.size());
    QList<QPair<int, int>> stretches;
    for (qsizetype i = 0; i < groups.size(); ++i) {
        QJsonObject reported = reportedGroups.at(i).toObject();
        QVERIFY(reported.contains("first_index"));
        stretches.append({ reported.take("first_index").toInt(), reported.value("index_count").toInt() });
        QCOMPARE(reported, groups.at(i).toObject());
    }
    std::sort(stretches.begin(), stretches.end());
    int next = 0;
    for (const auto &[first, count] : stretches) {
        QCOMPARE(first, next);
        next += count;
    }
    QCOMPARE(next, indices);
    const QJsonObject bounds = report.value("bounds").toObject();
    QCOMPARE(bounds.value("min").toArray(), boundsMin);
    QCOMPARE(bounds.value("max").toArray(), boundsMax);
    QCOMPARE(report.value("warnings").toArray(), QJsonArray());
}

void tst_QelModelTool::infoJsonListsTheLibrarysWarnings()
{
    const QString path = _scratch.filePath(QStringLiteral("bad-index.obj"));
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write("v 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 3\nf 1 2 7\n");
    file.close();

    const QJsonObject report = infoJson(path);
    QCOMPARE(report.value("ok").toBool(), true);
    QCOMPARE(report.value("triangles").toInt(), 1);
    QCOMPARE(report.value("warnings").toArray(),
        QJsonArray {
            path + QStringLiteral(":5: face skipped: position index 7 is outside the 3 positions of the file") });
}

void tst_QelModelTool::infoTableNamesEveryGroup()
{
    const ToolRun result = runTool({ QStringLiteral("info"), example(QStringLiteral("blocks.obj")) });
    QCOMPARE(result.exitCode, 0);
    QCOMPARE(result.err, QByteArray());
    const QString text = QString::fromUtf8(result.out);
    for (const char *row : { "\nVertices   120\n", "\nTriangles  60\n", "  <default>  0", "  blue       0",
                             "  green      0", "  red        0" })
        QVERIFY2(text.contains(QLatin1String(row)), row);
    QVERIFY(text.endsWith(QStringLiteral("\nNo warnings.\n")));
}

void tst_QelModelTool::failedLoadExitsWithOneAndTheLibrarysMessage()
{
    // The library's messages themselves are checked by the import tests; here, that the tool passes
    // one on, with the path as given.
    const QString file = QStringLiteral("no/such/model.obj");
    const QString message = QStringLiteral("Failed to load OBJ file '%1'").arg(file);
    const QString never = _scratch.filePath(QStringLiteral("never.png"));
    const QList<QStringList> commands = { { "info", file }, { "info", file, "--json" }, { "render", file, "-o", never } };
    QList<ToolRun> runs;
    for (const QStringList &arguments : commands) {
        runs.append(runTool(arguments));
        QCOMPARE(runs.last().exitCode, 1);
        QCOMPARE(QString::fromUtf8(runs.last().err), message + QLatin1Char('\n'));
    }
    QCOMPARE(runs[0].out, QByteArray());
    QVERIFY(!QFileInfo::exists(never));
    const QJsonObject report = QJsonDocument::fromJson(runs[1].out).object();
    QCOMPARE(report.value("ok").toBool(true), false);
    QCOMPARE(report.value("error").toString(), message);
    QCOMPARE(report.value("draws").toInt(-1), 0);
    QVERIFY(report.value("bounds").isNull());
}

void tst_QelModelTool::renderFramesTheModel_data()
{
    QTest::addColumn<QString>("file");
    QTest::addColumn<QStringList>("view");
    QTest::addColumn<QColor>("centre"); // invalid: anything but the background

    // Looking straight at the +z face, lit head-on: its middle checker cell at full strength.
    QTest::newRow("cube, front") << "textured-cube.obj" << QStringList { "--azimuth", "0", "--elevation", "0" }
                                 << kCheckerCentre;
    QTest::newRow("cube, default view") << "textured-cube.obj" << QStringList() << QColor();
    QTest::newRow("cube from below") << "textured-cube.obj" << QStringList { "--azimuth", "-135", "--elevation", "-90" }
                                     << QColor();
    QTest::newRow("blocks from above") << "blocks.obj" << QStringList { "--azimuth", "200", "--elevation", "90" }
                                       << QColor();
    QTest::newRow("star from behind") << "star.obj" << QStringList { "--azimuth", "180", "--elevation", "0" } << QColor();
}

void tst_QelModelTool::renderFramesTheModel()
{
    QFETCH(QString, file);
    QFETCH(QStringList, view);
    QFETCH(QColor, centre);

    const QString output = _scratch.filePath(QStringLiteral("framed.png"));
    const ToolRun result = runTool(QStringList { "render", example(file), "-o", output, "--size", "200x150" } + view);
    QCOMPARE(result.exitCode, 0);
    QCOMPARE(result.err, QByteArray());
    const QImage image(output);
    QCOMPARE(image.size(), QSize(200, 150));
    // Something is drawn at the centre (back faces too), nothing reaches the corners.
    const QRgb middle = image.pixel(100, 75);
    QVERIFY2(centre.isValid() ? sameColour(middle, centre, 2) : !sameColour(middle, kBackground, 3),
             qPrintable(describe(middle)));
    for (const QPoint corner : { QPoint(0, 0), QPoint(199, 0), QPoint(0, 149), QPoint(199, 149) })
        QVERIFY2(sameColour(image.pixel(corner), kBackground, 0), qPrintable(describe(image.pixel(corner))));
}

void tst_QelModelTool::usageErrorsExitWithTwo_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QString>("error");

    const QString cube = example(QStringLiteral("textured-cube.obj"));
    QTest::newRow("nothing") << QStringList() << "no command given";
    QTest::newRow("unknown command") << QStringList { "show", cube } << "unknown command 'show'";
    QTest::newRow("info without file") << QStringList { "info" } << "info needs a model file";
    QTest::newRow("two files") << QStringList { "info", cube, cube }
                               << QStringLiteral("unexpected argument '%1'").arg(cube);
    QTest::newRow("unknown option") << QStringList { "info", cube, "--fast" } << "Unknown option 'fast'.";
    QTest::newRow("render without output")
        << QStringList { "render", cube } << "render needs an output file: -o OUT.png";
    QTest::newRow("--json on render") << QStringList { "render", cube, "--json", "-o", "x.png" }
                                      << "--json is not an option of render";
    QTest::newRow("-o on info") << QStringList { "info", cube, "-o", "x.png" } << "--output is not an option of info";
    QTest::newRow("size without height") << QStringList { "render", cube, "-o", "x.png", "--size", "640" }
                                         << "--size '640' is not WIDTHxHEIGHT with sides from 1 to 16384";
    QTest::newRow("size zero") << QStringList { "render", cube, "-o", "x.png", "--size", "0x10" }
                               << "--size '0x10' is not WIDTHxHEIGHT with sides from 1 to 16384";
    QTest::newRow("elevation beyond the pole") << QStringList { "render", cube, "-o", "x.png", "--elevation", "90.5" }
                                               << "--elevation '90.5' is not a number of degrees from -90 to 90";
    QTest::newRow("azimuth not a number") << QStringList { "render", cube, "-o", "x.png", "--azimuth", "left" }
                                          << "--azimuth 'left' is not a number of degrees from -360 to 360";
}

void tst_QelModelTool::usageErrorsExitWithTwo()
{
    QFETCH(QStringList, arguments);
    QFETCH(QString, error);

    const ToolRun result = runTool(arguments);
    QCOMPARE(result.exitCode, 2);
    QCOMPARE(result.out, QByteArray());
    QCOMPARE(QString::fromUtf8(result.err).section(QLatin1Char('\n'), 0, 0), QStringLiteral("qelmodel: ") + error);
    QVERIFY(!QFileInfo::exists(QStringLiteral("x.png")));
}

void tst_QelModelTool::helpExitsWithZero()
{
    const ToolRun result = runTool({ QStringLiteral("--help") });
    QCOMPARE(result.exitCode, 0);
    QVERIFY(result.out.startsWith("usage: qelmodel info FILE.obj [--json]\n"));
    QCOMPARE(result.err, QByteArray());
}

void tst_QelModelTool::examplesAreWhatTheirGeneratorWrites()
{
    const QString generated = _scratch.filePath(QStringLiteral("generated"));
    QCOMPARE(run(QStringLiteral(MAKE_EXAMPLES_TOOL), { generated }).exitCode, 0);
    const QStringList files = QDir(generated).entryList(QDir::Files, QDir::Name);
    QCOMPARE(QDir(QStringLiteral(QELMODEL_EXAMPLES_DIR)).entryList(QDir::Files, QDir::Name), files);
    for (const QString &name : files) {
        if (name.endsWith(QLatin1String(".png"))) {
            QCOMPARE(QImage(QDir(generated).filePath(name)).convertToFormat(QImage::Format_RGB32),
                QImage(example(name)).convertToFormat(QImage::Format_RGB32));
            continue;
        }
        QFile made(QDir(generated).filePath(name));
        QFile kept(example(name));
        QVERIFY(made.open(QIODevice::ReadOnly) && kept.open(QIODevice::ReadOnly));
        QVERIFY2(made.readAll() == kept.readAll(), qPrintable(name));
    }
}

QTEST_GUILESS_MAIN(tst_QelModelTool)
#include "tst_qelmodel.moc"
