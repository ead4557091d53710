// Tables of files and tags, out and in.
#include <gmock/gmock.h>

#include <random>

#include "text/text.h"
#include "wavehost/os/failure.h"
#include "wavehost/tables/tag_table.h"
#include "wavehost/values/shown_text.h"

namespace vantor::test {
namespace {

using namespace wavehost;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Pair;

std::string Written(const std::vector<CsvRow>& rows) {
    std::string text;
    for (const CsvRow& row : rows)
        text += CsvLine(row);
    return text;
}

TEST(Tables, EveryTextComesBackFromACell) {
    EXPECT_EQ(CsvLine({"a", "b c", "d,e", "f\"g", "h\r\ni", " j", "k\t", "", "\xC3\xA4"}),
              "a,b c,\"d,e\",\"f\"\"g\",\"h\r\ni\",\" j\",\"k\t\",,\xC3\xA4\r\n");
    EXPECT_EQ(CsvLine({""}), "\"\"\r\n");
    std::mt19937 random(1);
    const std::string letters = "ab\",;\r\n\t '=\xC3\xA4";
    for (int round = 0; round < 2000; ++round) {
        std::vector<CsvRow> rows(1 + random() % 4);
        const size_t columns = 1 + random() % 4;
        for (CsvRow& row : rows) {
            row.resize(columns);
            for (std::string& cell : row)
                for (size_t left = random() % 6; left > 0; --left)
                    cell += letters[random() % letters.size()];
        }
        ASSERT_EQ(ReadCsv(Written(rows), ','), rows) << Written(rows);
    }
}

TEST(Tables, ReadsWhatSpreadsheetsWrite) {
    const struct {
        const char* text;
        std::vector<CsvRow> rows;
    } tables[] = {
        {"a,b\nc,d", {{"a", "b"}, {"c", "d"}}},
        {"a,b\r\rc,d\r\n\n", {{"a", "b"}, {"c", "d"}}},
        {"\"a\",\"\"\r\n", {{"a", ""}}},
        {",\r\n", {{"", ""}}},
        {"a,", {{"a", ""}}},
        {"", {}},
    };
    for (const auto& [text, rows] : tables)
        EXPECT_EQ(ReadCsv(text, ','), rows) << text;
    for (const char* broken : {"a,\"b", "a\"b,c", "\"a\"b,c", "x,y\r\n \"a\"", "\""})
        EXPECT_THROW(ReadCsv(broken, ','), Failure) << broken;
}

TEST(Tables, TakesEveryFormOfATagTable) {
    const auto wanted = ElementsAre(Pair("INFO:INAM", "One; two"), Pair("IXML:NOTE", ""));
    for (const char* text :
         {"FileName,INFO:INAM,IXML:NOTE\r\na b.wav,One; two,\r\n",
          "\xEF\xBB\xBF\"FileName\";\"INFO:INAM\";IXML:NOTE\n;;\n\"a b.wav\";\"One; two\";\n",
          "FileName\tINFO:INAM\tIXML:NOTE\na b.wav\tOne; two\t\n",
          "FileName,INFO:INAM,IXML:NOTE,,\r\na b.wav,One; two,,,\r\n",
          R"([{"file":"gone.wav","error":"no such file"},
              {"file":"a b.wav","metadata":{"INFO:INAM":"One; two","IXML:NOTE":null},"online":true}])",
          "{\"file\":\"a b.wav\",\"metadata\":{\"INFO:INAM\":\"One; two\",\"IXML:NOTE\":\"\"}}\r\n\n"}) {
        const std::vector<TagRow> table = ReadTagTable(text);
        ASSERT_EQ(table.size(), 1u) << text;
        EXPECT_EQ(table[0].file, "a b.wav");
        EXPECT_THAT(table[0].cells, wanted) << text;
    }
    for (const bool isBigEndian : {false, true}) {
        std::vector<uint8_t> units = {0xFE, 0xFF};
        if (!isBigEndian) std::swap(units[0], units[1]);
        for (const uint8_t byte : Utf8ToUtf16("FileName\tINFO:INAM\r\n\xC3\xA4.wav\tx\r\n", isBigEndian))
            units.push_back(byte);
        EXPECT_EQ(ReadTagTable({reinterpret_cast<const char*>(units.data()), units.size()}).at(0).file,
                  "\xC3\xA4.wav");
        units.pop_back();
        EXPECT_THROW(ReadTagTable({reinterpret_cast<const char*>(units.data()), units.size()}), Failure);
    }
    const TagRow row{"q\"\\\x01.wav", {{"INFO:INAM", "\xC3\xA4\n"}, {"INFO:IART", ""}}};
    const auto back = ReadTagTable("[" + TagRowJson(row) + "]");
    EXPECT_EQ(back.at(0).file, row.file);
    EXPECT_EQ(back.at(0).cells, row.cells);

