#include "core/channel/nuv_reversechannel.h"
#include "core/channel/nuv_selectchannel.h"
#include "core/crop/nuv_crop.h"
#include "core/mirror/nuv_mirrorx.h"
#include "core/mirror/nuv_mirrory.h"
#include "core/rotate/nuv_rotate90.h"
#include "core/scale/nuv_scalecc.h"
#include "core/scale/nuv_scaleli.h"
#include "core/scale/nuv_scalenn.h"
#include "core/scale/nuv_scalepp.h"
#include "framework/base/nuv_held.h"
#include "framework/engine/nuv_nop.h"
#include "tests/support/nuv_chainmodel.h"
#include "tests/support/nuv_model_crop.h"
#include "tests/support/nuv_model_rotate.h"
#include "tests/support/nuv_model_scale.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <random>
#include <string>
#include <vector>

namespace nuv {
namespace {

using Append = std::function<bool(NUV_TestChain&)>;

bool always(const NUV_ModelImage&)
{
    return true;
}

bool has_levels(const NUV_ModelImage& in)
{
    return in.bits > 1;
}

// To a size of up to 60 x 60 by Creator; `scale` is what that does to a whole picture.
template <class Creator, class Scale>
NUV_ModelImage scale_to_any_size(const NUV_ModelImage& in, std::mt19937& random, Append& append,
                                 Scale scale)
{
    const auto width = static_cast<std::uint32_t>(random() % 4 == 0 ? in.width : 1 + random() % 60);
    const auto height =
        static_cast<std::uint32_t>(random() % 4 == 0 ? in.height : 1 + random() % 60);
    append = [width, height](NUV_TestChain& chain) { return chain.append<Creator>(width, height); };
    const model::Picture picture(in.width, in.height, in.channels, in.samples);
    return {width, height, in.channels, in.bits,
            scale(picture, width, height).template as<std::uint16_t>()};
}

model::Arithmetic arithmetic_of(const NUV_ModelImage& in)
{
    return in.bits == 8 ? model::Arithmetic::of<std::uint8_t>(true)
                        : model::Arithmetic::of<std::uint16_t>(false);
}

// Operations of every shape: line by line, the whole plane at once, copying, and other block sizes.
const NUV_ModelStage stages[] = {
    {"mirror x", always,
     [](const NUV_ModelImage& in, std::mt19937&, Append& append) {
         append = [](NUV_TestChain& chain) { return chain.append<NUV_MirrorX>(); };
         return in.with(in.width, in.height, in.channels,
                        [&](auto x, auto y, auto c) { return in.at(in.width - 1 - x, y, c); });
     }},
    {"mirror y", always,
     [](const NUV_ModelImage& in, std::mt19937&, Append& append) {
         append = [](NUV_TestChain& chain) { return chain.append<NUV_MirrorY>(); };
         return in.with(in.width, in.height, in.channels,
                        [&](auto x, auto y, auto c) { return in.at(x, in.height - 1 - y, c); });
     }},
    {"reverse channels", always,
     [](const NUV_ModelImage& in, std::mt19937&, Append& append) {
         append = [](NUV_TestChain& chain) { return chain.append<NUV_ReverseChannel>(); };
         return in.with(in.width, in.height, in.channels,
                        [&](auto x, auto y, auto c) { return in.at(x, y, in.channels - 1 - c); });
     }},
    {"select channels", [](const NUV_ModelImage& in) { return in.channels > 1; },
     [](const NUV_ModelImage& in, std::mt19937& random, Append& append) {
         const auto first = static_cast<std::uint32_t>(random() % in.channels);
         const auto count = static_cast<std::uint16_t>(1 + random() % (in.channels - first));
         append = [first, count](NUV_TestChain& chain) {
             return chain.append<NUV_SelectChannel>(first, std::uint32_t{count},
                                                    NUV_ColorType::none);
         };
         return in.with(in.width, in.height, count,
                        [&](auto x, auto y, auto c) { return in.at(x, y, first + c); });
     }},
    {"rotate", always,
     [](const NUV_ModelImage& in, std::mt19937& random, Append& append) {
         const int angle = static_cast<int>(random() % 4) * 90;
         append = [angle](NUV_TestChain& chain) { return chain.append<NUV_Rotate90>(angle); };
         return model_rotate(in, angle);
     }},
    {"crop", always,
     [](const NUV_ModelImage& in, std::mt19937& random, Append& append) {
         const auto x = static_cast<std::uint32_t>(random() % in.width);
         const auto y = static_cast<std::uint32_t>(random() % in.height);
         const auto w = static_cast<std::uint32_t>(1 + random() % in.width);
         const auto h = static_cast<std::uint32_t>(1 + random() % in.height);
         append = [=](NUV_TestChain& chain) { return chain.append<NUV_Crop>(x, y, w, h); };
         return model_crop(in, x, y, w, h);
     }},
    {"nearest", always,
     [](const NUV_ModelImage& in, std::mt19937& random, Append& append) {
         return scale_to_any_size<NUV_ScaleNN>(in, random, append, model::nearest);
     }},
    {"linear", has_levels,
     [](const NUV_ModelImage& in, std::mt19937& random, Append& append) {
         return scale_to_any_size<NUV_ScaleLI>(in, random, append, [&](auto& from, auto w, auto h) {
             return model::linear(from, w, h, arithmetic_of(in));
         });
     }},
    {"cubic", has_levels,
     [](const NUV_ModelImage& in, std::mt19937& random, Append& append) {
         return scale_to_any_size<NUV_ScaleCC>(in, random, append, [&](auto& from, auto w, auto h) {
             return model::cubic(from, w, h, arithmetic_of(in), -1);
         });
     }},
    {"area", has_levels,
     [](const NUV_ModelImage& in, std::mt19937& random, Append& append) {
         return scale_to_any_size<NUV_ScalePP>(in, random, append, [&](auto& from, auto w, auto h) {
             return model::area(from, w, h, arithmetic_of(in));
         });
     }},
    {"bytes as another image", has_levels,
     [](const NUV_ModelImage& in, std::mt19937&, Append& append) {
         // The same samples, one channel, and as many lines as there were columns.
         NUV_ModelImage out = in;
         out.width = in.height * in.channels;
         out.height = in.width;
         out.channels = 1;
         append = [out](NUV_TestChain& chain) {
             if (!chain.last())
                 return false;
             NUV_Header header(chain.manager());
             if (!header.copy(chain.header()))
                 return false;
             header.width(out.width);
             header.height(out.height);
             header.channels(out.channels);
             return chain.append<NUV_RewriteHeader>(&header);
         };
         return out;
     }},
    {"one of two branches", always,
     [](const NUV_ModelImage& in, std::mt19937&, Append& append) {
         append = [](NUV_TestChain& chain) {
             if (!chain.last())
                 return false;
             auto branches = chain.last()->branch(2);
             chain.last(branches.empty() ? nullptr : branches[1]);
             return chain.last() != nullptr;
         };
         return in;
     }},
};

struct Job {
    NUV_ModelImage source;
    NUV_ModelImage result;
    std::vector<Append> operations;
    std::string names;

