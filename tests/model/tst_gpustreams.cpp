#include "GLTypes.h"
#include "IndexTupleNumbering.h"
#include "MessageCapture.h"
#include "ModelBuilder.h"
#include "ModelBuilderProbe.h"
#include "ModelDataArray.h"
#include "VertexWeld.h"

#include <QHash>
#include <QRandomGenerator>
#include <QSet>
#include <QTest>

#include <cstring>
#include <limits>
#include <utility>

using namespace Vardune::Qel;

namespace {

using VertexAttribute = ModelBuilder::VertexAttribute;

template<typename T>
QByteArray bytesOf(const QList<T> &values)
{
    return QByteArray(reinterpret_cast<const char *>(values.constData()), values.size() * qsizetype(sizeof(T)));
}

QByteArray bytesOf(ModelDataStream &stream)
{
    return QByteArray(static_cast<const char *>(stream.data(0)), qsizetype(stream.byteCount()));
}

QList<unsigned int> elementsOf(ModelDataStream &stream)
{
    const auto *first = static_cast<const unsigned int *>(stream.data(0));
    return QList<unsigned int>(first, first + stream.size());
}

float floatFromBits(quint32 bits)
{
    float value;
    std::memcpy(&value, &bits, sizeof value);
    return value;
}

void addAttribute(ModelBuilder &builder, const QString &name, int components, unsigned int type,
    const QByteArray &values, const QList<unsigned int> &indices)
{
    builder.createVertexAttribute(name, components, type, 0, 0);
    builder.addValuesToVertexAttribute(
        name, size_t(values.size()) / ModelDataStream::typeSize(type), values.constData(), type);
    builder.addIndicesToVertexAttribute(name, size_t(indices.size()), indices.constData());
}

void addFaces(ModelBuilder &builder, const QList<unsigned int> &cornerCounts)
{
    builder.addVertexCountsToFaces(size_t(cornerCounts.size()), cornerCounts.constData());
}

VertexAttribute attributeOf(ModelBuilder &builder, const QString &name)
{
    return ModelBuilderProbe::vertexAttributes(builder).value(name);
}

QList<unsigned int> gpuIndicesOf(ModelBuilder &builder, const QString &name)
{
    return elementsOf(*attributeOf(builder, name).gpuIndices);
}

QByteArray gpuValuesOf(ModelBuilder &builder, const QString &name)
{
    return bytesOf(*attributeOf(builder, name).gpuValues);
}

QString statisticsLine(const ModelBuilder &builder, const char *counts)
{
    return QString::asprintf("%p", static_cast<const void *>(&builder)) + QLatin1String(counts);
}

// Two triangles sharing an edge: positions 0 1 2 / 2 1 3, one normal for every corner.
void feedSharedEdge(ModelBuilder &builder)
{
    addFaces(builder, { 3, 3 });
    addAttribute(builder, QStringLiteral("va_Vertex"), 3, GLType::Float,
        bytesOf(QList<float> { 0, 0, 0, 1, 0, 0, 0, 1, 0, 1, 1, 0 }), { 0, 1, 2, 2, 1, 3 });
    addAttribute(builder, QStringLiteral("va_Normal"), 3, GLType::Float, bytesOf(QList<float> { 0, 0, 1 }),
        { 0, 0, 0, 0, 0, 0 });
}

using IndexLists = QList<QList<unsigned int>>;

// Corners of a mesh walked in strips, as real files list them: each corner's tuple is mostly
// that of a grid vertex near the previous corners, and every attribute but the first splits
// every grid vertex into two values, one of them used at a tenth of its corners (seams, hard
// edges). For n corners the first attribute has n / 4 + 8 values, the others n / 2 + 16.
IndexLists localTuples(int streamCount, unsigned int cornerCount, quint32 seed)
{
    QRandomGenerator random(seed);
    IndexLists indices(streamCount);
    for (unsigned int k = 0; k < cornerCount; ++k) {
        const unsigned int vertex = k / 4 + random.bounded(8u);
        for (int s = 0; s < streamCount; ++s)
            indices[s].append(s == 0 ? vertex : vertex * 2 + (random.bounded(10u) == 0 ? 1 : 0));
    }
    return indices;
}

IndexLists shuffled(IndexLists indices, quint32 seed)
{
    QRandomGenerator random(seed);
    for (qsizetype k = indices.value(0).size() - 1; k > 0; --k) {
        const qsizetype other = qsizetype(random.bounded(quint64(k) + 1));
        for (QList<unsigned int> &stream : indices)
            std::swap(stream[k], stream[other]);
    }
    return indices;
}

// The first-appearance numbering of the corners' index tuples, by a hash map.
QList<unsigned int> referenceTupleNumbers(const IndexLists &indices)
{
    QHash<QList<unsigned int>, unsigned int> numberOfTuple;
    QList<unsigned int> numbers;
    for (qsizetype k = 0; k < indices.value(0).size(); ++k) {
        QList<unsigned int> tuple;
        for (const QList<unsigned int> &stream : indices)
            tuple.append(stream[k]);
        numbers.append(*numberOfTuple.insert(tuple, numberOfTuple.value(tuple, unsigned(numberOfTuple.size()))));
    }
    return numbers;
}

// Hands out library streams and remembers every one it made.
class CountingAllocator : public ModelDataArrayAllocator
{
public:
    ModelDataStream *alloc(unsigned int type, size_t count) override
    {
        ModelDataStream *stream = ModelDataArrayAllocator::alloc(type, count);
        made.insert(stream);
        ++madeCount;
        return stream;
    }

