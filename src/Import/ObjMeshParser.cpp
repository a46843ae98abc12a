// OBJ text to flat arrays through the line reader over a QTextStream: the path for text that
// is not UTF-8 (a UTF-16 or UTF-32 byte-order mark switches the stream's decoding). Material
// libraries are only noted here; they are read when the whole file is known.

#include "ObjMeshParser.h"

#include "ObjMeshGatherer.h"
#include "ObjReader.h"

namespace Vardune::Qel {

void parseObjMesh(QTextStream &text, const QString &directory, ObjMesh &mesh)
{
    ObjReader reader(&text);
    reader.setDirectory(directory);
    ObjMeshGatherer gatherer(mesh);

    for (; reader.hasLine(); reader.advance()) {
        if (!reader.parse())
            continue;
        switch (reader.lineType()) {
        case ObjLineType::Vertex:
        case ObjLineType::Normal:
        case ObjLineType::TexCoord:
            gatherer.addValues(reader.lineType(), reader.lineValues());
            break;
        case ObjLineType::Face: {
            const size_t firstCorner = gatherer.cornerTotal();
            for (qint32 i = 0; i < reader.cornerCount(); ++i) {
                const ObjCorner corner = reader.corner(i);
                gatherer.addCorner(corner.position, corner.texCoord, corner.normal);
            }
            gatherer.addFace(firstCorner, reader.lineNumber());
            break;
        }
        case ObjLineType::MaterialLibrary:
            gatherer.addLibrary(reader.lineName());
            break;
        case ObjLineType::UseMaterial:
            gatherer.useMaterial(reader.lineName());
            break;
        case ObjLineType::End:
        case ObjLineType::None:
            break;
        }
    }
}

} // namespace Vardune::Qel
