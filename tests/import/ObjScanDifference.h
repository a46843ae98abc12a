#pragma once

#include <QString>

namespace Vardune::Qel {

// The first difference between the import's scan of an OBJ file and the plain reading through
// Qt's own calls (Reference::readObjMesh) — "positions", "faces", "material runs" and so on —
// or a null string when both gather the same arrays, byte for byte.
QString objScanDifference(const QString &path);

} // namespace Vardune::Qel
