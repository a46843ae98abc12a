#pragma once

#include <QelGL/qelgl_export.h>

#include <QByteArray>
#include <QHash>
#include <QString>
#include <QStringList>

namespace Vardune::Qel {

class Texture;

// Values of one instance or material, by member name, for the plan it is named after.
//
// A value type: copies are cheap and independent. Every member that is set is kept, also one
// that the plan does not declare, so that nothing a writer hands over is lost.
class QELGL_EXPORT InstanceData
{
public:
    InstanceData() = default;
    explicit InstanceData(const QString &planName);

    // The plan's name; it also names collections of such data.
    QString name() const { return _planName; }

    // Copies `size` bytes; a null pointer with a non-zero size is ignored.
    void set(const QString &member, const void *data, unsigned long long size);
    // A texture given by the path of its image file.
    void setTexture(const QString &member, const QString &imagePath);
    // A texture object; the data does not own it.
    void setTexture(const QString &member, Texture *texture);
    // Forgets every value and texture.
    void clear();

    bool contains(const QString &member) const;
    QByteArray value(const QString &member) const { return _values.value(member); }
    QString texturePath(const QString &member) const { return _texturePaths.value(member); }
    Texture *texture(const QString &member) const { return _textures.value(member); }
    // Names of all members holding something, sorted.
    QStringList memberNames() const;

    friend bool operator==(const InstanceData &a, const InstanceData &b)
    {
        return a._planName == b._planName && a._values == b._values && a._texturePaths == b._texturePaths
            && a._textures == b._textures;
    }
    friend bool operator!=(const InstanceData &a, const InstanceData &b) { return !(a == b); }

private:
    QString _planName;
    QHash<QString, QByteArray> _values;
    QHash<QString, QString> _texturePaths;
    QHash<QString, Texture *> _textures;
};

} // namespace Vardune::Qel
