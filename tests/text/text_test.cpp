#include "text/text.h"

#include <gtest/gtest.h>

#include <cfloat>
#include <cmath>

#include "tests/metadata/store_entries.h"
#include "text/text_pool.h"

namespace vantor::test {
namespace {

TEST(Numbers, ArePrintedAndReadWithAPointOnly) {
    EXPECT_EQ(FixedText(-22.99, 6), "-22.990000");
    EXPECT_EQ(FixedText(2.5, 0), "2");
    EXPECT_EQ(FixedText(-DBL_MAX, 2).size(), 310u + 3u);
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
    for (const uint32_t codePoint : {0x7Fu, 0x80u, 0x7FFu, 0x800u, 0xD7FFu, 0xE000u, 0xFFFFu, 0x10000u,
                                     0x3FFFFu, 0x40000u, 0xFFFFFu, 0x100000u, 0x10FFFFu})
        EXPECT_TRUE(AppendUtf8(text, codePoint));
    for (const uint32_t codePoint : {0xD800u, 0xDFFFu, 0x110000u, 0xFFFFFFFFu})
        EXPECT_FALSE(AppendUtf8(text, codePoint));
    EXPECT_EQ(text,
              "\x7F\u0080\u07FF\u0800\uD7FF\uE000\uFFFF\U00010000\U0003FFFF\U00040000\U000FFFFF\U00100000"
              "\U0010FFFF");
    EXPECT_TRUE(IsValidUtf8(text));
    const std::vector<uint8_t> units = Utf8ToUtf16(text, true);
    EXPECT_EQ(Utf16ToUtf8(units, true), text);
    EXPECT_EQ(units.size(), 2u * (7 + 2 * 6));
    EXPECT_EQ(NarrowText(WideText(text).value()), text);
    for (const char* invalid :
         {"\x80", "\xC0\x80", "\xC1\xBF", "\xC3", "\xC3(", "\xE0\x9F\xBF", "\xE2\x82", "\xE2\x28\xA1",
          "\xE1\x80(", "\xF1\x80\x80(", "\xED\xA0\x80", "\xF0\x8F\xBF\xBF", "\xF0\x90\x80",
          "\xF4\x90\x80\x80", "\xF5\x80\x80\x80", "\xFF", "ok\xE9"})
        EXPECT_FALSE(IsValidUtf8(invalid)) << BytesOf(invalid).size();
    EXPECT_EQ(WideText("\xC3"), std::nullopt);
}

TEST(Texts, LoseSurrogatesWithoutAPartnerAlone) {
    const uint8_t units[] = {0xD8, 0, 0, 'a', 0xDB, 0xFF, 0xDF, 0xFF, 0xDC, 0, 0xDC, 0, 0xE0, 0, 0xDB, 0xFF};
    EXPECT_EQ(Utf16ToUtf8(units, true), "\uFFFDa\U0010FFFF\uFFFD\uFFFD\uE000\uFFFD");
    for (const std::u16string wide :
         {u"\xDBFF", u"\xD800\xE000", u"\xD800\xDBFF", u"a\xDC00\xDC00", u"\xDFFFz"})
        EXPECT_EQ(NarrowText(wide), std::nullopt);
}

TEST(Texts, OfOneByteACharacterAreConvertedAndCutWhole) {
    EXPECT_EQ(Utf8OrWindows1252("\x7F\x80\x9F\xA0\xFF"), "\x7F€Ÿ\u00A0ÿ");
    EXPECT_EQ(Utf8OrLatin1("\x80\xFF"), "\u0080ÿ");
    EXPECT_EQ(CutAtCharacter("aé", 2), "a");
    EXPECT_EQ(CutAtCharacter("aé", 3), "aé");
    EXPECT_EQ(CutAtCharacter("\x80\x80\x80", 2), "");
}

TEST(Texts, AreEqualInBothCasesOfAsciiLetters) {
    EXPECT_TRUE(EqualIgnoringCase("azAZ09", "AZaz09"));
    for (const auto& [left, right] : {std::pair("0", "P"), {"@", "`"}, {"[", "{"}, {"é", "É"}, {"ab", "abc"}})
        EXPECT_FALSE(EqualIgnoringCase(left, right)) << left;
    EXPECT_FALSE(StartsWithIgnoringCase("ab", "abc"));
}

TEST(TextPool, KnowsWhatItKeepsWhereverItGoes) {
    TextPool pool;
    const char* const kept = pool.Keep("abc");
    pool.Keep(std::string(70000, 'x'));
    TextPool other(std::move(pool));
    EXPECT_EQ(other.Bytes(), 4u + 70001);
    EXPECT_STREQ(kept, "abc");
    EXPECT_EQ(other.Keep(""), kept + 4);
}

}  // namespace
}  // namespace vantor::test
