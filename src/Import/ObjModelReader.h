#pragma once

#include "ObjMesh.h"

#include <QString>

namespace Vardune::Qel {

class ModelBuilder;

// Reads the OBJ file at `path` and the material libraries it names into `builder` (which
// should be new): the group "<default>" with the default material, one group per library
// material, the attributes "va_Vertex", "va_Normal" and "va_TexCoord", and every face whose
// indices are usable, with a generated-normals request when the file has no normals and a
// constant texture coordinate when it has none. Faces are grouped by the material that the
// last "usemtl" line named, if a library read before the face defined it (or it is
// "<default>").
//
// False when the file cannot be opened ("Failed to load OBJ file '%1'", the path as given) or
// a library cannot ("Failed to load MTL file '%1'", its absolute path); `error` then holds the
// message and the builder is to be discarded. `error` is untouched on success.
bool readObjModel(const QString &path, ModelBuilder &builder, QString &error);

// The steps of readObjModel after the text is read: the default group, the libraries, the
// face checks (warnings name `path`) and the feeding of `mesh` into `builder`.
bool assembleObjModel(ObjMesh &mesh, const QString &path, ModelBuilder &builder, QString &error);

} // namespace Vardune::Qel
