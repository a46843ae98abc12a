#pragma once

#include "ObjMesh.h"

#include <QString>

#include <vector>

namespace Vardune::Qel {

// Marks in `kept` (one element per face of `mesh`) the faces whose every index is usable:
// each corner has a position, and every index it gives lies within the values that the whole
// file defines for its kind. A missing normal or texture coordinate is usable (a default value
// stands in). Each skipped face gets a warning naming `fileName`, its line and the reason, up
// to 20 per file, then one warning with the number of further skipped faces.
void selectUsableObjFaces(const ObjMesh &mesh, const QString &fileName, std::vector<quint8> &kept);

} // namespace Vardune::Qel
