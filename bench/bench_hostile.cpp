// Whole OBJ import of hostile files: each family at sizes n, 2n and 4n, so that growth shows,
// and one file per historical parser bug of other loaders. Every file is written into a
// temporary folder and imported by `bench_objload --child QelModel` (loadModelFromOBJFile into
// a GPUModel in an offscreen OpenGL context) in a process of its own; the table gives the
// median CPU time of the import over kRuns runs (one run when it takes seconds), the peak
// resident memory of that process and the growth of the CPU time from the size before.
//
// Usage (under xvfb-run where there is no display):
//   bench_hostile [family...]     all families when none is named

#include "ChildMeasurement.h"

#include <QByteArray>
#include <QFile>
#include <QTemporaryDir>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

namespace {

constexpr int kRuns = 3;
constexpr double kRepeatBelowMs = 2000;
constexpr qint64 kMB = 1000 * 1000;

const QByteArray kTriangle = "v 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 3\n";

// Writes a file in pieces, so that a 100 MB file never sits in memory whole.
class Writer
{
public:
    explicit Writer(const QString &path)
        : _file(path)
    {
        _file.open(QIODevice::WriteOnly | QIODevice::Truncate);
    }
    ~Writer() { flush(); }

    void add(const QByteArray &text)
    {
        _pending += text;
        if (_pending.size() >= (1 << 20))
            flush();
    }
    // `piece` again and again until `bytes` more are written (the last copy cut short).
    void repeat(const QByteArray &piece, qint64 bytes)
    {
        QByteArray block;
        while (block.size() < (1 << 20))
            block += piece;
        flush();
        for (; bytes >= block.size(); bytes -= block.size())
            _file.write(block);
        _file.write(block.constData(), bytes);
    }
    void flush()
    {
        _file.write(_pending);
        _pending.clear();
    }

private:
    QFile _file;
    QByteArray _pending;
};

// A library of `count` materials named m0, m1, ...
void writeLibrary(const QString &path, int count)
{
    Writer mtl(path);
    for (int i = 0; i < count; ++i) {
        const QByteArray n = QByteArray::number(i);
        mtl.add("newmtl m" + n + "\nKa 0.1 0.1 0.1\nKd 0.5 0.25 " + QByteArray::number(i % 100) + "\nKs 1 1 1\nNs "
            + n + "\nd 0.9\nmap_Kd texture" + n + ".png\n");
    }
}

// One file of a family: `scale` is 1, 2 or 4.
struct Family
{
    const char *name;
    const char *size; // what n counts
    qint64 n;
    std::function<void(const QString &folder, qint64 count, Writer &obj)> write;
};

std::vector<Family> families()
{
    return {
        { "mtllib repeated", "lines naming a 10,000-material library, then 25 x that many usemtl names", 1000,
            [](const QString &folder, qint64 count, Writer &obj) {
                writeLibrary(folder + "/big.mtl", 10000);
                for (qint64 i = 0; i < count; ++i)
                    obj.add("mtllib big.mtl\n");
                obj.add(kTriangle);
                for (qint64 i = 0; i < 25 * count; ++i)
                    obj.add((i % 2 ? "usemtl m" : "usemtl x") + QByteArray::number(i % 20000) + "\nf 1 2 3\n");
            } },
        { "usemtl alternating", "switches between 4 materials, a face after each", 100000,
            [](const QString &folder, qint64 count, Writer &obj) {
                QFile mtl(folder + "/four.mtl");
                mtl.open(QIODevice::WriteOnly);
                mtl.write("newmtl a\nKd 1 0 0\nnewmtl b\nKd 0 1 0\nnewmtl c\nKd 0 0 1\nnewmtl d\nKd 1 1 1\n");
                obj.add("mtllib four.mtl\n" + kTriangle);
                for (qint64 i = 0; i < count; ++i)
                    obj.add("usemtl " + QByteArray(1, char('a' + i % 4)) + "\nf 1 2 3\n");
            } },
        { "usemtl undefined", "distinct names no library defines, a face after each", 100000,
            [](const QString &, qint64 count, Writer &obj) {
                obj.add(kTriangle);
                for (qint64 i = 0; i < count; ++i)
                    obj.add("usemtl undefined" + QByteArray::number(i) + "\nf 1 2 3\n");
            } },
        { "comment lines", "MB of 64-byte comment lines around a triangle", 10,
            [](const QString &, qint64 count, Writer &obj) {
                obj.add(kTriangle);
                obj.repeat("# a comment line of sixty-four bytes, repeated for megabytes ...\n", count * kMB);
                obj.add(kTriangle);
            } },
        { "unknown keywords", "MB of 64-byte lines with unknown keywords around a triangle", 10,
            [](const QString &, qint64 count, Writer &obj) {
                obj.add(kTriangle);
                obj.repeat("vp 0.25 0.5 0.75 unknown keyword with numbers 1 2 3 4 5 6 7 8 9\n", count * kMB);
                obj.add(kTriangle);
            } },
        { "one comment line", "MB in one comment line", 25,
            [](const QString &, qint64 count, Writer &obj) {
                obj.add(kTriangle + "#");
                obj.repeat(" word", count * kMB);
                obj.add("\n" + kTriangle);
            } },
        { "one v line", "MB in one v line of numbers", 25,
            [](const QString &, qint64 count, Writer &obj) {
                obj.add(kTriangle + "v");
                obj.repeat(" 1.5", count * kMB);
                obj.add("\nf 1 2 4\n");
            } },
        // The polygon's triangulation dominates these two, so the sizes are smaller.
        { "one f line", "corners of one f line repeating 1 2 3", 25000,
            [](const QString &, qint64 count, Writer &obj) {
                obj.add(kTriangle + "f");
                obj.repeat(" 1 2 3", 2 * count);
                obj.add("\n");
            } },
        { "one f line, distinct points", "corners of one f line over as many points on a circle", 25000,
            [](const QString &, qint64 count, Writer &obj) {
                for (qint64 i = 0; i < count; ++i) {
                    const double angle = 6.283185307179586 * double(i) / double(count);
                    obj.add("v " + QByteArray::number(std::cos(angle), 'g', 9) + ' '
                        + QByteArray::number(std::sin(angle), 'g', 9) + " 0\n");
                }
                obj.add("f");
                for (qint64 i = 1; i <= count; ++i)
                    obj.add(' ' + QByteArray::number(i));
                obj.add("\n");
            } },
        { "one garbage line", "MB of random bytes without a line end, at the end of the file", 25,
            [](const QString &, qint64 count, Writer &obj) {
                obj.add(kTriangle);
                QByteArray garbage(1 << 20, '\0');
                quint32 state = 12345;
                for (char &c : garbage) {
                    state = state * 1664525u + 1013904223u;
                    c = char(state >> 24);
                    if (c == '\n' || c == '\r')
                        c = 'x';
                }
                obj.repeat(garbage, count * kMB);
            } },
        { "UTF-16 comment line", "MB of UTF-16 text (byte-order mark first) in one comment line", 25,
            [](const QString &, qint64 count, Writer &obj) {
                const QString triangle = QString::fromLatin1(kTriangle);
                obj.add(QByteArray("\xFF\xFE") + QByteArray(reinterpret_cast<const char *>(triangle.utf16()),
                                                      triangle.size() * 2));
                obj.add(QByteArray("#\0", 2));
                obj.repeat(QByteArray(" \0w\0o\0r\0d\0", 10), count * kMB);
                obj.add(QByteArray("\n\0", 2));
            } },
    };
}

// Single files after known bugs of other parsers.
struct Single
{
    const char *name;
    QByteArray obj;
    QByteArray mtl; // written as lib.mtl when not empty
};

std::vector<Single> singles()
{
    return {
        { "f 5555555550", kTriangle + "f 5555555550 1 2\nf 1 2 5555555550\n", {} },
        { "huge relative indices", kTriangle + "f -2147483648 -1 -2\nf -1/-2147483647/-2147483647 -2 -3\nf -4000000000 1 2\n",
            {} },
        { "a number of 10 MB digits", "v 0 0 0\nv 1 0 0\nv 0 1 " + QByteArray(10 * kMB, '7') + "\nf 1 2 3\n", {} },
        { "an index of 10 MB digits", kTriangle + "f 1 2 " + QByteArray(10 * kMB, '3') + "\n", {} },
        { "MTL holding only map_K", "mtllib lib.mtl\nusemtl m\n" + kTriangle, "map_K" },
        { "MTL holding only map_K and a line end", "mtllib lib.mtl\nusemtl m\n" + kTriangle, "map_K\n" },
    };
}

struct Result
{
    bool ok = false;
    double cpuMs = 0;
    double peakMiB = 0;
    unsigned long long triangles = 0;
};

Result importFile(const std::string &loader, const QString &path)
{
    std::vector<double> cpu;
    Result result;
    // Imports that take seconds are run once.
    for (int r = 0; r < kRuns && (cpu.empty() || cpu.front() < kRepeatBelowMs); ++r) {
        ChildMeasurement child;
        double wallMs = 0;
        double cpuMs = 0;
        unsigned long long vertices = 0;
        if (!measureChild(loader.c_str(), { "--child", "QelModel", path.toStdString() }, child)
            || std::sscanf(child.line.c_str(), "%lf %lf %llu %llu", &wallMs, &cpuMs, &result.triangles, &vertices)
                != 4)
            return result;
        cpu.push_back(cpuMs);
        result.peakMiB = std::max(result.peakMiB, child.peakMiB);
    }
    std::sort(cpu.begin(), cpu.end());
    result.cpuMs = cpu[cpu.size() / 2];
    result.ok = true;
    return result;
}

double fileMegabytes(const QString &path)
{
    return double(QFile(path).size()) / double(kMB);
}

void printRow(const char *name, const QString &size, const QString &path, const Result &result, double growth)
{
    if (!result.ok) {
        std::printf("| %s | %s | %.1f | failed | | | |\n", name, qPrintable(size), fileMegabytes(path));
        return;
    }
    const QString ratio = growth > 0 ? QString::number(growth, 'f', 2) : QString();
    std::printf("| %s | %s | %.1f | %.0f | %s | %.0f | %llu |\n", name, qPrintable(size), fileMegabytes(path),
        result.cpuMs, qPrintable(ratio), result.peakMiB, result.triangles);
    std::fflush(stdout);
}

} // namespace

