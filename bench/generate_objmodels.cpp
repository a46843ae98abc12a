// Writes the large OBJ models of the import benchmark, the same bytes on every run:
//
//   grid-quads.obj      1001 x 1001 grid with v/vt/vn, 1,000,000 quads "f p/t/n ..."
//   grid-polygons.obj   the same surface cut into polygons of 5 to 8 corners
//   grid-triangles.obj  1226 x 1226 grid, positions only, 3,001,250 triangles "f p p p"
//
// Polygons cover a row of quads between vertical cuts (through grid columns) and diagonal cuts
// (through one quad): w whole quads between two cuts of the same kind give 2w + 2 corners, and
// between a vertical and a diagonal cut 2w + 3 (or 2w + 1 when the diagonal is on the left).
//
// Usage: generate_objmodels [folder [side]]; the folder (default /tmp/qel-bench) is created. A
// side (vertices per grid side, for all three files) makes smaller models of the same kind.

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <sys/stat.h>
#include <vector>

namespace {

constexpr int kGridSide = 1001; // vertices per side of the textured grid
constexpr int kTriangleGridSide = 1226;
constexpr int kSmallestSide = 4;

// A small fixed-seed generator, so that the files do not depend on the C library.
struct Random
{
    uint64_t state = 0x9E3779B97F4A7C15ull;
    uint32_t next()
    {
        state = state * 6364136223846793005ull + 1442695040888963407ull;
        return uint32_t(state >> 33);
    }
};

// Buffered writer: the files are large, and one formatted call per number is the cost.
class Writer
{
public:
    explicit Writer(const std::string &path)
        : _file(std::fopen(path.c_str(), "wb"))
    {
        if (!_file)
            std::fprintf(stderr, "cannot write %s\n", path.c_str());
    }
    ~Writer()
    {
        if (_file)
            std::fclose(_file);
    }
    bool isOpen() const { return _file != nullptr; }
    void put(const char *text) { std::fputs(text, _file); }
    // `format` may use fewer than the three values.
    void printf(const char *format, double a, double b, double c) { std::fprintf(_file, format, a, b, c); }
    void index(unsigned value) { std::fprintf(_file, " %u", value); }
    void corner(unsigned value) { std::fprintf(_file, " %u/%u/%u", value, value, value); }

private:
    std::FILE *_file;
};

double height(int i, int j)
{
    return 50.0 * std::sin(i * 0.031) * std::cos(j * 0.017);
}

// Rows are gently wavy, so that no three corners along a row lie on one line: polygons that run
// along a row stay triangulable by ear clipping.
void writeGridValues(Writer &out, int side)
{
    for (int j = 0; j < side; ++j)
        for (int i = 0; i < side; ++i)
            out.printf("v %.4f %.4f %.4f\n", i * 1.0, j + 0.2 * std::sin(i * 0.9 + j * 0.3), height(i, j));
}

void writeGridAttributes(Writer &out, int side)
{
    for (int j = 0; j < side; ++j)
        for (int i = 0; i < side; ++i)
            out.printf("vt %.6f %.6f\n", i / double(side - 1), j / double(side - 1), 0.0);
    for (int j = 0; j < side; ++j) {
        for (int i = 0; i < side; ++i) {
            const double dx = 0.031 * 50.0 * std::cos(i * 0.031) * std::cos(j * 0.017);
            const double dy = -0.017 * 50.0 * std::sin(i * 0.031) * std::sin(j * 0.017);
            const double length = std::sqrt(dx * dx + dy * dy + 1.0);
            out.printf("vn %.6f %.6f %.6f\n", -dx / length, -dy / length, 1.0 / length);
        }
    }
}

// 1-based number of grid vertex (i, j).
unsigned vertexNumber(int i, int j, int side)
{
    return unsigned(j * side + i) + 1;
}

void writeQuads(Writer &out, int side)
{
    for (int j = 0; j + 1 < side; ++j) {
        for (int i = 0; i + 1 < side; ++i) {
            out.put("f");
            out.corner(vertexNumber(i, j, side));
            out.corner(vertexNumber(i + 1, j, side));
            out.corner(vertexNumber(i + 1, j + 1, side));
            out.corner(vertexNumber(i, j + 1, side));
            out.put("\n");
        }
    }
}

// A cut of a row: vertical through column c, or diagonal through quad c from its lower right
// to its upper left corner. A polygon's corners run along the lower edge from `bottomFirst` to
// `bottomLast`, then back along the upper edge from `topLast` to `topFirst`.
struct Cut
{
    int column;
    bool diagonal;
    int bottom() const { return diagonal ? column + 1 : column; }
};

int cornerCount(const Cut &left, const Cut &right)
{
    return (right.bottom() - left.bottom() + 1) + (right.column - left.column + 1);
}

void writePolygon(Writer &out, const Cut &left, const Cut &right, int row, int side)
{
    out.put("f");
    for (int i = left.bottom(); i <= right.bottom(); ++i)
        out.corner(vertexNumber(i, row, side));
    for (int i = right.column; i >= left.column; --i)
        out.corner(vertexNumber(i, row + 1, side));
    out.put("\n");
}

// Cuts each row so that every polygon has 5 to 8 corners and the row ends at its last column.
bool writePolygons(Writer &out, int side, Random &random)
{
    const int last = side - 1;
    for (int row = 0; row < last; ++row) {
        Cut left { 0, false };
        while (!(left.column == last && !left.diagonal)) {
            const int wanted = 5 + int(random.next() % 4);
            bool placed = false;
            for (int attempt = 0; attempt < 8 && !placed; ++attempt) {
                const int corners = 5 + (wanted - 5 + attempt / 2) % 4;
                for (int column = left.column; column <= last && !placed; ++column) {
                    const Cut right { column, attempt % 2 == 1 && column < last };
                    if ((right.diagonal != (attempt % 2 == 1)) || cornerCount(left, right) != corners
                        || right.bottom() <= left.bottom())
                        continue;
                    const Cut end { last, false };
                    const bool closes = right.column == last && !right.diagonal;
                    if (!closes && cornerCount(right, end) < 5)
                        continue;
                    writePolygon(out, left, right, row, side);
                    left = right;
                    placed = true;
                }
            }
            if (!placed) {
                std::fprintf(stderr, "row %d cannot be cut at column %d\n", row, left.column);
                return false;
            }
        }
    }
    return true;
}

void writeTriangles(Writer &out, int side)
{
    for (int j = 0; j + 1 < side; ++j) {
        for (int i = 0; i + 1 < side; ++i) {
            out.put("f");
            out.index(vertexNumber(i, j, side));
            out.index(vertexNumber(i + 1, j, side));
            out.index(vertexNumber(i + 1, j + 1, side));
            out.put("\nf");
            out.index(vertexNumber(i, j, side));
            out.index(vertexNumber(i + 1, j + 1, side));
            out.index(vertexNumber(i, j + 1, side));
            out.put("\n");
        }
    }
}

} // namespace

int main(int argc, char **argv)
{
    const std::string folder = argc > 1 ? argv[1] : "/tmp/qel-bench";
    const int side = argc > 2 ? std::max(kSmallestSide, std::atoi(argv[2])) : 0;
    const int gridSide = side > 0 ? side : kGridSide;
    const int triangleGridSide = side > 0 ? side : kTriangleGridSide;
    mkdir(folder.c_str(), 0755);

    {
        Writer out(folder + "/grid-quads.obj");
        if (!out.isOpen())
            return 1;
        writeGridValues(out, gridSide);
        writeGridAttributes(out, gridSide);
        writeQuads(out, gridSide);
    }
    {
        Writer out(folder + "/grid-polygons.obj");
        if (!out.isOpen())
            return 1;
        Random random;
        writeGridValues(out, gridSide);
        writeGridAttributes(out, gridSide);
        if (!writePolygons(out, gridSide, random))
            return 1;
    }
    {
        Writer out(folder + "/grid-triangles.obj");
        if (!out.isOpen())
            return 1;
        writeGridValues(out, triangleGridSide);
        writeTriangles(out, triangleGridSide);
    }
    std::printf("written to %s\n", folder.c_str());
    return 0;
}
