#pragma once

#include <QelGL/qelgl_export.h>

#include <QList>
#include <QString>

namespace Vardune::Qel {

// The declared layout of a kind of per-instance or per-material data: named, typed members.
class QELGL_EXPORT InstanceDataPlan
{
public:
    enum DataType {
        Texture = 0, // a texture, given as an image path or a texture object
        Float = 13, // one 32-bit float
        Vec3 = 15, // three 32-bit floats
        Mat4 = 17, // sixteen 32-bit floats, column after column
    };

    struct Member
    {
        DataType type;
        QString name;
    };

    explicit InstanceDataPlan(const QString &name);

    QString name() const { return _name; }

    // Adding a name twice keeps the first declaration.
    void addMember(DataType type, const QString &name);
    QList<Member> members() const { return _members; }
    bool hasMember(const QString &name) const;

    // Bytes of one value of the type; 0 for textures, which hold no bytes.
    static int byteSize(DataType type);

private:
    QString _name;
    QList<Member> _members;
};

} // namespace Vardune::Qel
