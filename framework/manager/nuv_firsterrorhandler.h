#pragma once

#include "framework/base/nuv_diagnosis.h"
#include "framework/base/nuv_lock.h"
#include "framework/base/nuv_manager.h"
#include "framework/base/nuv_status.h"

namespace nuv {

// Keeps the first error for good: whatever fails later is fallout of it. Before any error the first
// warning stands.
class NUV_FirstErrorHandler final : public NUV_ErrorHandler {
public:
    explicit NUV_FirstErrorHandler(NUV_Manager& manager) noexcept
        : manager_(&manager),
          current_(manager)
    {}

    const NUV_Status& status() const override { return current_; }
    // Code 0 and an empty method do nothing. Allocates nothing.
    void raise(std::uint32_t code, const char* method, const char* file,
               std::uint32_t line) override;
    bool reset() override;

    void raise_because(std::uint32_t code, const char* method, const char* file, std::uint32_t line,
                       const NUV_Diagnosis& why) override;
    const NUV_Diagnosis& diagnosis() const override { return diagnosis_; }
    const NUV_Damage& damage() const override { return damage_; }
    void note_damage(const NUV_Diagnosis& why) override;
    bool mends() const noexcept override { return mends_; }
    void mends(bool wanted) noexcept override { mends_ = wanted; }

private:
    void count_damage(const NUV_Diagnosis& why) noexcept;

    NUV_Manager* manager_;
    NUV_Status current_;
    NUV_Diagnosis diagnosis_;
    NUV_Damage damage_;
    bool mends_ = false;
    NUV_Mutex lock_;
};

} // namespace nuv
