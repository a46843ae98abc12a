#include "GLTestContext.h"
#include "MessageCapture.h"

#include <LoadTexture.h>
#include <QelGL/Texture.h>

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QImage>
#include <QSet>
#include <QTemporaryDir>
#include <QTest>


using namespace Vardune::Qel;

namespace {

// A picture that differs from row to row and column to column, so that a flipped, shifted or
// mis-strided upload shows, and that changes smoothly enough for JPEG to keep it close.
QImage makePicture(QImage::Format format, QSize size)
{
    QImage picture(size, QImage::Format_ARGB32);
    const int w = size.width() - 1;
    const int h = size.height() - 1;
    for (int y = 0; y <= h; ++y)
        for (int x = 0; x <= w; ++x)
            picture.setPixel(x, y, qRgba(x * 255 / w, y * 255 / h, 200 - x * 100 / w, 255 - y * 200 / h));
    return picture.convertToFormat(format);
}

QByteArray readLevel(GLTestContext &gl, const Texture *texture, int level)
{
    int width = 0;
    int height = 0;
    gl.functions()->glGetTextureLevelParameteriv(texture->textureId(), level, GL_TEXTURE_WIDTH, &width);
    gl.functions()->glGetTextureLevelParameteriv(texture->textureId(), level, GL_TEXTURE_HEIGHT, &height);
    QByteArray texels(width * height * 4, Qt::Uninitialized);
    gl.functions()->glPixelStorei(GL_PACK_ALIGNMENT, 1);
    gl.functions()->glGetTextureImage(
        texture->textureId(), level, GL_BGRA, GL_UNSIGNED_BYTE, int(texels.size()), texels.data());
    return texels;
}

QString writePicture(const QTemporaryDir &dir, const QString &name, QSize size = QSize(8, 4))
{
    const QString path = dir.filePath(name);
    makePicture(QImage::Format_RGB32, size).save(path, "PNG");
    return path;
}

void addPixelRow(
    const char *tag, const char *fileFormat, QImage::Format picture, QSize size, QImage::Format decoded, int tolerance)
{
    QTest::newRow(tag) << QByteArray(fileFormat) << picture << size << decoded << tolerance;
}

} // namespace

class TestTexture : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void pixelsArriveBottomRowFirst_data();
    void pixelsArriveBottomRowFirst();
    void samplingAndMipmapLevelsAreSet();
    void cacheKeepsEachSpellingOfAPath();
    void unreadablePathsGiveNullSilently_data();
    void unreadablePathsGiveNullSilently();
};

void TestTexture::initTestCase()
{
    GLTestContext gl;
    QEL_REQUIRE_GL(gl);
}

void TestTexture::pixelsArriveBottomRowFirst_data()
{
    QTest::addColumn<QByteArray>("fileFormat");
    QTest::addColumn<QImage::Format>("pictureFormat");
    QTest::addColumn<QSize>("size");
    QTest::addColumn<QImage::Format>("decodedFormat"); // proves which layout the upload converts from
    QTest::addColumn<int>("tolerance");

    const QSize square(16, 16);
    const QSize odd(33, 17); // rows of 33, 66 and 99 bytes, which QImage pads and OpenGL must not
    // One row per layout the decoder hands over; odd widths give padded rows of 1, 2 and 3 bytes.
    addPixelRow("PNG grey", "PNG", QImage::Format_Grayscale8, square, QImage::Format_Grayscale8, 0);
    addPixelRow("PNG indexed", "PNG", QImage::Format_Indexed8, square, QImage::Format_Indexed8, 0);
    addPixelRow("PNG RGB888", "PNG", QImage::Format_RGB888, square, QImage::Format_RGB32, 0);
    addPixelRow("PNG ARGB32 alpha", "PNG", QImage::Format_ARGB32, square, QImage::Format_ARGB32, 0);
    addPixelRow("PNG 16-bit RGBA", "PNG", QImage::Format_RGBA64, square, QImage::Format_RGBA64, 0);
    addPixelRow("PNG 16-bit grey", "PNG", QImage::Format_Grayscale16, square, QImage::Format_Grayscale16, 0);
    addPixelRow("PNG grey 33x17", "PNG", QImage::Format_Grayscale8, odd, QImage::Format_Grayscale8, 0);
    addPixelRow("PNG indexed 33x17", "PNG", QImage::Format_Indexed8, odd, QImage::Format_Indexed8, 0);
    addPixelRow("BMP RGB888 33x17", "BMP", QImage::Format_RGB888, odd, QImage::Format_RGB32, 0);
    addPixelRow("JPEG grey", "JPEG", QImage::Format_Grayscale8, square, QImage::Format_Grayscale8, 4);
    addPixelRow("JPEG RGB888 33x17", "JPEG", QImage::Format_RGB888, odd, QImage::Format_RGB32, 12);
}

void TestTexture::pixelsArriveBottomRowFirst()
{
    QFETCH(QByteArray, fileFormat);
    QFETCH(QImage::Format, pictureFormat);
    QFETCH(QSize, size);
    QFETCH(QImage::Format, decodedFormat);
    QFETCH(int, tolerance);
    GLTestContext gl;
    QEL_REQUIRE_GL(gl);

    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("picture.") + QString::fromLatin1(fileFormat).toLower());
    const QImage picture = makePicture(pictureFormat, size);
    QVERIFY(picture.save(path, fileFormat.constData(), 100));
    QCOMPARE(QImage(path).format(), decodedFormat);

    const Texture *texture = LoadTexture(path);
    QVERIFY(texture != nullptr);
    QCOMPARE(gl.functions()->glGetError(), GLenum(GL_NO_ERROR));
    const QByteArray texels = readLevel(gl, texture, 0);
    // Texture row 0 is t = 0, so the picture's top row belongs in the last texture row; 32-bit
    // ARGB pixels lie in memory as the BGRA bytes read back.
    const QImage expected = picture.convertToFormat(QImage::Format_ARGB32).mirrored();
    QCOMPARE(texels.size(), expected.sizeInBytes());
    int worst = 0;
    for (qsizetype i = 0; i < texels.size(); ++i)
        worst = qMax(worst, qAbs(int(uchar(texels[i])) - int(expected.constBits()[i])));
    QVERIFY2(worst <= tolerance, qPrintable(QStringLiteral("a texel is off by %1").arg(worst)));
}

