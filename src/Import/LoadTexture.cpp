// Image files to mipmapped 2D textures, cached by path for the life of the process.
// A cache hit costs one hash lookup and nothing else. A miss decodes the file, mirrors it in
// place so that its bottom row comes first (where texture coordinates begin), brings it to
// 32-bit BGRA (a copy only when QImage decoded it into another layout) and uploads level 0;
// OpenGL derives levels 1 to 4 from it. A PNG that no decoder could read image data from, but
// whose chunk lengths would make the PNG decoder reserve gigabytes, is refused before decoding.

#include "LoadTexture.h"

#include <QelGL/AutoBinder.h>
#include <QelGL/Texture.h>

#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <QImage>
#include <QOpenGLContext>
#include <QOpenGLExtraFunctions>
#include <QSysInfo>
#include <QtEndian>

#include <utility>

namespace Vardune::Qel {

namespace {

// QImage keeps a 32-bit pixel as one native integer 0xAARRGGBB, which only a little-endian
// machine stores as the bytes B, G, R, A that the upload declares.
static_assert(QSysInfo::ByteOrder == QSysInfo::LittleEndian, "texture upload assumes little-endian 32-bit pixels");

using TextureCache = QHash<QString, Texture *>;

// Allocated once and never freed: the textures must outlive every caller, and a map that
// stays reachable keeps them reachable for leak checkers as well.
TextureCache &textureCache()
{
    static TextureCache *const cache = new TextureCache;
    return *cache;
}

// ARGB32 and RGB32 (whose fourth byte is always 0xff) are uploaded as they are; every other
// layout (greyscale, indexed, 24-bit, 16-bit-per-channel, premultiplied) is converted. Rows of
// 32-bit images are always width * 4 bytes, so the result is tightly packed.
QImage toBgra(QImage image)
{
    if (image.format() == QImage::Format_ARGB32 || image.format() == QImage::Format_RGB32)
        return image;
    return std::move(image).convertToFormat(QImage::Format_ARGB32);
}

void uploadMipmapped(QOpenGLExtraFunctions *gl, Texture *texture, const QImage &image)
{
    gl->glPixelStorei(GL_UNPACK_ALIGNMENT, 1);
    gl->glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_LINEAR_MIPMAP_LINEAR);
    gl->glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_LINEAR);
    gl->glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_S, GL_REPEAT);
    gl->glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_T, GL_REPEAT);
    gl->glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_BASE_LEVEL, 0);
    gl->glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAX_LEVEL, 4);
    gl->glTexImage2D(
        GL_TEXTURE_2D, 0, GL_RGBA, image.width(), image.height(), 0, GL_BGRA, GL_UNSIGNED_BYTE, image.constBits());
    gl->glGenerateMipmap(texture->target());
}

// Whether the file is a PNG in which a chunk before the image data claims more bytes than the
// file has left. No decoder can find image data in such a file, and the PNG decoder would first
// reserve what the chunk claims (up to 2 GiB for a text chunk) and read to the end of the file.
bool isPngWithChunkPastEnd(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly) || file.read(8) != QByteArrayView("\x89PNG\r\n\x1a\n", 8))
        return false;
    const qint64 size = file.size();
    for (qint64 position = 8;;) {
        const QByteArray header = file.read(8); // length, then type
        if (header.size() < 8 || QByteArrayView(header).sliced(4) == "IDAT")
            return false;
        position += 12 + qint64(qFromBigEndian<quint32>(header.constData())); // header, data, checksum
        if (position > size)
            return true;
        if (!file.seek(position))
            return false;
    }
}

} // namespace

Texture *LoadTexture(const QString &path)
{
    TextureCache &cache = textureCache();
    if (Texture *cached = cache.value(path))
        return cached;

    QOpenGLContext *context = QOpenGLContext::currentContext();
    if (!context)
        return nullptr;

    QImage image;
    if (!QFileInfo(path).isFile() || isPngWithChunkPastEnd(path) || !image.load(path))
        return nullptr;
    image = toBgra(std::move(image).mirrored(false, true));

    auto *texture = new Texture(GL_TEXTURE_2D, GL_RGBA, image.width(), image.height(), 0, nullptr);
    AutoBinder binder(texture);
    uploadMipmapped(context->extraFunctions(), texture, image);
    cache.insert(path, texture);
    texture->setReadOnly();
    return texture;
}

} // namespace Vardune::Qel
