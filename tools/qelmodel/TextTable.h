#pragma once

#include <QList>
#include <QString>
#include <QStringList>
#include <QTextStream>

// Rows of text cells written as left-aligned columns two spaces apart, the header first.
class TextTable
{
public:
    explicit TextTable(const QStringList &header);

    void addRow(const QStringList &cells);
    // Each line starts with `indent`.
    void write(QTextStream &out, const QString &indent) const;

private:
    QList<QStringList> _rows;
};
