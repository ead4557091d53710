// Documents read and put in as they stand, through a source.
#include <gmock/gmock.h>

#include "tests/metadata/id3_tag_writer.h"
#include "tests/source/edit_support.h"

namespace vantor::test {
namespace {

using namespace std::string_literals;
using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::StartsWith;

class Documents : public ::testing::Test {
  protected:
    static std::string Read(PCM_source& source, const char* scheme, size_t room) {
        std::string bytes(room, '?');
        const intptr_t whole = source.ExtendedCall(callDocument, const_cast<char*>(scheme), bytes.data(),
                                                   reinterpret_cast<void*>(room));
        EXPECT_LE(static_cast<size_t>(whole), room);
        return bytes.substr(0, static_cast<size_t>(whole));
    }
    intptr_t Write(PCM_source& source, const char* scheme, const std::string& bytes, intptr_t flags = 0) {
        DocumentRecord record{scheme, bytes.data(), std::ssize(bytes)};
        return source.ExtendedCall(callWriteDocument, target.data(), &record, reinterpret_cast<void*>(flags));
    }

    FakeHost host;
    TempFolder folder;
    std::string target = folder.Path("target.wav");
};

TEST_F(Documents, AreMeasuredWithoutABufferAndFillASmallOne) {
    const auto source = OpenSource(folder.Write("file.wav", TaggedFile()));
    const std::string whole = Read(*source, "IXML", 4096);
    ASSERT_GT(whole.size(), 8u);
    std::string scheme = "IXML", bytes = "????????";
    for (const intptr_t room : {intptr_t{4096}, intptr_t{0}, intptr_t{-1}})
        EXPECT_EQ(source->ExtendedCall(callDocument, scheme.data(), nullptr, Number(room)),
                  std::ssize(whole));
    EXPECT_EQ(source->ExtendedCall(callDocument, scheme.data(), bytes.data(), Number(-1)), std::ssize(whole));
    EXPECT_EQ(bytes, "????????");
    EXPECT_EQ(source->ExtendedCall(callDocument, scheme.data(), bytes.data(), Number(5)), std::ssize(whole));
    EXPECT_EQ(bytes, whole.substr(0, 5) + "???");
}

TEST_F(Documents, AreWholeOrNone) {
    Bytes file = ByteWriter()
                     .Add(MonoFile(Ramp(10)))
                     .Chunk("iXML", ByteWriter().Text("<BWFXML><NOTE>n</NOTE></BWFXML>"));
    file[4] = static_cast<uint8_t>(file.size() - 8);
    EXPECT_EQ(Read(*OpenSource(folder.Write("file.wav", file)), "IXML", 99),
              "<BWFXML><NOTE>n</NOTE></BWFXML>");
    file.resize(file.size() - 2);  // a pad byte and one of the document's
    EXPECT_EQ(Read(*OpenSource(folder.Write("cut.wav", file)), "IXML", 99), "");
}

// Odd and even ones, in place and as a copy; every other chunk stays where it was.
TEST_F(Documents, ComeBackByteForByte) {
    const struct {
        const char *scheme, *chunk;
        std::string bytes;
    } documents[] = {
        {"IXML", "iXML",
         "<?xml version=\"1.0\"?>\n<!-- kept --><BWFXML><A b=\"c\">x</A><NOTE>new</NOTE></BWFXML>\n"},
        {"IXML", "iXML", "<BWFXML><NOTE>even number</NOTE><X/></BWFXML>"},
        {"AXML", "axml", "<ebuCoreMain><coreMetadata/></ebuCoreMain>"},
        {"XMP", "_PMX",
         "<x:xmpmeta xmlns:x=\"adobe:ns:meta/\"><rdf:RDF "
         "xmlns:rdf=\"http://www.w3.org/1999/02/22-rdf-syntax-ns#\">"
         "<rdf:Description xmlns:q=\"urn:q\" q:own=\"1\"/></rdf:RDF></x:xmpmeta> "},
    };
    const Bytes original = TaggedFile();
    for (const auto& [scheme, chunk, bytes] : documents)
        for (const intptr_t flags : {intptr_t{0}, intptr_t{writeNeverInPlace}}) {
            const auto path = folder.Write("file.wav", original);
            const auto source = OpenSource(path);
            ASSERT_EQ(Write(*source, scheme, bytes, flags), flags ? writtenToTarget : updatedInPlace)
                << scheme;
            const auto& written = flags ? target : path;
            EXPECT_EQ(Read(*OpenSource(written), scheme, 4096), bytes);
            ExpectOnlyTagsDiffer(original, ReadWholeFile(written));
            auto before = ChunkList(original), after = ChunkList(ReadWholeFile(written));
            const auto isReplaced = [&](const auto& one) { return one.id == chunk || one.id == "JUNK"; };
            std::erase_if(before, isReplaced);
            std::erase_if(after, isReplaced);
            EXPECT_EQ(after, before) << scheme;
        }
}

// A picture between two texts.
Bytes TagWithPicture(const std::string& picture, uint8_t flags) {
    return Id3TagWriter(3)
        .Text("TIT2", "Song")
        .Frame("APIC", ByteWriter().U8(0).Text("image/png").U8(0).U8(4).Text("behind").U8(0).Text(picture))
        .Frame("TXXX", ByteWriter().U8(0).Text("own").U8(0).Text("\xFF."))
        .Tag(flags);
}
constexpr uint8_t unsynchronised = 0x80;

// A picture keeps its place, type and description when another takes it; a new one is a front cover.
TEST_F(Documents, APictureComesBackByteForByte) {
    const std::string jpeg("\xFF\xD8\xFF\xE0\0\xFF\0\xFF\xE2\xFF", 10),
        old("\x89PNG\r\n\x1A\n\xFF\0\xFF", 11);
    const Bytes front = TaggedPicture();
    const struct {
        Bytes file;
        std::string read, type, description;
    } cases[] = {
        {MonoFile(Ramp(editedFrames), ByteWriter().Chunk("id3 ", TagWithPicture(old, 0))), old, "type:4",
         "behind"},
        {MonoFile(Ramp(editedFrames), ByteWriter().Chunk("id3 ", TagWithPicture(old, unsynchronised))), old,
         "type:4", "behind"},
        {MonoFile(Ramp(editedFrames), ByteWriter().Chunk("note", {1, 2, 3})), "", "type:3", ""},
        {TaggedFile(), {front.begin(), front.end()}, "type:3", "Front"},
    };
    for (const auto& one : cases)
        for (const intptr_t flags : {intptr_t{0}, intptr_t{writeNeverInPlace}}) {
            const auto path = folder.Write("file.wav", one.file);
            const auto source = OpenSource(path);
            EXPECT_EQ(Read(*source, "ID3:APIC", 4096), one.read);
            ASSERT_NE(Write(*source, "ID3:APIC", jpeg, flags), writeFailed) << one.type;
            const auto written = OpenSource(flags ? target : path);
            EXPECT_EQ(Read(*written, "ID3:APIC", 4096), jpeg);
            ExpectOnlyTagsDiffer(one.file, ReadWholeFile(flags ? target : path));
            auto before = TagsOf(folder.Write("before.wav", one.file)), after = TagsOf(*written);
            EXPECT_THAT(after["ID3:APIC"], AllOf(StartsWith("mime:image/jpeg "), HasSubstr(one.type),
                                                 HasSubstr(one.description)));
            before.erase("ID3:APIC");
            after.erase("ID3:APIC");
            EXPECT_EQ(after, before);
        }
}

// To the last tag that has one, else to the last; never to a chunk that is none or is refused.
TEST_F(Documents, APictureGoesToTheTagThatCounts) {
    const auto tag = [](const std::string& picture, size_t number) {
        Id3TagWriter writer(3);
        if (!picture.empty()) writer.Frame("APIC", ByteWriter().U8(0).Text("x").Zeros(3).Text(picture));
        return writer.Text("TIT2", std::to_string(number)).Tag();
    };
    const std::pair<Fields, size_t> cases[] = {
        {{""}, 0}, {{"", ""}, 1}, {{"old", ""}, 0}, {{"", "old", "older", ""}, 2}};
    for (const auto& [pictures, place] : cases) {
        std::vector<ListedChunk> chunks;
        for (const auto& picture : pictures)
            chunks.push_back({"id3 ", tag(picture, chunks.size())});
        chunks.push_back({"axml", tag("none", 8)});
        chunks.push_back({"id3 ", ByteWriter().Add(tag("refused", 9)).Zeros(2)});
        ByteWriter behind;
        for (const auto& [id, body] : chunks)
            behind.Chunk(id, body);
        const auto path = folder.Write("file.wav", MonoFile(Ramp(9), {}, behind));
        EXPECT_EQ(Read(*OpenSource(path), "ID3:APIC", 9), pictures[place]);
        ASSERT_EQ(Write(*OpenSource(path), "ID3:APIC", "GIF8", writeNeverInPlace), writtenToTarget);
        EXPECT_EQ(Read(*OpenSource(target), "ID3:APIC", 9), "GIF8");
        auto list = ChunkList(ReadWholeFile(target));
        for (size_t i = 0; i < chunks.size(); ++i)
            EXPECT_EQ(std::erase(list, chunks[i]), i != place) << place << " " << i;
    }
    // 2.2 has 24 bits for the size of a frame.
    for (const auto& frames : {Id3TagWriter(2).Text("TT2", "a"),
                               Id3TagWriter(2).Frame("PIC", ByteWriter().U8(0).Text("PNG").Zeros(2).U8(1))}) {
        const Bytes file = MonoFile(Ramp(9), {}, ByteWriter().Chunk("id3 ", frames.Tag()));
        const auto path = folder.Write("file.wav", file);
        EXPECT_EQ(Write(*OpenSource(path), "ID3:APIC", "GIF8" + std::string(1 << 24, 'x')), writeFailed);
        EXPECT_EQ(ReadWholeFile(path), file);
    }
}

TEST_F(Documents, APictureIsWhatBeginsLikeOne) {
    const std::pair<std::string, std::string> cases[] = {
        {"\xFF\xD8\xFF", "jpeg"},  {"\x89PNG\r\n\x1A\n", "png"}, {"GIF8", "gif"},
        {"RIFF????WEBP", "webp"},  {"II*\0"s, "tiff"},           {"MM\0*"s, "tiff"},
        {"BM????\0\0\0\0"s, "bmp"}};
    for (const auto& [start, type] : cases) {
        const auto path = folder.Write("file.wav", MonoFile(Ramp(9)));
        for (const auto& other : {start.substr(0, start.size() - 1), start.substr(0, start.size() - 1) + '!'})
            EXPECT_EQ(Write(*OpenSource(path), "ID3:APIC", other), writeFailed) << other;
        EXPECT_EQ(Write(*OpenSource(path), "ID3:APIC", start), updatedInPlace) << type;
        EXPECT_THAT(TagsOf(path)["ID3:APIC"], StartsWith("mime:image/" + type));
    }
}

// Containers that edits do not write.
TEST_F(Documents, AreReadInEveryContainer) {
    const std::string xmp =
        "<x:xmpmeta xmlns:x=\"adobe:ns:meta/\"><rdf:RDF "
        "xmlns:rdf=\"http://www.w3.org/1999/02/22-rdf-syntax-ns#\">"
        "<rdf:Description xmlns:q=\"urn:q\" q:own=\"1\"/></rdf:RDF></x:xmpmeta>";
    const std::string picture("\x89PNG\r\n\x1A\n\xFF\0\xFF", 11);
    const Bytes tag = TagWithPicture(picture, unsynchronised);
    const Bytes uuid = {0xBE, 0x7A, 0xCF, 0xCB, 0x97, 0xA9, 0x42, 0xE8,
                        0x9C, 0x71, 0x99, 0x94, 0x91, 0xE3, 0xAF, 0xAC};
    Bytes aiff = ReadWholeFile(SourceTree() + "/samples/aiff.aif"), wave64, caf;
    const ByteWriter more = ByteWriter()
                                .IffChunk("APPL", ByteWriter().Text("stocNone"))
                                .IffChunk("APPL", ByteWriter().Text("XMP ").Text(xmp))
                                .IffChunk("ID3 ", tag);
    aiff.insert(aiff.end(), more.Done().begin(), more.Done().end());
    wave64 = ReadWholeFile(SourceTree() + "/samples/wave64.w64");
    wave64.resize((wave64.size() + 7) / 8 * 8);
    const ByteWriter chunks = ByteWriter()
                                  .Wave64Chunk("iXML", ByteWriter().Text("<BWFXML><NOTE>x</NOTE></BWFXML>"))
                                  .Wave64Chunk("_PMX", ByteWriter().Text(xmp))
                                  .Wave64Chunk("id3 ", tag);
    wave64.insert(wave64.end(), chunks.Done().begin(), chunks.Done().end());
    caf = ReadWholeFile(SourceTree() + "/samples/caf-big.caf");
    const ByteWriter packet = ByteWriter()
                                  .CafChunk("uuid", ByteWriter().Zeros(16).Text("<x/>"))
                                  .CafChunk("uuid", ByteWriter().Add(uuid).Text(xmp));
    caf.insert(caf.end(), packet.Done().begin(), packet.Done().end());

    const auto a = OpenSource(folder.Write("a.aif", aiff));
    EXPECT_EQ(Read(*a, "XMP", 4096), xmp);
    EXPECT_EQ(Read(*a, "ID3:APIC", 4096), picture);
    EXPECT_EQ(Read(*a, "IXML", 4096), "");
    const auto w = OpenSource(folder.Write("w.w64", wave64));
    EXPECT_EQ(Read(*w, "IXML", 4096), "<BWFXML><NOTE>x</NOTE></BWFXML>");
    EXPECT_EQ(Read(*w, "XMP", 4096), xmp);
    EXPECT_EQ(Read(*w, "ID3:APIC", 4096), picture);
    EXPECT_EQ(Read(*OpenSource(folder.Write("c.caf", caf)), "XMP", 4096), xmp);
    caf.pop_back();  // the packet is cut off
    EXPECT_EQ(Read(*OpenSource(folder.Write("cut.caf", caf)), "XMP", 4096), "");
}

TEST_F(Documents, ThatAreNoneAreRefused) {
    const Bytes original = TaggedFile();
    const auto path = folder.Write("file.wav", original);
    const auto source = OpenSource(path);
    EXPECT_EQ(Write(*source, "IXML", "<BWFXML><NOTE>cut off"), writeFailed);
    EXPECT_EQ(Write(*source, "IXML", ""), writeFailed);
    EXPECT_EQ(Write(*source, "XMP", "<html/>"), writeFailed);
    EXPECT_EQ(Write(*source, "BWF", "<BWFXML/>"), writeFailed);
    EXPECT_EQ(Write(*source, "ID3:APIC", "no picture at all"), writeFailed);
    EXPECT_EQ(Read(*source, "BWF", 4096), "");
    EXPECT_EQ(ReadWholeFile(path), original);
    const auto aiff = OpenSource(SourceTree() + "/samples/aiff.aif");
    EXPECT_EQ(Write(*aiff, "IXML", "<BWFXML><NOTE>x</NOTE></BWFXML>"), writeFailed);

    Reopen(*source);
    DocumentRecord record{"IXML", "<BWFXML/>", 9};
    EXPECT_EQ(source->ExtendedCall(callWriteDocument, nullptr, &record, nullptr), writeFailed);
    EXPECT_EQ(source->ExtendedCall(callWriteDocument, target.data(), nullptr, nullptr), writeFailed);
    for (DocumentRecord incomplete : {DocumentRecord{nullptr, "<BWFXML/>", 9},
                                      {"IXML", nullptr, 9},
                                      {"IXML", "<BWFXML/>", 0},
                                      {"IXML", "<BWFXML/>", -1}})
        EXPECT_EQ(source->ExtendedCall(callWriteDocument, target.data(), &incomplete, nullptr), writeFailed);
    EXPECT_EQ(IdleReaderCount(path), 1u) << "nobody has looked at the file";

    // Asked for its size alone, and into a buffer that is too small.
    char some[5] = "????";
    const intptr_t whole = source->ExtendedCall(callDocument, const_cast<char*>("AXML"), nullptr, nullptr);
    EXPECT_GT(whole, 4);
    EXPECT_EQ(source->ExtendedCall(callDocument, const_cast<char*>("AXML"), some, reinterpret_cast<void*>(2)),
              whole);
    EXPECT_EQ(std::string(some).substr(2), "??");
}

}  // namespace
}  // namespace vantor::test
