// Whole OBJ import, side by side with the general-purpose loaders found at configure time, one
// process per measurement:
//
//   QelModel       loadModelFromOBJFile into a GPUModel, in an offscreen OpenGL context
//   tinyobj+meshopt tinyobjloader, fan triangulation, meshopt_generateVertexRemap over the
//                  unindexed (v, vt, vn) vertex stream, then both buffers remapped
//   Assimp         aiProcess_Triangulate | aiProcess_JoinIdenticalVertices, plus
//                  aiProcess_GenSmoothNormals for files without normals
//
// Each loader runs once to warm up and then kRuns times; the table shows medians of the wall
// and CPU time of the import itself, MB/s, the median peak resident memory of the process
// (wait4) and the triangle and welded-vertex counts, which must agree.
//
// Usage (under xvfb-run where there is no display):
//   bench_objload file.obj...                       the comparison
//   bench_objload --child LOADER file.obj           one measurement (used by the comparison)
//
// Under `perf record -D -1 --control fd:CTL,ACK` with PERF_CTL_FD=CTL and PERF_CTL_ACK_FD=ACK in
// the environment, a child enables the profile around the import call alone.

#include "ChildMeasurement.h"
#include "LoadModelFromOBJFile.h"

#include <QelGL/DrawBuffers.h>
#include <QelGL/GPUModel.h>

#include <QGuiApplication>
#include <QOffscreenSurface>
#include <QOpenGLContext>
#include <QOpenGLFunctions>
#include <QSurfaceFormat>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

#ifdef QELMODEL_HAVE_TINYOBJLOADER
#include <meshoptimizer.h>
#include <tiny_obj_loader.h>
#endif
#ifdef QELMODEL_HAVE_ASSIMP
#include <assimp/Importer.hpp>
#include <assimp/postprocess.h>
#include <assimp/scene.h>
#endif