    explicit Job(unsigned seed)
    {
        std::mt19937 random(seed);
        source = NUV_ModelImage::random(random);
        result = source;
        for (auto left = random() % 6; left > 0; --left) {
            const NUV_ModelStage& stage = stages[random() % std::size(stages)];
            if (!stage.applies(result))
                continue;
            Append append;
            result = stage.model(result, random, append);
            operations.push_back(append);
            names += stage.name + ", ";
        }
    }

    bool build(NUV_TestChain& chain, std::vector<std::uint8_t> bytes) const
    {
        chain.source_bytes(source.description(), std::move(bytes));
        return std::all_of(operations.begin(), operations.end(),
                           [&](const Append& append) { return append(chain); });
    }
};

TEST(Chains, DeliverWhatTheOperationsGiveOnTheWholeImage)
{
    for (unsigned seed = 0; seed < 2000; ++seed) {
        const Job job(seed);
        SCOPED_TRACE("seed " + std::to_string(seed) + ": " + job.names);
        NUV_TestChain chain;
        ASSERT_TRUE(job.build(chain, job.source.bytes()));
        EXPECT_EQ(chain.header().width(), job.result.width);
        EXPECT_EQ(chain.header().channels(), job.result.channels);
        ASSERT_EQ(chain.run_bytes(), job.result.bytes());
        EXPECT_EQ(chain.status().code, NUV_STATUS_OK);
    }
}

// A source that breaks off: never more than the image has, never a crash or a leak.
TEST(Chains, EndWithASourceThatBreaksOff)
{
    std::mt19937 random(7);
    for (unsigned seed = 0; seed < 500; ++seed) {
        const Job job(seed);
        SCOPED_TRACE("seed " + std::to_string(seed) + ": " + job.names);
        std::vector<std::uint8_t> bytes = job.source.bytes();
        bytes.resize(random() % bytes.size());
        NUV_TestChain chain;
        ASSERT_TRUE(job.build(chain, std::move(bytes)));
        EXPECT_LT(chain.run_bytes().size(), job.result.bytes().size() + 1);
    }
}

TEST(Chains, AreTornDownCleanlyBeforeAndInTheMiddleOfARun)
{
    for (unsigned seed = 0; seed < 300; ++seed) {
        const Job job(seed);
        NUV_TestChain chain;
        ASSERT_TRUE(job.build(chain, job.source.bytes()));
        NUV_Held<NUV_SrcBuffer> reader(chain.last()->src_buffer());
        for (unsigned steps = seed % 4; steps > 0; --steps) {
            std::uint32_t count = 0;
            EXPECT_TRUE(!reader->get(&count) || reader->release());
        }
    }
}

TEST(Chains, AreCleanAtEveryAllocation)
{
    for (const unsigned seed : {3U, 11U, 12U, 20U, 31U}) {
        const Job job(seed);
        SCOPED_TRACE(job.names);
        expect_clean_at_every_allocation([&](NUV_TestChain& chain) {
            static_cast<void>(job.build(chain, job.source.bytes()));
            static_cast<void>(chain.run_bytes());
        });
    }
}

} // namespace
} // namespace nuv