    QSet<const ModelDataStream *> made; // addresses may come back once a stream is freed
    int madeCount = 0;
};

} // namespace

class TestGPUStreams : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void sharedEdgeInBothModes_data();
    void sharedEdgeInBothModes();
    void verticesMergeExactlyWhenAllBytesAgree_data();
    void verticesMergeExactlyWhenAllBytesAgree();
    void statisticsLineShowsCounts_data();
    void statisticsLineShowsCounts();
    void buildWithoutAttributesDoesNothing();
    void builtStreamsAreNotRebuilt();
    void oneMissingStreamRebuildsAll();
    void zeroCornersGiveEmptyStreams_data();
    void zeroCornersGiveEmptyStreams();
    void faceWithoutCornersShiftsNothing();
    void attributeWithOnlyGPUStreamsIsLeftAlone();
    void everyStreamComesFromTheAllocator();
    void narrowIndexStreamIsReportedAndKept();
    void manyDistinctVerticesKeepTheirNumbers();
    void randomMeshesMatchReferenceWeld();
    void repeatsAfterTheTableGrowsAreFound_data();
    void repeatsAfterTheTableGrowsAreFound();
    void indexTuplesNumberInFirstAppearanceOrder_data();
    void indexTuplesNumberInFirstAppearanceOrder();
};

void TestGPUStreams::initTestCase()
{
    // The switch is read at the first report; make sure reports are written.
    qputenv("QEL_ENABLE_LOGGING", "1");
}

void TestGPUStreams::sharedEdgeInBothModes_data()
{
    QTest::addColumn<bool>("mergeByIndices");
    QTest::addColumn<QString>("counts");
    QTest::newRow("one vertex per corner")
        << false << QStringLiteral(" Vertices Map        6 ->        4 d        2 ( 66 %) 4");
    QTest::newRow("one vertex per index tuple")
        << true << QStringLiteral(" Vertices Map        4 ->        4 d        0 (100 %) 4");
}

void TestGPUStreams::sharedEdgeInBothModes()
{
    QFETCH(bool, mergeByIndices);
    QFETCH(QString, counts);
    ModelBuilder builder;
    feedSharedEdge(builder);
    MessageCapture capture;

    ModelBuilderProbe::buildGPUFriendlyStreams(builder, mergeByIndices);

    QCOMPARE(gpuIndicesOf(builder, QStringLiteral("va_Vertex")), (QList<unsigned int> { 0, 1, 2, 2, 1, 3 }));
    QCOMPARE(attributeOf(builder, QStringLiteral("va_Vertex")).gpuIndices,
        attributeOf(builder, QStringLiteral("va_Normal")).gpuIndices);
    QCOMPARE(gpuValuesOf(builder, QStringLiteral("va_Vertex")),
        bytesOf(QList<float> { 0, 0, 0, 1, 0, 0, 0, 1, 0, 1, 1, 0 }));
    QCOMPARE(gpuValuesOf(builder, QStringLiteral("va_Normal")),
        bytesOf(QList<float> { 0, 0, 1, 0, 0, 1, 0, 0, 1, 0, 0, 1 }));
    QCOMPARE(capture.texts(QtDebugMsg), QStringList { statisticsLine(builder, qPrintable(counts)) });
}

