#pragma once

#include <QelGL/InstanceData.h>

#include <QList>
#include <QString>

namespace Vardune::Qel {

// A named list of instance data, one entry per drawn instance or material of a draw.
class QELGL_EXPORT InstanceDataCollection
{
public:
    InstanceDataCollection(const QString &name, const QList<InstanceData> &items);

    QString name() const { return _name; }
    QList<InstanceData> items() const { return _items; }
    qsizetype count() const { return _items.size(); }
    const InstanceData &at(qsizetype i) const { return _items.at(i); }

private:
    QString _name;
    QList<InstanceData> _items;
};

} // namespace Vardune::Qel
