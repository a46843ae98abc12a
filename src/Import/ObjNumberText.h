#pragma once

#include <QtGlobal>

namespace Vardune::Qel {

// Numbers of OBJ words given as ASCII bytes [begin, end), converted exactly as QString::toFloat
// and QStringView::toInt(ok, 10) convert the same text. Plain decimal text takes a fast path;
// anything else (other spellings, out-of-range values, stray characters) goes through the Qt
// call itself, so the results agree bit for bit.

// A word that is not a number gives 0, as QString::toFloat does.
float objTextToFloat(const char *begin, const char *end);
// The fast path alone, for a reader that has not yet found where the word ends: the plain
// decimal at the start of [begin, end), converted as objTextToFloat converts a word of exactly
// its bytes; returns where it ends, or nullptr (value untouched) when the bytes start with
// anything else or need Qt's conversion.
const char *readLeadingPlainFloat(const char *begin, const char *end, float &value);
// readLeadingPlainFloat for text whose line ends at `end` with a '\n' that the caller's buffer
// holds there: the digit loops stop at it without testing the position.
const char *readLeadingPlainFloatInLine(const char *begin, const char *end, float &value);
// False when the word is not a 32-bit integer.
bool objTextToInt(const char *begin, const char *end, qint32 &value);

} // namespace Vardune::Qel
