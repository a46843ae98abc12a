#include "InstanceDataPlan.h"

namespace Vardune::Qel {

InstanceDataPlan::InstanceDataPlan(const QString &name)
    : _name(name)
{
}

void InstanceDataPlan::addMember(DataType type, const QString &name)
{
    if (!hasMember(name))
        _members.append(Member { type, name });
}

bool InstanceDataPlan::hasMember(const QString &name) const
{
    for (const Member &member : _members) {
        if (member.name == name)
            return true;
    }
    return false;
}

int InstanceDataPlan::byteSize(DataType type)
{
    switch (type) {
    case Float:
        return 4;
    case Vec3:
        return 12;
    case Mat4:
        return 64;
    case Texture:
        break;
    }
    return 0;
}

} // namespace Vardune::Qel
