#include "metadata/text.h"

#include <gtest/gtest.h>

#include <limits>

#include "tests/metadata/store_entries.h"

namespace vantor::test {
namespace {

using namespace std::string_literals;

TEST(Numbers, PrintWithAFixedNumberOfDecimals) {
    EXPECT_EQ(FixedText(120, 4), "120.0000");
    EXPECT_EQ(FixedText(-22.99, 6), "-22.990000");
    EXPECT_EQ(FixedText(2.5, 0), "2");
    EXPECT_EQ(FixedText(1e300, 6).size(), 301u + 7u);
    EXPECT_EQ(FixedText(-std::numeric_limits<double>::max(), 2).size(), 310u + 3u);
    EXPECT_EQ(FixedText(std::numeric_limits<double>::infinity(), 4), "inf");
    EXPECT_EQ(FixedText(std::numeric_limits<double>::quiet_NaN(), 4), "nan");
}

TEST(Numbers, AreTrimmedBehindTheSeparatorAlone) {
    for (const auto& [text, trimmed] : Listed("",
                                              "120.0000=120|98.5000=98.5|98,500=98,5|100=100|1.=1|.000=0|.=0|"
                                              "=0|1.0e10=1.0e10|1.000.500=1.000.5|a.00=a|inf=inf"))
        EXPECT_EQ(TrimNumber(text), trimmed) << text;
}

TEST(Numbers, UnsignedDecimalsAreDigitsOnlyAndWrap) {
    for (const char* text : {"", "48000 ", " 48000", "-1", "+1", "1.0", "0x10", "18446744073709551616"})
        EXPECT_EQ(UnsignedDecimal(text), 0u) << text;
    EXPECT_EQ(UnsignedDecimal("000001500"), 1500u);
    EXPECT_EQ(UnsignedDecimal("18446744073709551615"), UINT64_MAX);
    EXPECT_EQ(UnsignedDecimal("18446744073709551617"), 1u);
}

TEST(Numbers, DecimalsAreReadUpToWhatDoesNotBelong) {
    const std::pair<const char*, double> cases[] = {
        {"-23", -23}, {" \t+1.5dB", 1.5}, {".5", 0.5}, {"1e3x", 1000}, {"1e", 1},  {"1,5", 1},
        {"", 0},      {"--1", 0},         {"+-1", 0},  {"inf", 0},     {"nan", 0}, {"-inf", 0},
        {"1e999", 0}, {".", 0},           {"0x10", 0}, {"-", 0},
    };
    for (const auto& [text, value] : cases)
        EXPECT_EQ(DecimalNumber(text), value) << text;
}

TEST(Texts, ValidUtf8IsStrict) {
    for (const char* text : {"", "plain", "\xC3\xA9", "\xE0\xA0\x80", "\xED\x9F\xBF", "\xEE\x80\x80",
                             "\xF0\x90\x80\x80", "\xF4\x8F\xBF\xBF", "a\xE2\x82\xACz"})
        EXPECT_TRUE(IsValidUtf8(text)) << text;
    for (const char* text : {"\x80", "\xC0\x80", "\xC1\xBF", "\xC3", "\xC3(", "\xE0\x9F\xBF", "\xE2\x82",
                             "\xE2\x28\xA1", "\xED\xA0\x80", "\xF0\x8F\xBF\xBF", "\xF0\x90\x80",
                             "\xF4\x90\x80\x80", "\xF5\x80\x80\x80", "\xFF", "ok\xE9"})
        EXPECT_FALSE(IsValidUtf8(text)) << BytesOf(text).size();
}

TEST(Texts, CodePointsBecomeUtf8) {
    std::string text;
    for (const uint32_t codePoint : {0x7Fu, 0x80u, 0x7FFu, 0x800u, 0xFFFFu, 0x10000u, 0x10FFFFu})
        EXPECT_TRUE(AppendUtf8(text, codePoint));
    for (const uint32_t codePoint : {0xD800u, 0xDFFFu, 0x110000u, 0xFFFFFFFFu})
        EXPECT_FALSE(AppendUtf8(text, codePoint));
    EXPECT_EQ(text, "\x7F\u0080\u07FF\u0800\uFFFF\U00010000\U0010FFFF");
}

TEST(Texts, Latin1IsTheFallback) {
    EXPECT_EQ(Utf8OrLatin1("caf\xE9"), "caf\xC3\xA9");
    EXPECT_EQ(Utf8OrLatin1("caf\xC3\xA9"), "caf\xC3\xA9");
}

TEST(Texts, Utf16IsReadInBothByteOrders) {
    const std::pair<std::string, const char*> cases[] = {
        {"\0A\x20\xAC"s, "A\u20AC"},
        {"\xD8\x3C\xDF\xB5", "\U0001F3B5"},
        {"\xD8\x3C\0A"s, "\uFFFDA"},
        {"\xDF\xB5\xD8\x3C", "\uFFFD\uFFFD"},
        {"\0A\0"s, "A"},
        {"\0A\0\0\0B"s, "A"},
        {"", ""},
    };
    for (const auto& [bytes, text] : cases)
        EXPECT_EQ(Utf16ToUtf8(BytesOf(bytes), true), text);
    EXPECT_EQ(Utf16ToUtf8(BytesOf("A\0\xAC\x20"s), false), "A\u20AC");
}

TEST(Texts, CompareWithoutCase) {
    EXPECT_TRUE(EqualIgnoringCase("Info", "iNFO"));
    EXPECT_FALSE(EqualIgnoringCase("Info", "Inf"));
    EXPECT_FALSE(EqualIgnoringCase("@", "`"));
    EXPECT_TRUE(StartsWithIgnoringCase("bwf:Description", "BWF"));
    EXPECT_FALSE(StartsWithIgnoringCase("BW", "BWF"));
}

}  // namespace
}  // namespace vantor::test
