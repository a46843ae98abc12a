#pragma once

#include "ObjMesh.h"

class QTextStream;

namespace Vardune::Qel {

// Reads the OBJ text to its end into `mesh` (which should be empty). `directory` is the
// absolute directory of the file, against which relative library paths are resolved. Lines
// that fail to parse are left out; nothing is reported.
void parseObjMesh(QTextStream &text, const QString &directory, ObjMesh &mesh);

} // namespace Vardune::Qel
