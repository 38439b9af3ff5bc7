// Whole runs through the exported class, with one allocation after the other failing. The library's
// heap policy is replaced here, when the program is linked.

#include "tests/support/nuv_failingheap.h"
#include "tests/wrapper/nuv_testjob.h"

namespace {

const Bytes ppm = text("P6 9 5 255\n") + Bytes(135, 'x');

// What was written.
Bytes job(const Call& build, std::size_t room = 4096)
{
    const JobResult result = run(ppm, build, room);
    EXPECT_TRUE(result.answer == 0 || result.answer == -1);
    return result.written;
}

const Call builds[] = {
    in_turn(
        read_any, [](NuvWrapperClass& w) { w.MirrorX(); }, write_raw),
    [](NuvWrapperClass& w) {
        ImageParam param = raw_image(0, 0, 0, 0, ColorType::eYCbCr);
        w.ReadRaster(&param);
        w.WriteStoragePlanar(nullptr);
    },
    [](NuvWrapperClass& w) {
        ImageParam param = raw_image(5, 7, 1, 8);
        w.ReadStoragePlanar(&param);
        w.WriteJPEG(nullptr);
    },
    [](NuvWrapperClass& w) {
        static const Bytes raw(135, 'x'); // no known format
        const Bytes table(768, 7);
        LutParam lut{table.data(), 256, 8, 0};
        ConvertDataParam rule{2, 1, 16};
        w.SetSrcMemory(raw.data(), static_cast<int>(raw.size()));
        read_raw(raw_image(9, 5, 3, 8, ColorType::eRGB))(w);
        w.LUT(&lut);
        w.ConvertDataType(&rule);
        w.ColorSpace(ColorType::eGrayReverse);
        w.WriteStorage(nullptr);
    },
    [](NuvWrapperClass& w) {
        ImageParam param{};
        w.GetSrcImgInfo(&param);
    },
};

// And what has been written is the beginning of the right result.
TEST(WrapperMemory, NothingIsLeftWhicheverAllocationFails)
{
    for (const Call& build : builds) {
        nuv::heap_fails_at = nuv::never_fails;
        nuv::heap_allocations = 0;
        const Bytes whole = job(build);
        ASSERT_EQ(nuv::heap_live, 0);
        const std::size_t all = nuv::heap_allocations;
        for (std::size_t k = 0; k < all; ++k) {
            nuv::heap_fails_at = k;
            nuv::heap_allocations = 0;
            const Bytes part = job(build);
            ASSERT_EQ(nuv::heap_live, 0) << "allocation " << k;
            ASSERT_EQ(part, first(whole, part.size())) << "allocation " << k;
        }
        nuv::heap_fails_at = nuv::never_fails;
    }
}

// Destroyed after each call, and with a destination that is full too early.
TEST(WrapperMemory, NothingIsLeftWhereverTheJobStops)
{
    for (const Call& build : builds) {
        {
            NuvWrapperClass wrapper;
            wrapper.SetSrcMemory(ppm.data(), static_cast<int>(ppm.size()));
            build(wrapper);
        }
        EXPECT_EQ(nuv::heap_live, 0);
        for (std::size_t room = 1; room < 200; room += 7)
            job(build, room);
        EXPECT_EQ(nuv::heap_live, 0);
    }
}

TEST(WrapperMemory, AskedForIsNoMoreThanTheImageNeeds)
{
    // Sizes from a record or a header cost nothing until data arrives.
    nuv::heap_largest = 0;
    NuvWrapperClass wrapper;
    wrapper.SetSrcMemory(ppm.data() + 1, 1);
    in_turn(read_raw(raw_image(0x1FFFFFFF, 7, 1, 8)), [](auto& w) { w.MirrorX(); })(wrapper);
    EXPECT_LT(nuv::heap_largest, std::size_t{1} << 17); // the probes have a buffer of their own
}

} // namespace
