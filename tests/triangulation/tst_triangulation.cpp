#include "Diagnostics.h"
#include "FindDegenerateTriangle.h"
#include "MessageCapture.h"
#include "PolygonLanes.h"
#include "PolygonTriangulation.h"
#include "Triangulate3D.h"

#include <QRandomGenerator>
#include <QTest>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <limits>
#include <random>

using namespace Vardune::Qel;

namespace {

const QString kTooFewCorners = QStringLiteral("Cannot triangulate a polygon with fewer than 3 vertices");
const QString kNoEar = QStringLiteral("Unable to triangulate polygon.");

// QVector3D's meta type belongs to the GUI module, which a GUI-less test does not register.
struct Normal
{
    float x, y, z;
    operator QVector3D() const { return QVector3D(x, y, z); }
};

// Positions of vertices 0, 1, ... given as (x, y) in the z = 0 plane.
QList<float> planarPositions(std::initializer_list<float> xy)
{
    QList<float> positions;
    const float *p = xy.begin();
    for (size_t k = 0; k + 1 < xy.size(); k += 2)
        positions << p[k] << p[k + 1] << 0.0f;
    return positions;
}

QList<int> identityIndices(qsizetype count)
{
    QList<int> indices;
    for (int k = 0; k < count; ++k)
        indices << k;
    return indices;
}

// Both output widths, each appended to a list that already holds one entry. Empty lists are
// passed as null pointers, so that a read of them fails; `count` defaults to the corners given.
void triangulateBoth(const Normal *normal, const QList<int> &indices, const QList<float> &positions,
    QList<unsigned int> &wide, QList<unsigned short> &narrow, int count = -2)
{
    wide = { 7u };
    narrow = { 7u };
    count = count == -2 ? int(indices.size()) : count;
    const int *corners = indices.isEmpty() ? nullptr : indices.constData();
    const float *points = positions.isEmpty() ? nullptr : positions.constData();
    if (normal) {
        Triangulate3D(QVector3D(*normal), count, corners, points, wide);
        Triangulate3D(QVector3D(*normal), count, corners, points, narrow);
    } else {
        Triangulate3D(count, corners, points, wide);
        Triangulate3D(count, corners, points, narrow);
    }
}

double signedArea(QPointF a, QPointF b, QPointF c)
{
    return ((b.x() - a.x()) * (c.y() - a.y()) - (b.y() - a.y()) * (c.x() - a.x())) / 2;
}

} // namespace

Q_DECLARE_METATYPE(Normal)

class TestTriangulation : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();

    void triangulatesWithGivenNormal_data();
    void triangulatesWithGivenNormal();
    void failureWarnsAndAppendsNothing_data();
    void failureWarnsAndAppendsNothing();
    void sixteenBitListKeepsLowBits();
    void projectionSwitchesAxisAboveStrictThreshold_data();
    void projectionSwitchesAxisAboveStrictThreshold();
    void randomSimplePolygonsAreCoveredCounterClockwise();

    void findsDegenerateTriangle_data();
    void findsDegenerateTriangle();
    void inlineLengthIsTheLibrarysHypot();
    void laneNormalisationIsTheOneVectorRule();
    void faceListMatchesOneCallPerFace_data();
    void faceListMatchesOneCallPerFace();
    void smallFaceWindingsMatchOneByOne_data();
    void smallFaceWindingsMatchOneByOne();
};

void TestTriangulation::initTestCase()
{
    // The warnings must be written whatever the logging switch says, so run with it off.
    qputenv("QEL_ENABLE_LOGGING", "0");
    QVERIFY(!isLoggingEnabled());
}

