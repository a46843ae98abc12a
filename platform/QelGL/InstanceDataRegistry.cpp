#include "InstanceDataRegistry.h"

#include <QMessageLogger>

namespace Vardune::Qel {

InstanceDataRegistry &InstanceDataRegistry::Instance()
{
    static InstanceDataRegistry registry;
    return registry;
}

InstanceDataRegistry::~InstanceDataRegistry()
{
    qDeleteAll(_plans);
}

void InstanceDataRegistry::registerPlan(InstanceDataPlan *plan)
{
    if (!plan)
        return;
    QMutexLocker lock(&_mutex);
    if (_plans.contains(plan->name())) {
        QMessageLogger().warning("InstanceDataRegistry: plan '%s' is already registered",
                                 qUtf8Printable(plan->name()));
        delete plan;
        return;
    }
    _plans.insert(plan->name(), plan);
}

const InstanceDataPlan *InstanceDataRegistry::plan(const QString &name) const
{
    QMutexLocker lock(&_mutex);
    return _plans.value(name);
}

QStringList InstanceDataRegistry::planNames() const
{
    QMutexLocker lock(&_mutex);
    return _plans.keys();
}

} // namespace Vardune::Qel
