// OBJ text to flat arrays in large blocks, without a string per line.
//
// Text mode drops every carriage return before decoding, and the line splitting pattern
// matches only the ASCII white space (space, tab, vertical tab, form feed), so lines and words
// are found on the bytes. Plain ASCII words are converted in place (ObjNumberText). A line that
// needs decoding (a byte above 0x7F in a word that matters), and every "usemtl" and "mtllib"
// line, is decoded like the text stream would and read through Qt's own calls instead. Text
// that starts with a UTF-16 or UTF-32 byte-order mark is left to the text stream altogether, and
// so is text that the stream would decode in its own way: a UTF-8 sequence that is not valid cut
// by the chunks it reads (TextStreamChunks), or one that a carriage return splits.
// Cost: one pass over the bytes; memory: one block buffer, reused. A line longer than a block
// is kept whole in a buffer that doubles, unless it is a comment or a line of another keyword,
// whose bytes are dropped as they come. The file is read, not mapped: another program that
// shortens a mapped file makes the next read of its lost pages a fatal signal.

#include "ObjTextScanner.h"

#include "ObjMeshGatherer.h"
#include "ObjMeshParser.h"
#include "ObjNumberText.h"
#include "TextStreamChunks.h"

#include <QDir>
#include <QFile>
#include <QStringDecoder>
#include <QTextStream>
#include <QtEndian>

#include <cstring>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace Vardune::Qel {

namespace {

constexpr size_t kBlockBytes = size_t(128) << 10;
// Bytes after a line's '\n' that the corner reader may load (and ignore) with a word's load.
constexpr size_t kReadAhead = 8;

bool isSpace(char c)
{
    return c == ' ' || c == '\t' || c == '\v' || c == '\f';
}

// Stops at the '\n' that the buffer holds at the end of every line, if not before.
const char *skipSpace(const char *p)
{
    while (isSpace(*p))
        ++p;
    return p;
}

bool isAscii(const char *begin, const char *end)
{
    unsigned char bits = 0;
    for (const char *p = begin; p != end; ++p)
        bits |= static_cast<unsigned char>(*p);
    return bits < 0x80;
}

// The end of the word at p; `highBits` collects the bytes' top bits.
const char *wordEnd(const char *p, const char *end, unsigned char &highBits)
{
    for (; p != end && !isSpace(*p); ++p)
        highBits |= static_cast<unsigned char>(*p);
    return p;
}

// Carriage returns across the blocks of a file. The text stream drops them after decoding, so
// one between a byte above 0x7F and a continuation byte breaks a sequence that dropping the
// bytes first would join: such text is left to the text stream.
struct CarriageReturns
{
    unsigned char lastKept = 0; // the last byte kept so far
    bool endsText = false; // the bytes so far end in carriage returns
    bool splitSequence = false;
};

// Whether a run of carriage returns between `before` and `after` splits a sequence: a byte
// above 0x7F, then a continuation byte.
bool splitsSequence(unsigned char before, unsigned char after)
{
    return isUtf8Continuation(after) && before >= 0x80;
}

// Moves the bytes from `from` up to the next carriage return or `end` down to `to`, at or before
// `from`, and advances `to` past them; returns where they end. Sixteen bytes at a time where
// SSE2 is available: a block is stored whole once `to` lies a block before `from`, where the
// store overwrites no byte still to be read, and the bytes it writes past the kept ones are
// overwritten later.
char *keepUpToCarriageReturn(char *&to, char *from, const char *end)
{
#if defined(__SSE2__)
    const __m128i carriageReturn = _mm_set1_epi8('\r');
    while (end - from >= 16) {
        const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i *>(from));
        const auto returns = unsigned(_mm_movemask_epi8(_mm_cmpeq_epi8(bytes, carriageReturn)));
        const ptrdiff_t kept = returns == 0 ? 16 : ptrdiff_t(qCountTrailingZeroBits(returns));
        if (from - to >= 16)
            _mm_storeu_si128(reinterpret_cast<__m128i *>(to), bytes);
        else
            std::memmove(to, from, size_t(kept));
        to += kept;
        from += kept;
        if (returns != 0)
            return from;
    }
#endif
    for (; from != end && *from != '\r'; ++from)
        *to++ = *from;
    return from;
}

