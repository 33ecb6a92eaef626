#include <Kest/DebugOutput.hpp>

#include <gtest/gtest.h>

#include <cstdlib>
#include <stdexcept>
#include <utility>

namespace {

using Kest::UniString;

class DebugOutputTest : public testing::Test {
protected:
    ~DebugOutputTest() override {
        DBSetSink(nullptr);
        DBSetSettings({});
    }

    UniString heard;
};

TEST_F(DebugOutputTest, ASinkMayPrintReplaceItselfAndThrow) {
    DBSetSink([this](const UniString& text) {
        DBPrintf("again %T", text);   // dropped, or it would never end
        DBSetSink([this](const UniString& later) { heard += u"second " + later; });
        heard += u"first " + text;   // still alive
        throw std::runtime_error("sink");
    });
    DBWrite(u"a,");
    DBWrite(u"b");
    EXPECT_EQ(heard, u"first a,second b");
}

TEST_F(DebugOutputTest, StandardErrorKeepsLinesAndEscapesOtherControls) {
    testing::internal::CaptureStderr();
    DBPrintf("[%s]\t%T\n", "x", UniString(u"\u001B\u00E9"));
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "[x]\t\\u001B\xC3\xA9\n");
}

TEST_F(DebugOutputTest, SettingsComeFromTheTableThenFromTheEnvironment) {
    const char* const fromEnvironment = "KEST_TEST_SETTING";
    setenv(fromEnvironment, "yes", 1);
    EXPECT_TRUE(DBGetBool(fromEnvironment, false));
    EXPECT_FALSE(DBGetBool("KEST_TEST_MISSING", false));
    EXPECT_TRUE(DBGetBool("KEST_TEST_MISSING", true));

    const struct {
        const char16_t* value;
        bool orFalse;
        bool orTrue;
    } cases[] = {{u"1", true, true},     {u"On", true, true}, {u"no", false, false},
                 {u"oFF", false, false}, {u"", false, true},  {u"2", false, true}};
    for (const auto& c : cases) {
        DBSettings settings;
        settings.Add(UniString(fromEnvironment), UniString(c.value));
        DBSetSettings(std::move(settings));
        EXPECT_EQ(DBGetBool(fromEnvironment, false), c.orFalse) << UniString(c.value);
        EXPECT_EQ(DBGetBool(fromEnvironment, true), c.orTrue) << UniString(c.value);
    }
    unsetenv(fromEnvironment);
}

}   // namespace
