#include "framework/manager/nuv_dependmap.h"

#include "framework/base/nuv_failure.h"
#include "framework/base/nuv_status.h"

namespace nuv {

bool NUV_DependMap::depend(const NUV_Object* object, const NUV_Object* on)
{
    if (!object || !on || object == on)
        return fail(*manager_, NUV_ERR_ARGUMENT, "NUV_DependMap::depend()");

    unsigned* count = counts_[on];
    if (!count)
        return false;
    ++*count;
    unsigned index = 0;
    while (depends_.find({object, index}))
        ++index;
    if (depends_.insert({object, index}, on))
        return true;
    drop_count(on);
    return false;
}

void NUV_DependMap::drop_count(const NUV_Object* object) noexcept
{
    unsigned* count = counts_.find(object);
    if (!count)
        return;
    if (*count > 1)
        --*count;
    else
        counts_.erase(object);
}

bool NUV_DependMap::end(NUV_Object* object)
{
    if (!object)
        return fail(*manager_, NUV_ERR_ARGUMENT, "NUV_DependMap::end()");
    if (!counts_.find(object))
        return destroy(object);
    drop_count(object);
    return true;
}

bool NUV_DependMap::destroy(NUV_Object* object)
{
    // The object may be the second base of its class; the manager knows the whole one.
    void* memory = dynamic_cast<void*>(object);
    bool ok = object->cleanup();
    object->~NUV_Object();

    // The memory is kept until the keys are gone: freed earlier, a new object could get the same
    // address and lose its keys here. What ends below may change the map at will.
    for (;;) {
        const auto first = depends_.items().lower_bound({object, 0});
        if (first == depends_.items().end() || first->first.object != object)
            break;
        auto* on = const_cast<NUV_Object*>(first->second);
        depends_.erase(first);
        const bool ended = end(on);
        ok = ok && ended;
    }
    manager_->deallocate(memory);
    return ok;
}

} // namespace nuv
