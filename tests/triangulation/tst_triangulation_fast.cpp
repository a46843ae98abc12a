#include "MessageCapture.h"
#include "PlainEarClipping.h"
#include "PolygonTriangulation.h"

#include <QTest>

#include <cmath>
#include <limits>
#include <random>
#include <vector>

using namespace Vardune::Qel;

namespace {

using Polygon = std::vector<Vector2f>;

constexpr double kTwoPi = 6.283185307179586;

Vector2f point(double x, double y)
{
    return { float(x), float(y) };
}

// n corners at the given radii in turn, counter-clockwise, with angles jittered by `jitter` of a step.
Polygon star(int n, std::vector<double> radii, double jitter, std::mt19937 &random)
{
    std::uniform_real_distribution<double> unit(0.0, 1.0);
    Polygon polygon;
    for (int k = 0; k < n; ++k) {
        const double angle = (k + jitter * unit(random)) * kTwoPi / n;
        const double radius = radii[size_t(k) % radii.size()];
        polygon.push_back(point(radius * std::cos(angle), radius * std::sin(angle)));
    }
    return polygon;
}

// Star-shaped with random angles and radii: a random simple polygon.
Polygon randomStar(int n, std::mt19937 &random)
{
    std::uniform_real_distribution<double> unit(0.0, 1.0);
    std::vector<double> angles(static_cast<size_t>(n));
    for (double &angle : angles)
        angle = kTwoPi * unit(random);
    std::sort(angles.begin(), angles.end());
    Polygon polygon;
    for (const double angle : angles) {
        const double radius = 0.1 + unit(random);
        polygon.push_back(point(radius * std::cos(angle), radius * std::sin(angle)));
    }
    return polygon;
}

// A band wound `turns` times: out along one spiral, back along a wider one.
Polygon spiral(int n, double turns)
{
    Polygon polygon;
    const int half = n / 2;
    for (int k = 0; k < half; ++k) {
        const double t = turns * kTwoPi * k / half;
        polygon.push_back(point((1 + t) * std::cos(t), (1 + t) * std::sin(t)));
    }
    for (int k = half - 1; k >= 0; --k) {
        const double t = turns * kTwoPi * k / half;
        polygon.push_back(point((1.6 + t) * std::cos(t), (1.6 + t) * std::sin(t)));
    }
    return polygon;
}

// Teeth of height 10 along a base of height 1, counter-clockwise.
Polygon comb(int teeth)
{
    Polygon polygon { point(0, 0), point(2 * teeth, 0) };
    for (int t = teeth - 1; t >= 0; --t) {
        polygon.push_back(point(2 * t + 2, 10));
        polygon.push_back(point(2 * t + 1, 10));
        polygon.push_back(point(2 * t + 1, 1));
        polygon.push_back(point(2 * t, 1));
    }
    polygon.pop_back();
    return polygon;
}

// A square with a square hole, joined by a bridge edge walked both ways, so two positions repeat.
// Each side of both squares has `perSide` corners, so the sides are collinear runs.
Polygon squareWithHole(int perSide)
{
    Polygon polygon;
    const auto side = [&](double x0, double y0, double x1, double y1) {
        for (int k = 0; k < perSide; ++k)
            polygon.push_back(point(x0 + (x1 - x0) * k / perSide, y0 + (y1 - y0) * k / perSide));
    };
    side(0, 0, 10, 0);
    side(10, 0, 10, 10);
    side(10, 10, 0, 10);
    side(0, 10, 0, 0);
    polygon.push_back(point(0, 0));
    side(3, 3, 3, 7); // the hole, clockwise
    side(3, 7, 7, 7);
    side(7, 7, 7, 3);
    side(7, 3, 3, 3);
    polygon.push_back(point(3, 3));
    return polygon;
}

// `polygon` with every corner passed through `change`.
template<typename Change>
Polygon changed(Polygon polygon, Change change)
{
    for (Vector2f &p : polygon)
        p = change(p);
    return polygon;
}

struct Result
{
    std::vector<int> corners;
    QStringList warnings;
};

template<typename Triangulate>
Result triangulate(Triangulate triangulatePolygon, const Polygon &polygon, bool clockwise)
{
    Result result;
    result.corners.resize(3 * polygon.size());
    MessageCapture capture;
    const int written = triangulatePolygon(int(polygon.size()), polygon.data(), clockwise, result.corners.data());
    result.corners.resize(size_t(written));
    result.warnings = capture.texts(QtWarningMsg);
    return result;
}

} // namespace

