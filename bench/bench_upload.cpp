// Upload benchmark: a builder holding one million quadrilaterals of a 1001 x 1001 grid, with
// positions, normals and texture coordinates indexed alike (about four corners per distinct
// vertex), taken through the stages of its first upload one by one in a real OpenGL context:
//   - GPU streams: one index per corner, byte-identical vertices welded,
//   - triangulation of the material group into the triangle index stream,
//   - normal generation over the welded positions and the triangles,
//   - buffer creation: index buffer, vertex buffers, vertex array and draw (a second upload of
//     the prepared builder does only this).
// For scale, the same model is written as OBJ text and read into a builder (text to builder,
// no upload). Median of the runs, in milliseconds.
//
// Usage: xvfb-run -a bench_upload [runs]

#include "GLTestContext.h"
#include "ModelBuilder.h"
#include "ModelBuilderProbe.h"
#include "NormalGeneration.h"
#include "ObjModelReader.h"

#include <QelGL/GPUModel.h>

#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QGuiApplication>
#include <QLoggingCategory>
#include <QTemporaryDir>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <vector>

using namespace Vardune::Qel;

namespace {

constexpr unsigned int kSide = 1001;
constexpr unsigned int kFloat = 0x1406;

struct Grid
{
    std::vector<float> positions, normals, texCoords;
    std::vector<unsigned int> corners, cornerCounts, faces;
};

Grid makeGrid()
{
    Grid grid;
    for (unsigned int y = 0; y < kSide; ++y) {
        for (unsigned int x = 0; x < kSide; ++x) {
            const float fx = float(x) / (kSide - 1), fy = float(y) / (kSide - 1);
            const float height = 0.05f * std::sin(12.0f * fx) * std::cos(9.0f * fy);
            grid.positions.insert(grid.positions.end(), { fx, fy, height });
            grid.normals.insert(grid.normals.end(), { -0.6f * std::cos(12.0f * fx) * std::cos(9.0f * fy),
                                                      0.45f * std::sin(12.0f * fx) * std::sin(9.0f * fy), 1.0f });
            grid.texCoords.insert(grid.texCoords.end(), { fx, fy });
        }
    }
    for (unsigned int y = 0; y + 1 < kSide; ++y) {
        for (unsigned int x = 0; x + 1 < kSide; ++x) {
            const unsigned int v = y * kSide + x;
            grid.corners.insert(grid.corners.end(), { v, v + 1, v + 1 + kSide, v + kSide });
            grid.faces.push_back(unsigned(grid.cornerCounts.size()));
            grid.cornerCounts.push_back(4);
        }
    }
    return grid;
}

void feed(ModelBuilder &builder, const Grid &grid)
{
    const struct
    {
        const char *name;
        int components;
        const std::vector<float> &values;
    } attributes[] = { { "va_Vertex", 3, grid.positions }, { "va_Normal", 3, grid.normals },
                       { "va_TexCoord", 2, grid.texCoords } };
    for (const auto &attribute : attributes) {
        const QString name = QString::fromLatin1(attribute.name);
        builder.createVertexAttribute(name, attribute.components, kFloat, 0, 0);
        builder.addValuesToVertexAttribute(name, attribute.values.size(), attribute.values.data(), kFloat);
        builder.addIndicesToVertexAttribute(name, grid.corners.size(), grid.corners.data());
    }
    builder.addVertexCountsToFaces(grid.cornerCounts.size(), grid.cornerCounts.data());
    builder.createMaterialGroup(QStringLiteral("<default>"), InstanceData(QStringLiteral("OBJMaterial")), -1, 0);
    builder.addFacesToMaterialGroup(QStringLiteral("<default>"), grid.faces.size(), grid.faces.data(), QString());
}

void writeObj(const Grid &grid, const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly))
        return;
    QByteArray text;
    char line[128];
    for (size_t v = 0; v < grid.positions.size() / 3; ++v) {
        text += QByteArray(line, std::snprintf(line, sizeof line, "v %.9g %.9g %.9g\nvt %.9g %.9g\nvn %.9g %.9g %.9g\n",
                                               grid.positions[3 * v], grid.positions[3 * v + 1], grid.positions[3 * v + 2],
                                               grid.texCoords[2 * v], grid.texCoords[2 * v + 1], grid.normals[3 * v],
                                               grid.normals[3 * v + 1], grid.normals[3 * v + 2]));
    }
    for (size_t c = 0; c < grid.corners.size(); c += 4) {
        text += 'f';
        for (size_t k = 0; k < 4; ++k) {
            const unsigned int n = grid.corners[c + k] + 1;
            text += QByteArray(line, std::snprintf(line, sizeof line, " %u/%u/%u", n, n, n));
        }
        text += '\n';
    }
    file.write(text);
}

