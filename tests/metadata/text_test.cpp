#include "metadata/text.h"

#include <gtest/gtest.h>

#include <limits>

namespace vantor {
namespace {

std::vector<uint8_t> BytesOf(std::string_view text) {
    return {text.begin(), text.end()};
}

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
    const std::pair<const char*, const char*> cases[] = {
        {"120.0000", "120"},
        {"98.5000", "98.5"},
        {"98,500", "98,5"},
        {"100", "100"},
        {"1.", "1"},
        {".000", "0"},
        {".", "0"},
        {"", "0"},
        {"0", "0"},
        {"1.0e10", "1.0e10"},
        {"1.000.500", "1.000.5"},
        {"a.00", "a"},
        {"inf", "inf"},
    };
    for (const auto& [text, trimmed] : cases)
        EXPECT_EQ(TrimNumber(text), trimmed) << text;
}

TEST(Numbers, UnsignedDecimalsAreDigitsOnlyAndWrap) {
    const std::pair<const char*, uint64_t> cases[] = {
        {"48000", 48000},
        {"000001500", 1500},
        {"", 0},
        {"48000 ", 0},
        {" 48000", 0},
        {"-1", 0},
        {"+1", 0},
        {"1.0", 0},
        {"0x10", 0},
        {"18446744073709551615", UINT64_MAX},
        {"18446744073709551617", 1},
        {"9223372036854775808", uint64_t{1} << 63},
    };
    for (const auto& [text, value] : cases)
        EXPECT_EQ(UnsignedDecimal(text), value) << text;
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
    for (const uint32_t codePoint :
         {0x41u, 0x7Fu, 0x80u, 0x7FFu, 0x800u, 0xD7FFu, 0xE000u, 0xFFFFu, 0x10000u, 0x10FFFFu}) {
        std::string text;
        EXPECT_TRUE(AppendUtf8(text, codePoint));
        EXPECT_TRUE(IsValidUtf8(text)) << codePoint;
    }
    std::string text;
    EXPECT_TRUE(AppendUtf8(text, 0x20AC));
    EXPECT_TRUE(AppendUtf8(text, 0x1F3B5));
    for (const uint32_t codePoint : {0xD800u, 0xDFFFu, 0x110000u, 0xFFFFFFFFu})
        EXPECT_FALSE(AppendUtf8(text, codePoint));
    EXPECT_EQ(text, "\xE2\x82\xAC\xF0\x9F\x8E\xB5");
}

TEST(Texts, Latin1IsTheFallback) {
    EXPECT_EQ(Latin1ToUtf8("caf\xE9"), "caf\xC3\xA9");
    EXPECT_EQ(Utf8OrLatin1("caf\xE9"), "caf\xC3\xA9");
    EXPECT_EQ(Utf8OrLatin1("caf\xC3\xA9"), "caf\xC3\xA9");
}

TEST(Texts, Utf16IsReadInBothByteOrders) {
    struct Case {
        std::string_view bytes;
        bool bigEndian;
        const char* text;
    };
    using namespace std::string_view_literals;
    const Case cases[] = {
        {"A\0\xAC\x20"sv, false, "A\xE2\x82\xAC"},
        {"\0A\x20\xAC"sv, true, "A\xE2\x82\xAC"},
        {"\xD8\x3C\xDF\xB5"sv, true, "\xF0\x9F\x8E\xB5"},
        {"\xD8\x3C\0A"sv, true,
         "\xEF\xBF\xBD"
         "A"},
        {"\xDF\xB5\xD8\x3C"sv, true, "\xEF\xBF\xBD\xEF\xBF\xBD"},
        {"A\0B"sv, false, "A"},
        {"A\0\0\0B\0"sv, false, "A"},
        {""sv, false, ""},
    };
    for (const auto& [bytes, bigEndian, text] : cases)
        EXPECT_EQ(Utf16ToUtf8(BytesOf(bytes), bigEndian), text);
}

TEST(Texts, CompareWithoutCase) {
    EXPECT_TRUE(EqualIgnoringCase("Info", "iNFO"));
    EXPECT_FALSE(EqualIgnoringCase("Info", "Inf"));
    EXPECT_FALSE(EqualIgnoringCase("@", "`"));
    EXPECT_TRUE(StartsWithIgnoringCase("bwf:Description", "BWF"));
    EXPECT_FALSE(StartsWithIgnoringCase("BW", "BWF"));
}

}  // namespace
}  // namespace vantor