class TestTriangulationFast : public QObject
{
    Q_OBJECT

private slots:
    void matchesPlainEarClipping_data();
    void matchesPlainEarClipping();
    void smallPolygonsMatchPlainEarClipping_data();
    void smallPolygonsMatchPlainEarClipping();
};

void TestTriangulationFast::matchesPlainEarClipping_data()
{
    QTest::addColumn<QList<Vector2f>>("polygon");
    std::mt19937 random(20240611);
    const float nan = std::numeric_limits<float>::quiet_NaN();
    const float infinity = std::numeric_limits<float>::infinity();
    // Corners on an integer lattice: many equal angles and exactly collinear triples.
    const auto onLattice = [](Vector2f p) { return point(std::round(p.x * 8), std::round(p.y * 8)); };
    const auto add = [](const QString &name, const Polygon &polygon) {
        QTest::newRow(qPrintable(name)) << QList<Vector2f>(polygon.begin(), polygon.end());
    };
    for (const int n : { 5, 7, 63, 64, 65, 200, 1000, 2000 }) {
        add(QStringLiteral("convex %1").arg(n), star(n, { 1.0 }, 0.0, random));
        add(QStringLiteral("convex jittered %1").arg(n), star(n, { 1.0 }, 0.5, random));
        add(QStringLiteral("concave star %1").arg(n), star(n, { 1.0, 0.7 }, 0.0, random));
        add(QStringLiteral("random star %1").arg(n), randomStar(n, random));
        add(QStringLiteral("lattice %1").arg(n), changed(randomStar(n, random), onLattice));
        Polygon clockwise = star(n, { 1.0, 0.3, 0.8 }, 0.3, random);
        std::reverse(clockwise.begin(), clockwise.end());
        add(QStringLiteral("clockwise star %1").arg(n), clockwise);
    }
    for (int run = 0; run < 25; ++run) {
        const int n = 5 + int(random() % 600);
        add(QStringLiteral("random star %1 (run %2)").arg(n).arg(run), randomStar(n, random));
        add(QStringLiteral("lattice %1 (run %2)").arg(n).arg(run), changed(randomStar(n, random), onLattice));
    }
    for (const int n : { 100, 1000, 2000 })
        add(QStringLiteral("spiral %1").arg(n), spiral(n, 3 + n / 500));
    for (const int teeth : { 2, 30, 500 })
        add(QStringLiteral("comb %1").arg(teeth), comb(teeth));
    for (const int perSide : { 1, 5, 100 })
        add(QStringLiteral("square with bridged hole, %1 per side").arg(perSide), squareWithHole(perSide));
    for (const double factor : { 1e-30, 1e-7, 1e-4, 1e20, 1e37, 3e38 })
        add(QStringLiteral("random star 500 scaled by %1").arg(factor),
            changed(randomStar(500, random), [factor](Vector2f p) { return point(p.x * factor, p.y * factor); }));
    add(QStringLiteral("collinear"), Polygon { point(0, 0), point(1, 0), point(2, 0), point(3, 0), point(4, 0) });
    add(QStringLiteral("all one point"), Polygon(100, point(1, 1)));
    // Runs over the same few points again and again: whole subtrees of the corner tree repeat one
    // triangle corner.
    for (const int distinct : { 3, 4, 7 }) {
        const Polygon ring = star(distinct, { 1.0 }, 0.0, random);
        Polygon repeated;
        for (int k = 0; k < 1500; ++k)
            repeated.push_back(ring[size_t(k % distinct)]);
        add(QStringLiteral("%1 points repeated").arg(distinct), repeated);
    }
    for (const int every : { 1, 7, 150 }) {
        for (const float value : { nan, infinity }) {
            Polygon polygon = randomStar(300, random);
            for (size_t k = 3; k < polygon.size(); k += size_t(every))
                polygon[k].y = value;
            add(QStringLiteral("%1 every %2").arg(value).arg(every), polygon);
        }
    }
    // Small polygons, whose directions are normalised four at a time: infinities and NaNs among
    // them, and lengths at the ends of the float range.
    for (const int n : { 6, 9, 13, 40 }) {
        for (const float value : { nan, infinity, -infinity }) {
            Polygon polygon = randomStar(n, random);
            for (size_t k = 1; k < polygon.size(); k += 3)
                (k % 2 ? polygon[k].x : polygon[k].y) = value;
            add(QStringLiteral("%1 in a star of %2").arg(value).arg(n), polygon);
        }
        for (const double factor : { 1e-30, 1e-5, 3e38 })
            add(QStringLiteral("random star %1 scaled by %2").arg(n).arg(factor),
                changed(randomStar(n, random), [factor](Vector2f p) { return point(p.x * factor, p.y * factor); }));
    }
    add(QStringLiteral("one NaN x in a convex polygon"), [&] {
        Polygon polygon = star(100, { 1.0 }, 0.0, random);
        polygon[50].x = nan;
        return polygon;
    }());
}