// Removes every carriage return from [text, text + size), the next bytes of the file; returns
// the new size. Only the bytes around each run of carriage returns are looked at once more.
size_t dropCarriageReturns(char *text, size_t size, CarriageReturns &returns)
{
    if (size == 0)
        return 0;
    // A run that ended the bytes before ends here, or goes on.
    if (returns.endsText && text[0] != '\r')
        returns.splitSequence |= splitsSequence(returns.lastKept, static_cast<unsigned char>(text[0]));
    returns.endsText = false;
    char *from = static_cast<char *>(std::memchr(text, '\r', size));
    if (!from) {
        returns.lastKept = static_cast<unsigned char>(text[size - 1]);
        return size;
    }
    char *to = from;
    const char *end = text + size;
    while (from != end) { // at a carriage return
        const unsigned char before = to != text ? static_cast<unsigned char>(to[-1]) : returns.lastKept;
        char *after = from + 1;
        while (after != end && *after == '\r')
            ++after;
        if (after == end) {
            returns.endsText = true;
            returns.lastKept = before;
            return size_t(to - text);
        }
        returns.splitSequence |= splitsSequence(before, static_cast<unsigned char>(*after));
        from = keepUpToCarriageReturn(to, after, end);
    }
    returns.lastKept = static_cast<unsigned char>(to[-1]);
    return size_t(to - text);
}

enum class TextStart { Utf8, Utf8WithMark, Other };

// What the text stream makes of the first bytes: a UTF-8 mark is skipped, a UTF-16 or UTF-32
// mark switches the decoding.
TextStart textStart(const unsigned char *bytes, size_t size)
{
    if (size > 3
        && ((bytes[0] == 0 && bytes[1] == 0 && bytes[2] == 0xFE && bytes[3] == 0xFF)
            || (bytes[0] == 0xFF && bytes[1] == 0xFE && bytes[2] == 0 && bytes[3] == 0)))
        return TextStart::Other;
    if (size > 2 && bytes[0] == 0xEF && bytes[1] == 0xBB && bytes[2] == 0xBF)
        return TextStart::Utf8WithMark;
    if (size > 1 && ((bytes[0] == 0xFE && bytes[1] == 0xFF) || (bytes[0] == 0xFF && bytes[1] == 0xFE)))
        return TextStart::Other;
    return TextStart::Utf8;
}

enum class Keyword { Other, Vertex, Normal, TexCoord, Face, Name };

constexpr ptrdiff_t kLongestKeyword = 6;

// The lines the scanner reads, by their first word, when that word is ASCII (a word with other
// bytes is decoded first: a sequence cut short by the end of the text decodes to nothing).
// "usemtl" and "mtllib" lines are read by name.
// Inlined into the line loop, where nearly every line takes one of the first tests.
Q_ALWAYS_INLINE Keyword keywordOf(const char *keyword, const char *keywordEnd)
{
    const ptrdiff_t length = keywordEnd - keyword;
    if (length == 1 && keyword[0] == 'v')
        return Keyword::Vertex;
    if (length == 1 && keyword[0] == 'f')
        return Keyword::Face;
    if (length == 2 && keyword[0] == 'v' && keyword[1] == 'n')
        return Keyword::Normal;
    if (length == 2 && keyword[0] == 'v' && keyword[1] == 't')
        return Keyword::TexCoord;
    if (length == kLongestKeyword
        && (std::memcmp(keyword, "usemtl", 6) == 0 || std::memcmp(keyword, "mtllib", 6) == 0))
        return Keyword::Name;
    return Keyword::Other;
}

class LineScanner
{
public:
    LineScanner(const QString &directory, ObjMesh &mesh)
        : _baseDir(directory)
        , _gatherer(mesh)
    { }

    // One line without its '\n'. The byte at `end` is a '\n' all the same: the line's own when
    // `terminated`, else the one the buffer keeps after the text. Inlined into the line loop.
    Q_ALWAYS_INLINE void scanLine(const char *begin, const char *end, bool terminated)
    {
        ++_lineNumber;
        const char *keyword = skipSpace(begin);
        if (keyword == end || *keyword == '#')
            return;
        unsigned char highBits = 0;
        const char *keywordEnd = wordEnd(keyword, end, highBits);
        switch (keywordOf(keyword, keywordEnd)) {
        case Keyword::Vertex:
            return scanValues(ObjLineType::Vertex, 3, keywordEnd, begin, end, terminated);
        case Keyword::Normal:
            return scanValues(ObjLineType::Normal, 3, keywordEnd, begin, end, terminated);
        case Keyword::TexCoord:
            return scanValues(ObjLineType::TexCoord, 2, keywordEnd, begin, end, terminated);
        case Keyword::Face:
            return scanFace(keywordEnd, begin, end, terminated);
        case Keyword::Name:
            return readNameLine(begin, end, terminated);
        case Keyword::Other:
            // A first word that is not ASCII is never a keyword as bytes; decoded it may be one.
            if (highBits & 0x80)
                return readDecodedLine(begin, end, terminated);
            return;
        }
    }