void TestTriangulation::triangulatesWithGivenNormal_data()
{
    QTest::addColumn<Normal>("normal");
    QTest::addColumn<QList<float>>("positions");
    QTest::addColumn<QList<int>>("indices");
    QTest::addColumn<QList<unsigned int>>("expected");

    const Normal up { 0, 0, 1 };
    const Normal down { 0, 0, -1 };
    const QList<float> triangle = planarPositions({ 0, 0, 1, 0, 0, 1 });
    const QList<float> square = planarPositions({ 0, 0, 1, 0, 1, 1, 0, 1 });
    QTest::newRow("triangle counter-clockwise")
        << up << triangle << QList<int> { 0, 1, 2 } << QList<unsigned> { 0, 1, 2 };
    QTest::newRow("triangle clockwise") << down << triangle << QList<int> { 0, 1, 2 } << QList<unsigned> { 0, 2, 1 };
    QTest::newRow("vertex numbers mapped") << up << triangle << QList<int> { 2, 0, 1 } << QList<unsigned> { 2, 0, 1 };
    QTest::newRow("square counter-clockwise")
        << up << square << QList<int> { 0, 1, 2, 3 } << QList<unsigned> { 0, 1, 3, 1, 2, 3 };
    QTest::newRow("square clockwise") << down << square << QList<int> { 0, 1, 2, 3 }
                                      << QList<unsigned> { 0, 3, 1, 1, 3, 2 };
    QTest::newRow("unnormalised normal") << Normal { 0, 0, 250 } << square << QList<int> { 0, 1, 2, 3 }
                                         << QList<unsigned> { 0, 1, 3, 1, 2, 3 };
    // Concave at corner 2: the 1-3 diagonal runs outside, and is kept all the same.
    QTest::newRow("concave quadrilateral") << up << planarPositions({ 0, 0, 2, 0, 0.5f, 0.5f, 0, 2 })
                                           << QList<int> { 0, 1, 2, 3 } << QList<unsigned> { 0, 1, 3, 1, 2, 3 };
    QTest::newRow("zero normal, triangle")
        << Normal { 0, 0, 0 } << triangle << QList<int> { 0, 2, 1 } << QList<unsigned> { 0, 2, 1 };
    QTest::newRow("zero normal, square") << Normal { 0, 0, 0 } << square << QList<int> { 3, 2, 1, 0 }
                                         << QList<unsigned> { 3, 2, 0, 2, 1, 0 };
    // A winding sum that is not a number counts as clockwise.
    QTest::newRow("NaN winding") << up << planarPositions({ 0, 0, std::nanf(""), 0, 0, 1 }) << QList<int> { 0, 1, 2 }
                                 << QList<unsigned> { 0, 2, 1 };
    // Sharpest corner 3 first; then corners 0, 1, 2, 4 tie at cosine 0 and corner 0 wins; the last
    // triangle is built around corner 1, the lowest still active.
    QTest::newRow("pentagon") << up << planarPositions({ 0, 0, 2, 0, 2, 1, 1, 3, 0, 1 }) << identityIndices(5)
                              << QList<unsigned> { 2, 3, 4, 4, 0, 1, 4, 1, 2 };
    QTest::newRow("pentagon clockwise") << down << planarPositions({ 0, 0, 2, 0, 2, 1, 1, 3, 0, 1 })
                                        << identityIndices(5) << QList<unsigned> { 4, 3, 2, 1, 0, 4, 2, 1, 4 };
    // A square with a square hole, joined by a bridge from (0, 0) to (1, 1) that the outline runs
    // along twice: the repeated corners sit on the borders of the ears around them.
    const QList<float> keyhole = planarPositions({ 0, 0, 4, 0, 4, 4, 0, 4, 0, 0, 1, 1, 1, 3, 3, 3, 3, 1, 1, 1 });
    const QList<unsigned> keyholeTriangles { 9, 0, 1, 8, 9, 1, 8, 1, 2, 7, 8, 2, 7, 2, 3, 6, 7, 3, 6, 3, 4, 6, 4, 5 };
    QTest::newRow("keyhole") << up << keyhole << identityIndices(10) << keyholeTriangles;
}

void TestTriangulation::triangulatesWithGivenNormal()
{
    QFETCH(Normal, normal);
    QFETCH(QList<float>, positions);
    QFETCH(QList<int>, indices);
    QFETCH(QList<unsigned int>, expected);

    MessageCapture capture;
    QList<unsigned int> wide;
    QList<unsigned short> narrow;
    triangulateBoth(&normal, indices, positions, wide, narrow);
    expected.prepend(7u);
    QCOMPARE(wide, expected);
    QCOMPARE(QList<unsigned int>(narrow.begin(), narrow.end()), expected);
    QCOMPARE(capture.messages().size(), 0);
}