void TestGPUStreams::verticesMergeExactlyWhenAllBytesAgree_data()
{
    // Two one-component float attributes over one face with a corner per index.
    QTest::addColumn<QList<float>>("firstValues");
    QTest::addColumn<QList<unsigned int>>("firstIndices");
    QTest::addColumn<QList<float>>("secondValues");
    QTest::addColumn<QList<unsigned int>>("secondIndices");
    QTest::addColumn<QList<unsigned int>>("expectedIndices");
    QTest::addColumn<QList<float>>("expectedFirstValues");

    const float nan = floatFromBits(0x7FC00000), otherNan = floatFromBits(0x7FC00001);
    QTest::newRow("no two alike") << QList<float> { 1, 2, 3 } << QList<unsigned int> { 0, 1, 2 } << QList<float> { 5 }
                                  << QList<unsigned int> { 0, 0, 0 } << QList<unsigned int> { 0, 1, 2 }
                                  << QList<float> { 1, 2, 3 };
    QTest::newRow("all alike") << QList<float> { 1, 1, 1 } << QList<unsigned int> { 0, 1, 2 } << QList<float> { 5, 5 }
                               << QList<unsigned int> { 0, 1, 0 } << QList<unsigned int> { 0, 0, 0 }
                               << QList<float> { 1 };
    QTest::newRow("texture seam") << QList<float> { 1 } << QList<unsigned int> { 0, 0, 0 } << QList<float> { 1, 2 }
                                  << QList<unsigned int> { 0, 1, 0 } << QList<unsigned int> { 0, 1, 0 }
                                  << QList<float> { 1, 1 };
    QTest::newRow("hard edge") << QList<float> { 1, 2 } << QList<unsigned int> { 0, 1, 0, 1 } << QList<float> { 7, 8 }
                               << QList<unsigned int> { 0, 0, 1, 1 } << QList<unsigned int> { 0, 1, 2, 3 }
                               << QList<float> { 1, 2, 1, 2 };
    QTest::newRow("equal bytes under other numbers")
        << QList<float> { 4, 4 } << QList<unsigned int> { 0, 1, 1 } << QList<float> { 2, 2 }
        << QList<unsigned int> { 1, 0, 1 } << QList<unsigned int> { 0, 0, 0 } << QList<float> { 4 };
    QTest::newRow("zero and negative zero")
        << QList<float> { 0.0f, -0.0f } << QList<unsigned int> { 0, 1, 0 } << QList<float> { 1 }
        << QList<unsigned int> { 0, 0, 0 } << QList<unsigned int> { 0, 1, 0 } << QList<float> { 0.0f, -0.0f };
    QTest::newRow("equal NaN patterns") << QList<float> { nan, nan } << QList<unsigned int> { 0, 1 }
                                        << QList<float> { 1 } << QList<unsigned int> { 0, 0 }
                                        << QList<unsigned int> { 0, 0 } << QList<float> { nan };
    QTest::newRow("different NaN patterns")
        << QList<float> { nan, otherNan } << QList<unsigned int> { 0, 1 } << QList<float> { 1 }
        << QList<unsigned int> { 0, 0 } << QList<unsigned int> { 0, 1 } << QList<float> { nan, otherNan };
}

void TestGPUStreams::verticesMergeExactlyWhenAllBytesAgree()
{
    QFETCH(QList<float>, firstValues);
    QFETCH(QList<unsigned int>, firstIndices);
    QFETCH(QList<float>, secondValues);
    QFETCH(QList<unsigned int>, secondIndices);
    QFETCH(QList<unsigned int>, expectedIndices);
    QFETCH(QList<float>, expectedFirstValues);

    for (bool mergeByIndices : { false, true }) {
        ModelBuilder builder;
        addFaces(builder, { unsigned(firstIndices.size()) });
        addAttribute(builder, QStringLiteral("first"), 1, GLType::Float, bytesOf(firstValues), firstIndices);
        addAttribute(builder, QStringLiteral("second"), 1, GLType::Float, bytesOf(secondValues), secondIndices);

        ModelBuilderProbe::buildGPUFriendlyStreams(builder, mergeByIndices);

        QCOMPARE(gpuIndicesOf(builder, QStringLiteral("first")), expectedIndices);
        QCOMPARE(gpuIndicesOf(builder, QStringLiteral("second")), expectedIndices);
        QCOMPARE(gpuValuesOf(builder, QStringLiteral("first")), bytesOf(expectedFirstValues));
        QCOMPARE(attributeOf(builder, QStringLiteral("second")).gpuValues->size(), size_t(expectedFirstValues.size()));
    }
}

void TestGPUStreams::statisticsLineShowsCounts_data()
{
    QTest::addColumn<QList<unsigned int>>("positionIndices");
    QTest::addColumn<QString>("counts");
    QTest::newRow("quad with one normal") << QList<unsigned int> { 0, 1, 2, 2, 1, 3 }
                                          << QStringLiteral(" Vertices Map        6 ->        4 d        2 ( 66 %) 4");
    QTest::newRow("everything alike") << QList<unsigned int> { 3, 3, 3, 3, 3, 3 }
                                      << QStringLiteral(" Vertices Map        6 ->        1 d        5 ( 16 %) 4");
}

