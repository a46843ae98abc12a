#pragma once

// Helpers shared by the fuzz targets: the Qt application and OpenGL context they run in, files in
// a temporary folder, and a reader that decodes values from the fuzzer's bytes.

#include <QByteArray>
#include <QString>

#include <cstddef>
#include <cstdint>

namespace FuzzSupport {

// Makes the application (a QGuiApplication with `needsOpenGL`, with an OpenGL 4.5 core context that
// stays current for the whole process, else a QCoreApplication); aborts when none can be made, since the target would
// then test nothing. Qt's messages are dropped: bad input provokes warnings by design, and printing them would slow the
// campaign down.
void initialize(int *argc, char ***argv, bool needsOpenGL);

// Writes the bytes to `name` in a temporary folder that lives as long as the process, replacing
// what was there; returns the file's path.
QString writeFile(const QString &name, const char *data, size_t size);

// Takes values off the front of the input; once the input is used up every value is 0.
class ByteReader
{
public:
    ByteReader(const uint8_t *data, size_t size)
        : _data(data)
        , _size(size)
    { }

    bool atEnd() const { return _position >= _size; }
    uint8_t byte() { return atEnd() ? 0 : _data[_position++]; }
    uint16_t u16() { return uint16_t(byte() | byte() << 8); }
    uint32_t u32() { return uint32_t(u16()) | uint32_t(u16()) << 16; }
    // 0 to bound - 1, for bound >= 1.
    uint32_t below(uint32_t bound) { return u32() % bound; }
    // Any bit pattern: NaN, infinities and denormals included.
    float rawFloat();
    // A small multiple of 1/4 between -32 and 32, where coincident and collinear points are common.
    float gridFloat() { return float(int8_t(byte())) / 4.0f; }
    // The rest of the input.
    QByteArray rest();

private:
    const uint8_t *_data;
    size_t _size;
    size_t _position = 0;
};

} // namespace FuzzSupport
