// Changes of ID3v2 tags where they stand: headers, unsynchronisation, and frames that no value makes up.
#include <gtest/gtest.h>

#include <algorithm>

#include "metadata/patch/patch_chunks.h"
#include "tests/metadata/id3_support.h"

namespace vantor::test {
namespace {

using namespace std::string_literals;

Bytes Patched(const Bytes& tag, const std::string& change) {
    const auto patched = PatchId3({tag, StoreOf(Listed("ID3:", change))});
    EXPECT_TRUE(patched);
    return patched.value_or(Bytes{});
}

// As ISO 3309 has it.
uint32_t CheckSum(const Bytes& bytes) {
    uint32_t sum = ~0u;
    for (const uint8_t byte : bytes) {
        sum ^= byte;
        for (int bit = 0; bit < 8; ++bit)
            sum = sum & 1 ? sum >> 1 ^ 0xEDB88320u : sum >> 1;
    }
    return ~sum;
}

// With a check sum, right or wrong, and in version 2.4 all other fields that there are.
Bytes ExtendedTag(int version, uint8_t flags, const std::string& title, uint32_t wrong,
                  size_t paddingBytes = 20) {
    const Bytes text = ByteWriter().U8(version == 4 ? 3 : 0).Text(title);
    const Bytes frames = Id3TagWriter(version).Frame("TIT2", text).Text("TPE1", "\xFF\xE0\xFFz").Body();
    const Bytes padding(paddingBytes);
    ByteWriter header;
    if (version == 3) {
        header.Be32(10).Be16(0x8000).Be32(static_cast<uint32_t>(paddingBytes)).Be32(CheckSum(frames) + wrong);
    } else {
        const uint32_t sum = CheckSum(ByteWriter().Add(frames).Add(padding)) + wrong;
        header.Be32(15).Add({1, 0x70, 0, 5, static_cast<uint8_t>(sum >> 28)});
        header.Be32(Syncsafe(sum & 0xFFFFFFF)).Add({1, 0x28});
    }
    return Id3TagWriter(version).Add(header).Add(frames).Add(padding).Tag(flags | 0x40);
}

// The sum and the padding are right again; a sum that was wrong stays what it was.
TEST(Id3Patches, KeepTheExtendedHeaderOfATag) {
    for (const auto& [version, flags] : {std::pair(3, 0), {3, 0x80}, {4, 0}})
        for (const uint32_t wrong : {0u, 9u})
            for (const std::string title : {"Other!!", "Titles that are longer!!", "Evn!"}) {
                SCOPED_TRACE(std::to_string(version) + " " + title);
                const auto old = ExtendedTag(version, static_cast<uint8_t>(flags), "Title", wrong);
                const auto patched = PatchId3({old, StoreOf({{"ID3:TIT2", title}})});
                ASSERT_TRUE(patched);
                EXPECT_EQ(patched->size() % 2, old.size() % 2);
                // A zero more keeps the tag even or odd.
                const size_t padding = title.size() % 2 == 1 ? 20 : 21;
                if (wrong == 0) {
                    EXPECT_EQ(TextOf(*patched),
                              TextOf(ExtendedTag(version, static_cast<uint8_t>(flags), title, 0, padding)));
                }
                MetadataStore now;
                ASSERT_TRUE(ReadId3Chunk(*patched, now, 1));
                EXPECT_EQ(now.Value("ID3:TIT2"), title);
                const auto back = PatchId3({*patched, StoreOf({{"ID3:TIT2", "Title"}})});
                EXPECT_EQ(TextOf(*back), TextOf(old));
            }
}

// Its one frame behind an extended header that ends, or does not end, in a check sum.
Bytes TagWithSum(int version, const Bytes& header, bool hasSum, const std::string& title,
                 const std::string& summed) {
    const auto frame = [&](const std::string& text) {
        return Id3TagWriter(version).Frame("TIT2", BytesOf("\3" + text)).Body();
    };
    const uint32_t sum = CheckSum(frame(summed));
    ByteWriter body;
    body.Add(header);
    if (hasSum && version == 3) body.Be32(sum);
    if (hasSum && version == 4) body.U8(static_cast<uint8_t>(sum >> 28)).Be32(Syncsafe(sum & 0xFFFFFFF));
    return Id3TagWriter(version).Add(body).Add(frame(title)).Tag(0x40);
}

TEST(Id3Patches, RenewTheSumThatAnExtendedHeaderHasAndNothingElse) {
    struct Case {
        int version;
        Bytes header;
        bool hasSum;
        bool isRenewed;
    };
    const Case cases[] = {
        {3, ByteWriter().Be32(0), false, false},
        {3, ByteWriter().Be32(6).Be16(0x8000).Be32(9), false, false},
        {3, ByteWriter().Be32(10).Be16(0).Be32(9), true, false},
        {3, ByteWriter().Be32(10).Be16(0x8000).Be32(9), true, true},
        {4, ByteWriter().Be32(6).U8(1).U8(0x60), false, false},
        {4, ByteWriter().Be32(7).Add({1, 0x60, 0}), false, false},
        {4, ByteWriter().Be32(12).Add({1, 0, 5}), true, false},
        {4, ByteWriter().Be32(12).Add({1, 0x20, 4}), true, false},
        {4, ByteWriter().Be32(12).Add({1, 0x20, 5}), true, true},
        {4, ByteWriter().Be32(15).Add({1, 0x60, 2, 9, 9, 5}), true, true},
    };
    for (const auto& [version, header, hasSum, isRenewed] : cases) {
        const auto old = TagWithSum(version, header, hasSum, "ab", "ab");
        const auto expected = TagWithSum(version, header, hasSum, "cd", isRenewed ? "cd" : "ab");
        auto patched = Patched(old, "TIT2=cd");
        if (version == 3) patched[patched.size() - 3] = 3;  // the encoding, Latin-1 there
        if (version == 4 || !isRenewed) {
            EXPECT_EQ(TextOf(patched), TextOf(expected)) << version << " " << TextOf(header);
        }
    }
    // A sum whose bytes look like a synchronisation.
    int looks = 0;
    for (int number = 0; number < 3000; ++number) {
        const std::string title = "t" + std::to_string(10'000 + number);
        const auto expected = ExtendedTag(3, 0x80, title, 0, 21);
        const bool isStuffed = expected.size() > ExtendedTag(3, 0x80, "t00000", 0, 21).size();
        if (!isStuffed || expected[24] == 0xFF) continue;
        ++looks;
        EXPECT_EQ(Patched(ExtendedTag(3, 0x80, "Title", 0), "TIT2=" + title), expected);
    }
    EXPECT_GT(looks, 0);
    EXPECT_FALSE(PatchId3({TagWithSum(4, ByteWriter().Be32(5).U8(1), false, "a", ""), StoreOf({})}));
    EXPECT_FALSE(PatchId3({BytesOf("TAG\4\0\0\0\0\0\0"s), StoreOf({})}));
    EXPECT_EQ(Patched(TagOf(2, {"TT2\0a"s}, 0x40), "TIT2=b"), TagOf(2, {"TT2\0b"s}, 0x40));
    EXPECT_EQ(BlankId3(), TagOf(4, {}));
}

TEST(Id3Patches, KeepATagUnsynchronised) {
    const std::string object = "GEOB\0\0\0\xFF\0\xFF\xE0\xFF"s;
    for (const std::string value : {"\u00FF\u00E0", "\u00FF", "\u00E0\u00FFz", "\u00FF\u00FF\u00DF"})
        for (const bool atEnd : {false, true}) {
            Frames frames = {"TIT2\0\0\0x"s, object, "TPE1\0\0\0y"s};
            const auto old = TagOf(3, frames, 0x80);
            const auto patched = Patched(old, (atEnd ? "TPE1=" : "TIT2=") + value);
            std::string latin1;
            for (const char byte : value)
                if (byte == '\xC3')
                    latin1 += '\x40';
                else
                    latin1 += static_cast<char>(latin1.ends_with('\x40') ? byte + 0x40 : byte);
            std::erase(latin1, '\x40');
            frames[atEnd ? 2 : 0] = (atEnd ? "TPE1\0\0\0"s : "TIT2\0\0\0"s) + latin1;
            EXPECT_EQ(FramesOf(patched), frames);
            EXPECT_TRUE(!value.ends_with('z') || patched.size() == old.size() + 2);
            for (size_t i = 11; i < patched.size(); ++i)
                EXPECT_FALSE(patched[i - 1] == 0xFF && patched[i] >= 0xE0) << i;
            EXPECT_TRUE(IsWalkedWhole(patched));
            EXPECT_EQ(Patched(patched, atEnd ? "TPE1=y" : "TIT2=x"), old);
        }
    const auto described = [](char value) { return Frames{"TXXX\0\0\0\xFF\0"s + value}; };
    EXPECT_EQ(FramesOf(Patched(TagOf(3, described('x'), 0x80), "TXXX:\u00FF=y")), described('y'));
    // An extended header that ends in 255 has a zero behind it, whether its padding is counted anew or not.
    const auto extended = [](std::string_view artist, bool isPadded) {
        const auto frames = Id3TagWriter(3).Text("TPE1", artist).Text("TIT2", "x");
        const Bytes padding(isPadded ? 1 : 0);
        const Bytes head = {0, 0, 0, 10, 0, 0, 0, 0, 0, static_cast<uint8_t>(isPadded), 1, 2, 3, 0xFF, 0};
        Bytes tag = Id3TagWriter(3).Add(head).Add(frames.Body()).Add(padding).Tag(0x40);
        tag[5] |= 0x80;
        return tag;
    };
    EXPECT_EQ(Patched(extended("a", false), "TPE1=b"), extended("b", false));
    EXPECT_EQ(FramesOf(Patched(extended("a", false), "TIT2=")), Frames{"TPE1\0\0\0a"s});
    EXPECT_EQ(Patched(extended("a", false), "TPE1=bc"), extended("bc", true));
    // A zero that comes to stand behind a byte of 255 is the next frame's own.
    const Frames odd = {"GEOB\0\0\0\xFF"s, "TIT2\0\0\0x"s, "\0ABC\0\0z"s, "TPE1\0\0\0y"s};
    const Frames shortened = {odd[0], odd[2], odd[3]};
    EXPECT_EQ(FramesOf(Patched(TagOf(3, odd, 0x80), "TIT2=")), shortened);
    EXPECT_EQ(Patched(TagOf(3, odd), "TIT2="), TagOf(3, shortened));
}

TEST(Id3Patches, PutOutWhatHasNoPlaceAndKeepWhatHasNoKey) {
    const Frames frames = {"TALB\0\x80\0\0\1\0zipped"s, "TXXX\0\x80\0\0\1\0zipped"s, "GEOB\0\0object"s};
    EXPECT_EQ(FramesOf(Patched(TagOf(3, frames), "TALB=new")),
              (Frames{frames[1], frames[2], "TALB\0\0\0new"s}));
    EXPECT_EQ(FramesOf(Patched(TagOf(3, frames), "TALB=|TIT2=")), frames);
    EXPECT_EQ(FramesOf(Patched(TagOf(3, frames), "GEOB=x|TIT2:002=b|TIT2:999=c|TIT2=a|TIT2:1000=d")),
              (Frames{frames[0], frames[1], frames[2], "TIT2\0\0\0a"s, "TIT2\0\0\0b"s, "TIT2\0\0\0c"s,
                      "TIT2\0\0\0d"s}));
    const Frames unread = {"TIT2\0\0\4text"s, "COMM\0\x80\0\0\1\0zipped"s};
    EXPECT_EQ(FramesOf(Patched(TagOf(3, unread), "TIT2=new|COMM=new")),
              (Frames{unread[0], unread[1], "COMM\0\0\0eng\0new"s, "TIT2\0\0\0new"s}));
    const Frames described = {"TXXX\0\0\0k\0v"s};
    EXPECT_EQ(FramesOf(Patched(TagOf(3, described), "TXXX:k:002=w|TXXX:n=x|TXXX:n:002=y")),
              (Frames{described[0], "TXXX\0\0\0k\0w"s, "TXXX\0\0\0n\0x"s, "TXXX\0\0\0n\0y"s}));
    EXPECT_EQ(PatchId3({TagOf(3, described), StoreOf({{"INFO:TIT2", "x"}})}), TagOf(3, described));
    const auto padded = [](const Id3TagWriter& tag) {
        return Id3TagWriter(3).Add(tag.Body()).Add(Bytes(4)).Tag();
    };
    EXPECT_EQ(Patched(padded(Id3TagWriter(3).Text("TPE1", "a").Text("TIT2", "\xFF")), "TIT2="),
              padded(Id3TagWriter(3).Text("TPE1", "a")));
    auto store = ReadStore(FullTag(4));
    store.RemoveWhere([](std::string_view key) { return key.starts_with("ID3:CHAP"); });
    EXPECT_EQ(ReadTag(Patched(FullTag(4), "CHAP=")), EntriesOf(store));
    EXPECT_EQ(ReadTag(Patched(FullTag(4), "CHAP=5 chapters")), fullEntries);
    EXPECT_EQ(Patched(TagOf(4, {"TIT2\0\0\0x"s}), "TIT2="), Bytes{});
}

TEST(Id3Patches, ChangeTheDocumentsThatATagHolds) {
    const std::string ixml = "PRIV\0\0IXML\0"s, xmp = "PRIV\0\0XMP\0"s;
    const std::string rdf =
        "<r:RDF xmlns:r='http://www.w3.org/1999/02/22-rdf-syntax-ns#' "
        "xmlns:c='http://purl.org/dc/elements/1.1/'><r:Description c:source='a'/></r:RDF>";
    const Frames old = {ixml + "<BWFXML><NOTE>a</NOTE></BWFXML>", xmp + rdf, ixml + "<BWFXML version='1'/>"};
    const auto changed = [&](const char* change) {
        const auto patched = PatchId3({TagOf(3, old), StoreOf(Listed("", change))});
        return patched ? FramesOf(*patched) : Frames{"refused"};
    };
    auto expected = old;
    EXPECT_EQ(changed("IXML:NOTE=a|XMP:dc/source=a"), expected);
    expected[0] = ixml + "<BWFXML><NOTE>b</NOTE></BWFXML>";
    EXPECT_EQ(changed("IXML:NOTE=b"), expected);
    expected = old;
    expected[1].replace(expected[1].find("'a'"), 3, "'b'");
    EXPECT_EQ(changed("XMP:dc/source=b"), expected);
    EXPECT_EQ(changed("XMP:dc/source="), (Frames{old[0], old[2]}));
    // What no change concerns stays as it is written, here with a zero that nothing asks for.
    auto stuffed = TagOf(3, {ixml + "<BWFXML><NOTE>\xFFz</NOTE></BWFXML>"}, 0x80);
    stuffed.insert(std::ranges::find(stuffed, uint8_t{0xFF}) + 1, 0);
    ++stuffed[9];
    ASSERT_EQ(ReadTag(stuffed), Listed("IXML:", "NOTE=\u00FFz"));
    EXPECT_EQ(PatchId3({stuffed, StoreOf(Listed("", "XMP:dc/source=b"))}), stuffed);
}

TEST(Id3Patches, LeaveTheFooterOutAndSaySo) {
    const auto frames = Id3TagWriter(4).Text("TIT2", "a");
    const auto footed = [&](const Bytes& rest) {
        return Id3TagWriter(4).Add(frames.Body()).Add(rest).Tag(0x10);
    };
    const Bytes footer = ByteWriter().Text("3DI\4").U8(0).U8(0x10).Be32(12);
    const Bytes patched = Patched(footed(footer), "TIT2=b");
    EXPECT_EQ(patched[5], 0);
    EXPECT_EQ(FramesOf(patched), Frames{"TIT2\0\0\3b"s});
    EXPECT_EQ(patched.size(), frames.Tag().size());
    const Bytes unsaid = Id3TagWriter(4).Text("TIT2", "a").Add(footer).Tag();
    EXPECT_EQ(Patched(unsaid, "TIT2=b").size(), unsaid.size());
    // Not where there is none.
    for (const Bytes& rest : {Bytes{}, Bytes(4), BytesOf("3D"), BytesOf("3DX and more")}) {
        const auto kept = Patched(footed(rest), "TIT2=b");
        EXPECT_EQ(kept[5], 0x10);
        EXPECT_EQ(kept.size(), footed(rest).size());
    }
}

}  // namespace
}  // namespace vantor::test
