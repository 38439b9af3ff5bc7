#pragma once

#include "tests/support/nuv_testchain.h"

#include <initializer_list>

namespace nuv {

// What stands in front of a refused call: an image of zeros, or what a function makes of a chain.
struct NUV_RefusalSource {
    NUV_RefusalSource(const NUV_TestImage& image)
        : build([image](NUV_TestChain& chain) { chain.blank_source(image); })
    {}
    NUV_RefusalSource(std::function<void(NUV_TestChain&)> function) : build(std::move(function)) {}

    std::function<void(NUV_TestChain&)> build;
};

// A row of a table of refusals.
struct NUV_Refusal {
    std::string what;
    NUV_RefusalSource source;
    NUV_Append append; // answers whether it did
    NUV_StatusCode code;
    std::string text; // of the status, to the letter
};

// Each call is refused with its code and its text, and has left nothing behind.
void expect_refusals(std::initializer_list<NUV_Refusal> refusals);

// Each call answers with the engine in front, which has nothing to do.
void expect_nothing_appended(const NUV_TestImage& image, std::initializer_list<NUV_Append> calls);

// Behind an image of zeros that breaks off behind `lines` lines the call refuses, or gives no more
// lines than there are.
void expect_nothing_invented(const NUV_TestImage& image, std::size_t lines,
                             const NUV_Append& append);

} // namespace nuv