    const struct {
        const char *text, *told;
    } refused[] = {
        {"", "neither"},
        {"Name,TITLE\r\n", "neither"},
        {"FileNames,TITLE\r\n", "first column"},
        {"FileName,TITLE,TITLE\r\n", "two columns are called TITLE"},
        {"FileName,,TITLE\r\n", "no name"},
        {"FileName,TITLE,\r\na.wav,x,y\r\n", "no name"},
        {"{\"file\":\"a\",\"metadata\":{}}\n{\"file\"\n", "line 2: parse error"},
        {"FileName,TITLE\r\na.wav\r\n", "row 2 has 1 cells"},
        {"FileName,TITLE\r\na.wav,x,y\r\n", "row 2 has 3 cells"},
        {"FileName,TITLE\r\n,x\r\n", "row 2 names no file"},
        {"FileName,TITLE\r\na.wav,\"x\r\n", "row 2 has a quote"},
        {"FileName,TITLE\r\na.wav,M\xFCller\r\n", "UTF-8"},
        {"[{\"file\":\"a.wav\",\"metadata\":{\"TITLE\":1}}]", "TITLE is no text"},
        {"[{\"file\":\"a.wav\"}]", "metadata"},
        {"[1]", "no object"},
        {"[{\"file\"", "parse error"},
    };
    for (const auto& [text, told] : refused)
        try {
            ReadTagTable(text);
            ADD_FAILURE() << text;
        } catch (const Failure& failure) {
            EXPECT_THAT(failure.what(), HasSubstr(told)) << text;
        }
}

// What a table holds must compare equal with the file that it was written from, also after a spreadsheet.
TEST(Tables, ACellIsTheValueThatItWasWrittenFrom) {
    std::string allBytes;
    for (int byte = 1; byte < 256; ++byte)
        allBytes += static_cast<char>(byte);
    for (const std::string& value :
         {allBytes, std::string("Caf\xE9 \x93so\x94"), std::string("a\r\nb\rc\nd")}) {
        EXPECT_TRUE(IsUtf8(TableText(value)));
        EXPECT_TRUE(IsSameCell("INFO:INAM", TableText(value), value));
    }
    EXPECT_EQ(TableText("Caf\xE9 \x80 \x81"), "Caf\xC3\xA9 \xE2\x82\xAC \xC2\x81");
    EXPECT_TRUE(IsSameCell("INFO:ICMT", "a\nb\n", "a\r\nb\r"));
    EXPECT_FALSE(IsSameCell("INFO:ICMT", "a\nb", "a\n\nb"));
    EXPECT_TRUE(IsSameCell("ID3:APIC", "mime:image/png type:3 offset:9 length:5",
                           "mime:image/png type:3 offset:77 length:5"));
    EXPECT_FALSE(IsSameCell("ID3:APIC", "mime:image/png type:3 offset:9 length:6",
                            "mime:image/png type:3 offset:9 length:5"));
    EXPECT_FALSE(IsSameCell("INFO:ICMT", "x offset:9 y", "x offset:8 y"));
}

}  // namespace
}  // namespace vantor::test
