#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

#include "api/source/nuv_api.h"

// What the tests of the plain interface share.
namespace nuv {

using ApiBytes = std::vector<std::uint8_t>;
using ApiCall = std::function<nuv_status(nuv_job*)>;

struct ApiFree {
    void operator()(nuv_job* job) const { nuv_free(job); }
};
using ApiJob = std::unique_ptr<nuv_job, ApiFree>;

[[nodiscard]] inline nuv_picture api_picture(std::uint32_t width, std::uint32_t height,
                                             std::uint16_t channels, nuv_color color,
                                             std::uint16_t bits = 8)
{
    nuv_picture is{};
    is.size = sizeof(is);
    is.width = width;
    is.height = height;
    is.channels = channels;
    is.bits = bits;
    is.color = color;
    return is;
}

[[nodiscard]] inline ApiBytes api_read(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    return ApiBytes(std::istreambuf_iterator<char>(file), {});
}

[[nodiscard]] inline std::string api_fixture(const std::string& name)
{
    const char* const folder = std::getenv("NUV_TEST_DATA");
    return std::string(folder ? folder : ".") + "/" + name;
}

[[nodiscard]] inline ApiBytes api_result(const ApiJob& job)
{
    std::size_t bytes = 0;
    const auto* data = static_cast<const std::uint8_t*>(nuv_result(job.get(), &bytes));
    return data ? ApiBytes(data, data + bytes) : ApiBytes();
}

// Both ends of a stream: bytes to be read, 777 at a time at the most, and bytes that were written.
struct ApiStream {
    ApiBytes from;
    ApiBytes to = {};
    std::size_t at = 0;

    static ptrdiff_t read(void* user, void* into, size_t bytes)
    {
        auto& it = *static_cast<ApiStream*>(user);
        const std::size_t got = std::min({bytes, it.from.size() - it.at, std::size_t{777}});
        std::copy_n(it.from.data() + it.at, got, static_cast<std::uint8_t*>(into));
        it.at += got;
        return static_cast<ptrdiff_t>(got);
    }
    static int write(void* user, const void* from, size_t bytes)
    {
        const auto* data = static_cast<const std::uint8_t*>(from);
        auto& to = static_cast<ApiStream*>(user)->to;
        to.insert(to.end(), data, data + bytes);
        return 0;
    }
};

// Opens, operates and writes to memory; what comes, and empty after a failure.
[[nodiscard]] inline ApiBytes api_made(const ApiCall& open, const ApiCall& call,
                                       const ApiCall& form = {})
{
    const ApiJob job(nuv_new(nullptr));
    open(job.get());
    call(job.get());
    if (form)
        form(job.get());
    else
        nuv_as_samples(job.get(), 0);
    EXPECT_EQ(nuv_run_to_memory(job.get(), nullptr, nullptr), NUV_OK) << nuv_message(job.get());
    return api_result(job);
}

} // namespace nuv
