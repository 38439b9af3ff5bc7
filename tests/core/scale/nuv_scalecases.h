#pragma once

#include "tests/support/nuv_model_scale.h"
#include "tests/support/nuv_testchain.h"
#include "tests/support/nuv_testsamples.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <sstream>
#include <string>
#include <vector>

namespace nuv {

struct NUV_ScaleCase {
    std::uint32_t source_width, source_height;
    std::uint32_t width, height;
    std::uint16_t channels;

    [[nodiscard]] std::string text() const
    {
        std::ostringstream out;
        out << source_width << "x" << source_height << "x" << channels << " to " << width << "x"
            << height;
        return out.str();
    }
};

// Sizes that meet edges, whole and odd factors, both directions on either axis, and vector ends.
// Each width pair comes with a height pair of its own, the two lists taken round in step.
inline std::vector<NUV_ScaleCase> scale_cases()
{
    const std::uint32_t sizes[] = {1, 2, 3, 7, 8, 9, 64, 65, 200};
    std::vector<std::pair<std::uint32_t, std::uint32_t>> pairs;
    for (const std::uint32_t source : sizes)
        for (const std::uint32_t destination : sizes)
            pairs.emplace_back(source, destination);
    std::vector<NUV_ScaleCase> cases;
    for (std::size_t i = 0; i < pairs.size(); ++i) {
        for (const std::size_t shift : {std::size_t{0}, std::size_t{5}, std::size_t{38}}) {
            const auto& x = pairs[i];
            const auto& y = pairs[(i + shift) % pairs.size()];
            const auto channels = static_cast<std::uint16_t>(1 + (i + shift) % 5);
            if (x.first * y.first + x.second * y.second <= 20000)
                cases.push_back({x.first, y.first, x.second, y.second, channels});
        }
    }
    return cases;
}

// Random samples, of which some lie at the ends of the range, where results overshoot.
template <class T>
std::vector<T> scale_samples(const NUV_ScaleCase& c)
{
    auto samples = random_samples<T>(std::size_t{c.source_width} * c.source_height * c.channels,
                                     c.source_width + 7 * c.width);
    for (std::size_t i = 0; i < samples.size(); ++i) {
        if (i % 3 == 0)
            samples[i] = i % 2 ? std::numeric_limits<T>::max() : std::numeric_limits<T>::min();
    }
    return samples;
}

// Runs Creator(args...) on random samples and compares with expected(picture).
template <class T, class Creator, class Model, class... Args>
void expect_scaled_as(const NUV_ScaleCase& c, Model&& expected, Args... args)
{
    SCOPED_TRACE(c.text());
    const auto samples = scale_samples<T>(c);
    NUV_TestChain chain;
    chain.source<T>({.width = c.source_width, .height = c.source_height, .channels = c.channels},
                    samples);
    ASSERT_TRUE(chain.append<Creator>(args...)) << chain.status().method;
    ASSERT_EQ(chain.header().width(), c.width);
    ASSERT_EQ(chain.header().height(), c.height);
    const model::Picture source(c.source_width, c.source_height, c.channels, samples);
    const std::vector<T> wanted = expected(source).template as<T>();
    ASSERT_EQ(chain.run<T>(), wanted);
}

// What a refusal is held against: nothing appended, code and text, nothing left behind.
inline void expect_refused(NUV_TestChain& chain, bool appended, NUV_StatusCode code,
                           const char* method)
{
    EXPECT_FALSE(appended);
    EXPECT_EQ(chain.status().code, code);
    EXPECT_STREQ(chain.status().method, method);
    EXPECT_EQ(chain.live_objects_behind_source(), 0u);
}

} // namespace nuv
