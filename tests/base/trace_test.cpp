// The trace and the reports on a terminal.
#include "fe/base/trace.h"
#include "fe/base/terminal.h"
#include "tests/support/captured_syslog.h"
#include "tests/support/terminal.h"

#include <gtest/gtest.h>
#include <syslog.h>

using namespace ia::test;

namespace {

class Trace : public testing::Test {
protected:
    void SetUp() override { clear_syslog(); }
};

TEST_F(Trace, WritesUpToTheLevelAndNoFurther) {
    const LogLevel level(6);
    pppoeia_log(7, "unseen");
    pppoeia_log(6, "seen %d", 1);
    pppoeia_log(2, "error");
    const auto records = syslog_records();
    ASSERT_EQ(records.size(), 2U);
    EXPECT_EQ(records[0].text, "[PPPoE]  seen 1");
    EXPECT_EQ(records[0].priority, LOG_INFO);
    EXPECT_EQ(records[1].priority, LOG_CRIT);
}

TEST_F(Trace, DebugAppearsAsInformation) {
    const LogLevel level(7);
    pppoeia_log(7, "%s", "frame");
    ASSERT_EQ(syslog_records().size(), 1U);
    EXPECT_EQ(syslog_records()[0].priority, LOG_INFO);
}

TEST_F(Trace, MinusOneSilencesErrorsToo) {
    const LogLevel level(-1);
    pppoeia_log(2, "error");
    EXPECT_TRUE(syslog_records().empty());
}

TEST_F(Trace, LongMessagesAreWhole) {
    for (const std::size_t length : {998U, 999U, 1000U, 1500U}) {
        clear_syslog();
        const std::string text(length, 'x');
        pppoeia_log(6, "%s", text.c_str());
        ASSERT_EQ(syslog_records().size(), 1U);
        EXPECT_EQ(syslog_records()[0].text, "[PPPoE]  " + text);
    }
}

TEST_F(Trace, CallsShowTheirArguments) {
    const LogLevel level(7);
    ia::trace_call("none", "br0");
    ia::trace_call("some", "br0", 7U, 0xFFFFFFFFU, "text");
    ia::refuse("lost", -28);
    ia::refuse_port("absent", 9);
    EXPECT_EQ(traces(), (std::vector<std::string>{"none(br0)", "some(br0, 7, -1, text)",
                                                  "lost()=-ENOSPC", "absent(9)=-ENODEV"}));
}

std::ostringstream report(const std::string &text) {
    std::ostringstream stream;
    stream << text;
    return stream;
}

TEST_F(Trace, ReportsReachTheTerminal) {
    const Terminal terminal;
    pppoeia_send_stream_to_tty(report("two\nlines\n"), terminal.path());
    EXPECT_EQ(terminal.written(), "two\nlines\n");
}

TEST_F(Trace, WhatCannotBeWrittenIsRecorded) {
    const LogLevel silent(-1);
    pppoeia_send_stream_to_tty(report("text"), "");
    EXPECT_TRUE(syslog_records().empty());
    pppoeia_send_stream_to_tty(report("text"), "/nowhere/tty");
    pppoeia_send_stream_to_tty(report("text"), "/dev/full");
    const auto records = syslog_records();
    ASSERT_EQ(records.size(), 2U);
    EXPECT_EQ(records[0].text, "\t PPPoEIA: Error opening tty file for writing: /nowhere/tty\n");
    EXPECT_EQ(records[0].priority, LOG_CRIT);
    EXPECT_EQ(records[1].text, "\t PPPoEIA: Error writing to file: /dev/full\n");
}

}  // namespace