void TestGPUStreams::statisticsLineShowsCounts()
{
    QFETCH(QList<unsigned int>, positionIndices);
    QFETCH(QString, counts);
    ModelBuilder builder;
    addFaces(builder, { 3, 3 });
    addAttribute(builder, QStringLiteral("va_Vertex"), 3, GLType::Float,
        bytesOf(QList<float> { 0, 0, 0, 1, 0, 0, 0, 1, 0, 1, 1, 0 }), positionIndices);
    addAttribute(builder, QStringLiteral("va_Normal"), 3, GLType::Float, bytesOf(QList<float> { 0, 0, 1 }),
        { 0, 0, 0, 0, 0, 0 });
    MessageCapture capture;

    ModelBuilderProbe::buildGPUFriendlyStreams(builder, false);

    const QList<MessageCapture::Message> messages = capture.messages();
    QCOMPARE(messages.size(), 1);
    QCOMPARE(messages[0].type, QtDebugMsg);
    QCOMPARE(messages[0].text, statisticsLine(builder, qPrintable(counts)));
    QVERIFY(!messages[0].hasContext);
}

void TestGPUStreams::buildWithoutAttributesDoesNothing()
{
    ModelBuilder builder;
    addFaces(builder, { 3 });
    MessageCapture capture;

    ModelBuilderProbe::buildGPUFriendlyStreams(builder, false);

    QVERIFY(capture.messages().isEmpty());
    QVERIFY(ModelBuilderProbe::vertexAttributes(builder).isEmpty());
}

void TestGPUStreams::builtStreamsAreNotRebuilt()
{
    ModelBuilder builder;
    feedSharedEdge(builder);
    ModelBuilderProbe::buildGPUFriendlyStreams(builder, false);
    const VertexAttribute before = attributeOf(builder, QStringLiteral("va_Vertex"));
    MessageCapture capture;

    ModelBuilderProbe::buildGPUFriendlyStreams(builder, false);

    QVERIFY(capture.messages().isEmpty());
    const VertexAttribute after = attributeOf(builder, QStringLiteral("va_Vertex"));
    QCOMPARE(after.gpuValues, before.gpuValues);
    QCOMPARE(after.gpuIndices, before.gpuIndices);
}

void TestGPUStreams::oneMissingStreamRebuildsAll()
{
    ModelBuilder builder;
    feedSharedEdge(builder);
    ModelBuilderProbe::buildGPUFriendlyStreams(builder, false);
    const VertexAttribute positionsBefore = attributeOf(builder, QStringLiteral("va_Vertex"));
    ModelBuilderProbe::vertexAttributes(builder)[QStringLiteral("va_Normal")].gpuValues.reset();
    MessageCapture capture;

    ModelBuilderProbe::buildGPUFriendlyStreams(builder, false);

    QCOMPARE(capture.texts(QtDebugMsg).size(), 1);
    const VertexAttribute positionsAfter = attributeOf(builder, QStringLiteral("va_Vertex"));
    QVERIFY(positionsAfter.gpuValues != positionsBefore.gpuValues);
    QVERIFY(positionsAfter.gpuIndices != positionsBefore.gpuIndices);
    QCOMPARE(attributeOf(builder, QStringLiteral("va_Normal")).gpuIndices, positionsAfter.gpuIndices);
    QCOMPARE(gpuIndicesOf(builder, QStringLiteral("va_Normal")), (QList<unsigned int> { 0, 1, 2, 2, 1, 3 }));
    QCOMPARE(gpuValuesOf(builder, QStringLiteral("va_Normal")),
        bytesOf(QList<float> { 0, 0, 1, 0, 0, 1, 0, 0, 1, 0, 0, 1 }));
}

void TestGPUStreams::zeroCornersGiveEmptyStreams_data()
{
    QTest::addColumn<QList<unsigned int>>("cornerCounts");
    QTest::addColumn<bool>("mergeByIndices");
    QTest::newRow("no faces") << QList<unsigned int> {} << false;
    QTest::newRow("faces without corners") << QList<unsigned int> { 0, 0 } << false;
    QTest::newRow("no faces, merging") << QList<unsigned int> {} << true;
}

void TestGPUStreams::zeroCornersGiveEmptyStreams()
{
    QFETCH(QList<unsigned int>, cornerCounts);
    QFETCH(bool, mergeByIndices);
    ModelBuilder builder;
    addFaces(builder, cornerCounts);
    addAttribute(builder, QStringLiteral("va_TexCoord"), 2, GLType::Double, bytesOf(QList<double> { 1, 2 }), {});
    MessageCapture capture;

    ModelBuilderProbe::buildGPUFriendlyStreams(builder, mergeByIndices);

    const VertexAttribute attribute = attributeOf(builder, QStringLiteral("va_TexCoord"));
    QCOMPARE(attribute.gpuIndices->type(), GLType::UnsignedInt);
    QCOMPARE(attribute.gpuIndices->size(), size_t(0));
    QCOMPARE(attribute.gpuValues->type(), GLType::Double);
    QCOMPARE(attribute.gpuValues->size(), size_t(0));
    QCOMPARE(capture.texts(QtDebugMsg),
        QStringList { statisticsLine(builder, " Vertices Map        0 ->        0 d        0 (  0 %) 4") });
}

