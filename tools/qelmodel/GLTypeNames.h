#pragma once

#include <QString>

// "GL_FLOAT", "GL_UNSIGNED_SHORT" and the other scalar type names; "0x…" for other codes.
QString glTypeName(unsigned int type);