void TestTexture::samplingAndMipmapLevelsAreSet()
{
    GLTestContext gl;
    QEL_REQUIRE_GL(gl);
    QTemporaryDir dir;
    const QString path = writePicture(dir, QStringLiteral("square.png"), QSize(64, 64));
    gl.functions()->glPixelStorei(GL_UNPACK_ALIGNMENT, 4);

    Texture *texture = LoadTexture(path);
    QVERIFY(texture != nullptr);
    QVERIFY(texture->isReadOnly());
    QOpenGLFunctions_4_5_Core *f = gl.functions();
    const std::pair<GLenum, GLint> parameters[] = {
        { GL_TEXTURE_MIN_FILTER, GL_LINEAR_MIPMAP_LINEAR }, { GL_TEXTURE_MAG_FILTER, GL_LINEAR },
        { GL_TEXTURE_WRAP_S, GL_REPEAT }, { GL_TEXTURE_WRAP_T, GL_REPEAT },
        { GL_TEXTURE_BASE_LEVEL, 0 }, { GL_TEXTURE_MAX_LEVEL, 4 },
    };
    for (const auto &[name, expected] : parameters) {
        GLint value = -1;
        f->glGetTextureParameteriv(texture->textureId(), name, &value);
        QCOMPARE(value, expected);
    }
    // Levels 1 to 4 were generated; level 5 lies beyond the maximum level and stays empty.
    for (const int level : { 0, 1, 2, 3, 4, 5 }) {
        GLint width = -1;
        f->glGetTextureLevelParameteriv(texture->textureId(), level, GL_TEXTURE_WIDTH, &width);
        QCOMPARE(width, level < 5 ? 64 >> level : 0);
    }
    GLint bound = -1;
    f->glGetIntegerv(GL_TEXTURE_BINDING_2D, &bound);
    QCOMPARE(bound, 0);
    QCOMPARE(f->glGetError(), GLenum(GL_NO_ERROR));
}

void TestTexture::cacheKeepsEachSpellingOfAPath()
{
    QTemporaryDir dir;
    const QString path = writePicture(dir, QStringLiteral("picture.png"));
    QCOMPARE(LoadTexture(path), nullptr); // no current context: nothing is loaded, nothing cached
    GLTestContext gl;
    QEL_REQUIRE_GL(gl);
    Texture *first = LoadTexture(path);
    QVERIFY(first != nullptr);

    const QString previous = QDir::currentPath();
    QVERIFY(QDir::setCurrent(dir.path()));
    QSet<Texture *> textures { first, LoadTexture(QStringLiteral("picture.png")), LoadTexture(QStringLiteral("./picture.png")) };
    QDir::setCurrent(previous);
    QVERIFY(!textures.contains(nullptr));
    QCOMPARE(textures.size(), 3);

    // A repeated path is answered from the cache, without the file and without OpenGL.
    QVERIFY(QFile::remove(path));
    gl.doneCurrent();
    QCOMPARE(LoadTexture(path), first);
}

void TestTexture::unreadablePathsGiveNullSilently_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QByteArray>("content"); // written to `name` unless null

    QTest::newRow("directory") << QStringLiteral("folder.png") << QByteArray();
    QTest::newRow("missing file") << QStringLiteral("absent.png") << QByteArray();
    QTest::newRow("garbage bytes") << QStringLiteral("garbage.png")
                                   << QByteArray("\x89PNG\r\n\x1a\nnot an image at all");
    QTest::newRow("empty file") << QStringLiteral("empty.jpg") << QByteArray("");
    // The decoder would hold 1.8 GB for seconds before giving up on this one.
    QTest::newRow("PNG text chunk longer than the file")
        << QStringLiteral("long-text.png")
        << QByteArray::fromHex("89504e470d0a1a0a0000000d4948445200000080000000800806000000c33e61cb00000009704859730000"
                               "0b1300000b1301009a9c180000000774494d4507e5080110330400b1ed0e6c00001d69545874436f6d6d"
                               "656e74000000000043726561746564");
    QTest::newRow("empty path") << QString() << QByteArray();
}

void TestTexture::unreadablePathsGiveNullSilently()
{
    QFETCH(QString, name);
    QFETCH(QByteArray, content);
    GLTestContext gl;
    QEL_REQUIRE_GL(gl);
    QTemporaryDir dir;
    const QString path = name.isEmpty() ? QString() : dir.filePath(name);
    if (QTest::currentDataTag() == QByteArrayLiteral("directory"))
        QVERIFY(QDir(dir.path()).mkdir(name));
    if (!content.isNull()) {
        QFile file(path);
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(content);
    }

    MessageCapture capture;
    QCOMPARE(LoadTexture(path), nullptr);
    QCOMPARE(LoadTexture(path), nullptr);
    QVERIFY(capture.messages().isEmpty());
    // A failure is not cached: once the path holds a picture, it loads.
    if (!path.isEmpty() && !QFileInfo(path).isDir()) {
        writePicture(dir, name);
        QVERIFY(LoadTexture(path) != nullptr);
    }
}

QTEST_MAIN(TestTexture)
#include "tst_texture.moc"
