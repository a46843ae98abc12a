#include "GPUModel.h"

namespace Vardune::Qel {

GPUModel::GPUModel() = default;

GPUModel::~GPUModel()
{
    for (const Draw &draw : std::as_const(_draws)) {
        delete draw.buffers;
        delete draw.materials;
        delete draw.instances;
    }
}

int GPUModel::add(DrawBuffers *buffers, int layer, InstanceDataCollection *materials,
                  InstanceDataCollection *instances, const unsigned long long &key)
{
    _draws.append(Draw { buffers, layer, materials, instances, key, {}, {} });
    return static_cast<int>(_draws.size() - 1);
}

void GPUModel::addMaterialName(int draw, int position, const QString &name)
{
    if (draw >= 0 && draw < _draws.size())
        setName(_draws[draw].materialNames, position, name);
}

void GPUModel::addObjectName(int draw, int position, const QString &name)
{
    if (draw >= 0 && draw < _draws.size())
        setName(_draws[draw].objectNames, position, name);
}

void GPUModel::setName(QStringList &names, int position, const QString &name)
{
    if (position < 0)
        return;
    if (names.size() <= position)
        names.resize(position + 1);
    names[position] = name;
}

} // namespace Vardune::Qel
