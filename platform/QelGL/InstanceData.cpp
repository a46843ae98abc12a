#include "InstanceData.h"

#include <limits>

namespace Vardune::Qel {

InstanceData::InstanceData(const QString &planName)
    : _planName(planName)
{
}

void InstanceData::set(const QString &member, const void *data, unsigned long long size)
{
    if ((data == nullptr && size > 0) || size > static_cast<unsigned long long>(std::numeric_limits<qsizetype>::max()))
        return;
    _values.insert(member, QByteArray(static_cast<const char *>(data), static_cast<qsizetype>(size)));
}

void InstanceData::setTexture(const QString &member, const QString &imagePath)
{
    _textures.remove(member);
    _texturePaths.insert(member, imagePath);
}

void InstanceData::setTexture(const QString &member, Texture *texture)
{
    _texturePaths.remove(member);
    _textures.insert(member, texture);
}

void InstanceData::clear()
{
    _values.clear();
    _texturePaths.clear();
    _textures.clear();
}

bool InstanceData::contains(const QString &member) const
{
    return _values.contains(member) || _texturePaths.contains(member) || _textures.contains(member);
}

QStringList InstanceData::memberNames() const
{
    QStringList names = _values.keys() + _texturePaths.keys() + _textures.keys();
    names.sort();
    names.removeDuplicates();
    return names;
}

} // namespace Vardune::Qel
