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

void ExpectSizesAgree(const Bytes& file) {
    size_t end = 12;
    for (const auto& chunk : ChunkList(file))
        end += 8 + chunk.body.size() + (chunk.body.size() & 1);
    EXPECT_EQ(end, file.size());
    EXPECT_EQ(RiffSizeField(file), file.size() - 8);
    if (FourCharacters(file.data()) != "RIFF") {
        EXPECT_EQ(ReadLe64(&file[20]), file.size() - 8);
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

std::vector<EditCase> EditCases() {
    const Bytes padding = ByteWriter().Chunk("JUNK", Bytes(12000));
    const Bytes bare = MonoFile(Ramp(editedFrames));
    const std::string cyrillic = "\xD0\x9F\xD1\x91\xD1\x82\xD1\x80", han = "\xE6\xBC\xA2\xE5\xAD\x97";
    const std::string symbols = "\xF0\x9F\x8E\xA7 <&>\"'" + std::string(9000, 'c');
    const Fields shrinking = {"PREFPOS=", "BWF:Description=", "AXML:ISRC=", "ID3:APIC="};
    const Fields lasting = {"ID3:TPE1=Old artist", "IXML:NOTE=Old note", "INFO:ISFT=tool",
                            "AXML:ISRC=OLDCODE", "ID3:PRIV:owner=[Binary data]"};
    return {
        {"common field",
         TaggedFile(),
         {"TITLE=New"},
         mergeTags,
         {"INFO:INAM=New", "ID3:TIT2=New", "IXML:PROJECT=New", "CART:Title=New", "XMP:dc/title=New"}},
        {"raw keys",
         TaggedFile(),
         {"INFO:ICMT=raw", "IXML:USER:Mood=calm", "CART:SEG1=77"},
         mergeTags,
         lasting},
        {"growing, every script",
         TaggedFile("RF64"),
         {"ARTIST=" + cyrillic, "ALBUM=" + han, "COMMENT=" + symbols},
         mergeTags,
         {"INFO:IART=" + cyrillic, "ID3:TALB=" + han, "IXML:NOTE=" + symbols,
          "XMP:dm/logComment=" + symbols}},
        {"date and position",
         TaggedFile(),
         {"DATE=2024-01-05", "PREFPOS=2500"},
         mergeTags,
         {"BWF:OriginationDate=2024-01-05", "INFO:ICRD=2024-01-05", "BWF:TimeReference=2500",
          "IXML:BWF:BWF_TIME_REFERENCE_LOW=2500", "XMP:dm/relativeTimestamp=000002500"}},
        {"shrinking",
         TaggedFile(),
         shrinking,
         mergeTags,
         {"BWF:TimeReference=0", "BWF:Description=", "IXML:BWF:BWF_DESCRIPTION=", "AXML:ISRC=", "ID3:APIC=",
          "BWF:Originator=Maker"}},
        {"tempo and key",
         TaggedFile(),
         {"BPM=98.5", "KEY=Eb"},
         mergeTags,
         {"ID3:TBPM=98.5", "ID3:TKEY=Eb"},
         true},
        {"everything replaced",
         TaggedFile("BW64"),
         {"TITLE=Only"},
         replaceAll,
         {"INFO:INAM=Only", "INFO:ISFT=", "ID3:TPE1=", "ID3:APIC=", "BWF:Description=", "AXML:ISRC="}},
        {"first tag", bare, {"TITLE=New"}, mergeTags, {"INFO:INAM=New"}},
        {"padding in front",
         MonoFile(Ramp(editedFrames), padding),
         {"COMMENT=" + symbols},
         mergeTags,
         {"INFO:ICMT=" + symbols}},
        {"padding behind",
         MonoFile(Ramp(editedFrames), {}, padding),
         {"COMMENT=" + symbols},
         mergeTags,
         {"INFO:ICMT=" + symbols}},
    };
}

void ExpectOnlyTagsDiffer(const Bytes& before, const Bytes& after, bool hasNewAcid) {
    EXPECT_EQ(ComparableChunks(after, hasNewAcid), ComparableChunks(before, hasNewAcid)) << Ids(after);
    ExpectSizesAgree(after);
}

void ExpectOutcome(const EditCase& edit, const std::string& path) {
    ExpectOnlyTagsDiffer(edit.file, ReadWholeFile(path), edit.hasNewAcid);
    ExpectTags(edit.wanted, path);
}

void ExpectTags(const Fields& wanted, const std::string& path) {
    auto tags = TagsOf(path);
    for (const auto& field : wanted) {
        const std::string key = field.substr(0, field.find('='));
        EXPECT_EQ(key + '=' + tags[key], field);
    }
    ExpectEverySample(*OpenSource(path));
}

void ExpectEverySample(PCM_source& source) {
    EXPECT_EQ(ReadInts(source, 0, editedFrames + 1), Numbers(0, editedFrames));
}

}  // namespace vantor::test
