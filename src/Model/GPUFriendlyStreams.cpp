// Rebuilds independently indexed attributes into GPU streams: one value stream per attribute,
// vertex after vertex, and one index stream with an element per face corner shared by all.
//
// Without merging, every corner is a GPU vertex and the GPU vertices are then welded byte for
// byte; with merging, every distinct tuple of attribute indices is a GPU vertex, numbered by its
// first corner and taking its values from that corner, and the stream optimisation welds those.
//
// Both start by numbering the distinct index tuples (in the order of their first corners, as a
// weld of vertices whose attributes are their 4-byte indices would) and gathering one vertex
// per tuple. Without merging, the byte weld then runs over the tuple vertices instead of every
// corner: corners with equal tuples hold equal bytes, and the first corner of each content is
// the first corner of its tuple, so numbering contents in the order of their tuples' first
// corners is numbering them in the order of their first corners, which is what the weld over
// every corner gives. The statistics line still counts corners. Cost: one numbering of the
// corners' index tuples (usually one lookup in a per-value array and one nearby record per
// corner), one weld over the distinct tuples' values, one block copy per tuple per attribute.
// The numbering pays only where tuples repeat: when an attribute has at least half as many
// values as there are corners, the weld without merging takes every corner as it is.
//
// An upload that keeps nothing (a single-use builder with no face to draw) needs the weld for
// its statistics line alone: the tuple vertices then go to one scratch block, not to streams.

#include "ModelBuilder.h"

#include "IndexTupleNumbering.h"
#include "VertexGather.h"
#include "VertexWeld.h"
#include "WeldStatistics.h"
#include "WorkArray.h"

#include <QVarLengthArray>

#include <algorithm>
#include <cstdint>
#include <numeric>