    // A line that scanLine would pass over, given without its bytes.
    void passOverLine() { ++_lineNumber; }

    // True when the line that starts with [begin, end) is passed over whatever follows: a
    // comment, or a first word that is complete, or longer than any keyword, and no keyword.
    // (A first word with bytes above 0x7F decodes to a keyword only where the end of the text
    // cuts a sequence short: a word that ends there, not one that fills a block.)
    static bool passesOver(const char *begin, const char *end)
    {
        const char *keyword = skipSpace(begin);
        if (keyword == end)
            return false;
        if (*keyword == '#')
            return true;
        unsigned char highBits = 0;
        const char *keywordEnd = wordEnd(keyword, end, highBits);
        return keywordOf(keyword, keywordEnd) == Keyword::Other
            && (keywordEnd != end || keywordEnd - keyword > kLongestKeyword);
    }

private:
    void scanValues(ObjLineType type, int count, const char *p, const char *begin, const char *end, bool terminated)
    {
        float values[3] = { 0.0f, 0.0f, 0.0f };
        for (int i = 0; i < count; ++i) {
            p = skipSpace(p);
            if (p == end)
                break;
            // Most words are plain decimals, read without a separate search for their end.
            const char *stop = readLeadingPlainFloatInLine(p, end, values[i]);
            if (stop && (stop == end || isSpace(*stop))) {
                p = stop;
                continue;
            }
            unsigned char highBits = 0;
            const char *word = p;
            p = wordEnd(p, end, highBits);
            if (highBits & 0x80)
                return readDecodedLine(begin, end, terminated);
            values[i] = objTextToFloat(word, p);
        }
        _gatherer.addValues(type, values);
    }

    void scanFace(const char *p, const char *begin, const char *end, bool terminated)
    {
        const size_t firstCorner = _gatherer.cornerTotal();
        const ObjLineCounts counts = _gatherer.counts();
        for (;;) {
            p = skipSpace(p);
            if (p == end || *p == '#')
                break;
            qint32 numbers[3] = { 0, 0, 0 };
            if (const char *plainEnd = readPlainCorner(p, end, numbers)) {
                p = plainEnd;
            } else {
                unsigned char highBits = 0;
                const char *word = p;
                p = wordEnd(p, end, highBits);
                if (highBits & 0x80) {
                    _gatherer.dropCorners(firstCorner);
                    return readDecodedLine(begin, end, terminated);
                }
                if (!readAnyCorner(word, p, numbers)) {
                    _gatherer.dropCorners(firstCorner);
                    return;
                }
            }
            _gatherer.addCorner(objCornerIndex(numbers[0], counts.positions),
                objCornerIndex(numbers[1], counts.texCoords), objCornerIndex(numbers[2], counts.normals));
        }
        _gatherer.addFace(firstCorner, _lineNumber);
    }

    // The usual corner word at p: fields position/texture coordinate/normal of an optional '-' and
    // up to nine digits, an empty or missing second or third field 0, read in one pass up to the
    // white space or line end after it. Returns where the word ends, or nullptr for any other word
    // (fields after the third included), which the general reader takes over.
    const char *readPlainCorner(const char *p, const char *end, qint32 *numbers)
    {
        const char *first = p;
        p = readPlainField(p, true, numbers[0]);
        if (p == nullptr || p == end || isSpace(*p))
            return p;
        if (*p != '/')
            return nullptr;
        const char *firstEnd = p;
        for (int field = 1;; ++field) {
            ++p;
            // In many files every corner repeats its first field in a later one ("12/12/12" from
            // exporters of per-vertex attributes, "12/12/40"), which then holds the same number
            // (a negative one is resolved by kind afterwards). Tried where the previous corner
            // repeated, so that other files lose nothing.
            if (_fieldRepeated[field] && repeatsField(p, first, firstEnd)) {
                numbers[field] = numbers[0];
                p += firstEnd - first;
            } else {
                p = readPlainField(p, false, numbers[field]);
                if (p == nullptr)
                    return nullptr;
                _fieldRepeated[field] = numbers[field] == numbers[0];
            }
            if (p == end || isSpace(*p))
                return p;
            if (*p != '/' || field == 2)
                return nullptr;
        }
    }

