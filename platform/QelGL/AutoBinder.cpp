#include "AutoBinder.h"

namespace Vardune::Qel {

Bindable::~Bindable() = default;

AutoBinder::AutoBinder(Bindable *object)
    : _object(object)
{
    if (_object)
        _object->bind();
}

AutoBinder::~AutoBinder()
{
    if (_object)
        _object->unbind();
}

} // namespace Vardune::Qel
