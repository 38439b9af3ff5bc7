#pragma once

#include "framework/base/nuv_manager.h"
#include "framework/manager/nuv_dependmap.h"
#include "framework/manager/nuv_engdsttable.h"

namespace nuv {

// The relation of a pipeline that one thread runs.
class NUV_RelationForST final : public NUV_Relation {
public:
    explicit NUV_RelationForST(NUV_Manager& manager) noexcept
        : depend_map_(manager),
          table_(manager)
    {}
    ~NUV_RelationForST() noexcept(false) override { table_.clear(); }

    bool clear() override
    {
        table_.clear();
        return true;
    }
    NUV_Engine* add_thread(NUV_Engine*, NUV_DstBuffer*) override { return nullptr; }
    NUV_Engine* add(NUV_Engine* engine, NUV_DstBuffer* dst) override
    {
        return table_.add(engine, dst) ? engine : nullptr;
    }
    bool remove(NUV_Engine* engine) override { return table_.remove(engine); }
    NUV_Engine* find(const NUV_DstBuffer* dst) const override { return table_.find(dst); }
    bool depend(const NUV_Object* object, const NUV_Object* on) override
    {
        return depend_map_.depend(object, on);
    }
    bool end(NUV_Object* object) override { return depend_map_.end(object); }

    // For tests: nothing is registered and nothing depends on anything.
    [[nodiscard]] bool is_empty() const noexcept
    {
        return table_.is_empty() && depend_map_.is_empty();
    }

private:
    NUV_DependMap depend_map_;
    NUV_EngDstTable table_;
};

} // namespace nuv
