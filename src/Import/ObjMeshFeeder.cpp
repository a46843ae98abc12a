// Gathered OBJ arrays to the builder: every stream is built once at its final size and
// appended with one call, instead of one builder call per value, index and face.

#include "ObjMeshFeeder.h"

#include "BlockSearch.h"
#include "GLTypes.h"
#include "ModelBuilder.h"
#include "ObjModelNames.h"

#include <algorithm>
#include <numeric>

namespace Vardune::Qel {

namespace {

struct AttributeSource
{
    QString name;
    int components;
    PodArray<float> *values;
    PodArray<quint32> *indices;
    bool indicesArePositions;
};

AttributeSource attributeSource(ObjLineType type, ObjMesh &mesh)
{
    switch (type) {
    case ObjLineType::Normal:
        return { ObjModelNames::normals(), 3, &mesh.normals, &mesh.normalIndices, mesh.normalIndicesArePositions };
    case ObjLineType::TexCoord:
        return { ObjModelNames::texCoords(), 2, &mesh.texCoords, &mesh.texCoordIndices,
            mesh.texCoordIndicesArePositions };
    default:
        return { ObjModelNames::positions(), 3, &mesh.positions, &mesh.positionIndices, false };
    }
}

size_t keptCornerTotal(const ObjMesh &mesh, const std::vector<quint8> &kept)
{
    size_t total = 0;
    for (size_t face = 0; face < kept.size(); ++face)
        total += kept[face] ? mesh.cornerCounts[face] : 0;
    return total;
}

bool containsIndex(const PodArray<quint32> &indices, quint32 value)
{
    return firstMatch(indices.data(), indices.size(), [value](quint32 index) { return index == value; })
        != indices.size();
}

bool keepsEveryFace(const std::vector<quint8> &kept)
{
    return std::find(kept.begin(), kept.end(), quint8(0)) == kept.end();
}

} // namespace

// The builder's friend: moves an attribute's arrays into its streams, or copies them into
// streams of its allocator when that makes other streams.
struct ObjMeshHandOver
{
    static void attribute(
        ModelBuilder &builder, const QString &name, int components, PodArray<float> &values, PodArray<quint32> &indices)
    {
        if (builder.makesModelDataArrays()) {
            builder.adoptVertexAttribute(name, components, GLType::Float, values.takeBytes(), indices.takeBytes());
            return;
        }
        builder.createVertexAttribute(name, components, GLType::Float, 0, 0);
        builder.addValuesToVertexAttribute(name, values.size(), values.data(), GLType::Float);
        builder.addIndicesToVertexAttribute(name, indices.size(), indices.data());
    }

    // An attribute whose indices are those of the attribute `indicesOf`, which exists: both
    // hold the one stream, which the builder only reads until its single upload.
    static void attributeSharingIndices(
        ModelBuilder &builder, const QString &name, int components, PodArray<float> &values, const QString &indicesOf)
    {
        builder.adoptVertexAttribute(name, components, GLType::Float, values.takeBytes(), QByteArray());
        builder._vertexAttributes[name].indices = builder._vertexAttributes[indicesOf].indices;
    }

    static bool adoptsArrays(const ModelBuilder &builder) { return builder.makesModelDataArrays(); }

