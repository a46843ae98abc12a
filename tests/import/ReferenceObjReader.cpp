#include "ReferenceObjReader.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <QRegularExpression>
#include <QTextStream>

#include <algorithm>

namespace Vardune::Qel::Reference {

namespace {

quint32 indexOf(int number, qint32 countSoFar)
{
    if (number > 0)
        return quint32(number - 1);
    if (number < 0)
        return quint32(qint64(countSoFar) + number);
    return ObjCorner::kNoIndex;
}

// Fields p, p/t, p/t/n, p//n of one corner word; false for a field that is not an integer.
bool readCorner(const QString &word, int numbers[3])
{
    const QStringList fields = word.split(u'/');
    for (int field = 0; field < 3; ++field) {
        numbers[field] = 0;
        if (field >= fields.size() || (field > 0 && fields.at(field).isEmpty()))
            continue;
        bool ok = false;
        numbers[field] = fields.at(field).toInt(&ok, 10);
        if (!ok)
            return false;
    }
    return true;
}

struct Gathering
{
    ObjMesh &mesh;
    qint32 positions = 0;
    qint32 texCoords = 0;
    qint32 normals = 0;
    qint32 material = -1;
    QHash<QString, qint32> materialNumbers;

    void note(ObjLineType type)
    {
        if (std::find(mesh.attributeOrder.begin(), mesh.attributeOrder.end(), type) == mesh.attributeOrder.end())
            mesh.attributeOrder.push_back(type);
    }

    void values(const QStringList &words, int count, PodArray<float> &target)
    {
        for (int i = 1; i <= count; ++i)
            target.push_back(i < words.size() ? words.at(i).toFloat() : 0.0f);
    }

    void face(const QStringList &words, qint64 line)
    {
        QList<ObjCorner> corners;
        for (qsizetype w = 1; w < words.size() && !words.at(w).startsWith(u'#'); ++w) {
            int numbers[3];
            if (!readCorner(words.at(w), numbers))
                return;
            corners.append(
                { indexOf(numbers[0], positions), indexOf(numbers[2], normals), indexOf(numbers[1], texCoords) });
        }
        const auto faceNumber = quint32(mesh.cornerCounts.size());
        const qint32 libraries = qint32(mesh.libraries.size());
        if (mesh.materialUses.empty() || mesh.materialUses.back().material != material
            || mesh.materialUses.back().libraryCount != libraries)
            mesh.materialUses.push_back({ faceNumber, material, libraries });
        for (const ObjCorner &corner : corners) {
            mesh.positionIndices.push_back(corner.position);
            mesh.normalIndices.push_back(normals > 0 ? corner.normal : ObjCorner::kNoIndex);
            mesh.texCoordIndices.push_back(texCoords > 0 ? corner.texCoord : ObjCorner::kNoIndex);
        }
        mesh.faceLines.add(quint32(mesh.cornerCounts.size()), line);
        mesh.cornerCounts.push_back(quint32(corners.size()));
    }

    void useMaterial(const QString &name)
    {
        if (!materialNumbers.contains(name)) {
            materialNumbers.insert(name, qint32(mesh.materialNames.size()));
            mesh.materialNames.append(name);
        }
        material = materialNumbers.value(name);
    }
};

} // namespace

bool readObjMesh(const QString &path, ObjMesh &mesh)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly | QIODevice::Text))
        return false;
    const QDir directory(QFileInfo(path).dir().absolutePath());
    const QRegularExpression separator(QStringLiteral("\\s+"));
    QTextStream text(&file);
    Gathering gathering { mesh, 0, 0, 0, -1, {} };
    qint64 line = 0;
    while (!text.atEnd()) {
        const QStringList words = text.readLine().split(separator, Qt::SkipEmptyParts);
        ++line;
        if (words.isEmpty() || words.first().startsWith(u'#'))
            continue;
        const QString &keyword = words.first();
        if (keyword == u"v") {
            ++gathering.positions;
            gathering.note(ObjLineType::Vertex);
            gathering.values(words, 3, mesh.positions);
        } else if (keyword == u"vn") {
            ++gathering.normals;
            gathering.note(ObjLineType::Normal);
            gathering.values(words, 3, mesh.normals);
        } else if (keyword == u"vt") {
            ++gathering.texCoords;
            gathering.note(ObjLineType::TexCoord);
            gathering.values(words, 2, mesh.texCoords);
        } else if (keyword == u"f") {
            gathering.face(words, line);
        } else if (keyword == u"usemtl" && words.size() > 1) {
            gathering.useMaterial(words.at(1));
        } else if (keyword == u"mtllib" && words.size() > 1) {
            const QString &name = words.at(1);
            mesh.libraries.append(QDir::isRelativePath(name) ? directory.absoluteFilePath(name) : name);
        }
    }
    // The gathered form has no index array for a kind without lines.
    if (gathering.normals == 0)
        mesh.normalIndices.release();
    if (gathering.texCoords == 0)
        mesh.texCoordIndices.release();
    return true;
}

} // namespace Vardune::Qel::Reference