    // One field at p: an optional '-' and up to nine digits, at least one when `required` or
    // after a '-'. Returns where the digits end, or nullptr.
    static const char *readPlainField(const char *p, bool required, qint32 &number)
    {
        constexpr ptrdiff_t kMostDigits = 9; // below 2^31
        const bool negative = *p == '-';
        p += negative ? 1 : 0;
        // The line's '\n' ends the digits: only the digit test, at fixed offsets.
        qint32 value = 0;
        ptrdiff_t digits = 0;
        for (; digits < kMostDigits; ++digits) {
            const auto digit = static_cast<unsigned char>(p[digits] - '0');
            if (digit >= 10)
                break;
            value = value * 10 + digit;
        }
        if (digits == 0 && (required || negative))
            return nullptr;
        number = negative ? -value : value;
        return p + digits;
    }

    // Whether the field at p starts with the bytes of the first field [first, firstEnd), of up
    // to 8 bytes: one word comparison. One that goes on with more digits fails the caller's test
    // of the byte after it and goes to the general reader. The load stops within kReadAhead
    // bytes after the line's '\n', which p does not pass.
    static bool repeatsField(const char *p, const char *first, const char *firstEnd)
    {
        const ptrdiff_t length = firstEnd - first; // a digit at least
        if (length > 8)
            return false;
        const quint64 mask = ~quint64(0) >> (64 - 8 * length);
        return ((qFromLittleEndian<quint64>(p) ^ qFromLittleEndian<quint64>(first)) & mask) == 0;
    }

    // Any corner word [word, end): fields position/texture coordinate/normal; an empty or
    // missing second or third field is 0, fields after the third are ignored.
    static bool readAnyCorner(const char *word, const char *end, qint32 *numbers)
    {
        const char *fieldStart = word;
        for (int field = 0; field < 3; ++field) {
            const auto *slash = static_cast<const char *>(std::memchr(fieldStart, '/', size_t(end - fieldStart)));
            const char *fieldEnd = slash ? slash : end;
            if ((field == 0 || fieldEnd != fieldStart) && !objTextToInt(fieldStart, fieldEnd, numbers[field]))
                return false;
            if (!slash)
                break;
            fieldStart = slash + 1;
        }
        return true;
    }

    // The line as the text stream decodes it: a fresh decoder from the line's start (a mark there
    // is a character), fed the '\n' too when there is one, so that a sequence cut short by the
    // line end becomes a replacement character and one cut short by the end of the text is dropped.
    // Kept out of the line loop, like readNameLine.
    Q_NEVER_INLINE void readDecodedLine(const char *begin, const char *end, bool terminated)
    {
        QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::ConvertInitialBom);
        QString line = decoder(QByteArrayView(begin, end - begin + (terminated ? 1 : 0)));
        if (terminated)
            line.chop(1);
        readWords(splitObjLine(line));
    }

    // A "usemtl" or "mtllib" line. One of ASCII bytes decodes to the same characters, so its
    // words are cut from the bytes: a file's few such lines then need no splitting pattern, whose
    // compilation on first use costs more than reading them. Kept out of the line loop, whose
    // inlining it would change.
    Q_NEVER_INLINE void readNameLine(const char *begin, const char *end, bool terminated)
    {
        if (!isAscii(begin, end))
            return readDecodedLine(begin, end, terminated);
        readWords(splitAsciiObjLine(begin, end));
    }

    // A line's words as splitObjLine gives them.
    void readWords(const QStringList &words)
    {
        const ObjLineType type = objLineType(words);
        switch (type) {
        case ObjLineType::Vertex:
        case ObjLineType::Normal:
        case ObjLineType::TexCoord: {
            float values[3] = { 0.0f, 0.0f, 0.0f };
            readObjValues(words, type == ObjLineType::TexCoord ? 2 : 3, values);
            _gatherer.addValues(type, values);
            break;
        }
        case ObjLineType::Face:
            if (readObjFaceCorners(words, _gatherer.counts(), _corners)) {
                const size_t firstCorner = _gatherer.cornerTotal();
                for (const ObjCorner &corner : std::as_const(_corners))
                    _gatherer.addCorner(corner.position, corner.texCoord, corner.normal);
                _gatherer.addFace(firstCorner, _lineNumber);
            }
            break;
        case ObjLineType::MaterialLibrary:
            if (words.size() >= 2) {
                const QString &name = words.at(1);
                _gatherer.addLibrary(QDir::isRelativePath(name) ? _baseDir.absoluteFilePath(name) : name);
            }
            break;
        case ObjLineType::UseMaterial:
            if (words.size() >= 2)
                _gatherer.useMaterial(words.at(1));
            break;
        case ObjLineType::End:
        case ObjLineType::None:
            break;
        }
    }

    QDir _baseDir;
    ObjMeshGatherer _gatherer;
    QList<ObjCorner> _corners;
    qint64 _lineNumber = 0;
    // By field (the first has none): whether the last plain corner's field repeated its first.
    bool _fieldRepeated[3] = { false, true, true };
};