double median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

} // namespace

int main(int argc, char **argv)
{
    QGuiApplication application(argc, argv);
    const int runs = argc > 1 ? std::max(1, std::atoi(argv[1])) : 5;
    GLTestContext gl;
    if (!gl.isValid()) {
        std::fprintf(stderr, "bench_upload: no OpenGL context (run under xvfb-run)\n");
        return 1;
    }
    QLoggingCategory::setFilterRules(QStringLiteral("default.debug=false")); // the weld's statistics line
    const Grid grid = makeGrid();
    QTemporaryDir folder;
    const QString objPath = folder.filePath(QStringLiteral("grid.obj"));
    writeObj(grid, objPath);

    InstanceData instance(QStringLiteral("InstanceInfo"));
    std::vector<double> streams, triangles, normals, buffers, parse;
    QList<unsigned int> faceStarts;
    for (unsigned int f = 0; f < grid.cornerCounts.size(); ++f)
        faceStarts.append(4 * f);
    std::vector<float> generated(grid.positions.size());
    QElapsedTimer timer;
    for (int run = 0; run < runs; ++run) {
        ModelBuilder builder;
        feed(builder, grid);

        timer.start();
        ModelBuilderProbe::buildGPUFriendlyStreams(builder, false);
        streams.push_back(timer.nsecsElapsed() / 1e6);

        timer.start();
        ModelBuilderProbe::prepareMaterialGroupForUpload(builder, QStringLiteral("<default>"), faceStarts,
                                                             QStringLiteral("va_Vertex"));
        triangles.push_back(timer.nsecsElapsed() / 1e6);

        const auto &positions = ModelBuilderProbe::vertexAttributes(builder)[QStringLiteral("va_Vertex")];
        const auto &indices = ModelBuilderProbe::triangleIndices(builder);
        const int vertexCount = int(positions.gpuValues->size() / 3);
        generated.resize(size_t(3 * vertexCount));
        timer.start();
        GenerateNormals(vertexCount, int(indices->size()), static_cast<const float *>(positions.gpuValues->data(0)),
                        static_cast<const unsigned int *>(indices->data(0)), generated.data());
        normals.push_back(timer.nsecsElapsed() / 1e6);

        GPUModel model;
        timer.start();
        builder.upload(&model, instance, QStringLiteral("va_Vertex"), QString(), 0x88E4, 4);
        gl.functions()->glFinish();
        buffers.push_back(timer.nsecsElapsed() / 1e6);

        ModelBuilder parsed;
        QString error;
        timer.start();
        readObjModel(objPath, parsed, error);
        parse.push_back(timer.nsecsElapsed() / 1e6);
    }
    const double prepared = median(streams) + median(triangles) + median(normals);
    std::printf("1,000,000 quads, %zu corners, median of %d runs (ms)\n", grid.corners.size(), runs);
    std::printf("  GPU streams and weld  %8.1f\n", median(streams));
    std::printf("  triangulation         %8.1f\n", median(triangles));
    std::printf("  normal generation     %8.1f\n", median(normals));
    std::printf("  buffer creation       %8.1f\n", median(buffers));
    std::printf("  stages before buffers %8.1f\n", prepared);
    std::printf("  OBJ text to builder   %8.1f (%.1f MB)\n", median(parse), QFileInfo(objPath).size() / 1e6);
    return 0;
}
