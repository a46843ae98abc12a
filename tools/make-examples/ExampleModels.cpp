// Small models that show one thing each: texture coordinates and a texture (cube), a concave
// many-cornered face (star), normals generated for a smooth surface (torus), material groups
// fed by several "usemtl" runs (blocks). All are made from exact formulas, so that their
// bounds and counts are known in advance.

#include "ExampleModels.h"

#include "ObjText.h"

#include <QFile>
#include <QImage>
#include <QVector3D>

#include <cmath>

namespace ExampleModels {

namespace {

constexpr double kPi = 3.14159265358979323846;

// Corners 1 to 8 of a box, as used in the face table below: 1 for the maximum, 0 for the
// minimum of x, y and z.
const int kBoxCornerSigns[8][3]
    = { { 0, 0, 0 }, { 1, 0, 0 }, { 1, 1, 0 }, { 0, 1, 0 }, { 0, 0, 1 }, { 1, 0, 1 }, { 1, 1, 1 }, { 0, 1, 1 } };

// Faces counter-clockwise seen from outside, each starting at its lower-left corner as seen
// from outside with "up" towards +y (towards -z for the top, +z for the bottom), so that a
// texture's (0, 0) to (1, 1) lies upright on every face. The normal index follows kBoxNormals.
const int kBoxFaces[6][4]
    = { { 5, 6, 7, 8 }, { 2, 1, 4, 3 }, { 6, 2, 3, 7 }, { 1, 5, 8, 4 }, { 8, 7, 3, 4 }, { 1, 2, 6, 5 } };
const QVector3D kBoxNormals[6] = { { 0, 0, 1 }, { 0, 0, -1 }, { 1, 0, 0 }, { -1, 0, 0 }, { 0, 1, 0 }, { 0, -1, 0 } };

bool writeText(const QDir &directory, const QString &name, const QString &text)
{
    const QByteArray bytes = text.toUtf8();
    QFile file(directory.filePath(name));
    return file.open(QIODevice::WriteOnly | QIODevice::Truncate) && file.write(bytes) == bytes.size();
}

void writeBoxCorners(ObjText &obj, const QVector3D &min, const QVector3D &max)
{
    for (const auto &signs : kBoxCornerSigns)
        obj.vertex(QVector3D(signs[0] ? max.x() : min.x(), signs[1] ? max.y() : min.y(), signs[2] ? max.z() : min.z()));
}

void writeBoxNormals(ObjText &obj)
{
    for (const QVector3D &normal : kBoxNormals)
        obj.normal(normal);
}

// The six faces of the box whose corners start at OBJ vertex `firstCorner`; with texture
// coordinates 1 to 4 when `textured`.
void writeBoxFaces(ObjText &obj, int firstCorner, bool textured)
{
    for (int face = 0; face < 6; ++face) {
        QString line = QStringLiteral("f");
        for (int corner = 0; corner < 4; ++corner) {
            const int position = firstCorner + kBoxFaces[face][corner] - 1;
            line += textured ? QStringLiteral(" %1/%2/%3").arg(position).arg(corner + 1).arg(face + 1)
                             : QStringLiteral(" %1//%2").arg(position).arg(face + 1);
        }
        obj.line(line);
    }
}

QImage checkerboard()
{
    const int cell = 16;
    const int cells = 5;
    QImage image(cell * cells, cell * cells, QImage::Format_RGB32);
    for (int y = 0; y < image.height(); ++y) {
        auto *row = reinterpret_cast<QRgb *>(image.scanLine(y));
        for (int x = 0; x < image.width(); ++x)
            row[x] = ((x / cell + y / cell) % 2 == 0 ? checkerCentreColour() : checkerOtherColour()).rgb();
    }
    return image;
}

} // namespace

QColor checkerCentreColour()
{
    return QColor(230, 120, 30);
}

QColor checkerOtherColour()
{
    return QColor(40, 90, 200);
}

bool writeTexturedCube(const QDir &directory)
{
    ObjText obj;
    obj.line(QStringLiteral("# A cube from -1 to 1 with one checkerboard per face and a normal per face."))
        .line(QStringLiteral("mtllib textured-cube.mtl"));
    writeBoxCorners(obj, QVector3D(-1, -1, -1), QVector3D(1, 1, 1));
    obj.texCoord(0, 0).texCoord(1, 0).texCoord(1, 1).texCoord(0, 1);
    writeBoxNormals(obj);
    obj.line(QStringLiteral("usemtl checker"));
    writeBoxFaces(obj, 1, true);

    ObjText mtl;
    mtl.line(QStringLiteral("newmtl checker"))
        .colour(QStringLiteral("Kd"), 1, 1, 1)
        .line(QStringLiteral("map_Kd checker.png"));
    return writeText(directory, QStringLiteral("textured-cube.obj"), obj.text())
        && writeText(directory, QStringLiteral("textured-cube.mtl"), mtl.text())
        && checkerboard().save(directory.filePath(QStringLiteral("checker.png")), "PNG");
}

bool writeStar(const QDir &directory)
{
    // Twelve points of radius 1 at 90°, 120°, ... and twelve notches of radius 0.45 between
    // them, all in one face of 24 corners in the z = 0 plane.
    const int corners = 24;
    ObjText obj;
    obj.line(QStringLiteral("# A twelve-pointed star: one concave face of 24 corners, no normals."))
        .line(QStringLiteral("mtllib star.mtl"));
    QString face = QStringLiteral("f");
    for (int k = 0; k < corners; ++k) {
        const double angle = (90.0 + 15.0 * k) * kPi / 180.0;
        const double radius = k % 2 == 0 ? 1.0 : 0.45;
        obj.vertex(QVector3D(float(radius * std::cos(angle)), float(radius * std::sin(angle)), 0.0f));
        face += QStringLiteral(" %1").arg(k + 1);
    }
    obj.line(QStringLiteral("usemtl gold")).line(face);

    ObjText mtl;
    mtl.line(QStringLiteral("newmtl gold")).colour(QStringLiteral("Kd"), 0.9f, 0.7f, 0.2f);
    return writeText(directory, QStringLiteral("star.obj"), obj.text())
        && writeText(directory, QStringLiteral("star.mtl"), mtl.text());
}

bool writeTorus(const QDir &directory)
{
    // Around the y axis: ring radius 1, tube radius 0.35, 32 × 16 quads, positions only.
    const int ring = 32;
    const int tube = 16;
    ObjText obj;
    obj.line(QStringLiteral("# A torus of 32 x 16 quads with positions only: the normals are generated."));
    for (int i = 0; i < ring; ++i) {
        const double u = 2.0 * kPi * i / ring;
        for (int j = 0; j < tube; ++j) {
            const double v = 2.0 * kPi * j / tube;
            const double distance = 1.0 + 0.35 * std::cos(v);
            obj.vertex(
                QVector3D(float(distance * std::cos(u)), float(0.35 * std::sin(v)), float(distance * std::sin(u))));
        }
    }
    for (int i = 0; i < ring; ++i) {
        for (int j = 0; j < tube; ++j) {
            const int a = i * tube + j + 1;
            const int b = ((i + 1) % ring) * tube + j + 1;
            const int c = ((i + 1) % ring) * tube + (j + 1) % tube + 1;
            const int d = i * tube + (j + 1) % tube + 1;
            obj.line(QStringLiteral("f %1 %2 %3 %4").arg(a).arg(d).arg(c).arg(b));
        }
    }
    return writeText(directory, QStringLiteral("torus.obj"), obj.text());
}

bool writeBlocks(const QDir &directory)
{
    // A floor slab before any "usemtl" (the default material), then four blocks of rising
    // height in red, green, blue and red again; "white" is defined but never used.
    ObjText obj;
    obj.line(QStringLiteral("# Four blocks on a floor slab; the material switches back to red for the last."))
        .line(QStringLiteral("mtllib blocks.mtl"));
    writeBoxNormals(obj);
    writeBoxCorners(obj, QVector3D(-0.25f, -0.2f, -0.25f), QVector3D(4.75f, 0.0f, 1.25f));
    writeBoxFaces(obj, 1, false);
    const QString materials[4]
        = { QStringLiteral("red"), QStringLiteral("green"), QStringLiteral("blue"), QStringLiteral("red") };
    for (int block = 0; block < 4; ++block) {
        const float left = 1.25f * block;
        obj.line(QStringLiteral("usemtl %1").arg(materials[block]));
        writeBoxCorners(obj, QVector3D(left, 0.0f, 0.0f), QVector3D(left + 1.0f, 1.0f + 0.5f * block, 1.0f));
        writeBoxFaces(obj, 9 + 8 * block, false);
    }

    ObjText mtl;
    mtl.line(QStringLiteral("newmtl red"))
        .colour(QStringLiteral("Kd"), 0.85f, 0.15f, 0.1f)
        .line(QStringLiteral("newmtl green"))
        .colour(QStringLiteral("Kd"), 0.2f, 0.7f, 0.25f)
        .line(QStringLiteral("newmtl blue"))
        .colour(QStringLiteral("Kd"), 0.15f, 0.35f, 0.85f)
        .line(QStringLiteral("newmtl white"))
        .colour(QStringLiteral("Kd"), 1, 1, 1);
    return writeText(directory, QStringLiteral("blocks.obj"), obj.text())
        && writeText(directory, QStringLiteral("blocks.mtl"), mtl.text());
}

} // namespace ExampleModels
