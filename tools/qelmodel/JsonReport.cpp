#include "JsonReport.h"

#include "GLTypeNames.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <charconv>
#include <cmath>
#include <cstdlib>

namespace {

double shortestNumber(float value)
{
    char text[32];
    const std::to_chars_result end = std::to_chars(text, text + sizeof text - 1, value);
    *end.ptr = '\0';
    return std::strtod(text, nullptr);
}

QJsonArray triple(const QVector3D &vector)
{
    return { shortestNumber(vector.x()), shortestNumber(vector.y()), shortestNumber(vector.z()) };
}

QJsonValue orNull(const QString &text)
{
    return text.isNull() ? QJsonValue(QJsonValue::Null) : QJsonValue(text);
}

QJsonArray attributesJson(const QList<ModelReport::Attribute> &attributes)
{
    QJsonArray list;
    for (const ModelReport::Attribute &attribute : attributes)
        list.append(QJsonObject { { QStringLiteral("name"), attribute.name },
            { QStringLiteral("components"), attribute.components },
            { QStringLiteral("type"), glTypeName(attribute.type) } });
    return list;
}

QJsonArray groupsJson(const QList<ModelReport::Group> &groups)
{
    QJsonArray list;
    for (const ModelReport::Group &group : groups) {
        const QJsonValue colour = group.diffuseColour ? QJsonValue(triple(*group.diffuseColour)) : QJsonValue();
        list.append(QJsonObject { { QStringLiteral("name"), group.name }, { QStringLiteral("draw"), group.draw },
            { QStringLiteral("first_index"), qint64(group.firstIndex) },
            { QStringLiteral("index_count"), qint64(group.indexCount) },
            { QStringLiteral("object"), group.object.isNull() ? QStringLiteral("") : group.object },
            { QStringLiteral("Kd"), colour }, { QStringLiteral("map_Kd"), orNull(group.diffuseMap) } });
    }
    return list;
}

QJsonValue boundsJson(const PositionBounds &bounds)
{
    if (bounds.isEmpty())
        return QJsonValue();
    return QJsonObject { { QStringLiteral("min"), triple(bounds.min) }, { QStringLiteral("max"), triple(bounds.max) } };
}

} // namespace

QByteArray jsonReport(const ModelReport &report)
{
    const QJsonObject object {
        { QStringLiteral("file"), report.file },
        { QStringLiteral("ok"), report.ok },
        { QStringLiteral("error"), report.ok ? QJsonValue() : orNull(report.error) },
        { QStringLiteral("bytes"), report.bytes },
        { QStringLiteral("load_ms"), std::round(report.loadMilliseconds * 1000.0) / 1000.0 },
        { QStringLiteral("vertices"), report.vertices },
        { QStringLiteral("indices"), report.indices },
        { QStringLiteral("triangles"), report.triangles },
        { QStringLiteral("index_type"), report.indexType ? QJsonValue(glTypeName(report.indexType)) : QJsonValue() },
        { QStringLiteral("draws"), report.draws },
        { QStringLiteral("attributes"), attributesJson(report.attributes) },
        { QStringLiteral("groups"), groupsJson(report.groups) },
        { QStringLiteral("bounds"), boundsJson(report.bounds) },
        { QStringLiteral("warnings"), QJsonArray::fromStringList(report.warnings) },
    };
    return QJsonDocument(object).toJson(QJsonDocument::Indented);
}
