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
#include <QHash>
#include <QSet>

#include <limits>
#include <vector>

namespace Vardune::Qel {

namespace {

constexpr qint32 kNeverDefined = std::numeric_limits<qint32>::max();

// A library read again adds no group (every name it defines is one by then) and writes no
// message, so each file is read once: known by its path as written, and by its canonical path
// for other spellings of the same file. Only the names a library adds are looked up, so the
// cost follows the libraries' and the file's own lengths, not their product.
class LibraryLoader
{
public:
    LibraryLoader(const QStringList &names, const ModelBuilder &builder)
        : _definedAfter(size_t(names.size()), kNeverDefined)
    {
        _numbers.reserve(names.size());
        for (qsizetype i = 0; i < names.size(); ++i) {
            _numbers.insert(names.at(i), qint32(i));
            if (builder.hasMaterialGroup(names.at(i)))
                _definedAfter[size_t(i)] = 0;
        }
    }

    // Reads the library of the `librariesRead`-th "mtllib" line unless its file was read before.
    bool load(const QString &path, qint32 librariesRead, ModelBuilder &builder)
    {
        if (_pathsRead.contains(path))
            return true;
        const QString canonicalPath = QFileInfo(path).canonicalFilePath();
        if (!canonicalPath.isEmpty() && _pathsRead.contains(canonicalPath)) {
            _pathsRead.insert(path);
            return true;
        }
        _added.clear();
        if (!loadMaterialLibrary(path, builder, &_added))
            return false;
        _pathsRead.insert(path);
        if (!canonicalPath.isEmpty())
            _pathsRead.insert(canonicalPath);
        for (const QString &name : std::as_const(_added)) {
            const auto number = _numbers.constFind(name);
            if (number != _numbers.constEnd() && _definedAfter[size_t(*number)] == kNeverDefined)
                _definedAfter[size_t(*number)] = librariesRead;
        }
        return true;
    }

    // Number of libraries whose reading made each name a group: 0 for a group that existed
    // before the first library, kNeverDefined for a name no library defines.
    const std::vector<qint32> &definedAfter() const { return _definedAfter; }

private:
    std::vector<qint32> _definedAfter;
    QHash<QString, qint32> _numbers;
    QSet<QString> _pathsRead;
    QStringList _added;
};

// Reads the libraries in file order and names the group of each run of faces: the run's
// material when one of the libraries read before the run defined it, or none.
bool loadLibraries(const ObjMesh &mesh, ModelBuilder &builder, QStringList &runGroups, QString &error)
{
    LibraryLoader loader(mesh.materialNames, builder);
    for (qsizetype i = 0; i < mesh.libraries.size(); ++i) {
        if (!loader.load(mesh.libraries.at(i), static_cast<qint32>(i + 1), builder)) {
            error = QStringLiteral("Failed to load MTL file '%1'").arg(mesh.libraries.at(i));
            return false;
        }
    }
    const std::vector<qint32> &definedAfter = loader.definedAfter();

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
