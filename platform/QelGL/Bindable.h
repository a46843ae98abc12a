#pragma once

#include <QelGL/qelgl_export.h>

namespace Vardune::Qel {

// An OpenGL object that can be made the current one of its kind (a buffer on its target,
// a texture on its target, a vertex array object).
class QELGL_EXPORT Bindable
{
public:
    virtual ~Bindable();
    virtual void bind() = 0;
    virtual void unbind() = 0;
};

} // namespace Vardune::Qel