namespace {

constexpr int kRuns = 5;

struct Counts
{
    unsigned long long triangles = 0;
    unsigned long long vertices = 0;
};

double seconds(clockid_t clock)
{
    timespec now {};
    clock_gettime(clock, &now);
    return double(now.tv_sec) + double(now.tv_nsec) * 1e-9;
}

bool fileHasNormals(const char *path)
{
    std::FILE *file = std::fopen(path, "rb");
    if (!file)
        return false;
    std::vector<char> block(size_t(1) << 20);
    bool found = false;
    char previous = '\n';
    size_t read = 0;
    while (!found && (read = std::fread(block.data(), 1, block.size(), file)) > 0) {
        for (size_t i = 0; i + 2 < read && !found; ++i)
            found = (i == 0 ? previous : block[i - 1]) == '\n' && block[i] == 'v' && block[i + 1] == 'n';
        previous = block[read - 1];
    }
    std::fclose(file);
    return found;
}

Q_NEVER_INLINE bool loadWithQelModel(const char *path, Counts &counts)
{
    QString error;
    Vardune::Qel::GPUModel *model = Vardune::Qel::loadModelFromOBJFile(QString::fromLocal8Bit(path), error);
    if (!model)
        return false;
    QOpenGLContext::currentContext()->functions()->glFinish();
    for (int d = 0; d < model->drawCount(); ++d) {
        const Vardune::Qel::DrawBuffers *draw = model->draw(d).buffers;
        for (const auto &command : draw->drawElementsIndirectCommands())
            counts.triangles += command.count / 3;
        counts.vertices = draw->vertexCount();
    }
    delete model;
    return true;
}

#ifdef QELMODEL_HAVE_TINYOBJLOADER
Q_NEVER_INLINE bool loadWithTinyObjAndMeshopt(const char *path, Counts &counts)
{
    tinyobj::ObjReaderConfig config;
    config.triangulate = false;
    tinyobj::ObjReader reader;
    if (!reader.ParseFromFile(path, config))
        return false;
    const tinyobj::attrib_t &attrib = reader.GetAttrib();
    const bool hasTexCoords = !attrib.texcoords.empty();
    const bool hasNormals = !attrib.normals.empty();
    const size_t stride = 3 + (hasTexCoords ? 2 : 0) + (hasNormals ? 3 : 0);

    size_t cornerCount = 0;
    for (const tinyobj::shape_t &shape : reader.GetShapes())
        for (unsigned char n : shape.mesh.num_face_vertices)
            cornerCount += n >= 3 ? 3 * (size_t(n) - 2) : 0;
    std::vector<float> vertices(cornerCount * stride);
    float *out = vertices.data();
    auto addCorner = [&](const tinyobj::index_t &corner) {
        for (int c = 0; c < 3; ++c)
            *out++ = attrib.vertices[3 * size_t(corner.vertex_index) + c];
        for (int c = 0; hasTexCoords && c < 2; ++c)
            *out++ = corner.texcoord_index < 0 ? 0.0f : attrib.texcoords[2 * size_t(corner.texcoord_index) + c];
        for (int c = 0; hasNormals && c < 3; ++c)
            *out++ = corner.normal_index < 0 ? 0.0f : attrib.normals[3 * size_t(corner.normal_index) + c];
    };
    for (const tinyobj::shape_t &shape : reader.GetShapes()) {
        size_t first = 0;
        for (unsigned char n : shape.mesh.num_face_vertices) {
            const tinyobj::index_t *face = shape.mesh.indices.data() + first;
            for (unsigned k = 1; k + 1 < n; ++k) {
                addCorner(face[0]);
                addCorner(face[k]);
                addCorner(face[k + 1]);
            }
            first += n;
        }
    }

    std::vector<unsigned int> remap(cornerCount);
    const size_t vertexCount = meshopt_generateVertexRemap(
        remap.data(), nullptr, cornerCount, vertices.data(), cornerCount, stride * sizeof(float));
    std::vector<unsigned int> indices(cornerCount);
    meshopt_remapIndexBuffer(indices.data(), nullptr, cornerCount, remap.data());
    std::vector<float> welded(vertexCount * stride);
    meshopt_remapVertexBuffer(welded.data(), vertices.data(), cornerCount, stride * sizeof(float), remap.data());
    counts.triangles = cornerCount / 3;
    counts.vertices = vertexCount;
    return true;
}
#endif

#ifdef QELMODEL_HAVE_ASSIMP
Q_NEVER_INLINE bool loadWithAssimp(const char *path, bool generateNormals, Counts &counts)
{
    Assimp::Importer importer;
    const unsigned flags = aiProcess_Triangulate | aiProcess_JoinIdenticalVertices
        | (generateNormals ? unsigned(aiProcess_GenSmoothNormals) : 0u);
    const aiScene *scene = importer.ReadFile(path, flags);
    if (!scene)
        return false;
    for (unsigned m = 0; m < scene->mNumMeshes; ++m) {
        counts.triangles += scene->mMeshes[m]->mNumFaces;
        counts.vertices += scene->mMeshes[m]->mNumVertices;
    }
    return true;
}
#endif

// Sends `command` ("enable" or "disable") to a perf session that passed its control descriptors,
// and waits for its acknowledgement.
void tellPerf(const char *command)
{
    const char *control = std::getenv("PERF_CTL_FD");
    const char *acknowledgement = std::getenv("PERF_CTL_ACK_FD");
    if (!control || !acknowledgement)
        return;
    char line[16];
    const int length = std::snprintf(line, sizeof line, "%s\n", command);
    if (write(std::atoi(control), line, size_t(length)) == length)
        (void)!read(std::atoi(acknowledgement), line, sizeof line);
}

// One measurement in this process; prints "wall_ms cpu_ms triangles vertices".
int runChild(int argc, char **argv, const std::string &loader, const char *path)
{
    Counts counts;
    bool ok = false;
    double wall = 0;
    double cpu = 0;
    if (loader == "QelModel") {
        QGuiApplication application(argc, argv);
        QSurfaceFormat format;
        format.setVersion(4, 5);
        format.setProfile(QSurfaceFormat::CoreProfile);
        QOffscreenSurface surface;
        surface.setFormat(format);
        surface.create();
        QOpenGLContext context;
        context.setFormat(format);
        if (!context.create() || !context.makeCurrent(&surface)) {
            std::fprintf(stderr, "no OpenGL context\n");
            return 1;
        }
        tellPerf("enable");
        wall = seconds(CLOCK_MONOTONIC);
        cpu = seconds(CLOCK_PROCESS_CPUTIME_ID);
        ok = loadWithQelModel(path, counts);
        wall = seconds(CLOCK_MONOTONIC) - wall;
        cpu = seconds(CLOCK_PROCESS_CPUTIME_ID) - cpu;
        tellPerf("disable");
    } else {
        const bool generateNormals = !fileHasNormals(path);
        wall = seconds(CLOCK_MONOTONIC);
        cpu = seconds(CLOCK_PROCESS_CPUTIME_ID);
#ifdef QELMODEL_HAVE_TINYOBJLOADER
        if (loader == "tinyobj+meshopt")
            ok = loadWithTinyObjAndMeshopt(path, counts);
#endif
#ifdef QELMODEL_HAVE_ASSIMP
        if (loader == "Assimp")
            ok = loadWithAssimp(path, generateNormals, counts);
#endif
        (void)generateNormals;
        wall = seconds(CLOCK_MONOTONIC) - wall;
        cpu = seconds(CLOCK_PROCESS_CPUTIME_ID) - cpu;
    }
    if (!ok)
        return 1;
    std::printf("%.3f %.3f %llu %llu\n", wall * 1e3, cpu * 1e3, counts.triangles, counts.vertices);
    return 0;
}

struct Measurement
{
    double wallMs = 0;
    double cpuMs = 0;
    double peakMiB = 0;
    Counts counts;
};

// Runs one child and reads its line and its peak resident memory.
bool measure(const char *self, const std::string &loader, const char *path, Measurement &result)
{
    ChildMeasurement child;
    if (!measureChild(self, { "--child", loader, path }, child))
        return false;
    result.peakMiB = child.peakMiB;
    return std::sscanf(child.line.c_str(), "%lf %lf %llu %llu", &result.wallMs, &result.cpuMs,
               &result.counts.triangles, &result.counts.vertices)
        == 4;
}

double median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

std::vector<std::string> loaders()
{
    std::vector<std::string> names { "QelModel" };
#ifdef QELMODEL_HAVE_TINYOBJLOADER
    names.push_back("tinyobj+meshopt");
#endif
#ifdef QELMODEL_HAVE_ASSIMP
    names.push_back("Assimp");
#endif
    return names;
}

} // namespace