void TestTriangulation::failureWarnsAndAppendsNothing_data()
{
    QTest::addColumn<Normal>("normal");
    QTest::addColumn<QList<float>>("positions");
    QTest::addColumn<QList<int>>("indices");
    QTest::addColumn<int>("count"); // -2: the corners given
    QTest::addColumn<QString>("warning");
    QTest::addColumn<bool>("failsWithComputedNormal");

    const Normal up { 0, 0, 1 };
    const QList<float> onAxis = planarPositions({ 0, 0, 1, 0, 2, 0, 3, 0, 4, 0, 5, 0 });
    QTest::newRow("five collinear") << up << onAxis << identityIndices(5) << -2 << kNoEar << true;
    QTest::newRow("six collinear, back and forth")
        << up << onAxis << QList<int> { 0, 2, 4, 5, 3, 1 } << -2 << kNoEar << true;
    // Every point projects to (0, 0); the computed normal would be fine.
    QTest::newRow("zero normal, pentagon") << Normal { 0, 0, 0 } << planarPositions({ 0, 0, 2, 0, 2, 1, 1, 3, 0, 1 })
                                           << identityIndices(5) << -2 << kNoEar << false;
    QTest::newRow("one corner") << up << onAxis << QList<int> { 3 } << -2 << kTooFewCorners << true;
    QTest::newRow("two corners") << up << onAxis << QList<int> { 3, 4 } << -2 << kTooFewCorners << true;
    // No corner at all: neither list is read (they are null).
    QTest::newRow("0 corners") << up << QList<float>() << QList<int>() << 0 << kTooFewCorners << true;
    QTest::newRow("-1 corners") << up << QList<float>() << QList<int>() << -1 << kTooFewCorners << true;
}

void TestTriangulation::failureWarnsAndAppendsNothing()
{
    QFETCH(Normal, normal);
    QFETCH(QList<float>, positions);
    QFETCH(QList<int>, indices);
    QFETCH(int, count);
    QFETCH(QString, warning);
    QFETCH(bool, failsWithComputedNormal);

    for (bool withNormal : { true, false }) {
        if (!withNormal && !failsWithComputedNormal)
            continue;
        MessageCapture capture;
        QList<unsigned int> wide;
        QList<unsigned short> narrow;
        triangulateBoth(withNormal ? &normal : nullptr, indices, positions, wide, narrow, count);
        QCOMPARE(wide, QList<unsigned int> { 7u });
        QCOMPARE(narrow, QList<unsigned short> { 7u });
        QCOMPARE(capture.texts(QtWarningMsg), QStringList(2, warning));
        QCOMPARE(capture.messages().size(), 2);
        QVERIFY(!capture.messages().constFirst().hasContext);
    }
}

void TestTriangulation::sixteenBitListKeepsLowBits()
{
    QList<float> positions(3 * 70001, 0.0f);
    positions[3 * 1] = 1.0f;
    positions[3 * 70000 + 1] = 1.0f;
    const QList<int> indices { 0, 1, 70000 };

    QList<unsigned int> wide;
    QList<unsigned short> narrow;
    triangulateBoth(nullptr, indices, positions, wide, narrow);
    QCOMPARE(wide, (QList<unsigned int> { 7, 0, 1, 70000 }));
    QCOMPARE(narrow, (QList<unsigned short> { 7, 0, 1, 4464 }));
}

void TestTriangulation::projectionSwitchesAxisAboveStrictThreshold_data()
{
    QTest::addColumn<Normal>("normal");
    QTest::addColumn<float>("unitX");

    // U = y × n and U = z × n run along x with opposite signs when n.y and n.z share theirs.
    QTest::newRow("0.95 switches to z") << Normal { 0, 0.95f, 0.31f } << -1.0f;
    QTest::newRow("-0.95 switches to z") << Normal { 0, -0.95f, -0.31f } << 1.0f;
    QTest::newRow("0.9 keeps y") << Normal { 0, 0.9f, 0.44f } << 1.0f;
    // The raw y component is tested: normalised, this one would be far below 0.9.
    QTest::newRow("long normal switches to z") << Normal { 0, 1.0f, 8.0f } << -1.0f;
}

