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

} // namespace nuv
