#include "framework/manager/nuv_relationforst.h"
#include "tests/support/nuv_testchain.h"

#include <new>

namespace nuv {
namespace {

// Writes its name into a log when it dies, and how many allocations then live. Its NUV_Object does
// not begin where its memory begins.
struct First {
    virtual ~First() = default;
    int field = 0;
};
class Witness final : public First, public NUV_Object {
public:
    Witness(NUV_TestManager& manager, std::string& log, char name, std::size_t* live = nullptr)
        : NUV_Object(manager),
          memory_(&manager.memory()),
          log_(&log),
          name_(name),
          live_(live)
    {}
    bool cleanup() override
    {
        log_->push_back(name_);
        if (live_)
            *live_ = memory_->live();
        return true;
    }

private:
    NUV_FailingMemory* memory_;
    std::string* log_;
    char name_;
    std::size_t* live_;
};

[[nodiscard]] NUV_Object* make_witness(NUV_TestChain& chain, std::string& log, char name,
                                       std::size_t* live = nullptr)
{
    void* memory = chain.manager().allocate(sizeof(Witness));
    return memory ? ::new (memory) Witness(chain.manager(), log, name, live) : nullptr;
}

// Objects that depend on later ones, ended in any order, beside a count of the holders of each.
TEST(DependMap, KeepsEveryObjectUntilTheLastOfItsHolders)
{
    constexpr std::size_t count = 6;
    for (unsigned seed = 0; seed < 200; ++seed) {
        SCOPED_TRACE(seed);
        std::mt19937 random(seed);
        std::string log;
        std::string wanted;
        NUV_TestChain chain;
        NUV_Object* objects[count];
        std::vector<std::size_t> on[count];
        std::size_t holders[count] = {};
        for (std::size_t i = count; i-- > 0; ++holders[i]) { // its maker
            objects[i] = make_witness(chain, log, static_cast<char>('a' + i));
            for (std::size_t k = i + 1; k < count; ++k) {
                if (random() % 3 > 0)
                    continue;
                ASSERT_TRUE(chain.manager().depend(objects[i], objects[k]));
                on[i].push_back(k);
                ++holders[k];
            }
        }
        const std::function<void(std::size_t)> end = [&](std::size_t i) {
            if (--holders[i] > 0)
                return;
            wanted.push_back(static_cast<char>('a' + i));
            for (const std::size_t k : on[i])
                end(k);
        };
        std::size_t order[count] = {0, 1, 2, 3, 4, 5};
        std::shuffle(std::begin(order), std::end(order), random);
        for (const std::size_t i : order) {
            end(i);
            EXPECT_TRUE(objects[i]->end());
            EXPECT_EQ(log, wanted);
        }
    }
    NUV_TestChain chain;
    std::string log;
    NUV_Object* a = make_witness(chain, log, 'a');
    EXPECT_FALSE(chain.manager().depend(a, a));
    EXPECT_FALSE(chain.manager().depend(nullptr, a));
    EXPECT_FALSE(chain.manager().end(static_cast<NUV_Object*>(nullptr)));
    EXPECT_STREQ(chain.status().method, "NUV_DependMap::depend()");
    EXPECT_TRUE(a->end());
}

TEST(DependMap, ChangesNothingWhenADependencyCannotBeKept)
{
    for (std::size_t k = 0; k < 2; ++k) {
        std::string log;
        NUV_TestChain chain;
        NUV_Object* a = make_witness(chain, log, 'a');
        NUV_Object* b = make_witness(chain, log, 'b');
        chain.manager().memory().fail_at(k);
        EXPECT_FALSE(chain.manager().depend(a, b));
        EXPECT_TRUE(b->end());
        EXPECT_EQ(log, "b");
        EXPECT_TRUE(a->end());
    }
}

// Its address is the key of what it depends on: no new object may get it before that is gone.
TEST(DependMap, KeepsTheMemoryOfAnObjectUntilItHasLetGoOfOthers)
{
    NUV_TestChain chain;
    const std::size_t before = chain.manager().memory().live();
    std::size_t with_a = 0;
    std::size_t with_b = 0;
    std::string log;
    NUV_Object* a = make_witness(chain, log, 'a', &with_a);
    NUV_Object* b = make_witness(chain, log, 'b', &with_b);
    ASSERT_TRUE(chain.manager().depend(a, b));
    EXPECT_TRUE(b->end());
    EXPECT_TRUE(a->end());
    EXPECT_EQ(with_a, before + 3) << "both, and what the map keeps of them";
    EXPECT_EQ(with_b, before + 2) << "both";
}

class IdleEngine final : public NUV_HeadlessEngine {
public:
    IdleEngine(NUV_Manager& manager, std::string& log, char name)
        : NUV_HeadlessEngine(manager),
          log_(&log),
          name_(name)
    {}
    bool cleanup() override
    {
        log_->push_back(name_);
        return NUV_HeadlessEngine::cleanup();
    }

private:
    std::string* log_;
    char name_;
};

TEST(EngDstTable, EndsTheLastChainEndFirstAndThenWhatFeedsBuffersInTheirOrder)
{
    std::string log;
    NUV_TestChain chain;
    NUV_RelationForST relation(chain.manager());
    NUV_DstBuffer* buffers[] = {chain.manager().create_dst_buffer_proxy(),
                                chain.manager().create_dst_buffer_proxy()};
    std::sort(std::begin(buffers), std::end(buffers), std::less<>());
    const auto add = [&](char name, NUV_DstBuffer* buffer) {
        NUV_Engine* engine = make_object<IdleEngine>(chain.manager(), log, name).release();
        EXPECT_EQ(relation.add(engine, buffer), engine);
    };
    add('4', buffers[1]);
    add('2', nullptr);
    add('3', buffers[0]);
    add('1', nullptr);
    relation.clear();
    EXPECT_EQ(log, "1234");
    EXPECT_TRUE(relation.is_empty());
    for (NUV_DstBuffer* buffer : buffers)
        buffer->end();
}

TEST(EngDstTable, HoldsOneEngineForABufferAndAnyNumberWithout)
{
    NUV_TestChain chain;
    NUV_RelationForST relation(chain.manager());
    std::string log;
    NUV_Engine* first = make_object<IdleEngine>(chain.manager(), log, '1').release();
    NUV_Engine* second = make_object<IdleEngine>(chain.manager(), log, '2').release();
    NUV_DstBuffer* buffer = chain.manager().create_dst_buffer_proxy();
    EXPECT_EQ(relation.add(first, buffer), first);
    EXPECT_EQ(relation.add(second, buffer), nullptr) << "the buffer has its engine";
    EXPECT_EQ(relation.add(second, nullptr), second);
    EXPECT_EQ(relation.add(second, nullptr), nullptr) << "there already";
    EXPECT_EQ(relation.find(buffer), first);
    EXPECT_TRUE(relation.remove(first));
    EXPECT_FALSE(relation.remove(first));
    EXPECT_EQ(relation.find(buffer), nullptr);
    // The second was never initiated and so does not take itself out.
    relation.clear();
    EXPECT_TRUE(relation.is_empty());
    first->end();
    buffer->end();
}

} // namespace
} // namespace nuv