void TestTriangulation::projectionSwitchesAxisAboveStrictThreshold()
{
    QFETCH(Normal, normal);
    QFETCH(float, unitX);

    const QList<float> positions { 5, 6, 7, 6, 6, 7 };
    const int indices[] = { 0, 1 };
    Vector2f points[2] = { { 9, 9 }, { 9, 9 } };
    ProjectPolygonToPlane(normal, 2, indices, positions.constData(), points);
    QCOMPARE(points[0].x, 0.0f);
    QCOMPARE(points[0].y, 0.0f);
    QCOMPARE(points[1].x, unitX);
}

void TestTriangulation::randomSimplePolygonsAreCoveredCounterClockwise()
{
    // Star-shaped polygons, whose angles jittered within their own sectors keep every gap below pi so
    // that they stay simple, embedded in random planes with shuffled vertex numbers, at times
    // clockwise. With the normal given, the triangles run counter-clockwise about it; with it
    // computed, they keep the input's winding. Either way they cover the polygon once.
    QRandomGenerator random(20240611);
    int triangulated = 0;
    const int kPolygons = 2000;
    for (int polygon = 0; polygon < kPolygons; ++polygon) {
        const int n = 5 + int(random.bounded(28));
        const QVector3D axisU
            = QVector3D(float(random.bounded(2.0) - 1), float(random.bounded(2.0) - 1), 1).normalized();
        const QVector3D axisV = QVector3D::crossProduct(axisU, QVector3D(0.3f, -0.5f, 0.8f)).normalized();
        const QVector3D normal = QVector3D::crossProduct(axisU, axisV) * float(0.5 + random.bounded(4.0));
        const QVector3D offset(float(random.bounded(10.0)), float(random.bounded(10.0)), 0);
        const double turn = random.bounded(2) == 1 ? -2 * M_PI / n : 2 * M_PI / n;
        QList<int> indices = identityIndices(n);
        std::shuffle(indices.begin(), indices.end(), random);
        QList<QPointF> planar(n); // by vertex number
        QList<float> positions(3 * n);
        for (int k = 0; k < n; ++k) {
            const double angle = (k + random.bounded(0.8)) * turn;
            const double radius = 0.2 + random.bounded(1.0);
            const int v = indices[k];
            planar[v] = QPointF(radius * std::cos(angle), radius * std::sin(angle));
            const QVector3D p = offset + axisU * float(planar[v].x()) + axisV * float(planar[v].y());
            positions[3 * v] = p.x();
            positions[3 * v + 1] = p.y();
            positions[3 * v + 2] = p.z();
        }
        double area = 0; // negative when clockwise
        for (int k = 0; k < n; ++k)
            area += signedArea(QPointF(), planar[indices[k]], planar[indices[(k + 1) % n]]);

        for (const bool withNormal : { true, false }) {
            QList<unsigned int> out;
            QList<unsigned short> narrow;
            {
                MessageCapture quiet;
                const Normal given { normal.x(), normal.y(), normal.z() };
                triangulateBoth(withNormal ? &given : nullptr, indices, positions, out, narrow);
            }
            QCOMPARE(QList<unsigned int>(narrow.begin(), narrow.end()), out);
            if (out.size() == 1)
                continue;
            ++triangulated;
            QCOMPARE(out.size(), 1 + 3 * (n - 2));
            const double expected = withNormal ? std::abs(area) : area;
            double sum = 0;
            for (qsizetype t = 1; t < out.size(); t += 3) {
                const double triangleArea = signedArea(planar[out[t]], planar[out[t + 1]], planar[out[t + 2]]);
                QVERIFY2((expected < 0 ? -triangleArea : triangleArea) >= -1e-5,
                    qPrintable(QStringLiteral("polygon %1, triangle %2").arg(polygon).arg(t)));
                sum += triangleArea;
            }
            QVERIFY2(std::abs(sum - expected) <= 1e-4 * std::max(1.0, std::abs(area)),
                qPrintable(QStringLiteral("polygon %1: %2 != %3").arg(polygon).arg(sum).arg(expected)));
        }
    }
    // Ear clipping cannot fail on a simple polygon; rounding may stop it only rarely.
    QVERIFY2(triangulated >= 2 * kPolygons * 99 / 100, qPrintable(QString::number(triangulated)));
}

