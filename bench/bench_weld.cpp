// Vertex weld benchmark: about 10 million corners of a triangulated grid, each grid vertex used by
// about six corners, with positions (3 floats), normals (3 floats) and texture coordinates
// (2 floats). Processor times (user and system), side by side and best of several runs:
//   - the raw weld over the per-corner streams,
//   - the numbering of the corners' (position, normal, texture coordinate) index tuples, by the
//     hash weld over the index streams and by numberIndexTuples, which the rebuild uses,
//   - the builder's stream optimisation on streams as the one-vertex-per-corner rebuild leaves them,
//   - the whole rebuild without index merging (which ends with the optimisation),
//   - meshoptimizer's remap generation over the same three streams, when it was found at configure time.
// Corners come in grid order, then again with the triangles shuffled (no locality).
//
// Usage: bench_weld [repetitions]

#include "GLTypes.h"
#include "IndexTupleNumbering.h"
#include "ModelBuilder.h"
#include "ModelBuilderProbe.h"
#include "ModelDataArray.h"
#include "VertexWeld.h"

#ifdef QELMODEL_HAVE_MESHOPTIMIZER
#include <meshoptimizer.h>
#endif

#include <QtGlobal>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <functional>
#include <random>
#include <vector>

using namespace Vardune::Qel;