    static void cornerCounts(ModelBuilder &builder, PodArray<quint32> &counts)
    {
        if (builder.makesModelDataArrays() && builder._verticesPerFace->isEmpty()) {
            builder.adoptVertexCountsOfFaces(counts.takeBytes());
            return;
        }
        builder.addVertexCountsToFaces(counts.size(), counts.data());
    }
};

namespace {

// One attribute's values and indices; corners without an index use a zero value appended
// after the file's values. When every face is kept and no index is missing, the gathered
// indices go to the builder as they are. The mesh's arrays are handed over and left empty.
void feedAttribute(const AttributeSource &source, const ObjMesh &mesh, const std::vector<quint8> &kept,
    bool everyFaceKept, ModelBuilder &builder)
{
    const auto defaultIndex = static_cast<quint32>(source.values->size() / source.components);
    PodArray<quint32> &gathered = *source.indices;
    const bool usesDefault = containsIndex(gathered, ObjCorner::kNoIndex);
    PodArray<quint32> selected;
    PodArray<quint32> &indices = usesDefault || !everyFaceKept ? selected : gathered;
    if (&indices == &selected) {
        selected.resize(keptCornerTotal(mesh, kept));
        quint32 *out = selected.data();
        const quint32 *corner = gathered.data();
        for (size_t face = 0; face < kept.size(); ++face) {
            const quint32 count = mesh.cornerCounts[face];
            for (quint32 i = 0; kept[face] && i < count; ++i)
                *out++ = corner[i] == ObjCorner::kNoIndex ? defaultIndex : corner[i];
            corner += count;
        }
    }
    // Only kept faces count: a default value that only skipped faces wanted is left out.
    if (usesDefault && containsIndex(indices, defaultIndex)) {
        const float zeros[3] = { 0.0f, 0.0f, 0.0f };
        source.values->append(zeros, size_t(source.components));
    }
    ObjMeshHandOver::attribute(builder, source.name, source.components, *source.values, indices);
}

// The mesh's counts are handed over when every face is kept.
void feedCornerCounts(ObjMesh &mesh, const std::vector<quint8> &kept, bool everyFaceKept, ModelBuilder &builder)
{
    PodArray<quint32> selected;
    if (!everyFaceKept) {
        for (size_t face = 0; face < kept.size(); ++face) {
            if (kept[face])
                selected.push_back(mesh.cornerCounts[face]);
        }
    }
    ObjMeshHandOver::cornerCounts(builder, everyFaceKept ? mesh.cornerCounts : selected);
}

// Adds the face numbers [first, first + count) to a group, a small reused block at a time.
void addFaceRange(ModelBuilder &builder, const QString &group, quint32 first, quint32 count)
{
    constexpr quint32 kBlock = 4096;
    quint32 numbers[kBlock];
    for (quint32 done = 0; done < count;) {
        const quint32 block = std::min(kBlock, count - done);
        std::iota(numbers, numbers + block, first + done);
        builder.addFacesToMaterialGroup(group, block, numbers, QString());
        done += block;
    }
}

// Kept faces of one run have consecutive numbers, so each run is one range of face numbers.
void feedGroups(
    const ObjMesh &mesh, const std::vector<quint8> &kept, const QStringList &runGroups, ModelBuilder &builder)
{
    quint32 nextNumber = 0;
    for (size_t run = 0; run < mesh.materialUses.size(); ++run) {
        const size_t first = mesh.materialUses[run].firstFace;
        const size_t end = run + 1 < mesh.materialUses.size() ? mesh.materialUses[run + 1].firstFace : kept.size();
        const auto keptInRun = static_cast<quint32>(std::count(kept.begin() + first, kept.begin() + end, 1));
        if (keptInRun > 0 && !runGroups.at(run).isNull())
            addFaceRange(builder, runGroups.at(run), nextNumber, keptInRun);
        nextNumber += keptInRun;
    }
}

// The builder's own zero value and zero indices: one (0, 0) for every corner.
void addConstantTexCoords(size_t cornerTotal, ModelBuilder &builder)
{
    builder.createVertexAttribute(ObjModelNames::texCoords(), 2, GLType::Float, 2, cornerTotal);
}

} // namespace

void feedObjMesh(ObjMesh &mesh, const std::vector<quint8> &kept, const QStringList &runGroups, ModelBuilder &builder)
{
    const size_t cornerTotal = keptCornerTotal(mesh, kept);
    const bool everyFaceKept = keepsEveryFace(kept);
    // Only the positions' own array, adopted whole, can be shared; others are selected or copied.
    if (!everyFaceKept || mesh.positions.empty() || !ObjMeshHandOver::adoptsArrays(builder))
        mesh.spellOutIndices();
    // Attributes sharing the positions' indices are made once the positions are in.
    QList<AttributeSource> sharing;
    for (ObjLineType type : mesh.attributeOrder) {
        const AttributeSource source = attributeSource(type, mesh);
        if (source.indicesArePositions)
            sharing.append(source);
        else
            feedAttribute(source, mesh, kept, everyFaceKept, builder);
    }
    for (const AttributeSource &source : std::as_const(sharing)) {
        ObjMeshHandOver::attributeSharingIndices(
            builder, source.name, source.components, *source.values, ObjModelNames::positions());
    }
    feedGroups(mesh, kept, runGroups, builder);
    feedCornerCounts(mesh, kept, everyFaceKept, builder);

    if (!builder.hasVertexAttribute(ObjModelNames::normals()))
        builder.generateNormals(ObjModelNames::normals());
    if (!builder.hasVertexAttribute(ObjModelNames::texCoords()))
        addConstantTexCoords(cornerTotal, builder);
}

} // namespace Vardune::Qel
