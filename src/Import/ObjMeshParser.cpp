// OBJ text to flat arrays: one pass of the line reader, appending values, corners and face
// records to growing arrays. Material libraries are only noted here; they are read when the
// whole file is known, which keeps this pass free of files and of the builder.

#include "ObjMeshParser.h"

#include <QHash>

#include <algorithm>

namespace Vardune::Qel {

namespace {

struct MaterialState
{
    qint32 material = -1;
    qint32 libraryCount = 0;
};

void noteAttribute(ObjLineType type, ObjMesh &mesh)
{
    if (std::find(mesh.attributeOrder.begin(), mesh.attributeOrder.end(), type) == mesh.attributeOrder.end())
        mesh.attributeOrder.push_back(type);
}

void appendValues(const ObjReader &reader, int count, std::vector<float> &values)
{
    const float *lineValues = reader.lineValues();
    values.insert(values.end(), lineValues, lineValues + count);
}

// A face's normal or texture-coordinate indices count only once a line of that kind exists.
void appendFace(const ObjReader &reader, const MaterialState &state, ObjMesh &mesh)
{
    const auto face = static_cast<quint32>(mesh.cornerCounts.size());
    const ObjMaterialUse *lastUse = mesh.materialUses.empty() ? nullptr : &mesh.materialUses.back();
    if (!lastUse || lastUse->material != state.material || lastUse->libraryCount != state.libraryCount)
        mesh.materialUses.push_back({ face, state.material, state.libraryCount });

    const qint32 cornerCount = reader.cornerCount();
    const bool hasNormals = reader.normalCount() > 0;
    const bool hasTexCoords = reader.texCoordCount() > 0;
    for (qint32 i = 0; i < cornerCount; ++i) {
        ObjCorner corner = reader.corner(i);
        if (!hasNormals)
            corner.normal = ObjCorner::kNoIndex;
        if (!hasTexCoords)
            corner.texCoord = ObjCorner::kNoIndex;
        mesh.corners.push_back(corner);
    }
    mesh.cornerCounts.push_back(static_cast<quint32>(cornerCount));
    mesh.faceLines.push_back(reader.lineNumber());
}

} // namespace

void parseObjMesh(QTextStream &text, const QString &directory, ObjMesh &mesh)
{
    ObjReader reader(&text);
    reader.setDirectory(directory);
    MaterialState state;
    QHash<QString, qint32> materialNumbers;

    for (; reader.hasLine(); reader.advance()) {
        if (!reader.parse())
            continue;
        switch (reader.lineType()) {
        case ObjLineType::Vertex:
            noteAttribute(ObjLineType::Vertex, mesh);
            appendValues(reader, 3, mesh.positions);
            break;
        case ObjLineType::Normal:
            noteAttribute(ObjLineType::Normal, mesh);
            appendValues(reader, 3, mesh.normals);
            break;
        case ObjLineType::TexCoord:
            noteAttribute(ObjLineType::TexCoord, mesh);
            appendValues(reader, 2, mesh.texCoords);
            break;
        case ObjLineType::Face:
            appendFace(reader, state, mesh);
            break;
        case ObjLineType::MaterialLibrary:
            mesh.libraries.append(reader.lineName());
            state.libraryCount = static_cast<qint32>(mesh.libraries.size());
            break;
        case ObjLineType::UseMaterial: {
            const auto inserted = materialNumbers.constFind(reader.lineName());
            if (inserted != materialNumbers.constEnd()) {
                state.material = *inserted;
            } else {
                state.material = static_cast<qint32>(mesh.materialNames.size());
                materialNumbers.insert(reader.lineName(), state.material);
                mesh.materialNames.append(reader.lineName());
            }
            break;
        }
        case ObjLineType::End:
        case ObjLineType::None:
            break;
        }
    }
}

} // namespace Vardune::Qel
