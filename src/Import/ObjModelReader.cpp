// An OBJ file into a builder in three passes: the text into flat arrays, the libraries into
// material groups, then the usable faces into the builder in bulk.

#include "ObjModelReader.h"

#include "DefaultMaterial.h"
#include "MaterialLibrary.h"
#include "ModelBuilder.h"
#include "ObjFaceSelection.h"
#include "ObjMeshFeeder.h"
#include "ObjModelNames.h"
#include "ObjTextScanner.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <limits>
#include <vector>

namespace Vardune::Qel {

namespace {

constexpr qint32 kNeverDefined = std::numeric_limits<qint32>::max();

// Number of libraries whose reading made each name a group: 0 for a group that existed before
// the first library, kNeverDefined for a name no library defines.
void noteNewGroups(
    const QStringList &names, qint32 librariesRead, const ModelBuilder &builder, std::vector<qint32> &definedAfter)
{
    for (qsizetype i = 0; i < names.size(); ++i) {
        if (definedAfter[i] == kNeverDefined && builder.hasMaterialGroup(names.at(i)))
            definedAfter[i] = librariesRead;
    }
}

// Reads the libraries in file order and names the group of each run of faces: the run's
// material when one of the libraries read before the run defined it, or none.
bool loadLibraries(const ObjMesh &mesh, ModelBuilder &builder, QStringList &runGroups, QString &error)
{
    std::vector<qint32> definedAfter(mesh.materialNames.size(), kNeverDefined);
    noteNewGroups(mesh.materialNames, 0, builder, definedAfter);
    for (qsizetype i = 0; i < mesh.libraries.size(); ++i) {
        if (!loadMaterialLibrary(mesh.libraries.at(i), builder)) {
            error = QStringLiteral("Failed to load MTL file '%1'").arg(mesh.libraries.at(i));
            return false;
        }
        noteNewGroups(mesh.materialNames, static_cast<qint32>(i + 1), builder, definedAfter);
    }

    runGroups.clear();
    runGroups.reserve(static_cast<qsizetype>(mesh.materialUses.size()));
    for (const ObjMaterialUse &use : mesh.materialUses) {
        if (use.material < 0)
            runGroups.append(ObjModelNames::defaultMaterial());
        else if (definedAfter[use.material] <= use.libraryCount)
            runGroups.append(mesh.materialNames.at(use.material));
        else
            runGroups.append(QString());
    }
    return true;
}

} // namespace

bool readObjModel(const QString &path, ModelBuilder &builder, QString &error)
{
    QFile file(path);
    if (!file.exists() || !file.open(QIODevice::ReadOnly | QIODevice::Text)) {
        error = QStringLiteral("Failed to load OBJ file '%1'").arg(path);
        return false;
    }
    ObjMesh mesh;
    scanObjFile(file, QFileInfo(path).dir().absolutePath(), mesh);
    return assembleObjModel(mesh, path, builder, error);
}

bool assembleObjModel(ObjMesh &mesh, const QString &path, ModelBuilder &builder, QString &error)
{
    builder.createMaterialGroup(ObjModelNames::defaultMaterial(), makeDefaultMaterial(), -1, 0);
    QStringList runGroups;
    if (!loadLibraries(mesh, builder, runGroups, error))
        return false;
    std::vector<quint8> kept;
    selectUsableObjFaces(mesh, path, kept);
    feedObjMesh(mesh, kept, runGroups, builder);
    return true;
}

} // namespace Vardune::Qel
