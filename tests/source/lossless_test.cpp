// Edits that change nothing but what was asked for: on the samples, and on files as recorders, stations and
// editors leave them.
#include <gtest/gtest.h>

#include <filesystem>
#include <random>

#include "edit/tag_proof.h"
#include "metadata/key_table.h"
#include "tests/source/lossless_support.h"
#include "text/text.h"

namespace vantor::test {
namespace {

namespace fs = std::filesystem;

// The ids in their order; an empty body for chunks of the scheme, which may differ.
std::vector<ListedChunk> ChunksBut(const std::string& scheme, const Bytes& file) {
    auto chunks = Chunks(file);
    for (auto& chunk : chunks)
        if (const auto* owner = SchemeOfChunkId(chunk.id); owner && owner->name == scheme) chunk.body.clear();
    return chunks;
}

class Lossless : public ::testing::Test {
  protected:
    intptr_t Edit(const Fields& fields, intptr_t flags = lossless) {
        const auto source = OpenSource(path);
        const auto answer = RequestWrite(*source, target, fields, flags);
        const char* scheme = "";
        EXPECT_EQ(source->ExtendedCall(callRebuiltScheme, Number(0), &scheme, nullptr), 0) << scheme;
        return answer;
    }

    FakeHost host;
    TempFolder folder;
    const std::string path = folder.Path("edited.wav"), target = folder.Path("target.wav");
};

TEST_F(Lossless, AKeySetToItsOwnValueLeavesTheFileUntouched) {
    for (const auto& file : Files()) {
        WriteWholeFile(path, file.bytes);
        const auto old = fs::file_time_type::clock::now() - std::chrono::hours(24);
        fs::last_write_time(path, old);
        const auto time = fs::last_write_time(path);
        Fields fields;
        for (const auto& [key, value] : TagsOf(path))
            if (SchemeOfKey(key) && !IsPictureKey(key)) fields.push_back(key + "=" + value);
        EXPECT_EQ(Edit(fields), 2) << file.name;
        EXPECT_EQ(Edit({}), 2) << file.name;
        EXPECT_EQ(fs::last_write_time(path), time) << file.name;
        EXPECT_EQ(Edit(fields, lossless | neverInPlace), 1) << file.name;
        for (const auto& written : {path, target})
            EXPECT_TRUE(ReadWholeFile(written) == file.bytes) << file.name << ": " << written;
    }
}

// Keys that every file can take, and the schemes whose chunks may then differ.
const std::pair<std::string, std::string> edits[] = {
    {"BWF:Originator=Other", "BWF"},   {"BWF:LoudnessValue=-23", "BWF"}, {"INFO:ISFT=tool \u00E4", "INFO"},
    {"IXML:NOTE=a <note>", "IXML"},    {"ASWG:notes=b", "IXML"},         {"IXML:USER:VANTOR=tags", "IXML"},
    {"XMP:dm/artist=\u0416", "XMP"},   {"XMP:dc/title=T", "XMP"},        {"XMP:MARK000=5:6:m", "XMP"},
    {"CART:CutID=42", "CART"},         {"CART:EOD=7", "CART"},           {"AXML:ISRC=GBXYZ", "AXML"},
    {"ID3:TXXX:VANTOR=\u0416", "ID3"}, {"ID3:TPE2=band", "ID3"},
};

TEST_F(Lossless, OneKeyChangesItsSchemeAloneAndCanBeTakenBack) {
    for (const auto& file : Files())
        for (const auto& [field, scheme] : edits) {
            SCOPED_TRACE(file.name + ", " + field);
            WriteWholeFile(path, file.bytes);
            const auto key = field.substr(0, field.find('=')), value = field.substr(field.find('=') + 1);
            const auto before = TagsOf(path);
            const double place = OpenSource(path)->PlacementPosition();
            ASSERT_EQ(Edit({field}, lossless | neverInPlace), 1);
            ASSERT_EQ(Edit({field}), 2);
            auto wanted = before;
            wanted[key] = value;
            auto now = TagsOf(path);
            // A tag of version 2.2 has ids of its own, and a document may stand in a tag.
            if (now.contains("ID3:TP2")) now["ID3:TPE2"] = now.extract("ID3:TP2").mapped();
            for (const auto& [name, tag] : wanted)
                EXPECT_TRUE(IsPictureKey(name) || now[name] == tag)
                    << name << ": " << now[name] << " for " << tag;
            EXPECT_TRUE(OpenSource(path)->PlacementPosition() == place || (place == -1 && scheme == "BWF"));
            auto old = ChunksByScheme(file.bytes), changed = ChunksByScheme(ReadWholeFile(path));
            const bool isInTag = changed[scheme] == old[scheme];
            old.erase(isInTag ? "ID3" : scheme), changed.erase(isInTag ? "ID3" : scheme);
            EXPECT_TRUE(changed == old);
            // In a copy each chunk stands where it stood.
            const auto copy = ReadWholeFile(target);
            const auto* changedScheme = isInTag ? "ID3" : scheme.c_str();
            if (ChunksByScheme(file.bytes).contains(changedScheme)) {
                EXPECT_EQ(ChunksBut(changedScheme, copy), ChunksBut(changedScheme, file.bytes));
            }
            EXPECT_EQ(ChunksByScheme(copy), ChunksByScheme(ReadWholeFile(path)));
            ASSERT_EQ(Edit({field}), 2);
            ASSERT_EQ(Edit({key + "=" + (before.contains(key) ? before.at(key) : "")}), 2);
            EXPECT_EQ(TagsOf(path).size(), before.size());
            if (!before.contains(key)) {
                for (const auto& [name, text] : ChunksByScheme(ReadWholeFile(path)))
                    EXPECT_EQ(text, ChunksByScheme(file.bytes)[name]) << name;
            }
        }
}

// What a store of the model says is what is read back, whatever the order of the edits.
TEST_F(Lossless, AnySequenceOfEditsIsTheModelsStore) {
    const Fields values = {"", "x", "some more words", "\u00FCml\u00E4ut & <tag> \"q\"",
                           std::string(200, 'l')};
    const Fields keys = {
        "BWF:Description", "INFO:INAM",    "INFO:ICMT",    "IXML:NOTE",    "IXML:TRACK_LIST:TRACK:NAME",
        "IXML:SPEED:NOTE", "IXML:A:B:C",   "ASWG:project", "XMP:dc/title", "XMP:dc/creator",
        "XMP:dm/album",    "CART:Title",   "CART:TagText", "ID3:TIT2",     "ID3:COMM",
        "ID3:TXXX:k",      "ID3:TXXX:new", "ID3:WXXX:w",   "AXML:ISRC"};
    std::mt19937 random(7);
    const auto pick = [&](const Fields& from) { return from[random() % from.size()]; };
    for (const auto& file : Files()) {
        WriteWholeFile(path, file.bytes);
        MetadataStore model = StoreOf(Entries(0));
        for (const auto& [key, value] : TagsOf(path))
            model.Set(key, value);
        for (int round = 0; round < 25; ++round) {
            Fields fields;
            for (int i = 0; i < 1 + round % 3; ++i) {
                const std::string key = pick(keys);
                auto value = pick(values);
                if (key == "CART:Title") value = value.substr(0, 30);
                if (key == "AXML:ISRC" && !value.empty()) value = "GB" + std::to_string(random() % 9);
                fields.push_back(key + "=" + value);
            }
            ASSERT_EQ(Edit(fields), 2) << file.name << " " << round;
            for (const auto& field : fields) {
                std::string key = field.substr(0, field.find('='));
                const auto value = field.substr(field.find('=') + 1);
                if (key == "ID3:TIT2" && file.name == "recorder 2") key = "ID3:TT2";
                if (value.empty())
                    model.Remove(key);
                else
                    model.Set(key, value);
            }
            MetadataStore now;
            for (const auto& [key, value] : TagsOf(path))
                now.Set(key, value);
            for (const auto& scheme : tagTable)
                ASSERT_EQ(PlainTagsOf(scheme.name, now), PlainTagsOf(scheme.name, model))
                    << file.name << ", round " << round << ": " << scheme.name << " " << fields[0];
            model = now;  // which has no gaps in its numbers
        }
    }
}

TEST_F(Lossless, SequencesThatTakeOutWhatTheyPutInLeaveTheOldBytes) {
    const Fields keys = {"BWF:OriginatorReference",
                         "BWF:MaxMomentaryLoudness",
                         "INFO:ISBJ",
                         "IXML:TRACK_LIST:TRACK:FUNCTION",
                         "IXML:A:B",
                         "ASWG:director",
                         "XMP:dc/rights",
                         "XMP:dm/shotName",
                         "XMP:dc/contributor",
                         "CART:URL",
                         "CART:EOD",
                         "ID3:TXXX:one",
                         "ID3:WXXX:two",
                         "ID3:USLT:fra:three",
                         "ID3:TPE4",
                         "AXML:ISRC"};
    std::mt19937 random(11);
    for (const auto& file : Files()) {
        WriteWholeFile(path, file.bytes);
        Fields added;
        for (const auto& key : keys)
            if (!TagsOf(path).contains(key)) added.push_back(key);
        for (const char* suffix : {"=1", "=29", "="}) {
            std::ranges::shuffle(added, random);
            for (size_t i = 0; i < added.size(); i += 3) {
                Fields fields;
                for (size_t k = i; k < std::min(i + 3, added.size()); ++k)
                    fields.push_back(added[k] + suffix);
                ASSERT_EQ(Edit(fields), 2) << file.name;
            }
        }
        const auto old = ChunksByScheme(file.bytes);
        for (const auto& [scheme, text] : ChunksByScheme(ReadWholeFile(path))) {
            const auto found = old.find(scheme);
            EXPECT_EQ(text, found == old.end() ? "" : found->second) << file.name << ", " << scheme;
        }
    }
}

// The kinds of common fields: a date spreads over three frames before version 2.4, a tempo that is none stays
// out of loops, a position outlives a new broadcast chunk.
TEST_F(Lossless, CommonFieldsKeepVersionsPositionsAndLoops) {
    WriteWholeFile(path, RecorderFile(3));
    ASSERT_EQ(Edit({"DATE=2024-05-06T07:08"}), 2);
    auto tags = TagsOf(path);
    EXPECT_EQ(tags["ID3:TYER"] + tags["ID3:TDAT"] + tags["ID3:TIME"] + tags["ID3:TDRC"], "202406050708");
    ASSERT_EQ(Edit({"DATE="}), 2);
    EXPECT_EQ(TagsOf(path).count("ID3:TDAT"), 0u);

    const std::string document =
        "<BWFXML><BEXT><BWF_TIME_REFERENCE_LOW>1500</BWF_TIME_REFERENCE_LOW></BEXT><C>c<D/></C></BWFXML>";
    for (const intptr_t flags : {lossless, mergeTags}) {
        WriteWholeFile(path, MonoFile(Ramp(500), ByteWriter().Chunk("iXML", BytesOf(document))));
        // The second is built anew: white space beside elements is no text.
        for (const std::string field : {"IXML:SCENE=1", "IXML:C= ", "DESC=told", "DATE=2024-05-06"}) {
            ASSERT_EQ(RequestWrite(*OpenSource(path), target, {field}, flags), 2);
            EXPECT_EQ(OpenSource(path)->PlacementPosition(), 1.5) << field << " " << flags;
        }
        WriteWholeFile(path, MonoFile(Ramp(500), ByteWriter().Chunk("acid", AcidBody{0x1A, 62, 8, 120})));
        const auto loop = Find(ReadWholeFile(path), "acid")->body;
        ASSERT_EQ(Edit({"BPM=1e39"}, flags), 2);
        EXPECT_EQ(ReadLeFloat(&Find(ReadWholeFile(path), "acid")->body[20]), 120.0F) << flags;
    }
}

// Neither a chunk of its own nor a change; nor do pieces around a code that would go make another one.
TEST_F(Lossless, WhatCannotBeHadIsNotWritten) {
    const Bytes display = ByteWriter().Chunk("DISP", ByteWriter().Le32(1).Text("shown"));
    const auto document = BytesOf(
        "<coreMetadata>IS<identifier typeLabel=\"GUID\" formatLabel=\"ISRC\"><dc:identifier "
        "xmlns:dc=\"http://purl.org/dc/elements/1.1/\">ISRC:A</dc:identifier></identifier>RC:B</"
        "coreMetadata>");
    const Bytes file = MonoFile(Ramp(500), {}, ByteWriter().Add(display).Chunk("axml", document));
    for (const std::string field : {"BWF:LoudnessValue=loud", "BWF:Other=x", "CART:Other=x", "INFO:long id=x",
                                    "XMP:other/x=x", "XMP:MARK000=x", "ID3:X=x", "ID3:ETCO=x", "ID3:APIC=x",
                                    "DISP:CF_TEXT=", "DISP:CF_TEXT=x", "AXML:ISRC="}) {
        WriteWholeFile(path, file);
        EXPECT_EQ(Edit({field}), 2) << field;
        EXPECT_TRUE(ReadWholeFile(path) == file) << field << ": " << Ids(ReadWholeFile(path));
    }
}

}  // namespace
}  // namespace vantor::test
