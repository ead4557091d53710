#include "tests/source/edit_support.h"

#include <gtest/gtest.h>

#include "fileio/byte_order.h"
#include "tests/metadata/id3_tag_writer.h"

namespace vantor::test {

namespace {

Bytes TextBytes(const std::string& text) {
    return {text.begin(), text.end()};
}

Bytes OldId3() {
    const Bytes picture =
        ByteWriter().U8(0).Text("image/png").U8(0).U8(3).Text("Front").U8(0).Add(TaggedPicture());
    const Bytes object =
        ByteWriter().U8(0).Text("x/y").U8(0).Text("name").U8(0).Text("desc").U8(0).Fill(33, 0x77);
    return Id3TagWriter(3)
        .Text("TIT2", "Old title")
        .Text("TPE1", "Old artist")
        .Frame("APIC", picture)
        .Frame("GEOB", object)
        .Frame("PRIV", ByteWriter().Text("owner").U8(0).Fill(9, 0x88))
        .Tag();
}

Bytes Bext() {
    return ByteWriter()
        .Field("Old description", 256)
        .Field("Maker", 32)
        .Zeros(50)
        .Le64(1500)
        .Le16(1)
        .Zeros(254);
}

Bytes ChunksInFront() {
    const Bytes cue = ByteWriter().Le32(1).Le32(7).Zeros(16).Le32(250);
    const Bytes adtl = ByteWriter().Text("adtl").Chunk("labl", ByteWriter().Le32(7).Text("hit").U8(0));
    return ByteWriter()
        .Chunk("bext", Bext())
        .Chunk("iXML", TextBytes("<BWFXML><PROJECT>Old project</PROJECT><NOTE>Old note</NOTE></BWFXML>"))
        .Chunk("acid", AcidBody{.flags = 10, .rootNote = 62, .beats = 2, .tempo = 120})
        .Chunk("abcd", TextBytes("odd"))
        .Chunk("axml", TextBytes(TaggedDescription()))
        .Chunk("cue ", cue)
        .Chunk("LIST", adtl);
}

Bytes ChunksBehind() {
    const Bytes info =
        ByteWriter().Text("INFO").Chunk("INAM", TextBytes("Old title")).Chunk("ISFT", TextBytes("tool"));
    return ByteWriter()
        .Chunk("smpl", ByteWriter().Zeros(28).Le32(1).Le32(0).Le32(2).Le32(0).Le32(3).Le32(9).Zeros(8))
        .Chunk("id3 ", OldId3())
        .Chunk("zzzz", TextBytes("last unknown"))
        .Chunk("LIST", info);
}

void ExpectSizesAgree(const Bytes& file, const std::string& what) {
    size_t end = 12;
    for (const auto& chunk : ChunkList(file))
        end += 8 + chunk.body.size() + (chunk.body.size() & 1);
    EXPECT_EQ(end, file.size()) << what;
    EXPECT_EQ(RiffSizeField(file), file.size() - 8) << what;
    if (FourCharacters(file.data()) != "RIFF") {
        EXPECT_EQ(ReadLe64(&file[20]), file.size() - 8) << what;
    }
}

// `ds64` holds the one size that an edit changes.
std::vector<ListedChunk> ComparableChunks(const Bytes& file, bool withoutAcid) {
    auto chunks = KeptChunks(file);
    if (withoutAcid) std::erase_if(chunks, [](const ListedChunk& chunk) { return chunk.id == "acid"; });
    for (auto& chunk : chunks)
        if (chunk.id == "ds64") std::fill_n(chunk.body.begin(), 8, uint8_t{0});
    return chunks;
}

}  // namespace

Bytes TaggedPicture() {
    ByteWriter picture;
    for (int i = 0; i < 777; ++i)
        picture.U8(static_cast<uint8_t>(i * 7));
    return picture;
}

std::string TaggedDescription() {
    return "<?xml version=\"1.0\"?>\r\n<ebuCoreMain><coreMetadata><x>ISRC:OLDCODE</x>"
           "<format><audioFormatExtended>\xC3\xA9</audioFormatExtended></format></coreMetadata></"
           "ebuCoreMain>";
}

Bytes TaggedFile(std::string_view riffId) {
    const Bytes audio = Ramp(editedFrames);
    ByteWriter chunks;
    if (riffId != "RIFF")
        chunks.Chunk("ds64", ByteWriter().Le64(0).Le64(audio.size()).Le64(editedFrames).Le32(0));
    chunks.Chunk("fmt ", FmtBody(1, 1, 1000, 16))
        .Add(ChunksInFront())
        .Chunk("data", audio)
        .Add(ChunksBehind());
    return RiffFile(chunks, riffId);
}

void ExpectOnlyTagsDiffer(const Bytes& before, const Bytes& after, const std::string& what, bool hasNewAcid) {
    EXPECT_EQ(ComparableChunks(after, hasNewAcid), ComparableChunks(before, hasNewAcid))
        << what << ": " << Ids(after);
    ExpectSizesAgree(after, what);
}

}  // namespace vantor::test
