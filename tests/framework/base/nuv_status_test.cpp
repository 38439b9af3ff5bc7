#include "framework/base/nuv_status.h"

#include "framework/base/nuv_failure.h"
#include "framework/manager/nuv_countedmemorymanager.h"
#include "framework/manager/nuv_createmanager.h"
#include "framework/manager/nuv_firsterrorhandler.h"
#include "tests/support/nuv_testchain.h"

#include <initializer_list>

namespace nuv {
namespace {

TEST(FirstErrorHandler, KeepsTheFirstWarningUntilAnErrorAndThenTheFirstError)
{
    struct Case {
        const char* what;
        std::initializer_list<std::pair<NUV_StatusCode, const char*>> raised;
        NUV_StatusCode code;
        const char* method;
    };
    // clang-format off
    const Case cases[] = {
        {"nothing", {{0, "a"}, {NUV_ERR_IO, ""}, {NUV_ERR_IO, nullptr}}, 0, ""},
        {"warnings", {{NUV_WARN_BROKEN_DATA, "a"}, {NUV_WARN_INVALID_DATA, "b"}}, NUV_WARN_BROKEN_DATA, "a"},
        {"warning, error, error", {{NUV_WARN_BROKEN_DATA, "a"}, {NUV_ERR_IO, "b"}, {NUV_ERR_MEMORY, "c"}}, NUV_ERR_IO, "b"},
        {"error, warning", {{NUV_ERR_IO, "a"}, {NUV_WARN_BROKEN_DATA, "b"}}, NUV_ERR_IO, "a"},
    };
    // clang-format on
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        NUV_TestChain chain;
        for (const auto& [code, method] : c.raised)
            chain.manager().raise(code, method, "x/y.cpp", 7);
        EXPECT_EQ(chain.status().code, c.code);
        EXPECT_STREQ(chain.status().method, c.method);
        EXPECT_STREQ(chain.status().file, c.code ? "y.cpp" : "");
        EXPECT_TRUE(chain.manager().reset());
        EXPECT_EQ(chain.status().code, NUV_STATUS_OK);
        EXPECT_STREQ(chain.status().method, "");
    }
}

TEST(FirstErrorHandler, KeepsTheReasonOfTheStatusThatStandsAndTheFirstDamagedLine)
{
    NUV_TestChain chain;
    NUV_Manager& manager = chain.manager();
    warn(manager, NUV_WARN_BROKEN_DATA, "a", NUV_Diagnosis().on_line(9));
    warn(manager, NUV_WARN_BROKEN_DATA, "b");
    warn(manager, NUV_WARN_BROKEN_DATA, "c", NUV_Diagnosis().on_line(7));
    warn(manager, NUV_WARN_BROKEN_DATA, "c", NUV_Diagnosis().on_line(8));
    warn(manager, NUV_WARN_BROKEN_DATA, "c", NUV_Diagnosis().because(NUV_Cause::invalid));
    EXPECT_EQ(manager.diagnosis().line, 9);
    EXPECT_EQ(manager.diagnosis().cause, NUV_Cause::damaged);
    fail(manager, NUV_ERR_IO, "d", NUV_Diagnosis().system(28).at_byte(5).says("%d", 1));
    fail(manager, NUV_ERR_UNSUPPORTED, "e", NUV_Diagnosis().says("later"));
    const NUV_Report report(manager);
    EXPECT_EQ(manager.damage().count, 4u);
    EXPECT_EQ(manager.damage().first_line, 7);
    manager.note_damage(NUV_Diagnosis().on_line(3));
    EXPECT_EQ(manager.damage().count, 5u);
    EXPECT_EQ(manager.damage().first_line, 3);

    EXPECT_TRUE(manager.reset());
    EXPECT_EQ(manager.diagnosis().cause, NUV_Cause::none);
    EXPECT_EQ(manager.damage().count, 0u);
    report.raise_again(manager);
    EXPECT_STREQ(chain.status().method, "d");
    EXPECT_EQ(manager.diagnosis().cause, NUV_Cause::io);
    EXPECT_EQ(manager.diagnosis().system_error, 28);
    EXPECT_EQ(manager.diagnosis().byte, 5);
    EXPECT_STREQ(manager.diagnosis().text, "1");
}

TEST(Status, CutsLongTextsAndKeepsTheFileNameAlone)
{
    NUV_TestChain chain;
    const std::string text(300, 'm');
    const NUV_Status status(chain.manager(), NUV_ERR_IO, text.c_str(), text.c_str(), 1);
    EXPECT_EQ(std::string(status.method), text.substr(0, 255));
    EXPECT_EQ(std::string(status.file), text.substr(0, 255));

    for (const char* path : {"a/b\\c", "a\\b/c", "c", "/c", "\\c"})
        EXPECT_STREQ(NUV_Status(chain.manager(), NUV_ERR_IO, "m", path, 1).file, "c") << path;
    EXPECT_STREQ(NUV_Status(chain.manager(), NUV_ERR_IO, nullptr, nullptr, 1).method, "");
}

// Leaves an error behind when it is ended.
class FailsAtEnd final : public NUV_HeadlessEngine {
public:
    using NUV_HeadlessEngine::NUV_HeadlessEngine;
    bool cleanup() override
    {
        manager().raise(NUV_ERR_IO, "at end", "f", 1);
        return false;
    }
};

TEST(Manager, FinishReportsWhatEndingAddsUnlessAnErrorStoodBefore)
{
    const std::pair<NUV_StatusCode, NUV_StatusCode> cases[] = {
        {0, NUV_ERR_IO}, {NUV_WARN_BROKEN_DATA, NUV_ERR_IO}, {NUV_ERR_MEMORY, NUV_ERR_MEMORY}};
    for (const auto& [before, after] : cases) {
        NUV_TestChain chain;
        auto engine = make_object<FailsAtEnd>(chain.manager());
        engine->set_initiated();
        ASSERT_TRUE(chain.manager().add(engine.release(), nullptr));
        chain.manager().raise(before, "before", "f", 1);
        NUV_Status out(chain.manager());
        EXPECT_FALSE(chain.manager().finish(out));
        EXPECT_EQ(out.code, after);
        EXPECT_EQ(chain.status().code, NUV_STATUS_OK);
    }
    NUV_TestChain chain;
    chain.manager().raise(NUV_WARN_BROKEN_DATA, "warning", "f", 1);
    NUV_Status out(chain.manager());
    EXPECT_TRUE(chain.manager().finish(out));
    EXPECT_EQ(out.code, NUV_WARN_BROKEN_DATA);
}

TEST(CountedMemory, RefusesWhatPassesItsLimitAndTellsSo)
{
    NUV_MemoryCount count;
    NUV_Manager* const manager = create_manager(count);
    ASSERT_NE(manager, nullptr);
    const std::size_t own = count.used;
    count.limit = own + 100;
    void* const first = manager->allocate(60);
    EXPECT_EQ(manager->allocate(41), nullptr);
    EXPECT_EQ(manager->status().code, NUV_ERR_MEMORY);
    EXPECT_EQ(manager->diagnosis().cause, NUV_Cause::limit);
    EXPECT_TRUE(manager->reset());
    manager->deallocate(first);
    manager->deallocate(nullptr);
    void* const second = manager->allocate(100);
    EXPECT_NE(second, nullptr);
    EXPECT_EQ(count.peak, own + 100);
    manager->deallocate(second);
    EXPECT_EQ(count.used, own);
    count.limit = 0;
    EXPECT_EQ(manager->allocate(std::numeric_limits<std::size_t>::max()), nullptr);
    destroy_manager(manager);
    EXPECT_EQ(count.used, 0u);
}

} // namespace
} // namespace nuv