// The whole file through the line reader over a text stream, from its start, into a fresh mesh.
void readThroughTextStream(QFile &file, bool textMode, const QString &directory, ObjMesh &mesh)
{
    mesh = ObjMesh();
    file.setTextModeEnabled(textMode);
    file.seek(0);
    QTextStream text(&file);
    parseObjMesh(text, directory, mesh);
}

} // namespace

void scanObjFile(QFile &file, const QString &directory, ObjMesh &mesh)
{
    // Carriage returns are dropped here, as text mode would drop them.
    const bool textMode = file.isTextModeEnabled();
    file.setTextModeEnabled(false);
    // Growth by realloc: a large block is remapped, not copied.
    // One byte more than the text it holds: a '\n' after the last line, at which every digit
    // loop stops, so that none tests where the line ends. Then room for loads past it.
    QByteArray buffer(qsizetype(kBlockBytes + 1 + kReadAhead), Qt::Uninitialized);
    const auto room = [&buffer] { return size_t(buffer.size()) - 1 - kReadAhead; };
    size_t filled = 0;
    size_t start = 0;
    size_t searched = 0; // bytes after `start` known to hold no line end
    bool passingOver = false; // through a long line whose bytes are not kept
    bool atStart = true;
    bool atEnd = false;
    TextStreamChunks chunks;
    CarriageReturns returns;
    LineScanner scanner(directory, mesh);
    while (!atEnd) {
        if (filled == room()) {
            // One line longer than the buffer: dropped as it comes when the scanner passes it
            // over, else kept whole in a buffer that grows in place where it can.
            passingOver = passingOver || LineScanner::passesOver(buffer.data(), buffer.data() + filled);
            if (passingOver)
                filled = searched = 0;
            else
                buffer.resize(qsizetype(2 * filled + 1 + kReadAhead));
        }
        const qint64 read = file.read(buffer.data() + filled, qint64(room() - filled));
        atEnd = read <= 0;
        if (!(atEnd ? chunks.finish()
                    : chunks.add(reinterpret_cast<const unsigned char *>(buffer.constData() + filled), size_t(read))))
            return readThroughTextStream(file, textMode, directory, mesh);
        if (atStart) {
            // The mark is looked for in the first bytes as stored, carriage returns included.
            atStart = false;
            const TextStart kind
                = textStart(reinterpret_cast<const unsigned char *>(buffer.data()), size_t(qMax(read, qint64(0))));
            if (kind == TextStart::Other)
                return readThroughTextStream(file, textMode, directory, mesh);
            start = kind == TextStart::Utf8WithMark ? 3 : 0;
        }
        if (!atEnd)
            filled += dropCarriageReturns(buffer.data() + filled, size_t(read), returns);
        if (returns.splitSequence)
            return readThroughTextStream(file, textMode, directory, mesh);

        buffer.data()[filled] = '\n';
        const char *text = buffer.constData();
        for (;;) {
            const size_t from = start + searched;
            const auto *newline = static_cast<const char *>(std::memchr(text + from, '\n', filled - from));
            if (!newline)
                break;
            if (passingOver)
                scanner.passOverLine();
            else
                scanner.scanLine(text + start, newline, true);
            passingOver = false;
            start = size_t(newline - text) + 1;
            searched = 0;
        }
        searched = filled - start;
        if (atEnd && start < filled && !passingOver)
            scanner.scanLine(text + start, text + filled, false);
        // The unfinished line moves to the front of the buffer.
        if (start > 0) {
            std::memmove(buffer.data(), buffer.data() + start, filled - start);
            filled -= start;
            start = 0;
        }
    }
    file.setTextModeEnabled(textMode);
}

} // namespace Vardune::Qel
