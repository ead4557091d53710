#include "text/text.h"

#include <gtest/gtest.h>

#include <cmath>

#include "tests/metadata/store_entries.h"

namespace vantor::test {
namespace {

TEST(Numbers, ArePrintedAndReadWithAPointOnly) {
    EXPECT_EQ(FixedText(-22.99, 6), "-22.990000");
    EXPECT_EQ(FixedText(2.5, 0), "2");
    EXPECT_EQ(FixedText(-1e300, 2).size(), 302u + 3u);
    EXPECT_EQ(FixedText(HUGE_VAL, 4) + FixedText(NAN, 4), "infnan");
    for (const auto& [text, trimmed] : Listed("",
                                              "120.0000=120|98,500=98,5|100=100|1.=1|.000=0|=0|1.0e10=1.0e10"
                                              "|1.000.500=1.000.5|a.00=a"))
        EXPECT_EQ(TrimNumber(text), trimmed) << text;
    const std::pair<const char*, double> decimals[] = {
        {"-23", -23}, {" \t+1.5dB", 1.5}, {".5", 0.5}, {"1e3x", 1000}, {"1e", 1}, {"1,5", 1},   {"", 0},
        {"--1", 0},   {"+-1", 0},         {"inf", 0},  {"-nan", 0},    {".", 0},  {"1e999", 0}, {"0x10", 0},
    };
    for (const auto& [text, value] : decimals)
        EXPECT_EQ(DecimalNumber(text), value) << text;
    for (const char* text : {"", "48000 ", " 48000", "-1", "+1", "1.0", "0x10", "18446744073709551616"})
        EXPECT_EQ(UnsignedDecimal(text), 0u) << text;
    EXPECT_EQ(UnsignedDecimal("000001500"), 1500u);
    EXPECT_EQ(UnsignedDecimal("18446744073709551615"), UINT64_MAX);
}

TEST(Texts, AreUtf8InItsShortestFormOnly) {
    std::string text;
    for (const uint32_t codePoint : {0x7Fu, 0x80u, 0x7FFu, 0x800u, 0xD7FFu, 0xFFFFu, 0x10000u, 0x10FFFFu})
        EXPECT_TRUE(AppendUtf8(text, codePoint));
    for (const uint32_t codePoint : {0xD800u, 0xDFFFu, 0x110000u, 0xFFFFFFFFu})
        EXPECT_FALSE(AppendUtf8(text, codePoint));
    EXPECT_EQ(text, "\x7F\u0080\u07FF\u0800\uD7FF\uFFFF\U00010000\U0010FFFF");
    EXPECT_TRUE(IsValidUtf8(text));
    for (const char* invalid : {"\x80", "\xC0\x80", "\xC1\xBF", "\xC3", "\xC3(", "\xE0\x9F\xBF", "\xE2\x82",
                                "\xE2\x28\xA1", "\xED\xA0\x80", "\xF0\x8F\xBF\xBF", "\xF0\x90\x80",
                                "\xF4\x90\x80\x80", "\xF5\x80\x80\x80", "\xFF", "ok\xE9"})
        EXPECT_FALSE(IsValidUtf8(invalid)) << BytesOf(invalid).size();
}

}  // namespace
}  // namespace vantor::test
