#pragma once

#include "framework/containers/nuv_basicstring.h"
#include "framework/io/nuv_namableimpl.h"
#include "framework/io/nuv_outputstorage.h"
#include "framework/io/nuv_posixlowlevelfile.h"

#include <cstdint>

namespace nuv {

// A file, created or emptied when it is opened. Nothing is buffered, and nothing goes beyond 2 GiB:
// a write or fill that would stops there with NUV_ERR_IO.
class NUV_FileOutputStorage final : public NUV_OutputStorage,
                                    public NUV_NamableImpl<NUV_BasicString<char>>,
                                    private NUV_PosixStorage<NUV_PosixLowLevelFile> {
public:
    explicit NUV_FileOutputStorage(NUV_Manager& manager) noexcept;

    // Null is true and leaves a closed storage. NUV_ERR_IO for what cannot be opened or cannot
    // seek.
    [[nodiscard]] bool initiate(const char* path);
    // Takes over a descriptor that can be written and can seek. NUV_ERR_IO for one that cannot; it
    // then stays the caller's. There is no name to make an input storage by.
    [[nodiscard]] bool initiate(std::int32_t descriptor);

    bool close() override;
    [[nodiscard]] bool is_closed() const override;
    std::int32_t put(std::uint8_t byte) override;
    [[nodiscard]] std::int32_t write(const void* from, std::int32_t bytes) override;
    // What lies between reads as zeros.
    std::int32_t fill(std::int32_t bytes) override;
    // A file input on the same name, which sees whatever is written later.
    [[nodiscard]] NUV_InputStorage* create_input_storage() override;
    std::int32_t move(std::int32_t bytes) override;
    [[nodiscard]] std::int32_t position() const override;
    // Each write is a call of the system.
    [[nodiscard]] std::int32_t worthwhile_bytes() const override { return 16384; }
    [[nodiscard]] std::int32_t size() override;
    bool to_begin() override;
    bool to_end() override;
};

} // namespace nuv
