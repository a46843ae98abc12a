// Throughput of Triangulate3D on the faces that meshes are made of (quadrilaterals, and polygons of
// 5 to 12 corners, convex and concave), and its growth on single large polygons. Uses the overload
// that model upload uses: normal computed from the polygon, 32-bit output, appended face after face
// to one list. Also counts operator new calls during the timed runs, which should stay at zero.
// Times are the thread's CPU time, which stays meaningful on a machine shared with other work.
// "bounded" times single polygons of up to 100,000 corners against the plain quadratic reference
// kept with the tests (that one up to 10,000 corners, or 100,000 with "bounded-all").

#include "PlainEarClipping.h"
#include "PolygonTriangulation.h"
#include "Triangulate3D.h"

#include <QList>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <new>
#include <random>
#include <string>
#include <vector>

#include <time.h>

namespace {

std::atomic<long long> newCalls { 0 };

} // namespace

void *operator new(std::size_t size)
{
    ++newCalls;
    if (void *p = std::malloc(size ? size : 1))
        return p;
    throw std::bad_alloc();
}

void operator delete(void *p) noexcept
{
    std::free(p);
}

void operator delete(void *p, std::size_t) noexcept
{
    std::free(p);
}

namespace {

using Vardune::Qel::Triangulate3D;

constexpr int kRuns = 5;

double threadSeconds()
{
    timespec now;
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return now.tv_sec + now.tv_nsec * 1e-9;
}

// Faces as packed corner counts, corner indices and positions, like a builder's input.
struct FaceSet
{
    std::vector<int> cornerCounts;
    std::vector<int> indices;
    std::vector<float> positions;
    long long triangleEntries = 0;

