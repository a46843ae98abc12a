#pragma once

// Where a QTextStream decodes a file differently from decoding its lines whole. The stream reads
// its device in chunks of 16 KiB as stored, carriage returns included, and decodes chunk after
// chunk. A UTF-8 sequence that a chunk boundary cuts is completed from the next chunk when it is
// valid; an incomplete or invalid one there comes out otherwise than from the whole text (the
// byte after the boundary can be lost, and with it a space or a line end). Internal; not
// installed.

#include <cstddef>
#include <cstdint>

namespace Vardune::Qel {

// A byte that continues a UTF-8 sequence.
inline bool isUtf8Continuation(unsigned char c)
{
    return c >= 0x80 && c <= 0xBF;
}

class TextStreamChunks
{
public:
    // Bytes in the stream's chunks.
    static constexpr uint64_t kChunkBytes = 16384;

    // The next `size` bytes of the file as stored. False once a chunk boundary has been found
    // inside a UTF-8 sequence that is not valid: the stream decodes that file in its own way.
    bool add(const unsigned char *bytes, size_t size);
    // False when the last boundary, whose following bytes are still awaited, is such a boundary.
    bool finish();

private:
    static constexpr int kSequenceBytes = 3; // the most bytes of a sequence on one side

    // Whether the stream decodes the bytes around a boundary as the whole text does.
    bool boundaryDecodesAlike() const;

    uint64_t _offset = 0; // bytes added so far
    unsigned char _recent[kSequenceBytes] = {}; // the last bytes added, oldest first
    int _recentCount = 0;
    // The boundary whose following bytes are being collected.
    bool _awaiting = false;
    unsigned char _before[kSequenceBytes] = {};
    int _beforeCount = 0;
    unsigned char _after[kSequenceBytes] = {};
    int _afterCount = 0;
};

} // namespace Vardune::Qel
