#include "GLTestContext.h"

#include <QelGL/BufferObject.h>
#include <QelGL/DrawBuffers.h>
#include <QelGL/GPUModel.h>
#include <QelGL/InstanceDataCollection.h>
#include <QelGL/InstanceDataRegistry.h>
#include <QelGL/OpenGLDeviceContext.h>
#include <QelGL/Texture.h>
#include <QelGL/TextureManager.h>

#include <QPointer>
#include <QTest>

#include <memory>
#include <vector>

using namespace Vardune::Qel;

class TestPlatform : public QObject
{
    Q_OBJECT

private slots:
    void bufferUploadsAreReadBack_data();
    void bufferUploadsAreReadBack();
    void bufferRefusesNegativeCount();
    void sharedUploadHoldsItsMemoryWhileReadingIt();
    void vertexArrayRecordsAttributesAndIndices();
    void colorTextureHoldsItsColour();
    void registryKeepsTheFirstPlanOfAName();
    void modelDeletesWhatItOwns();
};

void TestPlatform::bufferUploadsAreReadBack_data()
{
    QTest::addColumn<unsigned int>("target");
    QTest::addColumn<int>("elementSize");
    QTest::addColumn<int>("count");
    QTest::newRow("32-bit indices") << 0x8893u << 4 << 1000;
    QTest::newRow("16-bit indices") << 0x8893u << 2 << 999;
    QTest::newRow("float vertices") << 0x8892u << 12 << 333;
    QTest::newRow("empty") << 0x8892u << 4 << 0;
}

void TestPlatform::bufferUploadsAreReadBack()
{
    QFETCH(unsigned int, target);
    QFETCH(int, elementSize);
    QFETCH(int, count);
    GLTestContext gl;
    QEL_REQUIRE_GL(gl);

    QByteArray bytes(count * elementSize, Qt::Uninitialized);
    for (qsizetype i = 0; i < bytes.size(); ++i)
        bytes[i] = static_cast<char>(i * 7 + 3);

    QSharedPointer<BufferObject> buffer = OpenGLDeviceContext::current()->createBufferObject();
    buffer->setTarget(target);
    buffer->bind();
    const char *data = bytes.constData();
    if (elementSize == 4)
        QVERIFY(buffer->uploadGLuintData(reinterpret_cast<const unsigned int *>(data), count, 0x88E4));
    else if (elementSize == 2)
        QVERIFY(buffer->uploadGLushortData(reinterpret_cast<const unsigned short *>(data), count, 0x88E4));
    else
        QVERIFY(buffer->uploadArbitraryData(data, count, 0x88E4, static_cast<unsigned long long>(elementSize)));
    buffer->unbind();
    QCOMPARE(buffer->byteSize(), bytes.size());

    // Independent of the wrapper: ask OpenGL itself for the store's size and contents.
    GLint size = -1;
    gl.functions()->glGetNamedBufferParameteriv(buffer->bufferId(), GL_BUFFER_SIZE, &size);
    QCOMPARE(size, bytes.size());
    QByteArray stored(size, '\0');
    if (size > 0)
        gl.functions()->glGetNamedBufferSubData(buffer->bufferId(), 0, size, stored.data());
    QCOMPARE(stored, bytes);
    QCOMPARE(buffer->readBack(), bytes);
}

void TestPlatform::bufferRefusesNegativeCount()
{
    GLTestContext gl;
    QEL_REQUIRE_GL(gl);
    BufferObject buffer;
    buffer.setTarget(0x8892);
    const unsigned int value = 7;
    QVERIFY(buffer.uploadGLuintData(&value, 1, 0x88E4));
    QVERIFY(!buffer.uploadGLuintData(&value, -1, 0x88E4));
    QCOMPARE(buffer.byteSize(), 4);
}

// Where the renderer takes the application's memory as the store (llvmpipe on CI), the buffer
// must keep that memory until another upload replaces it; elsewhere the driver copies at once.
void TestPlatform::sharedUploadHoldsItsMemoryWhileReadingIt()
{
    GLTestContext gl;
    QEL_REQUIRE_GL(gl);
    const bool inPlace = OpenGLDeviceContext::current()->drawsFromHostMemory();
    QByteArray expected(4096 * 3 + 20, Qt::Uninitialized);
    for (qsizetype i = 0; i < expected.size(); ++i)
        expected[i] = static_cast<char>(i * 13 + 1);
    // Off a page boundary, as a stream's elements may start anywhere.
    const QByteArray padded = QByteArray(4, 'x') + expected;
    auto holder = std::make_shared<std::vector<char>>(padded.cbegin(), padded.cend());
    const std::weak_ptr<std::vector<char>> watch = holder;

    BufferObject buffer;
    buffer.setTarget(0x8892);
    buffer.bind();
    QVERIFY(buffer.uploadSharedData(std::shared_ptr<const void>(holder, holder->data() + 4),
                                    static_cast<int>(expected.size() / 4), 0x88E4, 4));
    holder.reset();
    QCOMPARE(watch.expired(), !inPlace);
    QCOMPARE(buffer.byteSize(), expected.size());
    QByteArray stored(expected.size(), '\0');
    gl.functions()->glGetNamedBufferSubData(buffer.bufferId(), 0, stored.size(), stored.data());
    QCOMPARE(stored, expected);
    GLint bound = -1;
    gl.functions()->glGetIntegerv(GL_ARRAY_BUFFER_BINDING, &bound);
    QCOMPARE(static_cast<unsigned int>(bound), buffer.bufferId());

    const unsigned int value = 7;
    QVERIFY(buffer.uploadGLuintData(&value, 1, 0x88E4));
    QVERIFY(watch.expired());
    QCOMPARE(buffer.readBack(), QByteArray(reinterpret_cast<const char *>(&value), sizeof value));
}

