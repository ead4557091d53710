// Single frames as they are written, and what a change means in a tag of each version.
#include <gtest/gtest.h>

#include "metadata/read/id3_entries.h"
#include "metadata/write/id3_change.h"
#include "metadata/write/id3_entry_writer.h"
#include "tests/metadata/id3_support.h"
#include "tests/support/temp_file.h"

namespace vantor::test {
namespace {

using namespace std::string_literals;

TEST(Id3Change, SaysADateAsTheVersionDoes) {
    struct Case {
        int version;
        const char* own;
        const char* change;
        const char* shaped;
    };
    const char* const dated = "TDAT=0101|TIME=0000|TYER=1999";
    const Case cases[] = {
        {4, "TIT2=a", "TDRC=2001-02-03T04:05", "TDRC=2001-02-03T04:05"},
        {3, "TIT2=a", "TDRC=2001-02-03T04:05", "TDAT=0302|TIME=0405|TYER=2001"},
        {3, "TIT2=a", "TDRC=2001-02-03T", "TDAT=0302|TYER=2001"},
        {3, "TIT2=a", "TDRC=2001", "TYER=2001"},
        {3, dated, "TDRC=2090-02", "TDAT=|TIME=|TYER=2090"},
        {3, dated, "TDRC=soon", "TDAT=|TIME=|TYER=soon"},
        {3, "TIT2=a", "TDRC=:001-02-03", "TYER=:001-02-03"},
        {3, "TIT2=a", "TDRC=/001-02-03", "TYER=/001-02-03"},
        {3, "TDAT=0101|TYER=1999", "TYER=", "TDAT=|TYER="},
        {3, dated, "TYER=2000", "TYER=2000"},
        {3, dated, "TIT2=b", "TIT2=b"},
        {3, "TDRC=2000", "TDRC=2001|TYER=2001", "TDRC=2001"},
        {3, "TYE=1|TDA=1", "TDRC=2001", "TYER=2001"},
        // A year beside the date only where there was one, or nothing yet.
        {4, "TIT2=a", "TDRC=2001|TYER=2001", "TDRC=2001"},
        {4, "TYER=1", "TDRC=2001|TYER=2001", "TDRC=2001|TYER=2001"},
        {4, "", "TDRC=2001|TYER=2001", "TDRC=2001|TYER=2001"},
        {4, "TIT2=a", "TYER=2001", "TYER=2001"},
        {4, "TIT2=a", "TDRC=2001|TYER=", "TDRC=2001|TYER="},
        {4, "TIT2=a", "TDRC=|TYER=2001", "TDRC=|TYER=2001"},
        // The ids of version 2.2.
        {2, "TYE=1999|TDA=0101", "TDRC=2001", "TDA=|TYE=2001"},
        {2, "TT2=a", "TIT2=b|TIT2:002=c|TXXX:k=v|TCON=x|COMM=w|TSO9=y|WCOM=z|APE:TIT2=p",
         "COMM=w|TCON=x|TSO9=y|TT2=b|TT2:002=c|TXXX:k=v|WCOM=z|APE:TIT2=p"},
        {2, "TT2=a", "TIT2=b|TT2=", "TT2=b"},
        {2, "TT2=a", "TIT2=|TT2=b", "TT2=b"},
        {2, "TT2=a", "TIT2=", "TT2="},
    };
    for (const auto& [version, own, change, shaped] : cases) {
        const auto entries = [](std::string_view text) {
            MetadataStore store;
            if (text.empty()) return store;
            for (const auto& [key, value] : Listed("", text))
                store.Set(key.starts_with("APE:") ? key : "ID3:" + key, value);
            return store;
        };
        EXPECT_EQ(EntriesOf(Id3ChangeFor(version, entries(change), entries(own))), EntriesOf(entries(shaped)))
            << version << " " << own << " " << change;
    }
}

TEST(Id3Change, TellsRunningNumbersFromDescriptions) {
    const auto has = StoreOf(Listed("ID3:", "TXXX:a=x|COMM:deu=x|UFID:7=x"));
    struct Case {
        const char* key;
        const char* base;
        uint64_t number;
    };
    for (const auto& [key, base, number] : {Case{"ID3:TIT2", "ID3:TIT2", 1},
                                            {"ID3:TIT2:002", "ID3:TIT2", 2},
                                            {"ID3:TIT2:1000", "ID3:TIT2", 1000},
                                            {"ID3:TIT2:02", "ID3:TIT2:02", 1},
                                            {"ID3:TXXX:002", "ID3:TXXX:002", 1},
                                            {"ID3:WXXX:002", "ID3:WXXX:002", 1},
                                            {"ID3:UFID:002", "ID3:UFID:002", 1},
                                            {"ID3:TXXX:a:002", "ID3:TXXX:a", 2},
                                            {"ID3:TXXX:b:002", "ID3:TXXX:b:002", 1},
                                            {"ID3:COMM:002", "ID3:COMM", 2},
                                            {"ID3:COMM:deu:002", "ID3:COMM:deu", 2},
                                            {"ID3:COMM:fra:002", "ID3:COMM:fra:002", 1},
                                            {"ID3:002", "ID3:002", 1}}) {
        const auto split = SplitId3Number(key, has);
        EXPECT_EQ(split.base, base);
        EXPECT_EQ(split.number, number) << key;
    }
}

// The frame of a value, without its size; empty when there is none.
std::string FrameOf(int version, const char* id, const char* qualifier, std::string_view value) {
    Id3Frames frames;
    const bool isWritten = AppendValueFrame(frames, version, id, qualifier, value);
    EXPECT_EQ(isWritten, !frames.empty());
    if (!isWritten) return {};
    const auto written = TextOf(frames);
    return version == 2 ? written.substr(0, 3) + written.substr(6) : written.substr(0, 4) + written.substr(8);
}

TEST(Id3Writer, HoldsAValueInTheEncodingsOfItsVersion) {
    EXPECT_EQ(FrameOf(4, "TIT2", "", "\u0100"), "TIT2\0\0\3\u0100"s);
    EXPECT_EQ(FrameOf(3, "TIT2", "", "\u00FF"), "TIT2\0\0\0\xFF"s);
    EXPECT_EQ(FrameOf(3, "TIT2", "", "\u0100"), "TIT2\0\0\1\xFF\xFE\0\1"s);
    EXPECT_EQ(FrameOf(2, "TIT2", "", "a"), "TT2\0a"s);
    EXPECT_EQ(FrameOf(3, "TXXX", "a", "\u0100"),
              "TXXX\0\0\1\xFF\xFE"
              "a\0\0\0\xFF\xFE\0\1"s);
    EXPECT_EQ(FrameOf(3, "WXXX", "a", "http"), "WXXX\0\0\0a\0http"s);
    EXPECT_EQ(FrameOf(4, "UFID", "o", "i"), "UFID\0\0o\0i"s);
    EXPECT_EQ(FrameOf(4, "ETCO", "", "1:padding"), "ETCO\0\0\2\0\0\0\0\1"s);
    EXPECT_EQ(FrameOf(4, "USLT", "deu:d", "w"), "USLT\0\0\3deud\0w"s);
    EXPECT_EQ(FrameOf(4, "COMM", "deu", "w"), "COMM\0\0\3deu\0w"s);
    EXPECT_EQ(FrameOf(4, "COMM", "engine", "w"), "COMM\0\0\3XXXengine\0w"s);
    EXPECT_EQ(FrameOf(4, "COMM", "1ab:d", "w"), "COMM\0\0\3XXX1ab:d\0w"s);
    EXPECT_EQ(FrameOf(4, "ETCO", "", "1:nonsense") + FrameOf(4, "UFID", "o", id3BinaryData) +
                  FrameOf(4, "tit2", "", "x") + FrameOf(4, "PRIV", "o", "x") + FrameOf(2, "TSO9", "", "x"),
              "");
    // Three bytes of size in version 2.2.
    const std::string most((size_t{1} << 24) - 2, 'x');
    EXPECT_EQ(FrameOf(2, "TIT2", "", most).size(), most.size() + 4);
    EXPECT_EQ(FrameOf(2, "TIT2", "", most + "x"), "");
    EXPECT_EQ(FrameOf(3, "TIT2", "", most + "x").size(), most.size() + 8);
}

TEST(Id3Writer, NamesKeysAsTheyWillBeRead) {
    for (const auto& [key, written] :
         Listed("",
                "INFO:INAM=INFO:INAM|ID3:TT2=ID3:TIT2|ID3:TIT2:junk=ID3:TIT2|ID3:TIT2:002=ID3:TIT2:002"
                "|ID3:TXXX:k=ID3:TXXX:k|ID3:TXX:k=ID3:TXXX:k|ID3:ETCO:x=ID3:ETCO|ID3:UFID:o=ID3:UFID:o"
                "|ID3:COMM=ID3:COMM|ID3:COMM:eng=ID3:COMM|ID3:COMM:deu=ID3:COMM:deu|ID3:COMM:002=ID3:COMM:002"
                "|ID3:USLT:d=ID3:USLT:XXX:d|ID3:COMM:d=ID3:COMM:XXX:d|ID3:odd:k=ID3:odd:k"))
        EXPECT_EQ(Id3KeyAsWritten(key), written);
}

TEST(Id3Writer, TakesAPictureFromAFileOrFromWhatIsNew) {
    const TempFolder folder;
    FileReader file(folder.Write("picture.bin", BytesOf("01\xFF\0\0\xFF"
                                                        "azz\xFF\0"s)),
                    {});
    const FileRange ranges[] = {{2, 5}, {8, 10}};
    const Bytes newPicture = BytesOf("new");
    const auto picture = [&](const char* place, std::span<const uint8_t> isNew) {
        Id3Frames frames;
        const Id3EntryWriter writer{4, &file, ranges, isNew};
        const bool isWritten = writer.Append(frames, "ID3:APIC", "type:3 "s + place);
        EXPECT_EQ(isWritten, !frames.empty());
        return isWritten ? TextOf(frames).substr(14) : "none";
    };
    EXPECT_EQ(picture("offset:0 length:3", newPicture), "new");
    EXPECT_EQ(picture("offset:0 length:2", {}), "01");
    EXPECT_EQ(picture("offset:1 length:1", newPicture), "1");
    // Where a tag is unsynchronised its zeros are left out.
    EXPECT_EQ(picture("offset:2 length:5", {}),
              "\xFF\0\xFF"
              "a"s);
    EXPECT_EQ(picture("offset:1 length:3", {}), "1\xFF\0"s);
    EXPECT_EQ(picture("offset:7 length:4", {}), "zz\xFF\0"s);
    EXPECT_EQ(picture("offset:8 length:3", {}), "z\xFF");
    EXPECT_EQ(picture("offset:10 length:1", {}), "\0"s);
    EXPECT_EQ(picture("offset:10 length:2", {}), "none");
    // A language stays that of the frame.
    for (const std::string& id : {"COMM"s, "USLT"s, "TXXX"s}) {
        Id3Frames frames;
        const auto tag = TagOf(4, {id + "\0\0\3deud\0w"s});
        Id3FrameWalk walk(tag);
        Id3Frame old;
        ASSERT_TRUE(walk.Next(old));
        EXPECT_TRUE(Id3EntryWriter{4}.Append(frames, "ID3:" + id, "new", &old));
        EXPECT_EQ(TextOf(frames).substr(10), id == "TXXX" ? "\3\0new"s : "\3deud\0new"s);
    }
}

}  // namespace
}  // namespace vantor::test