    // Adds one polygon with corners at the given angles and radii in a tilted plane.
    void addPolygon(const std::vector<double> &angles, const std::vector<double> &radii, double cx, double cy)
    {
        const int first = int(positions.size() / 3);
        for (size_t k = 0; k < angles.size(); ++k) {
            const double x = cx + radii[k] * std::cos(angles[k]);
            const double y = cy + radii[k] * std::sin(angles[k]);
            positions.insert(positions.end(), { float(x), float(y), float(0.25 * x - 0.5 * y) });
            indices.push_back(first + int(k));
        }
        cornerCounts.push_back(int(angles.size()));
        triangleEntries += 3 * (static_cast<long long>(angles.size()) - 2);
    }
};

FaceSet makeQuadGrid(int side)
{
    FaceSet set;
    for (int y = 0; y <= side; ++y) {
        for (int x = 0; x <= side; ++x)
            set.positions.insert(set.positions.end(), { float(x), float(y), float((x * 7 + y * 3) % 5) * 0.01f });
    }
    for (int y = 0; y < side; ++y) {
        for (int x = 0; x < side; ++x) {
            const int v = y * (side + 1) + x;
            set.indices.insert(set.indices.end(), { v, v + 1, v + side + 2, v + side + 1 });
            set.cornerCounts.push_back(4);
        }
    }
    set.triangleEntries = 6LL * side * side;
    return set;
}

// Half convex (jittered regular polygons), half concave (star-shaped with random radii).
FaceSet makeMixedPolygons(int count, std::mt19937 &random)
{
    FaceSet set;
    std::uniform_int_distribution<int> cornerCount(5, 12);
    std::uniform_real_distribution<double> unit(0.0, 1.0);
    std::vector<double> angles, radii;
    for (int face = 0; face < count; ++face) {
        const int n = cornerCount(random);
        const bool concave = face % 2 == 1;
        angles.resize(n);
        radii.resize(n);
        for (int k = 0; k < n; ++k) {
            angles[k] = (k + 0.6 * unit(random)) * 2 * M_PI / n;
            radii[k] = concave ? 0.3 + unit(random) : 1.0;
        }
        set.addPolygon(angles, radii, (face % 1000) * 3.0, (face / 1000) * 3.0);
    }
    return set;
}

FaceSet makeSinglePolygon(int corners, bool concave)
{
    FaceSet set;
    std::vector<double> angles(corners), radii(corners);
    for (int k = 0; k < corners; ++k) {
        angles[k] = k * 2 * M_PI / corners;
        radii[k] = concave && k % 2 == 1 ? 0.7 : 1.0;
    }
    set.addPolygon(angles, radii, 0, 0);
    return set;
}

// Triangulates every face into a fresh list; returns the seconds taken and checks the output size.
double triangulateAll(const FaceSet &set, long long *allocations)
{
    QList<unsigned int> out;
    const long long before = newCalls;
    const double start = threadSeconds();
    const int *indices = set.indices.data();
    for (const int n : set.cornerCounts) {
        Triangulate3D(n, indices, set.positions.data(), out);
        indices += n;
    }
    const double seconds = threadSeconds() - start;
    *allocations = newCalls - before;
    if (out.size() != set.triangleEntries)
        std::printf("  warning: %lld entries expected, %lld written\n", set.triangleEntries, (long long)out.size());
    return seconds;
}

double medianSeconds(const FaceSet &set, int runs, long long *allocations)
{
    std::vector<double> times;
    for (int run = 0; run < runs; ++run)
        times.push_back(triangulateAll(set, allocations));
    std::sort(times.begin(), times.end());
    return times[times.size() / 2];
}

void reportThroughput(const char *name, const FaceSet &set)
{
    long long allocations = 0;
    triangulateAll(set, &allocations); // warm-up: fills the per-thread buffers
    const double seconds = medianSeconds(set, kRuns, &allocations);
    std::printf("%-34s %9zu faces  %8.1f ms  %6.2f M faces/s  (operator new calls in last run: %lld)\n", name,
        set.cornerCounts.size(), seconds * 1e3, set.cornerCounts.size() / seconds * 1e-6, allocations);
}

// The 2D ear clipping alone, library and plain reference, on the polygon's projected points.
double clippingSeconds(const FaceSet &set, bool plain)
{
    using namespace Vardune::Qel;
    const int count = set.cornerCounts.front();
    std::vector<Vector2f> points(static_cast<size_t>(count));
    ProjectPolygonToPlane(ComputePolygonNormal(count, set.indices.data(), set.positions.data()), count,
        set.indices.data(), set.positions.data(), points.data());
    std::vector<int> corners(3 * static_cast<size_t>(count));
    const double start = threadSeconds();
    const int written = plain ? Plain::TriangulatePolygon2D(count, points.data(), false, corners.data())
                              : TriangulatePolygon2D(count, points.data(), false, corners.data());
    const double seconds = threadSeconds() - start;
    if (written != 3 * (count - 2))
        std::printf("  warning: %d entries expected, %d written\n", 3 * (count - 2), written);
    return seconds;
}

void reportBounded(bool plainEverywhere)
{
    std::printf("Single polygons, thread CPU time of one run: whole Triangulate3D call, then the ear clipping "
                "alone,\nlibrary and plain reference (quadratic; skipped above 10,000 corners unless bounded-all)\n");
    for (const bool concave : { false, true }) {
        for (const int corners : { 100, 1000, 10000, 100000 }) {
            const FaceSet set = makeSinglePolygon(corners, concave);
            long long allocations = 0;
            const double whole = triangulateAll(set, &allocations);
            const double fast = clippingSeconds(set, false);
            const bool plainRun = plainEverywhere || corners <= 10000;
            const double plain = plainRun ? clippingSeconds(set, true) : 0.0;
            std::printf("%-8s %7d corners  Triangulate3D %10.3f ms  clipping %10.3f ms  plain clipping ",
                concave ? "concave" : "convex", corners, whole * 1e3, fast * 1e3);
            if (plainRun)
                std::printf("%12.3f ms\n", plain * 1e3);
            else
                std::printf("%12s\n", "-");
        }
    }
}

} // namespace

// Optional argument: "faces" or "single" to run one half only, "bounded" or "bounded-all" for the
// comparison of single large polygons with the plain reference.
int main(int argc, char **argv)
{
    const std::string only = argc > 1 ? argv[1] : "";
    if (only == "bounded" || only == "bounded-all") {
        reportBounded(only == "bounded-all");
        return 0;
    }
    if (only != "single") {
        std::mt19937 random(12345);
        std::printf("Triangulate3D, computed normal, 32-bit output, thread CPU time, median of %d runs\n", kRuns);
        reportThroughput("quadrilaterals (1000 x 1000 grid)", makeQuadGrid(1000));
        reportThroughput("polygons of 5 to 12 corners", makeMixedPolygons(1000000, random));
    }
    if (only == "faces")
        return 0;

    std::printf("\nSingle polygons (thread CPU time; median of %d runs, one run for the largest)\n", kRuns);
    for (const bool concave : { false, true }) {
        for (const int corners : { 100, 1000, 10000 }) {
            const FaceSet set = makeSinglePolygon(corners, concave);
            long long allocations = 0;
            const int runs = corners >= 10000 ? 1 : kRuns;
            const double seconds = medianSeconds(set, runs, &allocations);
            std::printf("%-8s %6d corners  %12.3f ms\n", concave ? "concave" : "convex", corners, seconds * 1e3);
        }
    }
    return 0;
}
