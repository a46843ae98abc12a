#pragma once

#include "ObjMesh.h"

class QFile;

namespace Vardune::Qel {

// Reads the OBJ text of `file`, open for reading and standing at its start, to its end into
// `mesh` (which should be empty), with the same result as the line reader over a QTextStream
// on the file opened as text. `directory` is the absolute directory of the file, against which
// relative library paths are resolved. Lines that fail to parse are left out; nothing is
// reported.
void scanObjFile(QFile &file, const QString &directory, ObjMesh &mesh);

} // namespace Vardune::Qel
