#pragma once

#include "tests/support/nuv_testsamples.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <vector>

namespace nuv {

// Compares two forms of a row kernel, form(const T* in, T* out, std::size_t pixels): every length
// from 0 to the capacity in samples, every misalignment of both rows up to 16 samples, with guards
// behind and before the output.
template <class T>
class NUV_TestRow {
public:
    explicit NUV_TestRow(std::size_t capacity)
        : capacity_(capacity),
          in_(random_samples<T>(capacity + misalignments, 1))
    {}

    template <class FormA, class FormB>
    void expect_same(FormA portable, FormB form, std::size_t channels = 1) const
    {
        for (std::size_t count = 0; count <= capacity_; count += channels) {
            for (std::size_t shift = 0; shift < misalignments; ++shift) {
                const T* in = in_.data() + shift;
                std::vector<T> wanted(capacity_ + 2 * margin, guard());
                std::vector<T> got(wanted);
                const std::size_t start = margin - shift; // another alignment than the input's
                portable(in, wanted.data() + start, count / channels);
                form(in, got.data() + start, count / channels);
                ASSERT_EQ(got, wanted) << "count " << count << ", shift " << shift;
                const T* behind = got.data() + start + count;
                ASSERT_TRUE(std::all_of(behind, behind + (margin - shift), is_guard))
                    << "writes past the end, count " << count;
            }
        }
    }

private:
    static constexpr std::size_t misalignments = 16;
    static constexpr std::size_t margin = 32;

    static T guard() { return static_cast<T>(0xA5); }
    static bool is_guard(T sample) { return sample == guard(); }

    std::size_t capacity_;
    std::vector<T> in_;
};

} // namespace nuv
