#include "framework/engine/nuv_engine.h"

#include "framework/base/nuv_status.h"

namespace nuv {

bool NUV_Engine::end()
{
    const bool removed = initiated() ? manager().remove(this) : true;
    const bool ended = NUV_Object::end(); // the engine is gone
    return removed && ended;
}

bool NUV_Engine::initiate()
{
    return !manager().status().has_error();
}

} // namespace nuv
