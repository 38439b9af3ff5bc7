#pragma once

#include "tests/support/nuv_test.h"
#include "tests/support/nuv_testlevels.h"

#include <initializer_list>

namespace nuv {

// What one call of a form is made with. The same round draws the same.
class NUV_FormDraw {
public:
    explicit NUV_FormDraw(std::size_t round) : round_(round), random_(round) {}

    // 0 to `most`, all of them in turn as the rounds go on.
    [[nodiscard]] std::size_t length(std::size_t most) const { return round_ % (most + 1); }
    [[nodiscard]] std::size_t number(std::size_t least, std::size_t most)
    {
        return least + static_cast<std::size_t>(random_()) % (most - least + 1);
    }
    template <class V>
    [[nodiscard]] V one_of(std::initializer_list<V> values)
    {
        return values.begin()[number(0, values.size() - 1)];
    }
    // Random values of any alignment, which may be changed. Their memory ends behind the last one,
    // so that a sanitizer sees who reads on.
    template <class T>
    [[nodiscard]] T* input(std::size_t count)
    {
        const std::size_t before = number(1, 16);
        const auto memory =
            std::make_shared<std::vector<T>>(random_samples<T>(before + count, random_()));
        held_.push_back(memory);
        return memory->data() + before;
    }

private:
    std::size_t round_;
    std::mt19937_64 random_;
    std::vector<std::shared_ptr<void>> held_;
};

// Which forms the levels take, a letter each: "PPAA" when there is a portable and an AVX2 one.
template <class Choose>
void expect_chosen(const char (&forms)[std::size(test_levels) + 1], Choose choose)
{
    for (std::size_t a = 0; a < std::size(test_levels); ++a) {
        for (std::size_t b = 0; b < a; ++b) {
            EXPECT_EQ(choose(test_levels[a].cpu) == choose(test_levels[b].cpu),
                      !NUV_X86 || forms[a] == forms[b])
                << forms << ": " << test_levels[a].name << " and " << test_levels[b].name;
        }
    }
}

// Compares a form with the portable one: the same values at any alignment, nothing outside them.
template <class Out, class Form>
struct NUV_FormPair {
    Form portable;
    Form form;
    std::size_t round;

    // `outputs` is how many values of `out` call(form, out) may touch. Gaps that the portable form
    // leaves are left by all. What a form answers in another way belongs in `out`, too.
    template <class Call>
    void operator()(std::size_t outputs, Call call) const
    {
        constexpr std::size_t margin = 64; // of guards on either side
        const std::size_t start = margin - round % 16;
        const auto before = random_samples<Out>(outputs + 2 * margin, round);
        auto wanted = before;
        auto got = before;
        call(portable, wanted.data() + start);
        call(form, got.data() + start);
        ASSERT_EQ(got, wanted);
        const auto begin = got.begin() + static_cast<std::ptrdiff_t>(start);
        const auto end = begin + static_cast<std::ptrdiff_t>(outputs);
        ASSERT_TRUE(std::equal(got.begin(), begin, before.begin())) << "writes before the begin";
        ASSERT_TRUE(std::equal(end, got.end(), before.end() - (got.end() - end)))
            << "writes past the end";
    }
};

// Asserts which forms choose(cpu) gives, and compares all those that run here on calls that
// draw(NUV_FormDraw&, compare) makes: it draws the arguments, and calls compare(outputs, call).
template <class Out, class Choose, class Draw>
void expect_same_forms(const char (&forms)[std::size(test_levels) + 1], Choose choose, Draw draw,
                       std::size_t rounds = 2000)
{
    expect_chosen(forms, choose);
    const auto portable = choose(NUV_Cpu{});
    auto compared = portable;
    for (const NUV_TestLevel& level : test_levels) {
        const auto form = choose(level.cpu);
        if (!level.runs_here() || form == compared)
            continue;
        compared = form;
        for (std::size_t round = 0; round < rounds; ++round) {
            SCOPED_TRACE(testing::Message() << level.name << ", round " << round);
            NUV_FormDraw arguments(round);
            draw(arguments, NUV_FormPair<Out, decltype(portable)>{portable, form, round});
            if (testing::Test::HasFatalFailure())
                return;
        }
    }
}

} // namespace nuv
