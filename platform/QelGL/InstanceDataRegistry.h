#pragma once

#include <QelGL/InstanceDataPlan.h>

#include <QHash>
#include <QMutex>
#include <QStringList>

namespace Vardune::Qel {

// The process-wide table of instance-data plans, by name.
class QELGL_EXPORT InstanceDataRegistry
{
public:
    static InstanceDataRegistry &Instance();

    InstanceDataRegistry(const InstanceDataRegistry &) = delete;
    InstanceDataRegistry &operator=(const InstanceDataRegistry &) = delete;

    // Takes ownership. A plan whose name is taken is refused with a warning and deleted:
    // the first registration of a name stays valid for the life of the process.
    void registerPlan(InstanceDataPlan *plan);

    // The plan of that name, null when none is registered.
    const InstanceDataPlan *plan(const QString &name) const;
    QStringList planNames() const;

private:
    InstanceDataRegistry() = default;
    ~InstanceDataRegistry();

    mutable QMutex _mutex;
    QHash<QString, InstanceDataPlan *> _plans;
};

} // namespace Vardune::Qel