void TestGPUStreams::faceWithoutCornersShiftsNothing()
{
    ModelBuilder builder;
    addFaces(builder, { 3, 0, 3 });
    addAttribute(builder, QStringLiteral("va_Vertex"), 1, GLType::Float, bytesOf(QList<float> { 5, 6, 7, 8 }),
        { 0, 1, 2, 3, 2, 1 });

    ModelBuilderProbe::buildGPUFriendlyStreams(builder, false);

    QCOMPARE(gpuIndicesOf(builder, QStringLiteral("va_Vertex")), (QList<unsigned int> { 0, 1, 2, 3, 2, 1 }));
    QCOMPARE(gpuValuesOf(builder, QStringLiteral("va_Vertex")), bytesOf(QList<float> { 5, 6, 7, 8 }));
}

void TestGPUStreams::attributeWithOnlyGPUStreamsIsLeftAlone()
{
    ModelBuilder builder;
    feedSharedEdge(builder);
    VertexAttribute generated;
    generated.gpuValues.reset(new ModelDataArray(GLType::Float, 9));
    generated.gpuIndices.reset(new ModelDataArray(GLType::UnsignedInt, 2));
    generated.componentsPerVertex = 3;
    ModelBuilderProbe::vertexAttributes(builder).insert(QStringLiteral("va_Generated"), generated);
    const QByteArray generatedValues = bytesOf(*generated.gpuValues);
    MessageCapture capture;

    ModelBuilderProbe::buildGPUFriendlyStreams(builder, false);

    const VertexAttribute after = attributeOf(builder, QStringLiteral("va_Generated"));
    QCOMPARE(after.gpuValues, generated.gpuValues);
    QCOMPARE(after.gpuIndices, generated.gpuIndices);
    QCOMPARE(bytesOf(*after.gpuValues), generatedValues);
    QCOMPARE(gpuIndicesOf(builder, QStringLiteral("va_Vertex")), (QList<unsigned int> { 0, 1, 2, 2, 1, 3 }));
    QCOMPARE(capture.texts(QtDebugMsg),
        QStringList { statisticsLine(builder, " Vertices Map        6 ->        4 d        2 ( 66 %) 4") });
}

void TestGPUStreams::everyStreamComesFromTheAllocator()
{
    const QSharedPointer<CountingAllocator> allocator(new CountingAllocator);
    ModelBuilder builder(allocator);
    feedSharedEdge(builder);
    for (bool mergeByIndices : { false, true }) {
        for (VertexAttribute &attribute : ModelBuilderProbe::vertexAttributes(builder))
            attribute.gpuIndices.reset();
        const int madeBefore = allocator->madeCount;

        ModelBuilderProbe::buildGPUFriendlyStreams(builder, mergeByIndices);

        // One index stream and per attribute one value stream, which the weld packs in place.
        QCOMPARE(allocator->madeCount - madeBefore, 3);
        for (const VertexAttribute &attribute : ModelBuilderProbe::vertexAttributes(builder)) {
            QVERIFY(allocator->made.contains(attribute.gpuValues.data()));
            QVERIFY(allocator->made.contains(attribute.gpuIndices.data()));
        }
    }
}

void TestGPUStreams::narrowIndexStreamIsReportedAndKept()
{
    ModelBuilder builder;
    addFaces(builder, { 3 });
    addAttribute(builder, QStringLiteral("va_Vertex"), 1, GLType::Float, bytesOf(QList<float> { 1 }), { 0, 0, 0 });
    ModelBuilderProbe::buildGPUFriendlyStreams(builder, false);
    VertexAttribute &attribute = ModelBuilderProbe::vertexAttributes(builder)[QStringLiteral("va_Vertex")];
    const QList<quint16> narrowIndices { 0, 1, 2 };
    attribute.gpuIndices.reset(new ModelDataArray(GLType::UnsignedShort, 3));
    attribute.gpuIndices->setData(0, 3, narrowIndices.constData());
    attribute.gpuValues.reset(new ModelDataArray(GLType::Float, 3));
    attribute.gpuValues->setData(0, 3, QList<float> { 1, 1, 1 }.constData());
    MessageCapture capture;

    ModelBuilderProbe::optimizeGPUStreams(builder);

    QCOMPARE(capture.texts(QtCriticalMsg),
        QStringList { QStringLiteral("[StreamOptimisation.cpp:851] [ !! ] Assertion 'oldIndices->type() == "
                                     "GL_UNSIGNED_INT' failed: Index not uint32 0x1403") });
    QCOMPARE(bytesOf(*attribute.gpuIndices), bytesOf(narrowIndices));
    QCOMPARE(bytesOf(*attribute.gpuValues), bytesOf(QList<float> { 1 }));
    QCOMPARE(capture.texts(QtDebugMsg),
        QStringList { statisticsLine(builder, " Vertices Map        3 ->        1 d        2 ( 33 %) 2") });
}

