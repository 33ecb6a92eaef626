#include <Kest/Logger.hpp>

#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using Kest::ErrorLogLine;
using Kest::InfoLogLine;
using Kest::LogEntry;
using Kest::logger;
using Kest::Logger;
using Kest::LogSeverity;
using Kest::UniString;

class LoggerTest : public testing::Test {
protected:
    LoggerTest() {
        logger.SetSink([this](const LogEntry& entry) { heard.push_back(entry); });
    }
    ~LoggerTest() override { logger.SetSink(nullptr); }

    std::string Texts() const {
        std::string texts;
        for (const LogEntry& entry : heard)
            texts += entry.text.ToCStr() + ';';
        return texts;
    }

    std::vector<LogEntry> heard;
    const InfoLogLine line{"%d", "Test"};
};

TEST_F(LoggerTest, AnEntryCarriesTextCategoryAndPlace) {
    static const ErrorLogLine taken("index %d is already used by \"%T\"", "ZalAttributes");
    const unsigned lineOfTaken = __LINE__ - 1;
    taken.Write(7, UniString(u"W\u00E4nde"));
    taken.WriteText(u"50% %d %T");

    ASSERT_EQ(heard.size(), 2U);
    EXPECT_EQ(heard[0].text, u"index 7 is already used by \"W\u00E4nde\"");
    EXPECT_EQ(heard[0].severity, LogSeverity::Error);
    EXPECT_STREQ(heard[0].category, "ZalAttributes");
    EXPECT_STREQ(heard[0].file, __FILE__);
    EXPECT_EQ(heard[0].line, lineOfTaken);
    EXPECT_EQ(heard[1].text, u"50% %d %T");
}

TEST_F(LoggerTest, ASinkThatLogsDoesNotHearItselfButTheOthersDo) {
    int calls = 0;
    logger.AddSink([&](const LogEntry&) {
        ++calls;
        line.Write(calls * 100);
    });
    logger.AddSink([&](const LogEntry&) { line.Write(-1); });   // the two would answer each other for ever
    line.Write(1);
    EXPECT_EQ(calls, 2);
    EXPECT_EQ(Texts(), "1;100;-1;-1;200;");
}

TEST_F(LoggerTest, ASinkMayRemoveItselfAndLaterOnesAndAddOthers) {
    Logger::SinkId self = 0, later = 0;
    int laterCalls = 0;
    self = logger.AddSink([&, guard = std::make_shared<int>(1)](const LogEntry&) {
        EXPECT_TRUE(logger.RemoveSink(self));
        EXPECT_TRUE(logger.RemoveSink(later));
        EXPECT_FALSE(logger.RemoveSink(later));
        logger.AddSink([&](const LogEntry& entry) { line.WriteText(u"added: " + entry.text); });
        EXPECT_EQ(*guard, 1);   // what the sink holds lives until it returns
        throw std::runtime_error("sink");
    });
    later = logger.AddSink([&](const LogEntry&) { ++laterCalls; });
    line.Write(1);
    line.Write(2);
    EXPECT_EQ(laterCalls, 0);
    EXPECT_EQ(Texts(), "1;2;added: 2;");
}

TEST_F(LoggerTest, ASinkWhoseContentLogsWhenItGoesIsHarmless) {
    struct LogsAtItsEnd {
        ~LogsAtItsEnd() { InfoLogLine("end", "Test").Write(); }
    };
    const auto first = logger.AddSink([content = std::make_shared<LogsAtItsEnd>()](const LogEntry&) {});
    logger.RemoveSink(first);
    EXPECT_EQ(Texts(), "end;");
    logger.AddSink([content = std::make_shared<LogsAtItsEnd>()](const LogEntry&) {});
    logger.SetSink([this](const LogEntry& entry) { heard.push_back(entry); });
    EXPECT_EQ(Texts(), "end;end;");
}

TEST_F(LoggerTest, StandardErrorGetsOneLineThatCannotBeForged) {
    logger.SetSink(nullptr);
    testing::internal::CaptureStderr();
    ErrorLogLine("%T", "Zal").Write(UniString(u"a\nerror: b\t\x1B[1m\u0085\u2028\u00E9"));
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "error: Zal: a\\nerror: b\\t\\u001B[1m\\u0085\\u2028\xC3\xA9\n");
}

}   // namespace