void TestTriangulation::findsDegenerateTriangle_data()
{
    QTest::addColumn<QList<float>>("positions");
    QTest::addColumn<QList<unsigned int>>("indices");
    QTest::addColumn<int>("count");
    QTest::addColumn<int>("start");
    QTest::addColumn<int>("expected");

    // Vertices: 0 (0, 0), 1 (1, 0), 2 (2, 0), 3 (0, 1), 4 (2, 0.001), 5 (2, 0.1), 6 (0, 0) again.
    const QList<float> points { 0, 0, 1, 0, 2, 0, 0, 1, 2, 0.001f, 2, 0.1f, 0, 0 };
    const QList<unsigned int> good { 0, 1, 3 };
    const QList<unsigned int> bad { 0, 1, 2 };
    QTest::newRow("collinear") << points << bad << 3 << 0 << 0;
    QTest::newRow("proper") << points << good << 3 << 0 << -1;
    QTest::newRow("two coincident corners") << points << QList<unsigned> { 0, 6, 1 } << 3 << 0 << 0;
    QTest::newRow("same vertex twice") << points << QList<unsigned> { 3, 1, 1 } << 3 << 0 << 0;
    QTest::newRow("all coincident") << points << QList<unsigned> { 0, 6, 0 } << 3 << 0 << -1;
    QTest::newRow("flat within tolerance") << points << QList<unsigned> { 0, 1, 4 } << 3 << 0 << 0;
    QTest::newRow("flat beyond tolerance") << points << QList<unsigned> { 0, 1, 5 } << 3 << 0 << -1;
    QTest::newRow("second of two") << points << good + bad << 6 << 0 << 3;
    QTest::newRow("first of two wins") << points << bad + bad << 6 << 0 << 0;
    QTest::newRow("start skips first") << points << bad + good << 6 << 3 << -1;
    QTest::newRow("start finds second") << points << good + bad << 6 << 3 << 3;
    QTest::newRow("start off the grid") << points << QList<unsigned> { 3, 0, 1, 2, 3, 0 } << 6 << 1 << 1;
    QTest::newRow("count cuts a triangle") << points << good + bad << 5 << 0 << -1;
    // A start at or past the end reads nothing (the lists are null).
    QTest::newRow("start at the end") << QList<float>() << QList<unsigned>() << 6 << 6 << -1;
    QTest::newRow("start past the end") << QList<float>() << QList<unsigned>() << 6 << 100 << -1;
    QTest::newRow("count of none") << QList<float>() << QList<unsigned>() << 0 << 0 << -1;
}

void TestTriangulation::findsDegenerateTriangle()
{
    QFETCH(QList<float>, positions);
    QFETCH(QList<unsigned int>, indices);
    QFETCH(int, count);
    QFETCH(int, start);
    QFETCH(int, expected);

    QCOMPARE(FindDegenerateTriangle(count, indices.isEmpty() ? nullptr : indices.constData(),
                 positions.isEmpty() ? nullptr : positions.constData(), start),
        expected);
}

static quint32 bitsOf(float value)
{
    quint32 bits;
    std::memcpy(&bits, &value, sizeof bits);
    return bits;
}

// The same bits, or both a NaN of any payload.
static bool sameFloat(float actual, float expected)
{
    return std::isnan(expected) ? std::isnan(actual) : bitsOf(actual) == bitsOf(expected);
}