namespace {

constexpr unsigned int kGridSide = 1291; // (1291 - 1)^2 * 6 = 9,984,600 corners

struct Attribute
{
    const char *name;
    int components;
    std::vector<float> values; // per grid vertex
    std::vector<float> corners; // per corner, as the one-vertex-per-corner rebuild lays them out
};

struct Mesh
{
    std::vector<unsigned int> indices; // grid vertex of every corner
    std::vector<Attribute> attributes;
};

Mesh makeGrid(bool shuffleTriangles)
{
    Mesh mesh;
    const unsigned int side = kGridSide;
    for (unsigned int y = 0; y + 1 < side; ++y) {
        for (unsigned int x = 0; x + 1 < side; ++x) {
            const unsigned int v00 = y * side + x, v10 = v00 + 1, v01 = v00 + side, v11 = v01 + 1;
            mesh.indices.insert(mesh.indices.end(), { v00, v10, v01, v01, v10, v11 });
        }
    }
    if (shuffleTriangles) {
        std::mt19937 random(7);
        const size_t triangleCount = mesh.indices.size() / 3;
        for (size_t t = triangleCount - 1; t > 0; --t) {
            const size_t other = std::uniform_int_distribution<size_t>(0, t)(random);
            std::swap_ranges(
                mesh.indices.begin() + 3 * t, mesh.indices.begin() + 3 * t + 3, mesh.indices.begin() + 3 * other);
        }
    }

    mesh.attributes = { { "va_Vertex", 3, {}, {} }, { "va_Normal", 3, {}, {} }, { "va_TexCoord", 2, {}, {} } };
    for (unsigned int y = 0; y < side; ++y) {
        for (unsigned int x = 0; x < side; ++x) {
            const float u = float(x) / side, v = float(y) / side;
            const float height = 0.1f * std::sin(20.0f * u) * std::cos(17.0f * v);
            const float dx = 2.0f * std::cos(20.0f * u) * std::cos(17.0f * v);
            const float dy = -1.7f * std::sin(20.0f * u) * std::sin(17.0f * v);
            const float length = std::sqrt(dx * dx + dy * dy + 1.0f);
            mesh.attributes[0].values.insert(mesh.attributes[0].values.end(), { u, v, height });
            mesh.attributes[1].values.insert(
                mesh.attributes[1].values.end(), { -dx / length, -dy / length, 1.0f / length });
            mesh.attributes[2].values.insert(mesh.attributes[2].values.end(), { u, v });
        }
    }
    for (Attribute &attribute : mesh.attributes) {
        const size_t m = size_t(attribute.components);
        attribute.corners.resize(mesh.indices.size() * m);
        for (size_t k = 0; k < mesh.indices.size(); ++k)
            std::memcpy(&attribute.corners[k * m], &attribute.values[mesh.indices[k] * m], m * sizeof(float));
    }
    return mesh;
}

void feed(ModelBuilder &builder, const Mesh &mesh)
{
    const std::vector<unsigned int> cornerCounts(mesh.indices.size() / 3, 3u);
    builder.addVertexCountsToFaces(cornerCounts.size(), cornerCounts.data());
    for (const Attribute &attribute : mesh.attributes) {
        const QString name = QString::fromLatin1(attribute.name);
        builder.createVertexAttribute(name, attribute.components, GLType::Float, 0, 0);
        builder.addValuesToVertexAttribute(name, attribute.values.size(), attribute.values.data(), GLType::Float);
        builder.addIndicesToVertexAttribute(name, mesh.indices.size(), mesh.indices.data());
    }
}

QSharedPointer<ModelDataStream> streamOf(unsigned int type, size_t count, const void *source)
{
    QSharedPointer<ModelDataStream> stream(new ModelDataArray(type, count));
    std::memcpy(stream->data(0), source, stream->byteCount());
    return stream;
}

// The builder's GPU streams as the one-vertex-per-corner rebuild leaves them, in fresh,
// unshared streams so that the optimisation's writes copy nothing.
void resetToCornerStreams(ModelBuilder &builder, const Mesh &mesh)
{
    std::vector<unsigned int> identity(mesh.indices.size());
    for (size_t k = 0; k < identity.size(); ++k)
        identity[k] = unsigned(k);
    const QSharedPointer<ModelDataStream> cornerVertices
        = streamOf(GLType::UnsignedInt, identity.size(), identity.data());
    for (const Attribute &attribute : mesh.attributes) {
        ModelBuilder::VertexAttribute &record
            = ModelBuilderProbe::vertexAttributes(builder)[QString::fromLatin1(attribute.name)];
        record.gpuValues = streamOf(GLType::Float, attribute.corners.size(), attribute.corners.data());
        record.gpuIndices = cornerVertices;
    }
}

void dropGPUStreams(ModelBuilder &builder)
{
    for (ModelBuilder::VertexAttribute &record : ModelBuilderProbe::vertexAttributes(builder)) {
        record.gpuValues.reset();
        record.gpuIndices.reset();
    }
}

// Processor time of the process (user and system, so page faults count): the machine is shared,
// and the work is single-threaded.
double seconds(const std::function<void()> &work)
{
    const auto now = [] {
        timespec time {};
        clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
        return double(time.tv_sec) + double(time.tv_nsec) * 1e-9;
    };
    const double start = now();
    work();
    return now() - start;
}

struct Timings
{
    double weld = 1e9, tupleWeld = 1e9, tupleNumbering = 1e9, optimise = 1e9, rebuild = 1e9, meshopt = 1e9;
};

bool sameNumbers(const unsigned int *a, const unsigned int *b, size_t count)
{
    return std::equal(a, a + count, b);
}

// Whether each tuple holds, in every stream, the indices of the first corner the weld gave it.
bool sameTupleIndices(const unsigned int *tupleIndices, const unsigned int *firstCorner, size_t tupleCount,
    size_t cornerCount, const std::vector<IndexTupleStream> &streams)
{
    for (size_t s = 0; s < streams.size(); ++s) {
        for (size_t n = 0; n < tupleCount; ++n) {
            if (tupleIndices[s * cornerCount + n] != streams[s].indices[firstCorner[n]])
                return false;
        }
    }
    return true;
}

void run(const char *label, bool shuffleTriangles, int repetitions)
{
    const Mesh mesh = makeGrid(shuffleTriangles);
    const size_t cornerCount = mesh.indices.size();
    std::vector<VertexWeldStream> streams;
    for (const Attribute &attribute : mesh.attributes)
        streams.push_back({ attribute.corners.data(), size_t(attribute.components) * sizeof(float) });

    ModelBuilder builder;
    feed(builder, mesh);

    // Each attribute has its own index stream, as an import gives them, all alike here.
    std::vector<std::vector<unsigned int>> indexCopies(mesh.attributes.size(), mesh.indices);
    std::vector<VertexWeldStream> indexStreams;
    std::vector<IndexTupleStream> tupleStreams;
    for (size_t a = 0; a < mesh.attributes.size(); ++a) {
        indexStreams.push_back({ indexCopies[a].data(), sizeof(unsigned int) });
        tupleStreams.push_back(
            { indexCopies[a].data(), mesh.attributes[a].values.size() / mesh.attributes[a].components });
    }

    std::vector<unsigned int> remap(cornerCount), survivors(cornerCount), reference(cornerCount);
    std::vector<unsigned int> tupleRemap(cornerCount), tupleIndices(cornerCount * tupleStreams.size());
    Timings best;
    size_t distinctCount = 0, tupleCount = 0;
    bool agree = true, tuplesAgree = true;
    for (int r = 0; r < repetitions; ++r) {
        best.weld = std::min(best.weld, seconds([&] {
            distinctCount = weldVertices(remap.data(), survivors.data(), cornerCount, streams.data(), streams.size());
        }));

        best.tupleWeld = std::min(best.tupleWeld, seconds([&] {
            tupleCount = weldVertices(
                reference.data(), survivors.data(), cornerCount, indexStreams.data(), indexStreams.size());
        }));
        best.tupleNumbering = std::min(best.tupleNumbering, seconds([&] {
            tuplesAgree = tuplesAgree
                && numberIndexTuples(
                       tupleRemap.data(), tupleIndices.data(), cornerCount, tupleStreams.data(), tupleStreams.size())
                    == tupleCount;
        }));
        tuplesAgree = tuplesAgree && sameNumbers(tupleRemap.data(), reference.data(), cornerCount)
            && sameTupleIndices(tupleIndices.data(), survivors.data(), tupleCount, cornerCount, tupleStreams);

        resetToCornerStreams(builder, mesh);
        best.optimise = std::min(best.optimise, seconds([&] { ModelBuilderProbe::optimizeGPUStreams(builder); }));
        const auto *welded = static_cast<const unsigned int *>(
            ModelBuilderProbe::vertexAttributes(builder).begin()->gpuIndices->data(0));
        agree = agree && sameNumbers(welded, remap.data(), cornerCount);

        dropGPUStreams(builder);
        best.rebuild
            = std::min(best.rebuild, seconds([&] { ModelBuilderProbe::buildGPUFriendlyStreams(builder, false); }));

#ifdef QELMODEL_HAVE_MESHOPTIMIZER
        std::vector<meshopt_Stream> meshoptStreams;
        for (const VertexWeldStream &stream : streams)
            meshoptStreams.push_back({ stream.data, stream.vertexBytes, stream.vertexBytes });
        best.meshopt = std::min(best.meshopt, seconds([&] {
            meshopt_generateVertexRemapMulti(
                reference.data(), nullptr, cornerCount, cornerCount, meshoptStreams.data(), meshoptStreams.size());
        }));
        agree = agree && sameNumbers(reference.data(), remap.data(), cornerCount);
#endif
    }

    std::printf("%s: %zu corners -> %zu vertices, best of %d\n", label, cornerCount, distinctCount, repetitions);
    std::printf("  weldVertices                       %8.1f ms\n", best.weld * 1e3);
    std::printf("  index tuples: weldVertices         %8.1f ms\n", best.tupleWeld * 1e3);
    std::printf("  index tuples: numberIndexTuples    %8.1f ms\n", best.tupleNumbering * 1e3);
    std::printf("  tuple numbering identical to the weld's: %s\n", tuplesAgree ? "yes" : "NO");
    std::printf("  optimizeGPUStreams                 %8.1f ms\n", best.optimise * 1e3);
    std::printf("  buildGPUFriendlyStreams(false)     %8.1f ms\n", best.rebuild * 1e3);
#ifdef QELMODEL_HAVE_MESHOPTIMIZER
    std::printf("  meshopt_generateVertexRemapMulti   %8.1f ms\n", best.meshopt * 1e3);
    std::printf("  numbering identical to meshoptimizer: %s\n", agree ? "yes" : "NO");
#else
    std::printf("  meshoptimizer not found at configure time: no comparison\n");
    std::printf("  builder numbering identical to the raw weld: %s\n", agree ? "yes" : "NO");
#endif
}

void dropDebugMessages(QtMsgType type, const QMessageLogContext &, const QString &text)
{
    if (type != QtDebugMsg)
        std::fprintf(stderr, "%s\n", qPrintable(text));
}

} // namespace

int main(int argc, char **argv)
{
    const int repetitions = argc > 1 ? std::max(1, std::atoi(argv[1])) : 5;
    qInstallMessageHandler(dropDebugMessages); // one statistics line per optimisation
    run("grid order", false, repetitions);
    run("shuffled triangles", true, repetitions);
    return 0;
}