namespace Vardune::Qel {

namespace {

using VertexAttribute = ModelBuilder::VertexAttribute;

// An attribute without values holds GPU streams made after the rebuild (generated normals):
// there is nothing to rebuild it from, so it is left as it is.
bool isBuiltFromValues(const VertexAttribute &attribute)
{
    return !attribute.values.isNull();
}

bool needsRebuild(const QHash<QString, VertexAttribute> &attributes)
{
    for (const VertexAttribute &attribute : attributes) {
        if (isBuiltFromValues(attribute) && (attribute.gpuValues.isNull() || attribute.gpuIndices.isNull()))
            return true;
    }
    return false;
}

// Corner counts are summed as 32-bit values: larger totals are beyond what the streams hold.
uint32_t cornerCount(ModelDataStream &verticesPerFace)
{
    const auto *counts = static_cast<const uint32_t *>(verticesPerFace.data(0));
    return std::accumulate(counts, counts + verticesPerFace.size(), uint32_t(0));
}

size_t valueCount(const VertexAttribute &attribute)
{
    return attribute.componentsPerVertex > 0 ? attribute.values->size() / size_t(attribute.componentsPerVertex) : 0;
}

// The 32-bit words that hold `count` vertices of `bytes` bytes.
size_t wordsFor(size_t count, size_t bytes)
{
    return (count * bytes + 3) / 4;
}

} // namespace

void ModelBuilder::buildGPUFriendlyStreams(bool mergeByIndices, RebuildOutput output)
{
    if (!needsRebuild(_vertexAttributes))
        return;

    const uint32_t faceCornerCount = cornerCount(*_verticesPerFace);
    // Attributes that hold one index stream (the OBJ import's "f 1/1/1") number it once.
    QVarLengthArray<VertexAttribute *, 8> attributes;
    QVarLengthArray<IndexTupleStream, 8> indexTuples;
    QVarLengthArray<qsizetype, 8> tupleStreamOf; // per attribute, its stream in indexTuples
    for (VertexAttribute &attribute : _vertexAttributes) {
        if (!isBuiltFromValues(attribute))
            continue;
        const auto *indices = static_cast<const unsigned int *>(attribute.indices->data(0));
        qsizetype stream = 0;
        while (stream < indexTuples.size() && indexTuples[stream].indices != indices)
            ++stream;
        if (stream == indexTuples.size())
            indexTuples.append({ indices, valueCount(attribute) });
        else
            indexTuples[stream].valueCount = std::max(indexTuples[stream].valueCount, valueCount(attribute));
        attributes.append(&attribute);
        tupleStreamOf.append(stream);
    }

    // A single-use upload numbers the corners in the first attribute's index stream, which it
    // no longer needs; any other rebuild keeps its input and numbers into a new stream.
    const QSharedPointer<ModelDataStream> &firstIndices = attributes.first()->indices;
    const bool numberInPlace
        = _releasesUsedStreams && firstIndices->type() == kIndexType && firstIndices->size() == faceCornerCount;
    const QSharedPointer<ModelDataStream> cornerVertices
        = numberInPlace ? firstIndices : newStreamToOverwrite(kIndexType, faceCornerCount);
    auto *cornerVertex = static_cast<unsigned int *>(cornerVertices->data(0));
    const auto releaseIndices = [this, &attributes] {
        for (VertexAttribute *attribute : attributes)
            releaseUsedStream(attribute->indices);
    };
    // Numbering the tuples spares the weld the corners that repeat one. Where an attribute has
    // at least half as many values as there are corners (a normal written for each corner),
    // few can, and the corners themselves are welded: every corner is a tuple of its own.
    size_t mostValues = 0;
    for (const IndexTupleStream &stream : indexTuples)
        mostValues = std::max(mostValues, stream.valueCount);
    const bool numberTuples = mergeByIndices || 2 * mostValues < faceCornerCount;
    // Each attribute's value number per tuple. A numbering reads them all before a single-use
    // upload frees the input index streams (the largest input), and so before any GPU value
    // stream is made, and touches only the distinct tuples' entries; corners welded as they are
    // read the index streams themselves, which are freed once gathered.
    const size_t streamCount = size_t(indexTuples.size());
    WorkArray valueOfTuple(numberTuples ? streamCount * size_t(faceCornerCount) : 0);
    QVarLengthArray<const unsigned int *, 8> valueOfTupleIn; // per stream
    for (size_t stream = 0; stream < streamCount; ++stream) {
        valueOfTupleIn.append(
            numberTuples ? valueOfTuple.get() + stream * faceCornerCount : indexTuples[stream].indices);
    }
    const size_t tupleCount = numberTuples
        ? numberIndexTuples(cornerVertex, valueOfTuple.get(), faceCornerCount, indexTuples.data(), streamCount)
        : faceCornerCount;
    if (numberTuples)
        releaseIndices();

    // The statistics alone need the tuple vertices for the weld only: they and the weld's two
    // maps share one block, which spares a stream per attribute, the allocations and the packing.
    const bool statisticsOnly = output == RebuildOutput::StatisticsOnly;
    size_t scratchWords = statisticsOnly ? 2 * tupleCount : 0;
    for (qsizetype a = 0; statisticsOnly && a < attributes.size(); ++a)
        scratchWords += wordsFor(tupleCount, vertexBytes(*attributes[a]->values, attributes[a]->componentsPerVertex));
    const WorkArray scratch(scratchWords);
    unsigned int *const weldMaps = scratch.get();
    unsigned int *nextScratch = weldMaps + (statisticsOnly ? 2 * tupleCount : 0);

    QVarLengthArray<VertexWeldStream, 8> tupleValues;
    for (qsizetype a = 0; a < attributes.size(); ++a) {
        VertexAttribute *attribute = attributes[a];
        const size_t bytes = vertexBytes(*attribute->values, attribute->componentsPerVertex);
        void *target = nullptr;
        if (statisticsOnly) {
            target = nextScratch;
            nextScratch += wordsFor(tupleCount, bytes);
        } else {
            attribute->gpuValues = newStreamToOverwrite(
                attribute->values->type(), tupleCount * size_t(attribute->componentsPerVertex));
            attribute->gpuIndices = cornerVertices;
            target = attribute->gpuValues->data(0);
        }
        gatherVertices(target, attribute->values->data(0), bytes, valueOfTupleIn[tupleStreamOf[a]], tupleCount);
        releaseUsedStream(attribute->values);
        tupleValues.append({ target, bytes });
    }
    valueOfTuple.reset();
    if (!numberTuples)
        releaseIndices();
    if (statisticsOnly) {
        const size_t vertexCount = weldVertices(
            weldMaps, weldMaps + tupleCount, tupleCount, tupleValues.data(), size_t(tupleValues.size()));
        logWeldStatistics(this, int(faceCornerCount), int(vertexCount), kIndexStride);
        return;
    }
    if (mergeByIndices) {
        optimizeGPUStreams();
        return;
    }

    // The byte weld of the tuple vertices, composed with the tuple numbering of the corners; a
    // weld of the corners themselves numbers them in place.
    const WorkArray tupleToVertex(numberTuples ? tupleCount : 0);
    const WorkArray vertexToTuple(tupleCount);
    const size_t vertexCount = weldVertices(numberTuples ? tupleToVertex.get() : cornerVertex, vertexToTuple.get(),
        tupleCount, tupleValues.data(), size_t(tupleValues.size()));
    if (vertexCount < tupleCount) { // else every tuple vertex keeps its number and its place
        for (uint32_t k = 0; numberTuples && k < faceCornerCount; ++k)
            cornerVertex[k] = tupleToVertex[cornerVertex[k]];
        // The tuple streams were made here and are held by nothing else: they are packed in place.
        for (VertexAttribute *attribute : attributes)
            packGPUVertices(*attribute, vertexToTuple.get(), vertexCount);
    }
    logWeldStatistics(this, int(faceCornerCount), int(vertexCount), kIndexStride);
}

} // namespace Vardune::Qel
