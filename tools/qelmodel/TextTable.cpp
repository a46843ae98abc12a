#include "TextTable.h"

#include <algorithm>

TextTable::TextTable(const QStringList &header)
    : _rows { header }
{ }

void TextTable::addRow(const QStringList &cells)
{
    _rows.append(cells);
}

void TextTable::write(QTextStream &out, const QString &indent) const
{
    QList<qsizetype> widths;
    for (const QStringList &row : _rows) {
        widths.resize(std::max(widths.size(), row.size()));
        for (qsizetype c = 0; c < row.size(); ++c)
            widths[c] = std::max(widths[c], row.at(c).size());
    }
    for (const QStringList &row : _rows) {
        QString line = indent;
        for (qsizetype c = 0; c < row.size(); ++c)
            line += c + 1 < row.size() ? row.at(c).leftJustified(widths[c] + 2) : row.at(c);
        out << line << '\n';
    }
}
