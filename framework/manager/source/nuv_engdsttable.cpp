#include "framework/manager/nuv_engdsttable.h"

#include <iterator>

namespace nuv {

bool NUV_EngDstTable::add(NUV_Engine* engine, const NUV_DstBuffer* dst)
{
    if (!engine || (dst && feeds_.find(dst)) || !entries_.insert(engine, Entry{dst, {}}))
        return false;
    if (dst ? feeds_.insert(dst, engine) : ends_.push_back(engine)) {
        if (!dst)
            entries_.find(engine)->end = std::prev(ends_.items().end());
        return true;
    }
    entries_.erase(engine);
    return false;
}

bool NUV_EngDstTable::remove(NUV_Engine* engine)
{
    const Entry* entry = entries_.find(engine);
    if (!entry)
        return false;
    known_ = {};
    if (entry->dst)
        feeds_.erase(entry->dst);
    else
        ends_.erase(entry->end);
    entries_.erase(engine);
    return true;
}

NUV_Engine* NUV_EngDstTable::look_up(const NUV_DstBuffer* dst) const noexcept
{
    NUV_Engine* const* engine = feeds_.find(dst);
    if (!engine)
        return nullptr;
    known_[place_of(dst)] = {dst, *engine};
    return *engine;
}

void NUV_EngDstTable::clear()
{
    while (!ends_.empty())
        end_and_forget(ends_.back());
    while (!feeds_.empty())
        end_and_forget(feeds_.items().begin()->second);
}

// An engine takes itself out when it ends. One that was never initiated does not; its pointer is
// then only a key, and nothing that ends registers anything new under it.
void NUV_EngDstTable::end_and_forget(NUV_Engine* engine)
{
    engine->end();
    remove(engine);
}

} // namespace nuv
