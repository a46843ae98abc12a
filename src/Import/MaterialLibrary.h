#pragma once

#include <QString>
#include <QStringList>

namespace Vardune::Qel {

class ModelBuilder;

// Registers the "OBJMaterial" instance-data plan with the process-wide registry the first
// time it is called; later calls, from any thread, do nothing.
void registerObjMaterialPlan();

// Reads the MTL file at `path` and adds each material it defines to `builder` as a material
// group named after it (next free id, flags 0), in the order of definition. A name that is
// already a group is left as it is, so the first definition wins. Lines that do not parse are
// passed over. The names of the groups added are appended to `addedGroups`, when given, in
// that order. False, with nothing added, when the file does not exist or does not open; no message is
// written.
bool loadMaterialLibrary(const QString &path, ModelBuilder &builder, QStringList *addedGroups = nullptr);

} // namespace Vardune::Qel
