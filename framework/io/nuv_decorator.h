#pragma once

#include "framework/base/nuv_failure.h"
#include "framework/base/nuv_status.h"
#include "framework/io/nuv_inputstorage.h"
#include "framework/io/nuv_outputstorage.h"

#include <cstdint>

namespace nuv {

// A stream over another stream, which lives as long as the decorator, and which close() forgets but
// does not close. Without it every operation answers 0, -1 or false.
//
// Whoever made the inner stream ends it once after handing it on, whether or not that succeeded.
template <class Stream>
class NUV_Decorator : public Stream {
public:
    using Stream::Stream;

    bool close() override
    {
        inner_ = nullptr;
        return true;
    }
    [[nodiscard]] bool is_closed() const override { return !inner_ || inner_->is_closed(); }

protected:
    [[nodiscard]] bool attach(Stream* inner)
    {
        if (!this->manager().depend(this, inner))
            return false;
        inner_ = inner;
        return true;
    }
    // Input decorators refuse a null alone.
    [[nodiscard]] bool attach_input(Stream* inner)
    {
        if (!inner)
            return fail(this->manager(), NUV_ERR_ARGUMENT, "NUV_InputStorageDecorator::initiate()");
        return attach(inner);
    }

    Stream* inner_ = nullptr;
};

// Passes everything on to the inner storage.
class NUV_InputStorageDecorator : public NUV_Decorator<NUV_InputStorage> {
public:
    using NUV_Decorator<NUV_InputStorage>::NUV_Decorator;

    // NUV_ERR_ARGUMENT for a null.
    [[nodiscard]] bool initiate(NUV_InputStorage* inner);

    [[nodiscard]] std::int32_t get() override;
    [[nodiscard]] std::int32_t read(void* into, std::int32_t bytes) override;
    std::int32_t ignore(std::int32_t bytes) override;
    [[nodiscard]] std::int32_t position() const override;
    std::int32_t move(std::int32_t bytes) override;
    [[nodiscard]] bool is_end() override;
    [[nodiscard]] bool pass_over(std::int32_t bytes) override;
    [[nodiscard]] bool to(std::int32_t offset) override;
    [[nodiscard]] bool to_from_end(std::int32_t bytes) override;
    [[nodiscard]] std::int32_t size() const override;
    bool to_begin() override;
    bool to_end() override;
};

// Passes everything on to the inner storage.
class NUV_OutputStorageDecorator : public NUV_Decorator<NUV_OutputStorage> {
public:
    using NUV_Decorator<NUV_OutputStorage>::NUV_Decorator;

    // NUV_ERR_ARGUMENT for a null and for a closed storage.
    [[nodiscard]] bool initiate(NUV_OutputStorage* inner);

    std::int32_t put(std::uint8_t byte) override;
    [[nodiscard]] std::int32_t write(const void* from, std::int32_t bytes) override;
    std::int32_t fill(std::int32_t bytes) override;
    [[nodiscard]] NUV_InputStorage* create_input_storage() override;
    std::int32_t move(std::int32_t bytes) override;
    [[nodiscard]] bool to(std::int32_t offset) override;
    [[nodiscard]] bool to_from_end(std::int32_t bytes) override;
    [[nodiscard]] std::int32_t position() const override;
    [[nodiscard]] std::int32_t size() override;
    bool to_begin() override;
    bool to_end() override;
};

} // namespace nuv