void TestGPUStreams::manyDistinctVerticesKeepTheirNumbers()
{
    // Past the 16-bit index range, and a table as full as the weld ever makes it.
    constexpr unsigned int cornerCount = 70002;
    QList<float> values(cornerCount);
    QList<unsigned int> indices(cornerCount);
    for (unsigned int k = 0; k < cornerCount; ++k) {
        values[k] = float(k);
        indices[k] = k;
    }
    ModelBuilder builder;
    addFaces(builder, QList<unsigned int>(cornerCount / 3, 3));
    addAttribute(builder, QStringLiteral("va_Vertex"), 1, GLType::Float, bytesOf(values), indices);
    MessageCapture capture;

    ModelBuilderProbe::buildGPUFriendlyStreams(builder, false);

    QCOMPARE(gpuIndicesOf(builder, QStringLiteral("va_Vertex")), indices);
    QCOMPARE(gpuValuesOf(builder, QStringLiteral("va_Vertex")), bytesOf(values));
    QCOMPARE(capture.texts(QtDebugMsg),
        QStringList { statisticsLine(builder, " Vertices Map    70002 ->    70002 d        0 (100 %) 4") });
}

void TestGPUStreams::randomMeshesMatchReferenceWeld()
{
    struct Kind
    {
        unsigned int type;
        int maxComponents;
    };
    const Kind kinds[] = { { GLType::Float, 4 }, { GLType::UnsignedByte, 5 }, { GLType::Double, 3 } };
    QRandomGenerator random(20240611);
    MessageCapture quiet; // one statistics line per mesh

    for (int mesh = 0; mesh < 300; ++mesh) {
        ModelBuilder builder;
        QList<unsigned int> cornerCounts;
        unsigned int cornerCount = 0;
        for (int face = int(random.bounded(mesh % 10 == 0 ? 2000 : 40)); face > 0; --face) {
            cornerCounts.append(random.bounded(7u));
            cornerCount += cornerCounts.last();
        }
        addFaces(builder, cornerCounts);

        // Few distinct values, so that both merges and near misses are common.
        struct Input
        {
            QString name;
            int vertexBytes;
            QByteArray values;
            QList<unsigned int> indices;
        };
        QList<Input> inputs;
        for (int a = 1 + int(random.bounded(3)); a > 0; --a) {
            const Kind kind = kinds[random.bounded(3)];
            const int components = 1 + int(random.bounded(kind.maxComponents));
            const size_t elementBytes = ModelDataStream::typeSize(kind.type);
            // Every third mesh has about as many values as corners: the corners are then welded
            // without numbering their index tuples first.
            const unsigned int valueCount = 1 + random.bounded(mesh % 3 == 2 ? cornerCount + 1 : 6u);
            QByteArray values(qsizetype(valueCount * components * elementBytes), Qt::Uninitialized);
            for (qsizetype e = 0; e < values.size(); e += qsizetype(elementBytes)) {
                const double value = random.bounded(5) == 0 ? -0.0 : double(random.bounded(3));
                const float narrowValue = float(value);
                if (kind.type == GLType::Double)
                    std::memcpy(values.data() + e, &value, sizeof value);
                else if (kind.type == GLType::Float)
                    std::memcpy(values.data() + e, &narrowValue, sizeof narrowValue);
                else
                    values[e] = char(random.bounded(2));
            }
            QList<unsigned int> indices;
            for (unsigned int k = 0; k < cornerCount; ++k)
                indices.append(random.bounded(valueCount));
            Input input { QStringLiteral("attribute%1").arg(a), int(components * elementBytes), values, indices };
            addAttribute(builder, input.name, components, kind.type, input.values, input.indices);
            inputs.append(input);
        }

        // The reference: first appearance of each corner's bytes over all attributes.
        QHash<QByteArray, unsigned int> numberOfContent;
        QList<unsigned int> expectedIndices;
        QList<QByteArray> expectedValues(inputs.size());
        for (unsigned int k = 0; k < cornerCount; ++k) {
            QByteArray content;
            for (const Input &input : inputs)
                content += input.values.mid(qsizetype(input.indices[k]) * input.vertexBytes, input.vertexBytes);
            const auto found = numberOfContent.constFind(content);
            if (found != numberOfContent.constEnd()) {
                expectedIndices.append(*found);
                continue;
            }
            expectedIndices.append(unsigned(numberOfContent.size()));
            numberOfContent.insert(content, unsigned(numberOfContent.size()));
            for (qsizetype a = 0; a < inputs.size(); ++a)
                expectedValues[a] += inputs[a].values.mid(
                    qsizetype(inputs[a].indices[k]) * inputs[a].vertexBytes, inputs[a].vertexBytes);
        }

        // Merging by indices first makes one vertex per distinct tuple, which the line counts.
        const bool mergeByIndices = mesh % 2 == 1;
        QSet<QList<unsigned int>> tuples;
        for (unsigned int k = 0; mergeByIndices && k < cornerCount; ++k) {
            QList<unsigned int> tuple;
            for (const Input &input : inputs)
                tuple.append(input.indices[k]);
            tuples.insert(tuple);
        }
        const int counted = mergeByIndices ? int(tuples.size()) : int(cornerCount);
        const int kept = int(numberOfContent.size());
        const QByteArray counts = QString::asprintf(" Vertices Map %8d -> %8d d %8d (%3d %%) 4", counted, kept,
            counted - kept, counted > 0 ? kept * 100 / counted : 0).toLatin1();
        quiet.clear();
        ModelBuilderProbe::buildGPUFriendlyStreams(builder, mergeByIndices);

        for (qsizetype a = 0; a < inputs.size(); ++a) {
            QCOMPARE(gpuIndicesOf(builder, inputs[a].name), expectedIndices);
            QCOMPARE(gpuValuesOf(builder, inputs[a].name), expectedValues[a]);
        }
        QCOMPARE(quiet.texts(QtDebugMsg), QStringList { statisticsLine(builder, counts.constData()) });
    }
}

