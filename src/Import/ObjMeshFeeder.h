#pragma once

#include "ObjMesh.h"

#include <QStringList>

#include <vector>

namespace Vardune::Qel {

class ModelBuilder;

// Hands the faces of `mesh` marked in `kept` to `builder` in bulk, numbered in file order:
// positions, normals and texture coordinates as "va_Vertex", "va_Normal" and "va_TexCoord"
// (created in the order of their first line), one corner count per face, one index per corner
// in every attribute, and each run of faces to the group that `runGroups` names for it (none
// for a null name). A corner without a normal or texture coordinate uses one default value,
// (0, 0, 0) or (0, 0), appended after the file's values. A file without normals asks for
// generated ones; a file without texture coordinates gets the single value (0, 0) for every
// corner.
//
// The mesh's value and index arrays are moved into the builder's streams and left empty.
// The builder ends as if the file had been fed line by line; `kept` must leave only faces
// whose indices lie within the mesh's values, and the groups must exist.
void feedObjMesh(ObjMesh &mesh, const std::vector<quint8> &kept, const QStringList &runGroups, ModelBuilder &builder);

} // namespace Vardune::Qel