// The inline lengths must round exactly as std::hypot does, or the chosen ears and windings change.
void TestTriangulation::inlineLengthIsTheLibrarysHypot()
{
    const float inf = std::numeric_limits<float>::infinity();
    const float nan = std::numeric_limits<float>::quiet_NaN();
    QList<float> values { 0.0f, -0.0f, inf, -inf, nan, 1.0f, -1.0f, 3.0f, 4.0f, 1e-45f, 1.2e-38f, 3.4e38f, -3.4e38f,
        1e19f, 1e-19f, 0.1f, 0.70710677f };
    std::mt19937 random(7);
    for (int i = 0; i < 20000; ++i) {
        const quint32 bits = random();
        float value;
        std::memcpy(&value, &bits, sizeof value);
        values.append(value);
        values.append(std::uniform_real_distribution<float>(-2.0f, 2.0f)(random));
    }
    for (qsizetype i = 0; i < values.size(); ++i) {
        const float z = values[(i * 13 + 5) % values.size()];
        for (const float y : { values[(i * 7 + 1) % values.size()], values[i], 1.0f, nan, inf }) {
            QVERIFY2(sameFloat(length2D(values[i], y), std::hypot(values[i], y)),
                qPrintable(QString::number(values[i]) + " " + QString::number(y)));
            QVERIFY2(sameFloat(length3D(values[i], y, z), std::hypot(values[i], y, z)),
                qPrintable(QString::number(values[i]) + " " + QString::number(y) + " " + QString::number(z)));
        }
    }
}

// Four 2D vectors normalised in lanes, as the small polygons' direction tables are made, equal
// normalized() of each to the bit: lengths within the tolerance of 1 (kept) and below it
// (cleared), subnormal sides, and infinities, beside a NaN too, where the C library's length
// differs but the direction does not.
void TestTriangulation::laneNormalisationIsTheOneVectorRule()
{
#if defined(QEL_HAS_VECTOR_LANES)
    const float inf = std::numeric_limits<float>::infinity();
    const float nan = std::numeric_limits<float>::quiet_NaN();
    QList<Vector2f> vectors { { 0.0f, -0.0f }, { 1.0f, 1e-40f }, { 1.0000099f, 0.0f }, { 0.6f * 1.000008f, 0.8f },
        { 0.6f, 0.8f * 0.999991f }, { 1e-5f, 0.0f }, { 1.1e-5f, 0.0f }, { 3e-6f, -4e-6f }, { inf, nan }, { -inf, 1.0f },
        { 2.0f, inf }, { nan, 0.0f }, { 3.4e38f, 3.4e38f }, { 1e-45f, -1e-45f } };
    std::mt19937 random(11);
    std::uniform_real_distribution<float> nearOne(0.99998f, 1.00002f);
    std::uniform_real_distribution<float> angle(0.0f, 6.2831853f);
    for (int i = 0; i < 4000; ++i) {
        const float a = angle(random);
        const float scale = i % 2 ? nearOne(random) : std::ldexp(1.0f, int(random() % 80) - 40);
        vectors.append({ scale * std::cos(a), scale * std::sin(a) });
        const quint32 bits[2] = { quint32(random()), quint32(random()) };
        Vector2f any;
        std::memcpy(&any, bits, sizeof any);
        vectors.append(any);
    }
    for (qsizetype first = 0; first + 4 <= vectors.size(); first += 3) { // overlapping groups
        Lanes::Floats<4> x, y;
        for (int lane = 0; lane < 4; ++lane) {
            x[lane] = vectors[first + lane].x;
            y[lane] = vectors[first + lane].y;
        }
        Lanes::normalizedCopy<4>(x, y);
        for (int lane = 0; lane < 4; ++lane) {
            const Vector2f expected = normalized(vectors[first + lane]);
            QVERIFY2(sameFloat(x[lane], expected.x) && sameFloat(y[lane], expected.y),
                qPrintable(QStringLiteral("(%1, %2)").arg(vectors[first + lane].x).arg(vectors[first + lane].y)));
        }
    }
#else
    QSKIP("No SSE2 lanes on this target");
#endif
}

// Faces cut as a list, those of up to eight corners measured and cut several of a count at a time,
// give the indices and warnings of one call per face: on well-shaped faces, on nearly flat ones
// far from the origin, and on coordinates of every bit pattern (NaNs, infinities, subnormals).
// Small polygons go four at a time, and eight where the processor has the lanes.
void TestTriangulation::faceListMatchesOneCallPerFace_data()
{
    QTest::addColumn<int>("polygonLanes");
    QTest::newRow("four lanes") << kWindingLanes;
    QTest::newRow("the most lanes") << MostFaceLanes();
}