int main(int argc, char **argv)
{
    const std::string loader = QELMODEL_BENCH_OBJLOAD;
    std::vector<std::string> wanted(argv + 1, argv + argc);
    auto isWanted = [&](const char *name) {
        return wanted.empty() || std::find(wanted.begin(), wanted.end(), name) != wanted.end();
    };

    std::printf("| case | n | MB | CPU ms | CPU / previous n | peak MiB | triangles |\n"
                "|---|---|---|---|---|---|---|\n");
    for (const Family &family : families()) {
        if (!isWanted(family.name))
            continue;
        double previousMs = 0;
        for (qint64 count = family.n; count <= 4 * family.n; count *= 2) {
            QTemporaryDir folder;
            const QString path = folder.filePath("hostile.obj");
            {
                Writer obj(path);
                family.write(folder.path(), count, obj);
            }
            const Result result = importFile(loader, path);
            printRow(family.name, QString::number(count), path, result, previousMs > 0 ? result.cpuMs / previousMs : 0);
            previousMs = result.cpuMs;
        }
    }
    for (const Single &single : singles()) {
        if (!isWanted(single.name))
            continue;
        QTemporaryDir folder;
        const QString path = folder.filePath("hostile.obj");
        {
            Writer obj(path);
            obj.add(single.obj);
            if (!single.mtl.isEmpty()) {
                Writer mtl(folder.filePath("lib.mtl"));
                mtl.add(single.mtl);
            }
        }
        printRow(single.name, QStringLiteral("1"), path, importFile(loader, path), 0);
    }
    std::printf("\n");
    for (const Family &family : families()) {
        if (isWanted(family.name))
            std::printf("- %s: n = %s\n", family.name, family.size);
    }
    return 0;
}
