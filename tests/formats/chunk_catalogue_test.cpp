#include <iterator>

#include "formats/channel_layout.h"
#include "formats/document_chunks.h"
#include "tests/formats/parse_fixture.h"

namespace vantor::test {
namespace {

// What the whole samples do not hold: other ids of the same schemes, and chunks to be dropped.
TEST(ChunkCatalogue, ListsReadsOrDropsAChunk) {
    const Bytes info = ByteWriter().Text("INFO").Chunk("INAM", ByteWriter().Text("song"));
    const Bytes cart = ByteWriter().Zeros(4).Field("T", 2044), axml = ByteWriter().Text("<x>ISRC:AB</x>");
    const Bytes display = ByteWriter().Le32(1).Text("shown").U8(0).Text("x");
    const struct {
        std::initializer_list<const char*> ids;
        Bytes body;
        std::string entry;  // a listed chunk's own id is its key
    } cases[] = {
        {{"list"}, info, "INFO:INAM=song"},
        {{"LIST"}, ByteWriter().Text("info").Chunk("INAM", ByteWriter().Text("song")), "INFO:INAM=song"},
        {{"LIST"}, ByteWriter().Add(info).Chunk("ISFT", Bytes(5000, 'x')), "INFO:INAM=song\n"},
        {{"cart", "CART"}, cart, "CART:Title=T"},
        {{"axml"}, axml, "AXML:ISRC=AB"},
        {{"DISP"}, display, "DISP:CF_TEXT=shown"},
        {{"DISP"}, ByteWriter().Le32(1).Text("x"), "DISP:CF_TEXT=x"},
        {{"DISP"}, ByteWriter().Le32(1).Text("xy"), "DISP:CF_TEXT=xy\n"},
        {{"abcd", "IXML", "disp", "PAD ", "r64m"}, Bytes(4), "="},
        {{"abcd"}, Bytes(2), ""},
        {{"JUNK", "junq", "FILR", "fllr", "PAD_"}, Bytes(4), ""},
        {{"DISP"}, ByteWriter().Le32(8).Text("picture"), ""},
        {{"DISP"}, ByteWriter().Le32(1), ""},
        {{"chna"}, ByteWriter().Le16(3).Le16(2), ""},  // more tracks than UIDs
        {{"chna"}, ByteWriter().Le16(0).Le16(2), ""},
    };
    const std::string audio = "kind 0, int16 little, 2 ch, 44100 Hz, 4 bytes, 10 frames at 44\n";
    for (const auto& c : cases)
        for (const auto* id : c.ids) {
            const bool isListed = c.entry == "=";
            const auto file = ByteWriter().Add(WaveFile()).Chunk(id, c.body).Chunk("JUNK", Bytes(4));
            const auto text = RecordText(*ParsePlayable(file));
            EXPECT_TRUE(text.starts_with(audio + (isListed ? id : "") + c.entry)) << id << ": " << text;
            EXPECT_EQ(text == audio, c.entry.empty()) << text;
            const auto longer =
                static_cast<uint32_t>(c.body.size()) + 1;  // of what is cut off the id remains
            const auto cutOff = ByteWriter().Add(WaveFile()).Text(id).Le32(longer).Add(c.body);
            EXPECT_EQ(RecordText(*ParsePlayable(cutOff)) == audio, !isListed) << id;
        }
}

// The bytes of the documents of a scheme, one after the other.
std::string DocumentsOf(std::string_view scheme, const Bytes& file) {
    const TempFolder folder;
    FileReader reader(folder.Write("file", file), smallReader);
    std::string text;
    for (const auto& place : FindDocuments(reader, scheme))
        text.append(file.begin() + place.start, file.begin() + place.start + place.bytes).append(";");
    return text;
}

TEST(DocumentChunks, AreFoundWhole) {
    const auto text = [](std::string_view document) { return ByteWriter().Text(document); };
    const auto uuid = [&](std::string_view document) {
        return ByteWriter().Add({std::begin(xmpUuid), std::end(xmpUuid)}).Text(document);
    };
    Bytes otherUuid = uuid("f");
    otherUuid[15] ^= 1;
    Bytes foreign = ByteWriter().Wave64Chunk("_PMX", text("f"));
    foreign[5] ^= 1;
    const Bytes aiff = IffFile("AIFF", ByteWriter()
                                           .IffChunk("APPL", text("stoc other"))
                                           .IffChunk("abcd", text("XMP other"))
                                           .IffChunk("APPL", text("XMP one"))
                                           .IffChunk("_PMX", text("RIFF alone"))
                                           .IffChunk("APPL", text("XMP "))
                                           .IffChunk("ID3 ", text("tag"))
                                           .IffChunk("APPL", text("XMP two")));
    const Bytes wave64 = Wave64File(ByteWriter()
                                        .Wave64Chunk("_PMX", text("one"))
                                        .Add(foreign)
                                        .Wave64Chunk("abcd", {})
                                        .Wave64Chunk("id3 ", text("tag"))
                                        .Wave64Chunk("_PMX", text("eightbyt")));
    const Bytes caf = CafFile(ByteWriter()
                                  .CafChunk("uuid", uuid("one"))
                                  .CafChunk("abcd", uuid("f"))
                                  .CafChunk("uuid", otherUuid)
                                  .CafChunk("uuid", uuid("two")));
    EXPECT_EQ(DocumentsOf("XMP", aiff), "one;;two;");
    EXPECT_EQ(DocumentsOf("ID3", aiff), "tag;");
    EXPECT_EQ(DocumentsOf("XMP", wave64), "one;eightbyt;");
    EXPECT_EQ(DocumentsOf("ID3", wave64), "tag;");
    EXPECT_EQ(DocumentsOf("XMP", caf), "one;two;");
    EXPECT_EQ(DocumentsOf("ID3", caf), "");
    EXPECT_EQ(DocumentsOf("XMP", WaveFile(pcmFmt, ByteWriter().Chunk("_PMX", text("one")))), "");
    EXPECT_EQ(DocumentsOf("XMP", Bytes(100)), "");
    EXPECT_EQ(DocumentsOf("XMP", CafFile(ByteWriter().Text("uuid").Be64(8).Add(uuid("")).Zeros(20))), "");
    // A chunk that the file does not hold whole ends it.
    const auto withoutTheLast = [](const Bytes& file, ptrdiff_t bytes) {
        return DocumentsOf("XMP", {file.begin(), file.end() - bytes});
    };
    EXPECT_EQ(withoutTheLast(aiff, 1), "one;;two;");  // padding
    EXPECT_EQ(withoutTheLast(aiff, 2), "one;;");
    EXPECT_EQ(withoutTheLast(wave64, 1), "one;");
    EXPECT_EQ(withoutTheLast(caf, 1), "one;");
    auto hugeThenMore = ByteWriter().Text("free").Be64(INT64_MAX);
    EXPECT_EQ(DocumentsOf("XMP", CafFile(hugeThenMore.CafChunk("uuid", uuid("one")))), "");
}

TEST(ChannelLayout, NamesTagsAndMasks) {
    EXPECT_EQ(ChannelLayoutText(0x10000, 0x3F), "L R C LFE Lb Rb");
    EXPECT_EQ(ChannelLayoutText(0x790006, 0), "MPEG 5.1A - L R C LFE Lb Rb");
    EXPECT_EQ(ChannelLayoutText(0xBE0009, 0), "HO Ambisonic SN3D");  // of any channel count
    for (const uint32_t tag : {0x790006u, 0u})
        EXPECT_EQ(ChannelLayoutText(tag, 3), "unknown channel mask 00000003");
    EXPECT_EQ(ChannelLayoutText(0x10000, 0), "unknown layout tag 00010000");
    EXPECT_EQ(ChannelLayoutText(0, 0), "");
}

}  // namespace
}  // namespace vantor::test
