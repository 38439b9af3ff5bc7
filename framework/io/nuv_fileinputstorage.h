#pragma once

#include "framework/containers/nuv_basicstring.h"
#include "framework/io/nuv_inputstorage.h"
#include "framework/io/nuv_namableimpl.h"
#include "framework/io/nuv_posixlowlevelfile.h"

#include <cstdint>

namespace nuv {

// A regular file of less than 2 GiB, read ahead in large pieces.
class NUV_FileInputStorage final : public NUV_InputStorage,
                                   public NUV_NamableImpl<NUV_BasicString<char>>,
                                   private NUV_PosixStorage<NUV_PosixReadFile> {
public:
    explicit NUV_FileInputStorage(NUV_Manager& manager) noexcept;

    // Null is true and leaves a closed storage. NUV_ERR_IO for a file that is missing, is not
    // regular, is too large, or may not be read.
    [[nodiscard]] bool initiate(const char* path, NUV_ReadAhead ahead = NUV_ReadAhead::yes);
    // Takes over a descriptor, which is closed with the storage. 0 is true and does nothing;
    // NUV_ERR_ARGUMENT for a negative one, NUV_ERR_IO for one that is no regular file of less than
    // 2 GiB. It stays the caller's unless the answer is true.
    [[nodiscard]] bool initiate(std::int32_t descriptor);

    bool close() override;
    [[nodiscard]] bool is_closed() const override;
    // -1 at the end, without a status.
    [[nodiscard]] std::int32_t get() override;
    [[nodiscard]] std::int32_t read(void* into, std::int32_t bytes) override;
    [[nodiscard]] std::int32_t position() const override;
    std::int32_t move(std::int32_t bytes) override;
    [[nodiscard]] bool pass_over(std::int32_t bytes) override;
    [[nodiscard]] bool to(std::int32_t offset) override;
    [[nodiscard]] bool to_from_end(std::int32_t bytes) override;
    [[nodiscard]] std::int32_t size() const override;
    bool to_begin() override;
    bool to_end() override;
};

} // namespace nuv
