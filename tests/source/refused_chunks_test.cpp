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
    Put("acid", padded);
    EXPECT_EQ(Edited("BPM=130", "acid"), whole);
    const Bytes shot = AcidBody{0x09, 62, 8, 130};
    for (const auto& kept : {longer, shot}) {
        Put("acid", kept);
        EXPECT_EQ(Edited("BPM=90", "acid"), kept);
    }
    WriteWholeFile(path, MonoFile(Ramp(500)));
    EXPECT_TRUE(Edited("BPM=90", "acid").empty());
    EXPECT_FALSE(TagsOf(path)["ID3:TBPM"].empty());
}

}  // namespace
}  // namespace vantor::test
