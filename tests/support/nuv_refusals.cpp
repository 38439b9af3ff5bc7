#include "tests/support/nuv_refusals.h"

#include <gtest/gtest.h>

namespace nuv {

void expect_refusals(std::initializer_list<NUV_Refusal> refusals)
{
    for (const NUV_Refusal& refusal : refusals) {
        SCOPED_TRACE(refusal.what);
        NUV_TestChain chain;
        refusal.source.build(chain);
        const std::size_t live = chain.manager().memory().live();
        EXPECT_FALSE(refusal.append(chain));
        EXPECT_EQ(chain.status().code, refusal.code);
        EXPECT_EQ(chain.status().method, refusal.text);
        EXPECT_EQ(chain.manager().memory().live(), live) << "something is left";
    }
}

void expect_nothing_appended(const NUV_TestImage& image, std::initializer_list<NUV_Append> calls)
{
    NUV_TestChain chain;
    chain.blank_source(image);
    NUV_Engine* const source = chain.last();
    for (const NUV_Append& append : calls) {
        EXPECT_TRUE(append(chain));
        EXPECT_EQ(chain.last(), source);
    }
}

} // namespace nuv