int main(int argc, char **argv)
{
    if (argc == 4 && std::strcmp(argv[1], "--child") == 0)
        return runChild(argc, argv, argv[2], argv[3]);
    if (argc < 2) {
        std::fprintf(stderr, "usage: %s file.obj...\n", argv[0]);
        return 2;
    }

    std::printf("| file | MB | loader | wall ms | CPU ms | MB/s | peak MiB | triangles | vertices | wall / QelModel "
                "| peak / QelModel |\n|---|---|---|---|---|---|---|---|---|---|---|\n");
    for (int f = 1; f < argc; ++f) {
        struct stat info
        {
        };
        stat(argv[f], &info);
        const double megabytes = double(info.st_size) / 1e6;
        const char *name = std::strrchr(argv[f], '/') ? std::strrchr(argv[f], '/') + 1 : argv[f];
        double ownWall = 0;
        double ownPeak = 0;
        Counts ownCounts;
        for (const std::string &loader : loaders()) {
            Measurement warmUp;
            std::vector<double> wall, cpu, peak;
            Measurement run;
            bool ok = measure(argv[0], loader, argv[f], warmUp);
            for (int r = 0; ok && r < kRuns; ++r) {
                ok = measure(argv[0], loader, argv[f], run);
                wall.push_back(run.wallMs);
                cpu.push_back(run.cpuMs);
                peak.push_back(run.peakMiB);
            }
            if (!ok) {
                std::printf("| %s | %.1f | %s | failed | | | | | | | |\n", name, megabytes, loader.c_str());
                continue;
            }
            const double wallMs = median(wall);
            const double peakMiB = median(peak);
            if (loader == "QelModel") {
                ownWall = wallMs;
                ownPeak = peakMiB;
                ownCounts = run.counts;
            }
            const bool agree = run.counts.triangles == ownCounts.triangles && run.counts.vertices == ownCounts.vertices;
            std::printf("| %s | %.1f | %s | %.0f | %.0f | %.0f | %.0f | %llu | %llu%s | %.2f | %.2f |\n", name,
                megabytes, loader.c_str(), wallMs, median(cpu), megabytes / (wallMs * 1e-3), peakMiB,
                run.counts.triangles, run.counts.vertices, agree ? "" : " (differs)", wallMs / ownWall,
                peakMiB / ownPeak);
            std::fflush(stdout);
        }
    }
    return 0;
}
