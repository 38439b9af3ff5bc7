#include "framework/containers/nuv_basicstring.h"
#include "framework/containers/nuv_list.h"
#include "framework/containers/nuv_map.h"
#include "framework/containers/nuv_vector.h"
#include "tests/support/nuv_testchain.h"

namespace nuv {
namespace {

constexpr std::size_t too_many = std::numeric_limits<std::size_t>::max() / 2;

// Each operation fails in a way of its own, under its own name.
TEST(Containers, TurnEveryFailureIntoAStatusAndAFalse)
{
    // clang-format off
    const std::pair<const char*, std::function<bool(NUV_Manager&)>> cases[] = {
        {"NUV_Vector<T>::resize()", [](NUV_Manager& m) { return NUV_Vector<int>(m).resize(too_many); }},
        {"NUV_Vector<T>::reserve()", [](NUV_Manager& m) { return NUV_Vector<int>(m).reserve(too_many); }},
        {"NUV_Vector<T>::at() --- out of range", [](NUV_Manager& m) { return NUV_Vector<int>(m).at(0) != nullptr; }},
        {"NUV_BasicString<Ch>::assign()", [](NUV_Manager& m) { return NUV_BasicString<char>(m).assign(nullptr); }},
        {"NUV_BasicString<Ch>::append()", [](NUV_Manager& m) { return NUV_BasicString<char>(m).append(nullptr); }},
        {"NUV_BasicString<Ch>::resize()", [](NUV_Manager& m) { return NUV_BasicString<char>(m).resize(too_many * 2 - 1); }},
        {"NUV_BasicString<Ch>::erase()", [](NUV_Manager& m) { return NUV_BasicString<char>(m).erase(1, 1); }},
    };
    // clang-format on
    for (const auto& [method, run] : cases) {
        NUV_TestChain chain;
        EXPECT_FALSE(run(chain.manager())) << method;
        expect_status(chain.manager(), NUV_ERROR, method);
    }
}

TEST(Containers, TellOfMissingMemoryAsSuchAndStayAsTheyWere)
{
    NUV_TestChain chain;
    NUV_Vector<int> vector(chain.manager());
    NUV_List<int> list(chain.manager());
    NUV_Map<int, int> map(chain.manager());
    NUV_BasicString<char> text(chain.manager());
    const std::function<bool()> calls[] = {
        [&] { return vector.push_back(1); },
        [&] { return list.push_back(1); },
        [&] { return map.insert(1, 1); },
        [&] { return map[1] != nullptr; },
        [&] { return text.assign("longer than what a string keeps inside itself"); },
    };
    for (const std::function<bool()>& add : calls) {
        chain.manager().reset();
        chain.manager().memory().fail_at(0);
        EXPECT_FALSE(add());
        EXPECT_EQ(chain.status().code, NUV_ERR_MEMORY);
    }
    EXPECT_TRUE(vector.empty() && list.empty() && map.empty() && text.empty());
    ASSERT_TRUE(map.insert(1, 5));
    EXPECT_FALSE(map.insert(1, 6)) << "there already";
    EXPECT_EQ(*map.find(1), 5);
}

} // namespace
} // namespace nuv
