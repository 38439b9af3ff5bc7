#include "framework/containers/nuv_basicstring.h"
#include "framework/containers/nuv_list.h"
#include "framework/containers/nuv_map.h"
#include "framework/containers/nuv_vector.h"
#include "tests/support/nuv_testchain.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <functional>
#include <limits>

namespace nuv {
namespace {

constexpr std::size_t too_many = std::numeric_limits<std::size_t>::max() / 2;

// Each operation fails in a way of its own, under its own name.
TEST(Containers, TurnEveryFailureIntoAStatusAndAFalse)
{
    struct Case {
        const char* method;
        std::function<bool(NUV_Manager&)> run;
    };
    const Case cases[] = {
        {"NUV_Vector<T>::resize()",
         [](NUV_Manager& m) { return NUV_Vector<int>(m).resize(too_many); }},
        {"NUV_Vector<T>::reserve()",
         [](NUV_Manager& m) { return NUV_Vector<int>(m).reserve(too_many); }},
        {"NUV_Vector<T>::at() --- out of range",
         [](NUV_Manager& m) { return NUV_Vector<int>(m).at(0) != nullptr; }},
        {"NUV_BasicString<Ch>::assign()",
         [](NUV_Manager& m) { return NUV_BasicString<char>(m).assign(nullptr); }},
        {"NUV_BasicString<Ch>::append()",
         [](NUV_Manager& m) { return NUV_BasicString<char>(m).append(nullptr); }},
        {"NUV_BasicString<Ch>::resize()",
         [](NUV_Manager& m) { return NUV_BasicString<char>(m).resize(too_many * 2 - 1); }},
        {"NUV_BasicString<Ch>::erase()",
         [](NUV_Manager& m) { return NUV_BasicString<char>(m).erase(1, 1); }},
    };
    for (const Case& c : cases) {
        NUV_TestChain chain;
        EXPECT_FALSE(c.run(chain.manager())) << c.method;
        EXPECT_EQ(chain.status().code, NUV_ERROR) << c.method;
        EXPECT_STREQ(chain.status().method, c.method);
    }
}

TEST(Containers, TellOfMissingMemoryAsSuchAndStayAsTheyWere)
{
    const auto expect_no_memory = [](const char* what, auto make, auto add) {
        SCOPED_TRACE(what);
        NUV_TestChain chain;
        auto container = make(chain.manager());
        chain.manager().memory().fail_at(0);
        EXPECT_FALSE(add(container));
        EXPECT_EQ(chain.status().code, NUV_ERR_MEMORY);
        EXPECT_EQ(container.size(), 0u);
    };
    expect_no_memory(
        "vector", [](NUV_Manager& m) { return NUV_Vector<int>(m); },
        [](auto& v) { return v.push_back(1); });
    NUV_TestChain chain;
    NUV_List<int> list(chain.manager());
    NUV_Map<int, int> map(chain.manager());
    NUV_BasicString<char> text(chain.manager());
    for (const std::function<bool()>& add : std::initializer_list<std::function<bool()>>{
             [&] { return list.push_back(1); }, [&] { return map.insert(1, 1); },
             [&] { return map[1] != nullptr; },
             [&] { return text.assign("longer than what a string keeps inside itself"); }}) {
        chain.manager().reset();
        chain.manager().memory().fail_at(0);
        EXPECT_FALSE(add());
        EXPECT_EQ(chain.status().code, NUV_ERR_MEMORY);
    }
    EXPECT_TRUE(list.empty() && map.empty() && text.empty());
    ASSERT_TRUE(map.insert(1, 5));
    EXPECT_FALSE(map.insert(1, 6)) << "there already";
    EXPECT_EQ(*map.find(1), 5);
}

} // namespace
} // namespace nuv
