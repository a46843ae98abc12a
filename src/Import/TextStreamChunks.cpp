// The chunk boundaries of a text stream's reading, checked as the bytes arrive: each boundary
// looks at the three bytes on either side, which hold any UTF-8 sequence it can cut. Cost: a few
// byte tests per 16 KiB.

#include "TextStreamChunks.h"

#include <algorithm>

namespace Vardune::Qel {

namespace {

// Bytes of the sequence that `lead` starts; 0 for a byte that starts none.
int sequenceLength(unsigned char lead)
{
    if (lead >= 0xC2 && lead <= 0xDF)
        return 2;
    if (lead >= 0xE0 && lead <= 0xEF)
        return 3;
    if (lead >= 0xF0 && lead <= 0xF4)
        return 4;
    return 0;
}

// The range of the byte after `lead` in a valid sequence: no overlong forms, surrogates or code
// points above U+10FFFF.
bool validSecond(unsigned char lead, unsigned char second)
{
    switch (lead) {
    case 0xE0:
        return second >= 0xA0 && second <= 0xBF;
    case 0xED:
        return second >= 0x80 && second <= 0x9F;
    case 0xF0:
        return second >= 0x90 && second <= 0xBF;
    case 0xF4:
        return second >= 0x80 && second <= 0x8F;
    default:
        return isUtf8Continuation(second);
    }
}

} // namespace

bool TextStreamChunks::boundaryDecodesAlike() const
{
    // The sequence the boundary may cut starts at the last byte before it that is no
    // continuation byte.
    int cut = 1;
    while (cut <= _beforeCount && isUtf8Continuation(_before[_beforeCount - cut]))
        ++cut;
    if (cut > _beforeCount)
        return true; // continuation bytes only: any sequence of them ended before
    const unsigned char lead = _before[_beforeCount - cut];
    if (lead < 0x80)
        return true;
    const int length = sequenceLength(lead);
    if (length == 0)
        return false; // a byte that starts no sequence, cut from what follows it
    if (length <= cut)
        return true; // complete before the boundary
    if (_afterCount < length - cut)
        return false; // cut short by the end of the file
    unsigned char sequence[4] = { lead };
    std::copy(_before + _beforeCount - cut + 1, _before + _beforeCount, sequence + 1);
    std::copy(_after, _after + (length - cut), sequence + cut);
    if (!validSecond(lead, sequence[1]))
        return false;
    return std::all_of(sequence + 2, sequence + length, isUtf8Continuation);
}

bool TextStreamChunks::add(const unsigned char *bytes, size_t size)
{
    const uint64_t end = _offset + size;
    size_t next = 0; // the first byte not yet given to an awaiting boundary
    for (;;) {
        if (_awaiting) {
            while (_afterCount < kSequenceBytes && next < size)
                _after[_afterCount++] = bytes[next++];
            if (_afterCount < kSequenceBytes)
                break;
            _awaiting = false;
            if (!boundaryDecodesAlike())
                return false;
        }
        // The next boundary after the bytes already given out, within these bytes.
        const uint64_t position = _offset + next;
        const uint64_t boundary = (position / kChunkBytes + 1) * kChunkBytes;
        if (boundary > end)
            break;
        // The bytes before it, from these bytes and the recent ones before them.
        const size_t inBytes = size_t(boundary - _offset);
        _beforeCount = 0;
        for (int k = kSequenceBytes; k > 0; --k) {
            if (size_t(k) <= inBytes)
                _before[_beforeCount++] = bytes[inBytes - size_t(k)];
            else if (k - int(inBytes) <= _recentCount)
                _before[_beforeCount++] = _recent[_recentCount - (k - int(inBytes))];
        }
        _afterCount = 0;
        _awaiting = true;
        next = inBytes;
    }
    // Keep the last bytes for a boundary at the start of the next ones.
    for (size_t k = size > size_t(kSequenceBytes) ? size - kSequenceBytes : 0; k < size; ++k) {
        if (_recentCount == kSequenceBytes) {
            std::copy(_recent + 1, _recent + kSequenceBytes, _recent);
            --_recentCount;
        }
        _recent[_recentCount++] = bytes[k];
    }
    _offset = end;
    return true;
}

bool TextStreamChunks::finish()
{
    // A boundary at the end of the file cuts nothing that follows.
    return !_awaiting || _afterCount == 0 || boundaryDecodesAlike();
}

} // namespace Vardune::Qel
