#include "tests/support/nuv_refusals.h"

namespace nuv {

void expect_refusals(std::initializer_list<NUV_Refusal> refusals)
{
    for (const NUV_Refusal& refusal : refusals) {
        SCOPED_TRACE(refusal.what);
        NUV_TestChain chain;
        refusal.source.build(chain);
        const std::size_t live = chain.manager().memory().live();
        EXPECT_FALSE(refusal.append(chain));
        expect_status(chain.manager(), refusal.code, refusal.text);
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

void expect_nothing_invented(const NUV_TestImage& image, std::size_t lines,
                             const NUV_Append& append)
{
    NUV_TestChain chain;
    const std::size_t bits = std::size_t{image.width} * image.channels * image.bits;
    chain.source_bytes(image, Bytes(lines * ((bits + 7) / 8)));
    if (chain.last() && append(chain)) {
        const std::size_t most = lines * chain.header().line_bytes();
        EXPECT_LE(chain.run_bytes().size(), most);
    } else {
        EXPECT_TRUE(chain.status().has_error());
    }
}

} // namespace nuv
