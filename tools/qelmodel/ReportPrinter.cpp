#include "ReportPrinter.h"

#include "GLTypeNames.h"
#include "TextTable.h"

namespace {

QString number(double value)
{
    return QString::number(value, 'g', 6);
}

QString triple(const QVector3D &vector)
{
    return QStringLiteral("%1 %2 %3").arg(number(vector.x()), number(vector.y()), number(vector.z()));
}

QString loadSummary(const ModelReport &report)
{
    const double seconds = report.loadMilliseconds / 1000.0;
    const QString rate = seconds > 0.0 ? number(double(report.bytes) / 1e6 / seconds) : QStringLiteral("-");
    return QStringLiteral("%1 bytes in %2 ms (%3 MB/s)")
        .arg(report.bytes)
        .arg(QString::number(report.loadMilliseconds, 'f', 2), rate);
}

void printSummary(const ModelReport &report, QTextStream &out)
{
    TextTable summary({ QStringLiteral("File"), report.file });
    summary.addRow({ QStringLiteral("Loaded"), loadSummary(report) });
    summary.addRow({ QStringLiteral("Vertices"), QString::number(report.vertices) });
    summary.addRow({ QStringLiteral("Indices"),
        QStringLiteral("%1 (%2)")
            .arg(report.indices)
            .arg(report.indexType ? glTypeName(report.indexType) : QStringLiteral("-")) });
    summary.addRow({ QStringLiteral("Triangles"), QString::number(report.triangles) });
    summary.addRow({ QStringLiteral("Draws"), QString::number(report.draws) });
    summary.addRow({ QStringLiteral("Bounds"),
        report.bounds.isEmpty()
            ? QStringLiteral("-")
            : QStringLiteral("min %1, max %2").arg(triple(report.bounds.min), triple(report.bounds.max)) });
    summary.write(out, QString());
}

void printAttributes(const ModelReport &report, QTextStream &out)
{
    TextTable table({ QStringLiteral("attribute"), QStringLiteral("components"), QStringLiteral("type") });
    for (const ModelReport::Attribute &attribute : report.attributes)
        table.addRow({ attribute.name, QString::number(attribute.components), glTypeName(attribute.type) });
    out << '\n';
    table.write(out, QStringLiteral("  "));
}

void printGroups(const ModelReport &report, QTextStream &out)
{
    TextTable table({ QStringLiteral("group"), QStringLiteral("draw"), QStringLiteral("first index"),
        QStringLiteral("indices"), QStringLiteral("object"), QStringLiteral("Kd"), QStringLiteral("map_Kd") });
    for (const ModelReport::Group &group : report.groups) {
        table.addRow({ group.name, QString::number(group.draw), QString::number(group.firstIndex),
            QString::number(group.indexCount), group.object.isEmpty() ? QStringLiteral("-") : group.object,
            group.diffuseColour ? triple(*group.diffuseColour) : QStringLiteral("-"),
            group.diffuseMap.isEmpty() ? QStringLiteral("-") : group.diffuseMap });
    }
    out << '\n';
    table.write(out, QStringLiteral("  "));
}

void printWarnings(const ModelReport &report, QTextStream &out)
{
    out << '\n';
    if (report.warnings.isEmpty()) {
        out << "No warnings.\n";
        return;
    }
    out << "Warnings (" << report.warnings.size() << "):\n";
    for (const QString &warning : report.warnings)
        out << "  " << warning << '\n';
}

} // namespace

void printReport(const ModelReport &report, QTextStream &out)
{
    printSummary(report, out);
    printAttributes(report, out);
    printGroups(report, out);
    printWarnings(report, out);
}
