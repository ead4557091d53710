// Tag edits of a fully tagged file, through a source: what is asked for stands in the file, all else stays.

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <filesystem>
#include <thread>

#include "fileio/byte_order.h"
#include "tests/source/edit_support.h"

namespace vantor::test {
namespace {

class Edits : public ::testing::Test {
  protected:
    FakeHost host;
    TempFolder folder;
    std::string target = folder.Path("target.wav");
};

using Tags = std::map<std::string, std::string>;

struct Edit {
    const char* name;
    Fields fields;
    intptr_t flags;
    Tags wanted;  // "" absent
    bool hasNewAcid = false;
};

const std::string picture = "mime:image/png desc:Back type:4 offset:%O length:777";

const Edit edits[] = {
    {"one common field",
     {{"TITLE", "New"}},
     mergeTags,
     {{"INFO:INAM", "New"},
      {"ID3:TIT2", "New"},
      {"IXML:PROJECT", "New"},
      {"CART:Title", "New"},
      {"XMP:dc/title", "New"},
      {"ID3:TPE1", "Old artist"},
      {"IXML:NOTE", "Old note"},
      {"INFO:ISFT", "tool"},
      {"AXML:ISRC", "OLDCODE"}}},
    {"several at once, in every script",
     {{"ARTIST", "\xD0\x9F\xD1\x91\xD1\x82\xD1\x80"},
      {"ALBUM", "\xE6\xBC\xA2\xE5\xAD\x97"},
      {"COMMENT", "\xF0\x9F\x8E\xA7 <&>\"'"},
      {"GENRE", "Field; Recording"}},
     mergeTags,
     {{"INFO:IART", "\xD0\x9F\xD1\x91\xD1\x82\xD1\x80"},
      {"ID3:TALB", "\xE6\xBC\xA2\xE5\xAD\x97"},
      {"IXML:NOTE", "\xF0\x9F\x8E\xA7 <&>\"'"},
      {"XMP:dm/logComment", "\xF0\x9F\x8E\xA7 <&>\"'"},
      {"ID3:TIT2", "Old title"}}},
    {"raw key beside the common field",
     {{"INFO:ICMT", "raw"}, {"TITLE", "Both"}, {"IXML:USER:Mood", "calm"}, {"CART:SEG1", "77"}},
     mergeTags,
     {{"INFO:ICMT", "raw"}, {"INFO:INAM", "Both"}, {"IXML:USER:Mood", "calm"}, {"CART:SEG1", "77"}}},
    {"date",
     {{"DATE", "2024-01-05"}},
     mergeTags,
     {{"BWF:OriginationDate", "2024-01-05"}, {"INFO:ICRD", "2024-01-05"}, {"XMP:dc/date", "2024-01-05"}}},
    {"position",
     {{"PREFPOS", "2500"}},
     mergeTags,
     {{"BWF:TimeReference", "2500"},
      {"IXML:BWF:BWF_TIME_REFERENCE_LOW", "2500"},
      {"XMP:dm/relativeTimestamp", "000002500"}}},
    {"position removed", {{"PREFPOS", ""}}, mergeTags, {{"BWF:TimeReference", "0"}}},
    {"description removed",
     {{"BWF:Description", ""}},
     mergeTags,
     {{"BWF:Description", ""},
      {"IXML:BWF:BWF_DESCRIPTION", ""},
      {"IXML:BWF_BWF_DESCRIPTION", ""},
      {"BWF:Originator", "Maker"}}},
    {"code replaced", {{"AXML:ISRC", "USS1Z9900001"}}, mergeTags, {{"AXML:ISRC", "USS1Z9900001"}}},
    {"code removed", {{"AXML:ISRC", ""}}, mergeTags, {{"AXML:ISRC", ""}}},
    {"tempo and key of the loop",
     {{"BPM", "98.5"}, {"KEY", "Eb"}},
     mergeTags,
     {{"ID3:TBPM", "98.5"}, {"ID3:TKEY", "Eb"}},
     true},
    {"picture described anew",
     {{"ID3:APIC", picture}},
     mergeTags,
     {{"ID3:APIC", picture}, {"ID3:TIT2", "Old title"}}},
    {"picture removed", {{"ID3:APIC", ""}}, mergeTags, {{"ID3:APIC", ""}, {"ID3:TPE1", "Old artist"}}},
    {"everything replaced",
     {{"TITLE", "Only"}},
     replaceAll,
     {{"TITLE", ""},
      {"INFO:INAM", "Only"},
      {"INFO:ISFT", ""},
      {"ID3:TPE1", ""},
      {"ID3:APIC", ""},
      {"BWF:Description", ""},
      {"AXML:ISRC", ""}}},
    {"everything removed", {}, replaceAll, {{"INFO:INAM", ""}, {"ID3:TIT2", ""}, {"BWF:Originator", ""}}},
};

size_t PictureOffset(const Bytes& file) {
    const Bytes bytes = TaggedPicture();
    return static_cast<size_t>(std::search(file.begin(), file.end(), bytes.begin(), bytes.end()) -
                               file.begin());
}

// "%O" stands for where the picture lies in the file.
std::string Located(std::string text, const Bytes& file) {
    if (const size_t at = text.find("%O"); at != text.npos)
        text.replace(at, 2, std::to_string(PictureOffset(file)));
    return text;
}

Fields Located(Fields fields, const Bytes& file) {
    for (auto& field : fields)
        field.second = Located(field.second, file);
    return fields;
}

void ExpectTags(const Tags& wanted, const std::string& path, const std::string& what) {
    const Bytes file = ReadWholeFile(path);
    auto tags = TagsOf(path);
    for (const auto& [key, value] : wanted)
        EXPECT_EQ(tags[key], Located(value, file)) << what << ": " << key;
    EXPECT_EQ(ReadInts(*OpenSource(path), 0, editedFrames + 10), Numbers(0, editedFrames)) << what;
}

TEST_F(Edits, ChangeTheirTagsAndNothingElse) {
    for (const std::string_view riff : {"RIFF", "RF64", "BW64"})
        for (const auto& edit : edits) {
            const std::string what = std::string(riff) + ", " + edit.name;
            const Bytes before = TaggedFile(riff);
            const auto path = folder.Write("edited.wav", before);
            ASSERT_EQ(RequestWrite(*OpenSource(path), target, Located(edit.fields, before), edit.flags), 2)
                << what;
            const Bytes once = ReadWholeFile(path);
            ExpectOnlyTagsDiffer(before, once, what, edit.hasNewAcid);
            ExpectTags(edit.wanted, path, what);

            const auto copied = OpenSource(folder.Write("copied.wav", before));
            ASSERT_EQ(RequestWrite(*copied, target, Located(edit.fields, before), edit.flags | neverInPlace),
                      1)
                << what;
            ExpectOnlyTagsDiffer(before, ReadWholeFile(target), what + ", copied", edit.hasNewAcid);
            ExpectTags(edit.wanted, target, what + ", copied");

            // A fixed point.
            ASSERT_EQ(RequestWrite(*OpenSource(path), target, Located(edit.fields, once), edit.flags), 2)
                << what;
            EXPECT_EQ(ReadWholeFile(path), once) << what;
            ASSERT_EQ(RequestWrite(*OpenSource(path), target, {}, mergeTags), 2) << what;
            ExpectTags(edit.wanted, path, what + ", touched");
        }
}

bool Holds(const Bytes& file, const Bytes& bytes) {
    return std::search(file.begin(), file.end(), bytes.begin(), bytes.end()) != file.end();
}

TEST_F(Edits, CarryOverWhatTheStoreCannotHold) {
    const auto path = folder.Write("carried.wav", TaggedFile());
    const std::string description = TaggedDescription();
    const Bytes object(33, 0x77), secret(9, 0x88);
    for (int round = 0; round < 5; ++round) {
        const std::string title(static_cast<size_t>(round * 900 + 1), 't');
        ASSERT_EQ(RequestWrite(*OpenSource(path), target, {{"TITLE", title}}, mergeTags), 2);
        const Bytes file = ReadWholeFile(path);
        const Bytes axml = Find(file, "axml")->body;
        EXPECT_EQ(std::string(axml.begin(), axml.end()), description);
        const Bytes id3 = Find(file, "id3 ")->body;
        EXPECT_TRUE(Holds(id3, TaggedPicture()) && Holds(id3, object) && Holds(id3, secret)) << round;
        EXPECT_LT(PictureOffset(file), file.size());
        EXPECT_EQ(TagsOf(path)["ID3:APIC"],
                  Located("mime:image/png desc:Front type:3 offset:%O length:777", file));
    }
    ASSERT_EQ(RequestWrite(*OpenSource(path), target, {{"AXML:ISRC", "NEW"}}, mergeTags), 2);
    std::string changed = description;
    changed.replace(changed.find("OLDCODE"), 7, "NEW");
    const Bytes axml = Find(ReadWholeFile(path), "axml")->body;
    EXPECT_EQ(std::string(axml.begin(), axml.end()), changed);
}

TEST_F(Edits, CarryOverADocumentWhoseSizeStandsInTheDs64Table) {
    const std::string description = TaggedDescription() + std::string(300000, ' ');
    const Bytes audio = Ramp(editedFrames);
    const Bytes ds64 =
        ByteWriter().Le64(0).Le64(audio.size()).Le64(0).Le32(1).Text("axml").Le64(description.size());
    const ByteWriter chunks = ByteWriter()
                                  .Chunk("ds64", ds64)
                                  .Text("axml")
                                  .Le32(0xFFFFFFFF)
                                  .Text(description)
                                  .Zeros(description.size() & 1)
                                  .Chunk("fmt ", FmtBody(1, 1, 1000, 16))
                                  .Chunk("data", audio);
    const auto path = folder.Write("master.wav", RiffFile(chunks, "BW64"));
    EXPECT_EQ(TagsOf(path)["AXML:ISRC"], "OLDCODE");
    for (const auto* title : {"One", "Two"}) {
        ASSERT_EQ(RequestWrite(*OpenSource(path), target, {{"TITLE", title}}, mergeTags), 2);
        const Bytes file = ReadWholeFile(path);
        const Bytes axml = Find(file, "axml")->body;
        EXPECT_EQ(std::string(axml.begin(), axml.end()), description);
        EXPECT_EQ(Find(file, "data")->body, audio);
        ExpectTags({{"INFO:INAM", title}, {"AXML:ISRC", "OLDCODE"}}, path, title);
    }
}

TEST_F(Edits, GrowingAndShrinkingDoNotPileUp) {
    const Bytes plain = MonoFile(Ramp(editedFrames));
    for (const Bytes& before : {TaggedFile(), TaggedFile("RF64"), plain}) {
        const auto path = folder.Write("again.wav", before);
        const auto source = OpenSource(path);
        std::map<bool, size_t> bytes;
        for (int round = 0; round < 100; ++round) {
            const bool isLong = round % 2 == 0;
            const Fields fields = {{"COMMENT", std::string(isLong ? 5000 : 3, 'c')},
                                   {"AXML:ISRC", round % 3 ? "CODE" : ""}};
            ASSERT_EQ(RequestWrite(*source, target, fields, mergeTags), 2) << round;
            const size_t now = std::filesystem::file_size(std::filesystem::path(path));
            if (round < 6)
                bytes[isLong] = std::max(bytes[isLong], now);
            else
                EXPECT_LE(now, bytes[isLong]) << round;
        }
        ExpectOnlyTagsDiffer(before, ReadWholeFile(path), "at the end");
    }
}

TEST_F(Edits, OtherSourcesPlayOnAndSeeTheTagsWhenReopened) {
    const auto path = folder.Write("shared.wav", TaggedFile());
    const auto editor = OpenSource(path);
    const auto player = OpenSource(path);
    const auto painter = OpenSource(path, purposePeakRead);
    EXPECT_EQ(ReadInts(*player, 0, 100), Numbers(0, 100));
    EXPECT_EQ(ReadInts(*painter, 500, 100), Numbers(500, 100));
    ASSERT_EQ(RequestWrite(*editor, target, {{"TITLE", std::string(3000, 'n')}}, mergeTags), 2);
    EXPECT_EQ(ValueOf(*player, "TITLE"), "Old title") << "what the host was given stays";
    EXPECT_EQ(ReadInts(*player, 100, 100), Numbers(100, 100));
    EXPECT_EQ(ReadInts(*painter, 600, 100), Numbers(600, 100));
    player->SetOnline(false);
    player->SetOnline(true);
    EXPECT_EQ(ValueOf(*player, "ID3:TIT2"), std::string(255, 'n'));
    EXPECT_EQ(ReadInts(*player, 200, 3000), Numbers(200, editedFrames - 200));
}

// A system that keeps writers away from a file that is being read answers with the copy instead.
TEST_F(Edits, ThreadsPlayTheRightSamplesMeanwhile) {
    const Bytes before = TaggedFile();
    const auto path = folder.Write("threads.wav", before);
    std::atomic<bool> ends = false;
    std::atomic<int> wrong = 0, blocks = 0;
    const auto play = [&](int32_t purpose) {
        const auto source = OpenSource(path, purpose);
        for (int64_t frame = 0; !ends; frame = (frame + 100) % 2400) {
            if (ReadInts(*source, frame, 100) != Numbers(static_cast<int>(frame), 100)) ++wrong;
            ++blocks;
        }
    };
    std::thread first(play, purposePlayback), second(play, purposePlayback), painter(play, purposePeakRead);
    const auto editor = OpenSource(path);
    for (int round = 0; round < 60; ++round) {
        const std::string title(static_cast<size_t>(round * 37 % 500 + 1), 't');
        EXPECT_NE(RequestWrite(*editor, target, {{"TITLE", title}}, mergeTags), 0);
        const int seen = blocks;
        while (blocks < seen + 3 && wrong == 0)
            std::this_thread::yield();
    }
    ends = true;
    first.join();
    second.join();
    painter.join();
    EXPECT_EQ(wrong, 0);
    ExpectOnlyTagsDiffer(before, ReadWholeFile(path), "edited while it plays");
}

Bytes SilentCaf() {
    const Bytes format = ByteWriter().BeDouble(1000).Text("lpcm").Be32(2).Be32(2).Be32(1).Be32(1).Be32(16);
    return CafFile(ByteWriter().CafChunk("desc", format).CafChunk("data", Bytes(44)));
}

Bytes SilentWave64() {
    return Wave64File(
        ByteWriter().Wave64Chunk("fmt ", FmtBody(1, 1, 1000, 16)).Wave64Chunk("data", Bytes(40)));
}

TEST_F(Edits, OfOtherContainersAreRefusedUntouched) {
    const std::pair<const char*, Bytes> files[] = {{"x.caf", SilentCaf()}, {"x.w64", SilentWave64()}};
    for (const auto& [name, bytes] : files) {
        const auto path = folder.Write(name, bytes);
        const auto source = OpenSource(path);
        ASSERT_TRUE(source->IsOnline()) << name;
        const auto stamp = std::filesystem::last_write_time(std::filesystem::path(path));
        for (const intptr_t flags : {replaceAll, mergeTags, neverInPlace, mergeTags | neverInPlace})
            EXPECT_EQ(RequestWrite(*source, target, {{"TITLE", "x"}}, flags), 0) << name;
        EXPECT_EQ(ReadWholeFile(path), bytes);
        EXPECT_EQ(std::filesystem::last_write_time(std::filesystem::path(path)), stamp);
        EXPECT_FALSE(std::filesystem::exists(std::filesystem::path(target)));
    }
}

}  // namespace
}  // namespace vantor::test
