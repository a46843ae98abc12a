// Decimal text to numbers, agreeing with Qt bit for bit.
//
// QString::toFloat parses to a correctly rounded double, then narrows it: magnitudes above the
// largest float become infinities, and non-zero values that round to zero become +0. Plain
// decimals with at most 19 significant digits and a decimal exponent within ±22 are rounded
// exactly by one multiplication or division of two exact doubles when the mantissa is below
// 2^53. Above it (17 to 19 digits, as printed by programs that write every double in full) the
// same operation is within two units in the last place of the correctly rounded double, which
// settles the float unless a rounding boundary of floats lies that close. Other plain decimals
// go through std::from_chars, which is also correctly rounded. Everything else, and any result
// out of double range, is handed to Qt. Cost: one pass over the bytes.

#include "ObjNumberText.h"

#include <QString>

#include <charconv>
#include <cstddef>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>

namespace Vardune::Qel {

namespace {

constexpr double kPowersOfTen[] = { 1e0, 1e1, 1e2, 1e3, 1e4, 1e5, 1e6, 1e7, 1e8, 1e9, 1e10, 1e11, 1e12, 1e13, 1e14,
    1e15, 1e16, 1e17, 1e18, 1e19, 1e20, 1e21, 1e22 };
constexpr int kLargestExactPower = 22;
constexpr uint64_t kLargestExactMantissa = uint64_t(1) << 53;
constexpr int kMantissaDigits = 19; // below 2^64
constexpr int kIntegerDigits = 18; // below 2^63

// The value of a digit character, or 10 or more for any other byte.
unsigned digitValue(char c)
{
    return static_cast<unsigned char>(c - '0');
}

bool isDigit(char c)
{
    return digitValue(c) < 10;
}

// Where a text ends: at `end` (Bounded), or at a line end that the byte at `end` holds, which
// no test below accepts, so that the loops need no test of the position.
template<bool Bounded>
bool before(const char *p, const char *end)
{
    return !Bounded || p != end;
}

// Accumulates the digits from p on into `mantissa` (wrapping past 2^64); returns where they end.
// Eight digits a block while eight bytes remain (or always, up to a line end), so that only the
// digit test stays in the loop.
template<bool Bounded>
const char *readDigits(const char *p, const char *end, uint64_t &mantissa)
{
    constexpr ptrdiff_t kBlock = 8;
    for (; !Bounded || end - p >= kBlock; p += kBlock) {
        for (ptrdiff_t k = 0; k < kBlock; ++k) {
            const unsigned digit = digitValue(p[k]);
            if (digit >= 10)
                return p + k;
            mantissa = mantissa * 10 + digit;
        }
    }
    for (; p != end && isDigit(*p); ++p)
        mantissa = mantissa * 10 + digitValue(*p);
    return p;
}

// Digits of [begin, end), a point skipped, that are not leading zeros.
ptrdiff_t significantDigitCount(const char *begin, const char *end)
{
    ptrdiff_t leadingZeros = 0;
    ptrdiff_t digits = 0;
    for (const char *p = begin; p != end; ++p) {
        if (*p == '.')
            continue;
        ++digits;
        if (*p == '0' && leadingZeros + 1 == digits)
            ++leadingZeros;
    }
    return digits - leadingZeros;
}

// Whether the float nearest to every double within two units in the last place of `value` is
// the same: none of them is near a midpoint between two floats, and all are normal floats. Of
// a double in the normal float range, the 29 bits below a float's precision are exactly half
// their range at a midpoint.
bool settlesFloat(double value)
{
    const double magnitude = std::fabs(value);
    if (!(magnitude >= 0x1p-125 && magnitude <= 0x1p127))
        return false;
    uint64_t bits = 0;
    std::memcpy(&bits, &value, sizeof bits);
    const uint64_t belowFloat = bits & ((uint64_t(1) << 29) - 1);
    const uint64_t midpoint = uint64_t(1) << 28;
    return (belowFloat > midpoint ? belowFloat - midpoint : midpoint - belowFloat) > 4;
}

// Qt's narrowing of a parsed double to float.
float narrowAsQt(double value)
{
    // A float below the largest and not zero is the double's own rounding.
    const float narrowed = float(value);
    if (std::fabs(narrowed) < std::numeric_limits<float>::max() && narrowed != 0)
        return narrowed;
    if (std::fabs(value) > double(std::numeric_limits<float>::max()))
        return value < 0 ? -std::numeric_limits<float>::infinity() : std::numeric_limits<float>::infinity();
    if (value != 0 && narrowed == 0)
        return 0.0f;
    return narrowed;
}

// What the scan of a plain decimal's sign, digits and point found.
struct DecimalDigits
{
    const char *numberStart; // after the sign
    const char *digitsEnd; // after the digits and the point
    uint64_t mantissa; // wrapped past 2^64 for long digit strings
    ptrdiff_t digits; // integer and fraction digits
    ptrdiff_t fractionDigits;
    bool negative;
};

// The rest of leadingPlainFloat for the decimals that are not of the usual shape: an exponent,
// more than 19 digits or a mantissa beyond 2^53, or no digit at all. A double that narrows to
// the same float as the double that QLocale's conversion gives for exactly the number's bytes;
// nullptr when the bytes are no plain decimal or the value is outside the double range, which
// the caller leaves to Qt.
template<bool Bounded>
Q_NEVER_INLINE const char *finishPlainFloat(const DecimalDigits &scanned, const char *end, float &result)
{
    if (scanned.digits == 0)
        return nullptr;
    const char *p = scanned.digitsEnd;
    const uint64_t mantissa = scanned.mantissa;
    ptrdiff_t exponent = -scanned.fractionDigits;
    // Only a long digit string can have wrapped the mantissa.
    const bool fitsMantissa = scanned.digits <= kMantissaDigits
        || significantDigitCount(scanned.numberStart, p) <= kMantissaDigits;
    if (before<Bounded>(p, end) && (*p == 'e' || *p == 'E')) {
        ++p;
        const bool negativeExponent = before<Bounded>(p, end) && *p == '-';
        if (before<Bounded>(p, end) && (*p == '-' || *p == '+'))
            ++p;
        if (!before<Bounded>(p, end) || !isDigit(*p))
            return nullptr;
        int value = 0;
        for (; before<Bounded>(p, end) && isDigit(*p); ++p)
            value = value < 100000 ? value * 10 + (*p - '0') : value;
        exponent += negativeExponent ? -value : value;
    }

    double value = 0;
    bool exact = false;
    if (fitsMantissa && exponent >= -kLargestExactPower && exponent <= kLargestExactPower) {
        // Exact when the mantissa is; else two roundings, each within half a unit.
        value = exponent < 0 ? double(mantissa) / kPowersOfTen[-exponent] : double(mantissa) * kPowersOfTen[exponent];
        exact = mantissa <= kLargestExactMantissa || settlesFloat(value);
    }
    if (!exact) {
        // from_chars takes no '+', and reports overflow and underflow to zero as out of range.
        const std::from_chars_result parsed
            = std::from_chars(scanned.numberStart, p, value, std::chars_format::general);
        if (parsed.ec != std::errc() || parsed.ptr != p)
            return nullptr;
    }
    result = narrowAsQt(scanned.negative ? -value : value);
    return p;
}

// The plain decimal at the start of [begin, end), converted as QString::toFloat converts exactly
// its bytes; returns where it ends, or nullptr when the bytes start with anything else or need
// Qt's conversion. The usual decimal, up to 19 digits, no exponent and a mantissa up to 2^53, is
// the quotient of two exact doubles, rounded once, and then its float: zero or a value between
// 10^-19 and 2^53, which Qt's narrowing neither clears nor turns infinite, so the float is the
// plain conversion's.
template<bool Bounded>
const char *leadingPlainFloat(const char *begin, const char *end, float &value)
{
    const char *p = begin;
    const bool negative = before<Bounded>(p, end) && *p == '-';
    if (before<Bounded>(p, end) && (*p == '-' || *p == '+'))
        ++p;
    const char *numberStart = p;

    uint64_t mantissa = 0;
    const char *integerEnd = readDigits<Bounded>(p, end, mantissa);
    ptrdiff_t digits = integerEnd - p;
    ptrdiff_t fractionDigits = 0;
    p = integerEnd;
    if (before<Bounded>(p, end) && *p == '.') {
        const char *fractionEnd = readDigits<Bounded>(p + 1, end, mantissa);
        fractionDigits = fractionEnd - (p + 1);
        digits += fractionDigits;
        p = fractionEnd;
    }
    // At most 19 digits leaves at most 19 after the point: an exact power of ten.
    const bool exponentFollows = before<Bounded>(p, end) && (*p | 0x20) == 'e';
    if (digits != 0 && digits <= kMantissaDigits && mantissa <= kLargestExactMantissa && !exponentFollows) {
        const float magnitude = float(double(mantissa) / kPowersOfTen[fractionDigits]);
        value = negative ? -magnitude : magnitude;
        return p;
    }
    return finishPlainFloat<Bounded>({ numberStart, p, mantissa, digits, fractionDigits, negative }, end, value);
}

} // namespace

const char *readLeadingPlainFloat(const char *begin, const char *end, float &value)
{
    return leadingPlainFloat<true>(begin, end, value);
}

const char *readLeadingPlainFloatInLine(const char *begin, const char *end, float &value)
{
    return leadingPlainFloat<false>(begin, end, value);
}

float objTextToFloat(const char *begin, const char *end)
{
    float value = 0;
    if (readLeadingPlainFloat(begin, end, value) == end)
        return value;
    return QString::fromLatin1(begin, end - begin).toFloat();
}

bool objTextToInt(const char *begin, const char *end, qint32 &value)
{
    const char *p = begin;
    const bool negative = p != end && *p == '-';
    if (p != end && (*p == '-' || *p == '+'))
        ++p;
    const char *digits = p;
    int64_t magnitude = 0;
    for (; p != end && isDigit(*p) && p - digits < kIntegerDigits; ++p)
        magnitude = magnitude * 10 + (*p - '0');
    const int64_t number = negative ? -magnitude : magnitude;
    if (p == end && p != digits && number >= std::numeric_limits<qint32>::min()
        && number <= std::numeric_limits<qint32>::max()) {
        value = qint32(number);
        return true;
    }
    bool ok = false;
    value = QString::fromLatin1(begin, end - begin).toInt(&ok, 10);
    return ok;
}

} // namespace Vardune::Qel
