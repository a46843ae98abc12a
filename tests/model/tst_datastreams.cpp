#include "ModelDataArray.h"
#include "StreamElements.h"

#include <QTest>

#include <algorithm>
#include <cstring>
#include <numeric>
#include <vector>

using namespace Vardune::Qel;

namespace {

// A stream that implements only the pure operations, to watch the base append's calls.
class RecordingStream : public ModelDataStream
{
public:
    unsigned int type() const override { return 0x1405; }
    void setType(unsigned int) override { }
    size_t size() const override
    {
        calls.append(QStringLiteral("size"));
        return elements.size();
    }
    void resize(size_t count) override
    {
        calls.append(QStringLiteral("resize %1").arg(count));
        elements.resize(static_cast<qsizetype>(count));
    }
    void *data(size_t offset) override { return elements.data() + offset; }
    void setData(size_t offset, size_t count, const void *source) override
    {
        calls.append(QStringLiteral("setData %1 %2").arg(offset).arg(count));
        std::memcpy(elements.data() + offset, source, count * 4);
    }

    mutable QStringList calls;
    QList<unsigned int> elements;
};

} // namespace

class TestDataStreams : public QObject
{
    Q_OBJECT

private slots:
    void typeSizes_data();
    void typeSizes();
    void appendAndResizeKeepLeadingElements();
    void setTypeKeepsCountAndBytes_data();
    void setTypeKeepsCountAndBytes();
    void copiesAreIndependent();
    void growthKeepsEveryElement_data();
    void growthKeepsEveryElement();
    void baseAppendGoesThroughVirtualCalls();
};

void TestDataStreams::typeSizes_data()
{
    QTest::addColumn<unsigned int>("type");
    QTest::addColumn<size_t>("bytes");
    const QList<QPair<unsigned int, size_t>> table = { { 0x1400, 1 }, { 0x1401, 1 }, { 0x1402, 2 }, { 0x1403, 2 },
                                                       { 0x140B, 2 }, { 0x1404, 4 }, { 0x1405, 4 }, { 0x1406, 4 },
                                                       { 0x140A, 8 }, { 0x1407, 0 }, { 0x1408, 0 }, { 0x1409, 0 },
                                                       { 0, 0 },      { 0x140C, 0 } };
    for (const auto &[type, bytes] : table)
        QTest::addRow("0x%X", type) << type << bytes;
}

void TestDataStreams::typeSizes()
{
    QFETCH(unsigned int, type);
    QFETCH(size_t, bytes);
    QCOMPARE(ModelDataStream::typeSize(type), bytes);
    // A type without an element size holds nothing, whatever the count.
    const ModelDataArray array(type, 5);
    QCOMPARE(array.type(), type);
    QCOMPARE(array.size(), bytes ? size_t(5) : size_t(0));
    QCOMPARE(array.byteCount(), 5 * bytes);
    QCOMPARE(array.isEmpty(), bytes == 0);

    const ModelDataArray empty;
    QCOMPARE(empty.type(), 0x1406u);
    QVERIFY(empty.isEmpty());
}

void TestDataStreams::appendAndResizeKeepLeadingElements()
{
    ModelDataArray array(0x1405, 2);
    const unsigned int values[3] = { 20, 21, 22 };
    array.append(0, nullptr);
    array.append(3, values);
    QCOMPARE(elementsOf<unsigned int>(array), QList<unsigned int>({ 0, 0, 20, 21, 22 }));
    array.resize(3);
    array.resize(4);
    QCOMPARE(elementsOf<unsigned int>(array), QList<unsigned int>({ 0, 0, 20, 0 }));
}

void TestDataStreams::setTypeKeepsCountAndBytes_data()
{
    QTest::addColumn<unsigned int>("newType");
    QTest::addColumn<size_t>("byteCount");
    QTest::newRow("same type") << 0x1406u << size_t(16);
    QTest::newRow("to bytes") << 0x1401u << size_t(4);
    QTest::newRow("to doubles") << 0x140Au << size_t(32);
}

void TestDataStreams::setTypeKeepsCountAndBytes()
{
    QFETCH(unsigned int, newType);
    QFETCH(size_t, byteCount);
    const float values[4] = { 1.5f, -2.0f, 3.25f, 4.0f };
    ModelDataArray array(0x1406, 0);
    array.append(4, values);
    array.setType(newType);
    QCOMPARE(array.type(), newType);
    QCOMPARE(array.size(), size_t(4));
    QCOMPARE(array.byteCount(), byteCount);
    const size_t kept = qMin(byteCount, sizeof values);
    QCOMPARE(QByteArray(static_cast<const char *>(array.data(0)), qsizetype(kept)),
             QByteArray(reinterpret_cast<const char *>(values), qsizetype(kept)));
}

void TestDataStreams::copiesAreIndependent()
{
    ModelDataArray original(0x1405, 3);
    ModelDataArray copy = original;
    const unsigned int changed = 99;
    original.setData(0, 1, &changed);
    static_cast<unsigned int *>(copy.data(0))[2] = 77;
    QCOMPARE(elementsOf<unsigned int>(original), QList<unsigned int>({ 99, 0, 0 }));
    QCOMPARE(elementsOf<unsigned int>(copy), QList<unsigned int>({ 0, 0, 77 }));
}

// Large arrays move between blocks of different kinds as they grow (a small heap block, then a
// mapping of their own, then a remapped larger one); each move must keep every element.
void TestDataStreams::growthKeepsEveryElement_data()
{
    QTest::addColumn<size_t>("finalCount");
    QTest::addColumn<size_t>("step");
    QTest::newRow("small") << size_t(1000) << size_t(7);
    QTest::newRow("past 256 KiB") << size_t(100000) << size_t(4093);
    QTest::newRow("past 34 MiB") << size_t(10000000) << size_t(1 << 20);
}

void TestDataStreams::growthKeepsEveryElement()
{
    QFETCH(size_t, finalCount);
    QFETCH(size_t, step);
    ModelDataArray array(0x1405, 0);
    std::vector<unsigned int> block(step);
    for (size_t done = 0; done < finalCount; done += block.size()) {
        block.resize(std::min(step, finalCount - done));
        std::iota(block.begin(), block.end(), static_cast<unsigned int>(done));
        array.append(block.size(), block.data());
    }
    ModelDataArray shared = array;
    array.resize(finalCount + 5); // detaches from `shared`, then zero-fills

    const auto *grown = static_cast<const unsigned int *>(array.data(0));
    const auto *kept = static_cast<const unsigned int *>(shared.data(0));
    std::vector<unsigned int> expected(finalCount + 5, 0u);
    std::iota(expected.begin(), expected.begin() + qsizetype(finalCount), 0u);
    QCOMPARE(array.size(), finalCount + 5);
    QCOMPARE(shared.size(), finalCount);
    QCOMPARE(size_t(std::mismatch(grown, grown + finalCount + 5, expected.data()).first - grown), finalCount + 5);
    QCOMPARE(size_t(std::mismatch(kept, kept + finalCount, expected.data()).first - kept), finalCount);
}

void TestDataStreams::baseAppendGoesThroughVirtualCalls()
{
    RecordingStream stream;
    stream.elements = { 5, 6 };
    const unsigned int values[3] = { 7, 8, 9 };
    stream.ModelDataStream::append(3, values);
    QCOMPARE(stream.calls, QStringList({ "size", "resize 5", "setData 2 3" }));
    QCOMPARE(stream.elements, QList<unsigned int>({ 5, 6, 7, 8, 9 }));
}

QTEST_APPLESS_MAIN(TestDataStreams)
#include "tst_datastreams.moc"
