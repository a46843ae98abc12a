#pragma once

#include "ObjMesh.h"

#include <QString>

namespace Vardune::Qel::Reference {

// The plain reading of an OBJ file, kept as the definition that the import must reproduce:
// QTextStream::readLine on the file opened as text, a "\s+" QRegularExpression split without
// empty parts, QString::toFloat for values and QString::toInt for corner fields, one line at a
// time, gathered into the import's flat arrays. False when the file does not open.
bool readObjMesh(const QString &path, ObjMesh &mesh);

} // namespace Vardune::Qel::Reference