void TestTriangulation::faceListMatchesOneCallPerFace()
{
    QFETCH(int, polygonLanes);
    std::mt19937 random(20261125);
    const auto anyBits = [&random] {
        const quint32 bits = random();
        float value;
        std::memcpy(&value, &bits, sizeof value);
        return value;
    };
    std::uniform_real_distribution<float> unit(-1.0f, 1.0f);
    QList<float> positions;
    for (int v = 0; v < 3000; ++v) {
        const int kind = v % 4;
        for (int c = 0; c < 3; ++c) {
            if (kind == 0)
                positions << unit(random);
            else if (kind == 1) // far away and nearly coplanar or collinear
                positions << 1000.0f + (c == 1 ? 1e-4f : 1.0f) * unit(random);
            else if (kind == 2) // near the projection's switch of axes and exact repeats
                positions << (c == 1 ? 0.9f : std::round(4.0f * unit(random)) / 4.0f);
            else
                positions << anyBits();
        }
    }
    const int vertexCount = int(positions.size() / 3);

    QList<unsigned int> cornerCounts;
    QList<unsigned int> faceStarts;
    QList<int> corners;
    std::uniform_int_distribution<int> countOf(0, 13);
    for (int f = 0; f < 12000; ++f) {
        const int pick = countOf(random);
        const unsigned int count = pick < 4 ? 3 : pick < 8 ? 4 : unsigned(pick - 3); // 3 to 10
        faceStarts << unsigned(corners.size());
        cornerCounts << count;
        const int kind = int(random() % 4); // the faces' corners all of one kind of vertex
        for (unsigned int k = 0; k < count; ++k)
            corners << 4 * int(random() % unsigned(vertexCount / 4)) + kind;
    }
    QList<unsigned int> faces;
    for (unsigned int f = 0; f < unsigned(cornerCounts.size()); ++f) {
        if (f % 7 != 3) // a group takes some of the faces, in its own order
            faces << (f * 2654435761u) % unsigned(cornerCounts.size());
    }

    QList<unsigned int> expected(3 * corners.size(), 0u);
    QList<unsigned int> actual(3 * corners.size(), 0u);
    size_t expectedCount = 0;
    MessageCapture capture;
    for (unsigned int face : std::as_const(faces)) {
        expectedCount += size_t(TriangulatePolygon3D(int(cornerCounts[face]), corners.constData() + faceStarts[face],
            positions.constData(), expected.data() + expectedCount));
    }
    const QStringList expectedWarnings = capture.texts(QtWarningMsg);
    capture.clear();
    const size_t actualCount = TriangulateFaces(size_t(faces.size()), faces.constData(), cornerCounts.constData(),
        faceStarts.constData(), corners.constData(), positions.constData(), actual.data(), polygonLanes);
    QCOMPARE(capture.texts(QtWarningMsg), expectedWarnings);
    QCOMPARE(actualCount, expectedCount);
    QCOMPARE(actual, expected);
}

// The windings of four faces at once, and of eight where the processor has the lanes, most of
// them settled by bounds on the rounding instead of the normalisations, agree with the one-face
// steps on faces that straddle those bounds: far from the origin, where the Newell sum loses the
// face's normal to rounding, thin, tiny and thin, beyond the range of float squares, bent or
// crossed. Offsets, sizes and widths are spread evenly on a log scale; every row has faces that
// rounding turns clockwise.
void TestTriangulation::smallFaceWindingsMatchOneByOne_data()
{
    QTest::addColumn<int>("count");
    QTest::addColumn<double>("largestOffset"); // of the first corner from the origin, 10^[0, this]
    QTest::addColumn<double>("smallestSize"); // of the face, 10^[this, largestSize]
    QTest::addColumn<double>("largestSize");
    QTest::addColumn<double>("smallestWidth"); // across the face relative to its length, 10^[this, 0]
    QTest::addColumn<bool>("bent"); // a quadrilateral's fourth corner lifted off, or swapped

    for (const int count : { 3, 4 }) {
        const QByteArray kind = count == 3 ? "triangles " : "quadrilaterals ";
        QTest::newRow(kind + "far from the origin") << count << 7.0 << 0.0 << 0.0 << 0.0 << false;
        QTest::newRow(kind + "thin") << count << 3.0 << 0.0 << 0.0 << -9.0 << false;
        QTest::newRow(kind + "large and thin") << count << 0.0 << 1.0 << 5.0 << -9.0 << false;
        QTest::newRow(kind + "tiny and thin") << count << 2.0 << -6.0 << 0.0 << -6.0 << false;
    }
    QTest::newRow("triangles beyond the squares of floats") << 3 << 25.0 << 0.0 << 20.0 << -3.0 << false;
    QTest::newRow("quadrilaterals bent or crossed") << 4 << 4.0 << -3.0 << 3.0 << -3.0 << true;
}

