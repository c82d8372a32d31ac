// Whole-file access: round trip, sizes, and negative codes on every misuse.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <string>

#include "platform/KrPlatform.h"

namespace {

std::wstring tempPath(const char *name) {
    std::string p = ::testing::TempDir() + name + std::to_string(::getpid());
    return std::wstring(p.begin(), p.end());
}

}  // namespace

TEST(Files, WriteThenReadBackExactBytes) {
    const std::wstring path = tempPath("orvik_file_\u00e9_");
    std::string data(100000, '\0');
    for (size_t i = 0; i < data.size(); ++i) data[i] = static_cast<char>(i * 7);
    int h = KR_OpenFile(path.c_str(), KR_FILE_WRITE);
    ASSERT_GE(h, 0);
    EXPECT_EQ(KR_WriteFile(h, data.data(), static_cast<kr_int64>(data.size())),
              static_cast<kr_int64>(data.size()));
    EXPECT_EQ(KR_CloseFile(h), 0);

    h = KR_OpenFile(path.c_str(), KR_FILE_READ);
    ASSERT_GE(h, 0);
    EXPECT_EQ(KR_GetFileSize(h), static_cast<kr_int64>(data.size()));
    std::string back(data.size() + 10, 'x');
    EXPECT_EQ(KR_ReadFile(h, back.data(), static_cast<kr_int64>(back.size())),
              static_cast<kr_int64>(data.size()));
    EXPECT_EQ(back.substr(0, data.size()), data);
    EXPECT_EQ(KR_CloseFile(h), 0);
    std::string narrow(path.begin(), path.end());
    std::remove(narrow.c_str());
}

TEST(Files, FailuresAreNegative) {
    EXPECT_EQ(KR_OpenFile(nullptr, KR_FILE_READ), -1);
    EXPECT_EQ(KR_OpenFile(L"", KR_FILE_READ), -1);
    EXPECT_EQ(KR_OpenFile(L"/x", 7), -1);
    EXPECT_EQ(KR_OpenFile(L"/nonexistent/dir/file.xml", KR_FILE_READ), -2);
    EXPECT_LT(KR_GetFileSize(-1), 0);
    char b[4];
    EXPECT_LT(KR_ReadFile(-1, b, 4), 0);
    EXPECT_LT(KR_WriteFile(-1, b, 4), 0);
    EXPECT_LT(KR_CloseFile(-1), 0);
    const std::wstring path = tempPath("orvik_file_null_");
    int h = KR_OpenFile(path.c_str(), KR_FILE_WRITE);
    ASSERT_GE(h, 0);
    EXPECT_EQ(KR_WriteFile(h, nullptr, 3), -1);
    EXPECT_EQ(KR_WriteFile(h, nullptr, 0), 0);
    KR_CloseFile(h);
    std::string narrow(path.begin(), path.end());
    std::remove(narrow.c_str());
}
