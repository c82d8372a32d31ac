// What only CKrStringA has: the wide character assignment with its measuring call, copying out
// (itself and through mbstowcs), the UTF-8 conversion through the platform layer and QString as
// UTF-8.  The shared members are covered over both classes in StringTest.cpp.
#include <gtest/gtest.h>

#include <QString>
#include <cstring>
#include <string>
#include <type_traits>

#include "Rows.h"
#include "strings/CKrStringA.h"

class CKrStringATestPeer {
public:
    static int convert(wchar_t const *src, int srcLength, char *dst, int64_t dstSize, bool utf8) {
        return CKrStringA::convert_to_mb(src, srcLength, dst, dstSize, utf8);
    }
};

namespace {
using A = CKrStringA;
// The 8-bit class keeps its 64-bit search results and unsigned counts.
static_assert(std::is_same_v<decltype(A().Find("x")), int64_t>);
static_assert(std::is_same_v<decltype(A().Replace("x", "y")), int64_t>);
static_assert(std::is_same_v<decltype(A().Remove('x')), size_t>);
}  // namespace

TEST(StringA, WideCharacterAssignmentAndCopyOut) {
    // One wide unit, sized by a measuring wcstombs: not representable in the "C" locale (or the
    // zero unit) leaves the string empty.
    expectRows({SROW(A("old") = L'\u00fc', "\xFC"), SROW(A("old") = L'\u4e2d', ""),
                SROW(A("old") = L'\0', "")});

    // '#' marks bytes that must stay untouched; the zero goes at min(length, size - 1).
    struct Case {
        size_t size, ret;
        std::string buf;
    } const cases[] = {{3, 2, std::string("he\0#", 4)},
                       {6, 5, std::string("hello\0#", 7)},
                       {1, 0, std::string("\0#", 2)},
                       {0, 0, "#"}};
    for (auto const &c : cases) {
        char buf[8];
        std::memset(buf, '#', sizeof buf);
        EXPECT_EQ(A("hello").CopyToBufferA(buf, c.size), c.ret) << c.size;
        EXPECT_EQ(std::string(buf, c.buf.size()), c.buf) << c.size;
    }
    EXPECT_EQ(A("hello").CopyToBufferA(nullptr, 5), 0u);

    wchar_t wbuf[8];
    EXPECT_EQ(A("h\xE9").CopyToBufferW(wbuf, 8), 2u);
    EXPECT_EQ(std::wstring(wbuf, 3), std::wstring(L"h\u00e9\0", 3));
    EXPECT_EQ(A("hello").CopyToBufferW(nullptr, 8), 0u);
}

TEST(StringA, Utf8FromUtf16TheRawConverterAndQString) {
    const wchar_t pair[] = {0xD83D, 0xDE00, 0};
    expectRows({SROW(A::Utf8FromUtf16(L"a\u00e9\u4e2d"), "a\xC3\xA9\xE4\xB8\xAD"),
                SROW(A::Utf8FromUtf16(pair), "\xF0\x9F\x98\x80"),
                SROW(A::Utf8FromUtf16(nullptr), ""), SROW(A::Utf8FromUtf16(L""), "")});

    char buf[16];
    // Measuring: the length without the terminator.
    EXPECT_EQ(CKrStringATestPeer::convert(L"\u00e9x", -1, nullptr, 0, true), 3);
    // Zero-terminated source into a buffer: the count without the terminator.
    std::memset(buf, '#', sizeof buf);
    EXPECT_EQ(CKrStringATestPeer::convert(L"\u00e9x", -1, buf, 8, true), 3);
    EXPECT_STREQ(buf, "\xC3\xA9x");
    // Counted source: exactly those units, a zero is put at dst[dstSize].
    std::memset(buf, '#', sizeof buf);
    EXPECT_EQ(CKrStringATestPeer::convert(L"abcdef", 3, buf, 3, true), 3);
    EXPECT_EQ(std::string(buf, 4), std::string("abc\0", 4));
    // Latin-1 mode, and failures.
    EXPECT_EQ(CKrStringATestPeer::convert(L"\u00e9\u4e2d", 2, buf, 2, false), 2);
    EXPECT_EQ(std::string(buf, 3), std::string("\xE9?\0", 3));
    EXPECT_EQ(CKrStringATestPeer::convert(nullptr, -1, buf, 8, true), -2);
    EXPECT_EQ(CKrStringATestPeer::convert(L"abcdef", 6, buf, 2, true), -2);  // too small

    // QString members go through UTF-8.
    A s(QString::fromUtf8("a\xC3\xA9"));
    EXPECT_EQ(s.GetStdString(), "a\xC3\xA9");
    EXPECT_EQ(s.GetQString(), QString(QChar(u'a')) + QChar(char16_t(0xE9)));
    s = QString::fromUtf8("x");
    s.AddString(QString::fromUtf8("\xE4\xB8\xAD"));
    EXPECT_EQ(s.GetStdString(), "x\xE4\xB8\xAD");
}
