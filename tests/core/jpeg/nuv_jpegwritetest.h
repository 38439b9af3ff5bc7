#pragma once

// Runs a writer of JPEG streams in a chain.

#include "framework/io/nuv_bytearrayoutputstorage.h"
#include "tests/support/nuv_testchain.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <vector>

namespace nuv {

// Steps the writer to its end and lets go of it.
inline void run_writer(NUV_TestChain& chain)
{
    NUV_Engine* writer = chain.last();
    if (!writer)
        return;
    while (writer->execute()) {
    }
    writer->end();
    chain.last(nullptr);
}

// What the writer of a creator makes of the lines that `samples` has into `capacity` bytes. The
// bytes behind the stream must stay as they were.
template <class Creator, class Option>
std::vector<std::uint8_t> write_lines(NUV_TestChain& chain, const NUV_TestImage& image,
                                      const std::vector<std::uint8_t>& samples, Option* option,
                                      std::size_t capacity)
{
    constexpr std::uint8_t untouched = 0xA5;
    std::vector<std::uint8_t> memory(capacity + 16, untouched);
    const auto storage = make_initiated<NUV_ByteArrayOutputStorage>(
        chain.manager(), memory.data(), static_cast<std::int32_t>(capacity));
    chain.source_bytes(image, samples);
    chain.append<Creator>(storage.get(), option);
    run_writer(chain);
    for (std::size_t i = capacity; i < memory.size(); ++i)
        EXPECT_EQ(memory[i], untouched);
    memory.resize(static_cast<std::size_t>(storage ? storage->size() : 0));
    return memory;
}

} // namespace nuv
