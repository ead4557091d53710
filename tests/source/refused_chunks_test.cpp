// Chunks that their readers refuse although all of their fields are in order: an edit of another scheme
// leaves them alone, one of their own scheme makes them what readers take.
#include <gtest/gtest.h>

#include "tests/metadata/id3_tag_writer.h"
#include "tests/source/lossless_support.h"

namespace vantor::test {
namespace {

using namespace std::string_literals;

class RefusedChunks : public ::testing::Test {
  protected:
    void Put(std::string_view id, const Bytes& body) {
        WriteWholeFile(path, MonoFile(Ramp(500), {}, ByteWriter().Chunk(id, body)));
    }
    Bytes Edited(const std::string& field, std::string_view id) {
        EXPECT_EQ(RequestWrite(*OpenSource(path), target, {field}, lossless), 2) << field;
        const auto chunk = Find(ReadWholeFile(path), id);
        return chunk ? chunk->body : Bytes();
    }

    FakeHost host;
    TempFolder folder;
    const std::string path = folder.Path("edited.wav"), target = folder.Path("target.wav");
};

Bytes WithPadding(const Id3TagWriter& frames, size_t bytes) {
    return Id3TagWriter(4).Add(frames.Body()).Add(Bytes(bytes)).Tag();
}

// A second tag beside the first would hide behind it.
TEST_F(RefusedChunks, OfTagsTakeTheNewFrameThemselves) {
    const auto frames = Id3TagWriter(4).Text("TIT2", "Title").Frame("GEOB", BytesOf("\0a\0b\0c\0data"s));
    const auto added = Id3TagWriter(4).Add(frames.Body()).Frame("TPE1", BytesOf("\3me"s));
    const Bytes footer = ByteWriter().Text("3DI").Add({4, 0, 0x10}).Be32(Syncsafe(37));
    const std::pair<Bytes, Bytes> cases[] = {
        {ByteWriter().Add(frames.Tag(0x10)).Add(footer), WithPadding(added, 1)},
        {ByteWriter().Add(frames.Tag()).Zeros(6), WithPadding(added, 7)},
    };
    for (const auto& [stored, wanted] : cases) {
        Put("id3 ", stored);
        EXPECT_TRUE(TagsOf(path).empty());
        EXPECT_EQ(TextOf(Edited("INFO:INAM=other", "id3 ")), TextOf(stored));
        const auto tag = Edited("ID3:TPE1=me", "id3 ");
        EXPECT_EQ(TextOf(tag), TextOf(wanted));
        const auto ids = Ids(ReadWholeFile(path));
        EXPECT_EQ(ids.find("id3 "), ids.rfind("id3 "));
        EXPECT_EQ(TagsOf(path)["ID3:TIT2"] + TagsOf(path)["ID3:TPE1"], "Titleme");
    }
}

// The last tag holds the value; what goes, goes from all that are read.
TEST_F(RefusedChunks, OfTagsBesideOthersStay) {
    const auto tag = [](const std::string& frames) {
        Id3TagWriter writer(4);
        for (const auto& [id, text] : Listed("", frames))
            writer.Frame(id, ByteWriter().U8(3).Text(text));
        return writer.Tag();
    };
    const auto refusedTag = [&] { return Bytes(ByteWriter().Add(tag("TIT2=c|TALB=d")).Zeros(2)); };
    const auto chunks = [&](const std::string& first, const std::string& second) {
        return ByteWriter().Chunk("id3 ", tag(first)).Chunk("ID3 ", tag(second)).Chunk("id3 ", refusedTag());
    };
    const std::tuple<std::string, std::string, std::string> cases[] = {
        {"ID3:TIT2=new", "TIT2=a|TPE1=b", "TIT2=new|TPE2=b"},
        {"ID3:TPE1=new", "TIT2=a|TPE1=new", "TIT2=b|TPE2=b"},
        {"ID3:TIT2=", "TPE1=b", "TPE2=b"},
        {"ID3:TALB=new", "TIT2=a|TPE1=b", "TIT2=b|TPE2=b|TALB=new"}};
    for (const auto& [field, first, second] : cases) {
        WriteWholeFile(path, MonoFile(Ramp(500), {}, chunks("TIT2=a|TPE1=b", "TIT2=b|TPE2=b")));
        Edited(field, "id3 ");
        EXPECT_EQ(ChunksByScheme(ReadWholeFile(path))["ID3"],
                  ChunksByScheme(MonoFile(Ramp(500), {}, chunks(first, second)))["ID3"])
            << field;
    }
    const auto carts = ByteWriter().Chunk("cart", {}).Chunk("axml", {}).Chunk("cart", StationCart());
    WriteWholeFile(path, MonoFile(Ramp(500), carts));
    EXPECT_EQ(Edited("CART:Title=new", "cart"), Bytes()) << "an empty chunk stays in front";
    EXPECT_EQ(TagsOf(path)["CART:Title"], "new");
}

// What is no loop does not become one.
TEST_F(RefusedChunks, OfLoopsTakeTempoKeyAndBeats) {
    const Bytes whole = AcidBody{0x0A, 62, 8, 130};
    const Bytes shortBody(whole.begin(), whole.begin() + 16);
    Put("acid", shortBody);
    EXPECT_EQ(Edited("INFO:INAM=other", "acid"), shortBody);
    EXPECT_EQ(Edited("BPM=130", "acid"), whole);
    EXPECT_EQ(Edited("KEY=E", "acid"), Bytes(AcidBody{0x0A, 64, 8, 130}));
    EXPECT_EQ(Edited("ACID:BEATS=16", "acid"), Bytes(AcidBody{0x0A, 64, 16, 130}));
    for (const auto* wrong : {"ACID:BEATS=many", "ACID:BPM=1000", "ACID:KEY=H"})
        EXPECT_EQ(Edited(wrong, "acid"), Bytes(AcidBody{0x0A, 64, 16, 130})) << wrong;
    const Bytes padded = ByteWriter().Add(whole).Zeros(2), longer = ByteWriter().Add(whole).Text("more");
    for (const auto* own : {"BPM=130", "KEY=D", "ACID:BEATS=8"}) {
        Put("acid", padded);
        EXPECT_EQ(Edited("ACID:BEATS=many", "acid"), padded);
        EXPECT_EQ(Edited(own, "acid"), whole);
    }
    const Bytes fine = AcidBody{0x0A, 62, 8, 2.5000002F};  // more digits than its text has
    Put("acid", fine);
    EXPECT_EQ(Edited("INFO:INAM=other", "acid"), fine);
    const Bytes shot = AcidBody{0x09, 62, 8, 130};
    for (const auto& kept : {longer, shot}) {
        Put("acid", kept);
        EXPECT_EQ(Edited("BPM=90", "acid"), kept);
    }
    WriteWholeFile(path, MonoFile(Ramp(500), ByteWriter().Chunk("acid", shortBody).Chunk("acid", shot)));
    EXPECT_EQ(Edited("BPM=130", "acid"), whole);
    WriteWholeFile(path, MonoFile(Ramp(500)));
    EXPECT_TRUE(Edited("BPM=90", "acid").empty());
    EXPECT_FALSE(TagsOf(path)["ID3:TBPM"].empty());
}

}  // namespace
}  // namespace vantor::test
