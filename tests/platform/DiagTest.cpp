// Diagnostics reach an installed handler with kind, condition, formatted message, source, line.
#include <gtest/gtest.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>

#include "common/DiagCapture.h"
#include "platform/KrPlatform.h"

namespace {

int checkedHalf(int value) {
    KR_ASSERTW(value % 2 == 0, L"tests/Half", L"Error: %d is odd (%s)", value, L"wide arg");
    return value / 2;
}

}  // namespace

// An assertion and a running diagnostic (kind 1, no condition) reach the handler with every field;
// the assertion macro reports only when its condition is false, with the condition's text.
TEST(Diagnostics, ReportsReachTheHandlerWithAllFields) {
    DiagCapture capture;
    const int line = __LINE__ + 1;
    DiagAssertW(L"a != b", L"variant/CKrList", line, L"Error: %s has %d items", L"list", 3);
    DiagOutputExW(L"xmltree/XmlTree", 42, L"parsed %hs in %I64d ms", "file.xml", (long long)17);
    EXPECT_EQ(checkedHalf(4), 2);
    EXPECT_EQ(checkedHalf(5), 2);
    DiagAssertW(nullptr, nullptr, 7, nullptr);  // null format and source do not crash
    const auto records = capture.records();
    ASSERT_EQ(records.size(), 4u);
    const DiagRecord expected[] = {
        {0, L"a != b", L"Error: list has 3 items", L"variant/CKrList", line},
        {1, L"", L"parsed file.xml in 17 ms", L"xmltree/XmlTree", 42},
        {0, L"value % 2 == 0", L"Error: 5 is odd (wide arg)", L"tests/Half", records[2].line},
        {0, L"", L"", L"", 7},
    };
    for (size_t i = 0; i < records.size(); ++i) {
        SCOPED_TRACE(i);
        EXPECT_EQ(records[i].kind, expected[i].kind);
        EXPECT_EQ(records[i].condition, expected[i].condition);
        EXPECT_EQ(records[i].message, expected[i].message);
        EXPECT_EQ(records[i].source, expected[i].source);
        EXPECT_EQ(records[i].line, expected[i].line);
    }
    EXPECT_GT(records[2].line, 0);
}

TEST(Diagnostics, NestedCapturesAndHandlerReplacement) {
    DiagCapture outer;
    {
        DiagCapture inner;
        DiagAssertW(L"x", L"s", 1, L"inner");
        EXPECT_EQ(inner.count(), 1u);
    }
    DiagAssertW(L"x", L"s", 2, L"outer");
    EXPECT_EQ(outer.count(), 1u);

    // A handler of one's own receives its user pointer; setting returns the previous handler.
    struct Counter {
        static void handle(void *user, int, const wchar_t *, const wchar_t *, const wchar_t *,
                           int) {
            ++*static_cast<int *>(user);
        }
    };
    int hits = 0;
    KrDiagHandler before = KR_SetDiagHandler(&Counter::handle, &hits);
    EXPECT_NE(before, nullptr);
    DiagOutputExW(L"s", 3, L"counted");
    EXPECT_EQ(hits, 1);
    EXPECT_EQ(KR_SetDiagHandler(before, nullptr), &Counter::handle);
    DiagOutputExW(L"s", 4, L"back to capture");
    EXPECT_EQ(hits, 1);
    EXPECT_EQ(outer.count(), 2u);
}

TEST(Diagnostics, EightBitArgumentsReachTheMessage) {
    DiagCapture capture;
    KR_REPORTW(L"cond", L"tests/Diag", L"Error: no file %hs", "caf\xe9.xml");
    EXPECT_TRUE(expectReport(capture, L"Error: no file caf\u00e9.xml", L"cond", L"tests/Diag"));
}

// Without a handler the reports go to standard error, as ORVIK_DIAG says.  The mode is read once
// per process, so each case runs in a child process started afresh (threadsafe death tests).
TEST(DiagnosticsDefaultOutput, LineFormatQuietAndAbort) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    auto reportWith = [](const char *mode, bool thenExit) {
        if (mode)
            setenv("ORVIK_DIAG", mode, 1);
        else
            unsetenv("ORVIK_DIAG");
        KR_SetDiagHandler(nullptr, nullptr);
        DiagOutputExW(L"tests/Run", 3, L"running %d", 1);
        DiagAssertW(L"a < b", L"tests/Diag", 12, L"Error: %hs", "caf\xe9");
        std::fputs("end", stderr);
        if (thenExit) std::exit(0);
    };
    EXPECT_EXIT(reportWith(nullptr, true), testing::ExitedWithCode(0),
                "^orvik: tests/Run\\(3\\): running 1\n"
                "orvik: tests/Diag\\(12\\): Error: caf\xc3\xa9 \\[a < b\\]\nend$");
    EXPECT_EXIT(reportWith("quiet", true), testing::ExitedWithCode(0), "^end$");
    // abort: the running diagnostic passes, the assertion is printed and then aborts.
    EXPECT_EXIT(reportWith("abort", false), testing::KilledBySignal(SIGABRT),
                "^orvik: tests/Run\\(3\\): running 1\norvik: tests/Diag\\(12\\): Error: "
                "caf\xc3\xa9 \\[a < b\\]\n$");
}
