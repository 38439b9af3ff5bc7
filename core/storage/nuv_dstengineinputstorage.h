#pragma once

#include "framework/io/nuv_inputstorage.h"

#include <cstdint>

namespace nuv {

class NUV_Engine;
class NUV_OutputStorage;

// What an engine puts out, as a storage. Reading steps the engine as far as it takes; all that it
// has put out so far is kept in memory.
class NUV_DstEngineInputStorage final : public NUV_InputStorage {
public:
    using NUV_InputStorage::NUV_InputStorage;

    // Takes the engine's output for itself. NUV_ERR_ARGUMENT for a null.
    [[nodiscard]] bool initiate(NUV_Engine* engine);

    bool close() override;
    [[nodiscard]] bool is_closed() const override { return !input_; }
    [[nodiscard]] std::int32_t get() override;
    [[nodiscard]] std::int32_t read(void* into, std::int32_t bytes) override;
    [[nodiscard]] std::int32_t position() const override;
    std::int32_t move(std::int32_t bytes) override;
    // Asks for one byte more, not for all.
    [[nodiscard]] bool is_end() override;
    [[nodiscard]] bool to(std::int32_t offset) override;
    // This, size() and to_end() run the engine to its end.
    [[nodiscard]] bool to_from_end(std::int32_t bytes) override;
    [[nodiscard]] std::int32_t size() const override;
    bool to_begin() override;
    bool to_end() override;

private:
    void produce_size(std::int64_t bytes) const;
    void produce_ahead(std::int32_t bytes) const;
    void produce_all() const;
    void step() const;

    NUV_Engine* writer_ = nullptr; // from the engine to output_
    NUV_OutputStorage* output_ = nullptr;
    NUV_InputStorage* input_ = nullptr;
    mutable bool finished_ = true; // writer_ must not be stepped, or not again
};

} // namespace nuv