void TestTriangulationFast::matchesPlainEarClipping()
{
    QFETCH(QList<Vector2f>, polygon);
    const Polygon points(polygon.begin(), polygon.end());
    for (const bool clockwise : { false, true }) {
        const Result plain = triangulate(Plain::TriangulatePolygon2D, points, clockwise);
        const Result fast = triangulate(TriangulatePolygon2D, points, clockwise);
        QCOMPARE(fast.warnings, plain.warnings);
        QCOMPARE(fast.corners.size(), plain.corners.size());
        QVERIFY(fast.corners == plain.corners);
    }
}

// Small polygons take their own path (bit sets, a table on the stack): many of them, of the kinds
// whose ears tie, line up or repeat a point, each compared with the plain clipping.
void TestTriangulationFast::smallPolygonsMatchPlainEarClipping_data()
{
    QTest::addColumn<int>("kind");
    QTest::addColumn<int>("leastCorners");
    QTest::addColumn<int>("mostCorners");
    for (const auto &[name, kind] : { std::pair { "random star", 0 }, { "lattice", 1 }, { "repeated points", 2 } }) {
        QTest::newRow(qPrintable(QStringLiteral("%1, 5 to 16 corners").arg(name))) << kind << 5 << 16;
        QTest::newRow(qPrintable(QStringLiteral("%1, 17 to 64 corners").arg(name))) << kind << 17 << 64;
    }
}

void TestTriangulationFast::smallPolygonsMatchPlainEarClipping()
{
    QFETCH(int, kind);
    QFETCH(int, leastCorners);
    QFETCH(int, mostCorners);
    std::mt19937 random(20261125 + kind);
    const auto onLattice = [](Vector2f p) { return point(std::round(p.x * 3), std::round(p.y * 3)); };
    const int polygons = mostCorners <= 16 ? 20000 : 2000;
    for (int run = 0; run < polygons; ++run) {
        const int n = leastCorners + int(random() % unsigned(mostCorners - leastCorners + 1));
        Polygon points = randomStar(n, random);
        if (kind == 1)
            points = changed(points, onLattice);
        if (kind == 2)
            points[random() % unsigned(n)] = points[random() % unsigned(n)];
        const bool clockwise = run % 2 != 0;
        const Result plain = triangulate(Plain::TriangulatePolygon2D, points, clockwise);
        const Result fast = triangulate(TriangulatePolygon2D, points, clockwise);
        QCOMPARE(fast.warnings, plain.warnings);
        QVERIFY2(fast.corners == plain.corners, qPrintable(QStringLiteral("polygon %1 of %2 corners").arg(run).arg(n)));
    }
}

QTEST_GUILESS_MAIN(TestTriangulationFast)
#include "tst_triangulation_fast.moc"
