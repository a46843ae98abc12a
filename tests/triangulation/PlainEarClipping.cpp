// The plain ear clipping that the library's triangulation must match corner for corner: the
// library's implementation before it gained its priority queue and spatial index, kept unchanged
// as the reference of the differential tests and of the triangulation fuzz target. Quadratic in
// the corner count: every step scans the whole ring to choose an ear, and every ear test scans it
// for blocking corners.

#include "PlainEarClipping.h"

#include <QMessageLogger>

#include <vector>

namespace Vardune::Qel::Plain {

namespace {

Vector2f difference(Vector2f a, Vector2f b)
{
    return { a.x - b.x, a.y - b.y };
}

float cross(Vector2f a, Vector2f b)
{
    return a.x * b.y - a.y * b.x;
}

float dot(Vector2f a, Vector2f b)
{
    return a.x * b.x + a.y * b.y;
}

bool operator==(Vector2f a, Vector2f b)
{
    return a.x == b.x && a.y == b.y;
}

// Whether `point` lies inside the triangle corner0 → corner1 → corner2 or on its border, compared through unit
// directions so that the signs measure angles, not areas. A NaN compares false and blocks nothing.
bool isInsideEar(Vector2f point, Vector2f corner0, Vector2f corner1, Vector2f corner2, Vector2f edge0, Vector2f edge1,
    Vector2f edge2)
{
    return cross(edge0, normalized(difference(point, corner0))) >= 0.0f
        && cross(edge1, normalized(difference(point, corner1))) >= 0.0f
        && cross(edge2, normalized(difference(point, corner2))) >= 0.0f;
}

int chooseSharpestEar(int count, const EarVertex *ring)
{
    int chosen = -1;
    for (int k = 0; k < count; ++k) {
        if (ring[k].active && ring[k].isEar && (chosen < 0 || ring[k].cosAngle > ring[chosen].cosAngle))
            chosen = k;
    }
    return chosen;
}

int writeTriangle(int *corners, int written, int a, int b, int c)
{
    corners[written] = a;
    corners[written + 1] = b;
    corners[written + 2] = c;
    return written + 3;
}

int clipEars(int count, const Vector2f *points, bool reversed, int *corners)
{
    thread_local std::vector<EarVertex> ringBuffer;
    ringBuffer.resize(count);
    EarVertex *ring = ringBuffer.data();
    for (int k = 0; k < count; ++k) {
        const int next = (k + 1) % count;
        const int prev = (k + count - 1) % count;
        // Walking a clockwise polygon backwards makes the ring counter-clockwise.
        ring[k] = { reversed ? prev : next, reversed ? next : prev, 0.0f, 0.0f, true, false };
    }
    for (int k = 0; k < count; ++k)
        UpdateEarState(k, count, points, ring);

    int written = 0;
    for (int remaining = count; remaining > 3; --remaining) {
        const int ear = chooseSharpestEar(count, ring);
        if (ear < 0) {
            QMessageLogger(nullptr, 0, nullptr).warning("Unable to triangulate polygon.");
            return 0;
        }
        const int prev = ring[ear].prev;
        const int next = ring[ear].next;
        written = writeTriangle(corners, written, prev, ear, next);
        ring[prev].next = next;
        ring[next].prev = prev;
        ring[ear].active = false;
        UpdateEarState(prev, count, points, ring);
        UpdateEarState(next, count, points, ring);
    }

    // The last three corners form the last triangle whatever their shape.
    int last = 0;
    while (!ring[last].active)
        ++last;
    return writeTriangle(corners, written, ring[last].prev, last, ring[last].next);
}

} // namespace

void UpdateEarState(int i, int count, const Vector2f *points, EarVertex *ring)
{
    EarVertex &vertex = ring[i];
    const int nx = vertex.next;
    const int pv = vertex.prev;
    const Vector2f corner = points[i];
    const Vector2f nextCorner = points[nx];
    const Vector2f prevCorner = points[pv];

    const Vector2f toNext = normalized(difference(nextCorner, corner));
    const Vector2f toPrev = normalized(difference(prevCorner, corner));
    vertex.cross = cross(toNext, toPrev);
    vertex.cosAngle = dot(toNext, toPrev);
    vertex.isEar = vertex.cross > 0.0f;
    if (!vertex.isEar)
        return;

    const Vector2f edge0 = toNext;
    const Vector2f edge1 = normalized(difference(prevCorner, nextCorner));
    const Vector2f edge2 = normalized(difference(corner, prevCorner));
    for (int k = 0; k < count; ++k) {
        if (k == i || k == pv || k == nx || !ring[k].active)
            continue;
        const Vector2f point = points[k];
        // A corner repeating a triangle corner's position, as where an outline runs to a hole and
        // back along one edge, must not block the ear.
        if (point == corner || point == nextCorner || point == prevCorner)
            continue;
        if (isInsideEar(point, corner, nextCorner, prevCorner, edge0, edge1, edge2)) {
            vertex.isEar = false;
            return;
        }
    }
}

int TriangulatePolygon2D(int count, const Vector2f *points, bool reversed, int *corners)
{
    if (count < 3) {
        QMessageLogger(nullptr, 0, nullptr).warning("Cannot triangulate a polygon with fewer than 3 vertices");
        return 0;
    }
    if (count == 3)
        return reversed ? writeTriangle(corners, 0, 0, 2, 1) : writeTriangle(corners, 0, 0, 1, 2);
    if (count == 4) {
        // Always the diagonal between corners 1 and 3, with no test of the shape.
        if (reversed)
            return writeTriangle(corners, writeTriangle(corners, 0, 0, 3, 1), 1, 3, 2);
        return writeTriangle(corners, writeTriangle(corners, 0, 0, 1, 3), 1, 2, 3);
    }
    return clipEars(count, points, reversed, corners);
}

} // namespace Vardune::Qel::Plain