void TestTriangulation::smallFaceWindingsMatchOneByOne()
{
    QFETCH(int, count);
    QFETCH(double, largestOffset);
    QFETCH(double, smallestSize);
    QFETCH(double, largestSize);
    QFETCH(double, smallestWidth);
    QFETCH(bool, bent);

    constexpr int kFaces = 40000;
    constexpr int kGroupFaces = 8; // four lanes twice, or eight where the processor has them
    std::mt19937 random(uint32_t(count * 1000 + int(largestOffset * 10 - smallestSize + largestSize - smallestWidth)));
    std::uniform_real_distribution<double> unit(-1.0, 1.0);
    const auto powerOfTen = [&random](double from, double to) {
        return std::pow(10.0, std::uniform_real_distribution<double>(from, to)(random));
    };
    const auto direction = [&] {
        const double x = unit(random), y = unit(random), z = unit(random);
        const double length = std::sqrt(x * x + y * y + z * z) + 1e-9;
        return std::array<double, 3> { x / length, y / length, z / length };
    };
    QList<float> positions;
    double offset = 0, size = 0, width = 0;
    for (int f = 0; f < kFaces; ++f) {
        // The faces measured together are alike, so that such groups meet every bound.
        if (f % kGroupFaces == 0) {
            offset = powerOfTen(0.0, largestOffset);
            size = powerOfTen(smallestSize, largestSize);
            width = powerOfTen(smallestWidth, 0.0);
        }
        const std::array<double, 3> origin { offset * unit(random), offset * unit(random), offset * unit(random) };
        const std::array<double, 3> along = direction();
        const std::array<double, 3> across = direction();
        const std::array<double, 3> off = direction();
        // Corners along the face's length and across it, then lifted off its plane.
        double shape[4][3] = { { 0, 0, 0 }, { 1, 0.2 * unit(random), 0 }, { 1 + 0.3 * unit(random), 1, 0 },
            { 0.3 * unit(random), 1, 0 } };
        if (count == 3)
            shape[2][0] = unit(random);
        if (bent && f % 2 == 0)
            shape[3][2] = 2 * unit(random);
        if (bent && f % 2 == 1)
            std::swap(shape[1], shape[2]);
        for (int k = 0; k < count; ++k) {
            for (int c = 0; c < 3; ++c) {
                positions << float(origin[c]
                    + size * (shape[k][0] * along[c] + width * shape[k][1] * across[c] + width * shape[k][2] * off[c]));
            }
        }
    }

    for (int f = 0; f < kFaces; f += kGroupFaces) {
        int corners[kGroupFaces][4];
        const int *faces[kGroupFaces];
        int expected = 0;
        for (int lane = 0; lane < kGroupFaces; ++lane) {
            for (int k = 0; k < count; ++k)
                corners[lane][k] = (f + lane) * count + k;
            faces[lane] = corners[lane];
            Vector2f points[4];
            ProjectPolygonToPlane(ComputePolygonNormal(count, faces[lane], positions.constData()), count, faces[lane],
                positions.constData(), points);
            expected |= PolygonRunsClockwise(count, points) ? 1 << lane : 0;
        }
        for (int half = 0; half < kGroupFaces; half += kWindingLanes) {
            QCOMPARE(SmallFacesRunClockwise(count, faces + half, positions.constData()),
                (expected >> half) & ((1 << kWindingLanes) - 1));
        }
#if defined(QEL_HAS_WIDE_LANES)
        if (WideLanesAvailable())
            QCOMPARE(SmallFacesRunClockwiseWide(count, faces, positions.constData()), expected);
#endif
    }
}

QTEST_GUILESS_MAIN(TestTriangulation)
#include "tst_triangulation.moc"
