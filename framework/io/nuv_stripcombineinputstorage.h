#pragma once

#include "framework/containers/nuv_packednumbers.h"
#include "framework/io/nuv_decorator.h"

#include <cstdint>

namespace nuv {

// Strips of a storage, read one after the other as one stream, forward only: of moving there is
// only the way back to the beginning. Nobody else may move the inner storage meanwhile.
class NUV_StripCombineInputStorage final : public NUV_Decorator<NUV_InputStorage> {
public:
    explicit NUV_StripCombineInputStorage(NUV_Manager& manager) noexcept
        : NUV_Decorator(manager),
          offsets_(manager),
          byte_counts_(manager)
    {}

    // Offsets in the inner storage, and bytes, of each strip; they are taken over.
    // NUV_ERR_ARGUMENT for a null; false without a status for no strips and for unequal numbers of
    // both. A first strip that cannot be reached makes an empty stream, of which
    // to_begin() is false.
    [[nodiscard]] bool initiate(NUV_InputStorage* inner, NUV_PackedNumbers&& offsets,
                                NUV_PackedNumbers&& byte_counts);

    [[nodiscard]] std::int32_t get() override;
    // Ends, besides at the end of the last strip, where a strip cannot be reached or breaks off.
    [[nodiscard]] std::int32_t read(void* into, std::int32_t bytes) override;
    // Within one strip.
    [[nodiscard]] bool pass_over(std::int32_t bytes) override;
    // Bytes read or passed over since the beginning.
    [[nodiscard]] std::int32_t position() const override { return inner_ ? position_ : 0; }
    // These two cannot be told or done without reading: false and 0.
    [[nodiscard]] bool is_end() override;
    std::int32_t move(std::int32_t bytes) override;
    // Goes to the beginning, and is true for 0 alone.
    [[nodiscard]] bool to(std::int32_t offset) override;
    [[nodiscard]] bool to_from_end(std::int32_t bytes) override;
    // Bytes that the strips should have, whether or not they are there.
    [[nodiscard]] std::int32_t size() const override { return inner_ ? size_ : 0; }
    bool to_begin() override;
    bool to_end() override;

private:
    [[nodiscard]] bool enter_strip(std::size_t index);
    [[nodiscard]] std::uint32_t left_in_strip();

    NUV_PackedNumbers offsets_;
    NUV_PackedNumbers byte_counts_;
    std::size_t strip_ = 0;
    std::uint32_t read_in_strip_ = 0;
    bool reached_ = false; // the current strip
    std::int32_t position_ = 0;
    std::int32_t size_ = 0;
};

} // namespace nuv