void TestPlatform::vertexArrayRecordsAttributesAndIndices()
{
    GLTestContext gl;
    QEL_REQUIRE_GL(gl);
    auto device = OpenGLDeviceContext::current();
    DrawBuffers draw;
    draw.setVAO(device->createVertexArrayObject());
    const auto vao = draw.VAO();
    auto texCoords = device->createBufferObject();
    vao->registerBO(QStringLiteral("va_Vertex"), device->createBufferObject(), 3, 0x1406);
    vao->registerBO(QStringLiteral("va_TexCoord"), texCoords, 2, 0x1406);
    QCOMPARE(vao->attributeLocation(QStringLiteral("va_TexCoord")), 1);
    QCOMPARE(vao->attributeLocation(QStringLiteral("va_Normal")), -1);
    auto indices = device->createBufferObject();
    draw.setIndexedDraw(indices, 6, 0x1403);

    GLint enabled = 0, components = 0, buffer = 0, bound = 0;
    gl.functions()->glGetVertexArrayIndexediv(vao->arrayId(), 1, GL_VERTEX_ATTRIB_ARRAY_ENABLED, &enabled);
    gl.functions()->glGetVertexArrayIndexediv(vao->arrayId(), 1, GL_VERTEX_ATTRIB_ARRAY_SIZE, &components);
    gl.functions()->glGetVertexArrayiv(vao->arrayId(), GL_ELEMENT_ARRAY_BUFFER_BINDING, &bound);
    vao->bind();
    gl.functions()->glGetVertexAttribiv(1, GL_VERTEX_ATTRIB_ARRAY_BUFFER_BINDING, &buffer);
    vao->unbind();
    QCOMPARE(enabled, 1);
    QCOMPARE(components, 2);
    QCOMPARE(static_cast<unsigned int>(buffer), texCoords->bufferId());
    QCOMPARE(static_cast<unsigned int>(bound), indices->bufferId());
}

void TestPlatform::colorTextureHoldsItsColour()
{
    GLTestContext gl;
    QEL_REQUIRE_GL(gl);
    Texture *red = TextureManager::Instance().colorTexture(QColor(255, 0, 0, 128));
    QVERIFY(red);
    QCOMPARE(TextureManager::Instance().colorTexture(QColor(255, 0, 0, 128)), red);
    QVERIFY(TextureManager::Instance().colorTexture(Qt::white) != red);
    QByteArray texel(4, '\0');
    gl.functions()->glGetTextureImage(red->textureId(), 0, GL_RGBA, GL_UNSIGNED_BYTE, 4, texel.data());
    QCOMPARE(texel, QByteArray("\xff\x00\x00\x80", 4));
}

void TestPlatform::registryKeepsTheFirstPlanOfAName()
{
    auto *first = new InstanceDataPlan(QStringLiteral("TestPlan"));
    first->addMember(InstanceDataPlan::Float, QStringLiteral("a"));
    InstanceDataRegistry::Instance().registerPlan(first);
    QTest::ignoreMessage(QtWarningMsg, "InstanceDataRegistry: plan 'TestPlan' is already registered");
    InstanceDataRegistry::Instance().registerPlan(new InstanceDataPlan(QStringLiteral("TestPlan")));
    QCOMPARE(InstanceDataRegistry::Instance().plan(QStringLiteral("TestPlan")), first);
    QVERIFY(first->hasMember(QStringLiteral("a")));
}

void TestPlatform::modelDeletesWhatItOwns()
{
    QPointer<DrawBuffers> draw = new DrawBuffers;
    {
        GPUModel model;
        const unsigned long long key = 5;
        const int index = model.add(draw, 1, nullptr, new InstanceDataCollection(QStringLiteral("I"), {}), key);
        model.addMaterialName(index, 1, QStringLiteral("second"));
        model.addMaterialName(index, 0, QStringLiteral("first"));
        model.addObjectName(7, 0, QStringLiteral("ignored"));
        QCOMPARE(model.draw(0).key, 5ull);
        QCOMPARE(model.draw(0).materialNames, QStringList({ QStringLiteral("first"), QStringLiteral("second") }));
    }
    QVERIFY(draw.isNull());
}

QTEST_MAIN(TestPlatform)
#include "tst_platform.moc"
