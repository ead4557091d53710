// What a request to write would make of a file, told before: it is what the same request then makes.
#include <gtest/gtest.h>

#include "metadata/key_table.h"
#include "tests/source/lossless_support.h"

namespace vantor::test {
namespace {

Tags PlannedEntries(PCM_source& source) {
    Tags tags;
    const char *key = nullptr, *value = nullptr;
    for (intptr_t i = 0; source.ExtendedCall(callPlannedEntry, Number(i), &key, &value); ++i)
        tags[key] = value;
    return tags;
}

std::vector<ListedChunk> PlannedChunks(PCM_source& source) {
    std::vector<ListedChunk> chunks;
    const char* id = nullptr;
    DocumentRecord record{};
    for (intptr_t i = 0; source.ExtendedCall(callPlannedChunk, Number(i), &id, &record); ++i) {
        const auto* bytes = static_cast<const uint8_t*>(record.bytes);
        chunks.push_back({id, Bytes(bytes, bytes + record.byteCount)});
        EXPECT_EQ(SchemeOfChunkId(id)->name, std::string_view(record.scheme));
    }
    return chunks;
}

std::vector<std::string> RebuiltSchemes(PCM_source& source) {
    std::vector<std::string> schemes;
    const char* scheme = nullptr;
    for (intptr_t i = 0; source.ExtendedCall(callRebuiltScheme, Number(i), &scheme, nullptr); ++i)
        schemes.emplace_back(scheme);
    return schemes;
}

std::map<std::string, std::string> TagChunksOf(const Bytes& file) {
    auto chunks = ChunksByScheme(file);
    chunks.erase("kept");
    return chunks;
}

// A picture may lie anywhere.
Tags WithoutPictures(Tags tags) {
    std::erase_if(tags, [](const auto& tag) { return IsPictureKey(tag.first); });
    return tags;
}

const Fields edits[] = {
    {"TITLE=New title", "DATE=2024-05-06T07:08"},
    {"DESC=" + std::string(300, 'd'), "BWF:TimeReference=77"},
    {"IXML:NOTE=a <note>", "ASWG:notes=b", "IXML:USER:OWN=tags"},
    {"XMP:dc/title=", "CART:CutID=42", "INFO:IART=\u0416"},
    {"ID3:TPE2=band", "ID3:TIT2=", "BPM=99", "KEY=Db", "AXML:ISRC=GBXYZ"},
    {"TITLE=", "ARTIST=", "DESC=", "IXML:SCENE=", "IXML:PROJECT="},
    {"INFO:ICMT=", "IXML:TAPE=" + std::string(5000, 't')},
    {"INFO:none="},
};

class PlannedEdits : public ::testing::Test {
  protected:
    FakeHost host;
    TempFolder folder;
    const std::string path = folder.Path("edited.wav"), target = folder.Path("target.wav");
};

TEST_F(PlannedEdits, AreWhatComesAbout) {
    for (const auto& file : Files())
        for (const auto& edit : edits)
            for (const intptr_t flags : {replaceAll, mergeTags, lossless, lossless | neverInPlace}) {
                SCOPED_TRACE(file.name + ", " + edit[0] + ", " + std::to_string(flags));
                WriteWholeFile(path, file.bytes);
                const auto source = OpenSource(path);
                EXPECT_TRUE(PlannedEntries(*source).empty() && PlannedChunks(*source).empty() &&
                            RebuiltSchemes(*source).empty());
                const auto answer = RequestWrite(*source, target, edit, flags | writeAnswerAlone);
                const auto entries = PlannedEntries(*source);
                const auto chunks = PlannedChunks(*source);
                const auto rebuilt = RebuiltSchemes(*source);
                EXPECT_TRUE(ReadWholeFile(path) == file.bytes);
                ASSERT_EQ(RequestWrite(*source, target, edit, flags), answer);
                EXPECT_EQ(RebuiltSchemes(*source), rebuilt);
                const auto& written = answer == updatedInPlace ? path : target;
                EXPECT_EQ(WithoutPictures(entries), WithoutPictures(TagsOf(written)));
                std::map<std::string, std::string> planned;
                for (const auto& chunk : chunks)
                    planned[SchemeOfChunkId(chunk.id)->name] += chunk.id + TextOf(chunk.body);
                EXPECT_TRUE(planned == TagChunksOf(ReadWholeFile(written)));
            }
}

// It is built anew, and with it what stands in the same tag; nothing is lost, and all else stays.
TEST_F(PlannedEdits, TellWhatCannotBePatched) {
    const auto frame = [](const std::string& owner, const std::string& data) {
        return ByteWriter().Text(owner).U8(0).Text(data);
    };
    // White space alone is a text only as long as it has no elements beside it.
    const std::string ixml = "<BWFXML><A>a<B/></A></BWFXML>";
    const Id3TagWriter frames = Id3TagWriter(4)
                                    .Text("TIT2", "x")
                                    .Frame("PRIV", frame("own", "data"))
                                    .Frame("PRIV", frame("IXML", ixml))
                                    .Frame("PRIV", frame("XMP", editorsXmp));
    const Bytes tag = ByteWriter().Chunk("id3 ", frames.Tag());
    const Bytes refused = ByteWriter().Chunk("id3 ", ByteWriter().Add(frames.Tag()).Zeros(6));
    // Its extended header is too short to be one.
    const Bytes odd =
        ByteWriter().Chunk("id3 ", Id3TagWriter(4).Add({0, 0, 0, 4}).Add(frames.Body()).Tag(0x40));
    const Bytes document = ByteWriter().Chunk("iXML", BytesOf("<BWFXML><C>c<D/></C></BWFXML>"));
    const std::string position = "<BEXT><BWF_TIME_REFERENCE_LOW>7</BWF_TIME_REFERENCE_LOW></BEXT>";
    const Bytes timed = ByteWriter().Chunk("iXML", BytesOf("<BWFXML><A>a</A>" + position + "</BWFXML>"));
    const Bytes cutOff = ByteWriter().Chunk("iXML", BytesOf(ixml.substr(9)));
    const Bytes packet = ByteWriter().Chunk("_PMX", BytesOf(editorsXmp));
    const auto reference = Id3TagWriter(3).Frame("TXXX", BytesOf("\0TIME_REFERENCE\0"
                                                                 "7"s));
    const Bytes own = ByteWriter().Chunk("id3 ", reference.Tag(0x80));
    const std::vector<std::string> all = {"IXML", "XMP", "ID3"}, alone = {"IXML"};
    const struct {
        Bytes chunks;
        Fields fields;
        std::vector<std::string> rebuilt;
        Bytes entries;  // chunks whose entries there are afterwards
        std::vector<Bytes> kept;
    } cases[] = {
        {document, {"IXML:C= ", "INFO:INAM=y"}, alone, document, {}},
        {odd, {"INFO:INAM=y"}, {}, odd, {odd}},
        {Joined({timed, tag}), {"IXML:A:2=y"}, {}, Joined({timed, tag}), {timed}},
        {odd, {"ID3:TIT2=y"}, all, odd, {}},
        {tag, {"IXML:A= "}, all, tag, {}},
        {Joined({document, tag}), {"IXML:C= "}, all, Joined({document, tag}), {}},
        {Joined({document, refused, own}), {"IXML:C= "}, alone, Joined({document, own}), {refused, own}},
        {Joined({document, packet, cutOff}),
         {"IXML:C= "},
         alone,
         Joined({document, packet}),
         {packet, cutOff}},
        {Joined({document, refused}), {"IXML:C= ", "ID3:TIT2=y"}, all, Joined({document, tag}), {}},
        {Joined({odd, refused}), {"ID3:TIT2="}, all, odd, {refused}},
    };
    for (const auto& [chunks, fields, rebuilt, entries, kept] : cases) {
        SCOPED_TRACE(Ids(RiffFile(chunks)) + ", " + fields[0]);
        WriteWholeFile(path, MonoFile(Ramp(500), entries));
        auto wanted = TagsOf(path);
        for (const auto& field : fields)
            wanted[field.substr(0, field.find('='))] = field.substr(field.find('=') + 1);
        std::erase_if(wanted, [](const auto& entry) { return entry.second.empty(); });
        WriteWholeFile(path, MonoFile(Ramp(500), chunks));
        const auto source = OpenSource(path);
        for (const intptr_t flags : {lossless | writeAnswerAlone, lossless}) {
            ASSERT_EQ(RequestWrite(*source, target, fields, flags), updatedInPlace);
            EXPECT_EQ(RebuiltSchemes(*source), rebuilt);
            EXPECT_EQ(source->ExtendedCall(callRebuiltScheme, Number(0), nullptr, nullptr), 0);
        }
        EXPECT_EQ(TagsOf(path), wanted);
        for (const auto& chunk : kept)
            EXPECT_NE(TextOf(ReadWholeFile(path)).find(TextOf(chunk)), std::string::npos);
    }
}

TEST_F(PlannedEdits, TellWhatADocumentBrings) {
    WriteWholeFile(path, RecorderFile(3));
    const auto source = OpenSource(path);
    const std::string document = "<BWFXML><SCENE>7</SCENE></BWFXML>";
    DocumentRecord record{"IXML", document.data(), std::ssize(document)};
    EXPECT_EQ(source->ExtendedCall(callWriteDocument, const_cast<char*>(target.c_str()), &record,
                                   Number(writeAnswerAlone)),
              updatedInPlace);
    const auto entries = PlannedEntries(*source);
    EXPECT_EQ(entries.at("IXML:SCENE") + entries.at("BWF:Originator"), "7maker");
    EXPECT_FALSE(entries.contains("IXML:PROJECT"));
    const char* id = nullptr;
    EXPECT_EQ(source->ExtendedCall(callPlannedChunk, Number(-1), &id, &record), 0);
    for (const int32_t code : {callPlannedEntry, callPlannedChunk}) {
        EXPECT_EQ(source->ExtendedCall(code, Number(0), nullptr, &record), 0);
        EXPECT_EQ(source->ExtendedCall(code, Number(0), &id, nullptr), 0);
    }
    Reopen(*source);
    EXPECT_TRUE(PlannedEntries(*source).empty());
}

}  // namespace
}  // namespace vantor::test