void TestGPUStreams::repeatsAfterTheTableGrowsAreFound_data()
{
    QTest::addColumn<QList<int>>("vertexBytes");
    QTest::newRow("4 bytes") << QList<int> { 4 };
    QTest::newRow("8 bytes") << QList<int> { 8 };
    QTest::newRow("12 bytes") << QList<int> { 12 };
    QTest::newRow("16 bytes") << QList<int> { 16 };
    QTest::newRow("3 bytes") << QList<int> { 3 };
    QTest::newRow("position, texture coordinate, normal") << QList<int> { 12, 8, 12 };
    QTest::newRow("20 bytes and 1") << QList<int> { 20, 1 };
}

// 5,000 distinct vertices fill the table past its first size, so that it is refilled from the
// hashes of single vertices, then come again in reverse order: each must be found where the
// refill put it, whatever the vertex size.
void TestGPUStreams::repeatsAfterTheTableGrowsAreFound()
{
    QFETCH(QList<int>, vertexBytes);
    constexpr unsigned int distinct = 5000;
    const auto contentOf = [](unsigned int vertex) { return vertex < distinct ? vertex : 2 * distinct - 1 - vertex; };
    QList<QByteArray> data;
    QList<VertexWeldStream> streams;
    for (qsizetype s = 0; s < vertexBytes.size(); ++s) {
        QByteArray bytes(qsizetype(2 * distinct) * vertexBytes[s], Qt::Uninitialized);
        for (unsigned int vertex = 0; vertex < 2 * distinct; ++vertex) {
            const unsigned int content = contentOf(vertex);
            char *vertexData = bytes.data() + qsizetype(vertex) * vertexBytes[s];
            for (int b = 0; b < vertexBytes[s]; ++b)
                vertexData[b] = char(b < 2 ? content >> (8 * b) : content * 7 + b * (s + 3));
        }
        data.append(bytes);
        streams.append({ data.last().constData(), size_t(vertexBytes[s]) });
    }
    QList<unsigned int> remap(2 * distinct), survivors(2 * distinct);

    QCOMPARE(weldVertices(remap.data(), survivors.data(), remap.size(), streams.constData(), size_t(streams.size())),
        size_t(distinct));

    for (unsigned int vertex = 0; vertex < 2 * distinct; ++vertex)
        QCOMPARE(remap[vertex], contentOf(vertex));
    for (unsigned int n = 0; n < distinct; ++n)
        QCOMPARE(survivors[n], n);
}

