#include "InstanceDataCollection.h"

namespace Vardune::Qel {

InstanceDataCollection::InstanceDataCollection(const QString &name, const QList<InstanceData> &items)
    : _name(name)
    , _items(items)
{
}

} // namespace Vardune::Qel
