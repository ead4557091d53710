#include "formats/channel_layout.h"
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
        {{"cart", "CART"}, cart, "CART:Title=T"},
        {{"axml"}, axml, "AXML:ISRC=AB"},
        {{"DISP"}, display, "DISP:CF_TEXT=shown"},
        {{"DISP"}, ByteWriter().Le32(1).Text("x"), "DISP:CF_TEXT=x"},
        {{"DISP"}, ByteWriter().Le32(1).Text("xy"), "DISP:CF_TEXT=xy\n"},
        {{"abcd", "IXML", "disp", "PAD "}, Bytes(4), "="},
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
