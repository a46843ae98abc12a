#pragma once

#include <QelGL/Bindable.h>

namespace Vardune::Qel {

// Binds an object for the lifetime of the binder and unbinds it at the end of the scope.
class QELGL_EXPORT AutoBinder
{
public:
    explicit AutoBinder(Bindable *object);
    ~AutoBinder();

    AutoBinder(const AutoBinder &) = delete;
    AutoBinder &operator=(const AutoBinder &) = delete;

private:
    Bindable *_object;
};

} // namespace Vardune::Qel
