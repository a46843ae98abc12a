#pragma once

#include <QelGL/DrawBuffers.h>
#include <QelGL/InstanceDataCollection.h>

#include <QList>
#include <QString>
#include <QStringList>

namespace Vardune::Qel {

// A drawable model: a list of draws, each a DrawBuffers with its instance and material data
// and, per indirect command, the names of the material and object it draws.
//
// The model owns what it is given and deletes it with itself.
class QELGL_EXPORT GPUModel
{
public:
    struct Draw
    {
        DrawBuffers *buffers = nullptr;
        int layer = 0;
        InstanceDataCollection *materials = nullptr;
        InstanceDataCollection *instances = nullptr;
        unsigned long long key = 0;
        QStringList materialNames;
        QStringList objectNames;
    };

    GPUModel();
    ~GPUModel();

    GPUModel(const GPUModel &) = delete;
    GPUModel &operator=(const GPUModel &) = delete;

    // Takes ownership of the draw and both collections (each may be null); returns the
    // draw's index. `layer` is the render layer the draw belongs to.
    int add(DrawBuffers *buffers, int layer, InstanceDataCollection *materials, InstanceDataCollection *instances,
            const unsigned long long &key);
    // Names the material and the object of command `position` of draw `draw`; out-of-range
    // draw indices or negative positions are ignored.
    void addMaterialName(int draw, int position, const QString &name);
    void addObjectName(int draw, int position, const QString &name);

    int drawCount() const { return static_cast<int>(_draws.size()); }
    const Draw &draw(int index) const { return _draws.at(index); }
    bool isEmpty() const { return _draws.isEmpty(); }

private:
    static void setName(QStringList &names, int position, const QString &name);

    QList<Draw> _draws;
};

} // namespace Vardune::Qel
