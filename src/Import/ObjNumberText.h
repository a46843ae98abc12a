#pragma once

#include <QtGlobal>

namespace Vardune::Qel {

// Numbers of OBJ words given as ASCII bytes [begin, end), converted exactly as QString::toFloat
// and QStringView::toInt(ok, 10) convert the same text. Plain decimal text takes a fast path;
// anything else (other spellings, out-of-range values, stray characters) goes through the Qt
// call itself, so the results agree bit for bit.

// A word that is not a number gives 0, as QString::toFloat does.
float objTextToFloat(const char *begin, const char *end);
// False when the word is not a 32-bit integer.
bool objTextToInt(const char *begin, const char *end, qint32 &value);

} // namespace Vardune::Qel