void TestGPUStreams::indexTuplesNumberInFirstAppearanceOrder_data()
{
    QTest::addColumn<IndexLists>("indices");
    QTest::addColumn<QList<qulonglong>>("valueCounts");

    const unsigned int wide = 300; // every pair of two 300-value attributes: chains of 300 tuples
    IndexLists everyPair(2);
    for (unsigned int k = 0; k < wide * wide; ++k) {
        everyPair[0].append(k % wide);
        everyPair[1].append(k / wide);
    }
    // A hundred triangles around a pole, each with its own texture coordinate there.
    IndexLists poleFan = localTuples(2, 4000, 5);
    for (unsigned int k = 0; k < 300; ++k) {
        poleFan[0][qsizetype(k)] = k / 3;
        poleFan[1][qsizetype(k)] = 0;
    }
    // The key is the second attribute, which has more values.
    IndexLists keyPastValuesLast = localTuples(2, 4000, 6), keyPastValuesFirst = keyPastValuesLast;
    keyPastValuesLast[1].last() = 2016;
    keyPastValuesFirst[1].first() = ~0u;
    IndexLists otherPastValues = localTuples(2, 4000, 7);
    otherPastValues[0][2000] = ~0u;

    QTest::newRow("no corners") << IndexLists { {}, {} } << QList<qulonglong> { 3, 0 };
    QTest::newRow("one attribute") << localTuples(1, 4000, 1) << QList<qulonglong> { 1008 };
    QTest::newRow("two attributes") << localTuples(2, 4000, 2) << QList<qulonglong> { 1008, 2016 };
    QTest::newRow("three attributes") << localTuples(3, 40000, 3) << QList<qulonglong> { 10008, 20016, 20016 };
    QTest::newRow("four attributes") << localTuples(4, 40000, 4) << QList<qulonglong> { 10008, 20016, 20016, 20016 };
    QTest::newRow("four attributes, shuffled")
        << shuffled(localTuples(4, 40000, 4), 9) << QList<qulonglong> { 10008, 20016, 20016, 20016 };
    QTest::newRow("every index alike") << IndexLists { QList<unsigned int>(100, 2), QList<unsigned int>(100, 0) }
                                       << QList<qulonglong> { 3, 1 };
    QTest::newRow("chains past the step budget") << everyPair << QList<qulonglong> { wide, wide };
    QTest::newRow("chains past the step budget, shuffled")
        << shuffled(everyPair, 3) << QList<qulonglong> { wide, wide };
    QTest::newRow("one long chain within the budget") << poleFan << QList<qulonglong> { 1008, 2016 };
    QTest::newRow("key index at its value count, last corner") << keyPastValuesLast << QList<qulonglong> { 1008, 2016 };
    QTest::newRow("key index at the largest value, first corner")
        << keyPastValuesFirst << QList<qulonglong> { 1008, 2016 };
    QTest::newRow("other index past its values") << otherPastValues << QList<qulonglong> { 1008, 2016 };
    QTest::newRow("more values than corners in one attribute")
        << localTuples(3, 4000, 8) << QList<qulonglong> { 4001, 2016, 2016 };
    QTest::newRow("more values than corners in every attribute")
        << localTuples(2, 4000, 8) << QList<qulonglong> { 4001, 5000 };
}

// The numbering keyed on one attribute's index gives the hash weld's numbers on every input: when
// it gives up on long chains or out-of-range keys, the hash weld's own. Numbered into one of its
// own index streams, as a single-use upload does, it gives the same numbers.
void TestGPUStreams::indexTuplesNumberInFirstAppearanceOrder()
{
    QFETCH(IndexLists, indices);
    QFETCH(QList<qulonglong>, valueCounts);
    const size_t cornerCount = size_t(indices[0].size());
    QList<VertexWeldStream> weldStreams;
    for (const QList<unsigned int> &stream : indices)
        weldStreams.append({ stream.constData(), sizeof(unsigned int) });
    QList<unsigned int> weldRemap(qsizetype(cornerCount), 0), weldFirstCorner(qsizetype(cornerCount), 0);
    const size_t weldCount = weldVertices(
        weldRemap.data(), weldFirstCorner.data(), cornerCount, weldStreams.constData(), size_t(weldStreams.size()));
    const QList<unsigned int> expected = referenceTupleNumbers(indices);
    QCOMPARE(weldRemap, expected);

    for (const bool inPlace : { false, true }) {
        IndexLists input = indices;
        QList<IndexTupleStream> streams;
        for (qsizetype s = 0; s < input.size(); ++s)
            streams.append({ input[s].data(), size_t(valueCounts[s]) });
        QList<unsigned int> separateRemap(qsizetype(cornerCount), 0);
        unsigned int *remap = inPlace ? input.last().data() : separateRemap.data();
        QList<unsigned int> tupleIndices(qsizetype(cornerCount) * input.size(), 0);

        const size_t tupleCount
            = numberIndexTuples(remap, tupleIndices.data(), cornerCount, streams.constData(), size_t(streams.size()));

        QCOMPARE(tupleCount, weldCount);
        QCOMPARE(QList<unsigned int>(remap, remap + cornerCount), expected);
        for (qsizetype s = 0; s < indices.size(); ++s) {
            for (size_t n = 0; n < tupleCount; ++n)
                QCOMPARE(tupleIndices[s * qsizetype(cornerCount) + qsizetype(n)], indices[s][weldFirstCorner[n]]);
        }
    }
}

QTEST_GUILESS_MAIN(TestGPUStreams)
#include "tst_gpustreams.moc"
