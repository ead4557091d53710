// Tag edits through a source: in place, copied or refused; what is asked for stands in the file, all else
// stays.

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <filesystem>
#include <thread>

#include "tests/metadata/id3_tag_writer.h"
#include "tests/source/edit_support.h"

namespace vantor::test {
namespace {

class Edits : public ::testing::Test {
  protected:
    FakeHost host;
    TempFolder folder;
    std::string target = folder.Path("target.wav");
};

size_t PlaceOf(const Bytes& part, const Bytes& file) {
    return static_cast<size_t>(std::search(file.begin(), file.end(), part.begin(), part.end()) -
                               file.begin());
}

TEST_F(Edits, ChangeTheirTagsAndNothingElse) {
    for (const auto& edit : EditCases()) {
        SCOPED_TRACE(edit.name);
        const auto copied = folder.Write("copied.wav", edit.file);
        {
            std::vector<SourcePtr> open;
            for (const std::string title : {"TITLE=Copy", "TITLE=Twin"}) {
                ASSERT_EQ(RequestWrite(*OpenSource(copied), target, {title}, mergeTags | neverInPlace), 1);
                open.push_back(OpenSource(target));
                EXPECT_EQ("TITLE=" + TagsOf(*open.back())["INFO:INAM"], title) << "it is read anew";
            }
        }
        ASSERT_EQ(RequestWrite(*OpenSource(copied), target, edit.fields, edit.flags | neverInPlace), 1);
        ExpectOutcome(edit, target);
        EXPECT_EQ(ReadWholeFile(copied), edit.file);

        std::filesystem::remove(target);
        const auto path = folder.Write("edited.wav", edit.file);
        ASSERT_EQ(RequestWrite(*OpenSource(path), target, edit.fields, edit.flags), 2);
        EXPECT_FALSE(std::filesystem::exists(target));
        ExpectOutcome(edit, path);
        const Bytes once = ReadWholeFile(path);
        ASSERT_EQ(RequestWrite(*OpenSource(path), target, edit.fields, edit.flags), 2);
        EXPECT_EQ(ReadWholeFile(path), once);
        ASSERT_EQ(RequestWrite(*OpenSource(path), target, {}, mergeTags), 2);
        ExpectTags(edit.wanted, path);
        ASSERT_EQ(RequestWrite(*OpenSource(path), target, {}, replaceAll), 2);
        ExpectTags({"INFO:INAM=", "ID3:TIT2=", "BWF:Originator="}, path);
    }
}

TEST_F(Edits, CarryOverWhatTheStoreCannotHold) {
    const auto path = folder.Write("carried.wav", TaggedFile());
    std::string description = TaggedDescription();
    for (int round = 0; round < 5; ++round) {
        Fields fields = {"TITLE=" + std::string(static_cast<size_t>(round * 900), 't')};
        if (round == 4) {
            fields = {"AXML:ISRC=NEW"};
            description.replace(description.find("OLDCODE"), 7, "NEW");
        }
        ASSERT_EQ(RequestWrite(*OpenSource(path), target, fields, mergeTags), 2);
        const Bytes file = ReadWholeFile(path);
        const Bytes axml = Find(file, "axml")->body;
        EXPECT_EQ(std::string(axml.begin(), axml.end()), description);
        for (const Bytes& part : {TaggedPicture(), Bytes(33, 0x77), Bytes(9, 0x88)})
            EXPECT_LT(PlaceOf(part, file), file.size()) << round;
        EXPECT_EQ(TagsOf(path)["ID3:APIC"], "mime:image/png desc:Front type:3 offset:" +
                                                std::to_string(PlaceOf(TaggedPicture(), file)) +
                                                " length:777");
    }
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
    for (const auto* title : {"One", "Two"}) {
        ASSERT_EQ(RequestWrite(*OpenSource(path), target, {std::string("TITLE=") + title}, mergeTags), 2);
        const Bytes axml = Find(ReadWholeFile(path), "axml")->body;
        EXPECT_EQ(std::string(axml.begin(), axml.end()), description);
        ExpectTags({std::string("INFO:INAM=") + title, "AXML:ISRC=OLDCODE"}, path);
    }
}

TEST_F(Edits, CarryOverChunksThatNoReaderTakes) {
    const auto text = [](const std::string& characters) {
        return Bytes(characters.begin(), characters.end());
    };
    std::string utf16;
    for (const char character : std::string("<BWFXML><NOTE>n</NOTE></BWFXML>"))
        utf16.append({character, '\0'});
    const std::vector<ListedChunk> refused = {
        {"iXML", text("<BWFXML version=\"1\"><NOTE>n</NOTE></BWFXML>")},
        {"iXML", text(utf16)},
        {"iXML", text("<BWFXML><NOTE>&unknown;</NOTE></BWFXML>")},
        {"iXML", text("<BWFXML><NOTE>n</NOTE></BWFX")},
        {"bext", Bytes(601, 'b')},
        {"cart", Bytes(2047, 'c')},
        {"CART", Bytes(3, 'C')},
        {"_PMX", text("<x:xmpmeta><rdf:RDF>")},
        {"id3 ",
         ByteWriter().Text("ID3\4").Zeros(2).Be32(Syncsafe(30)).Text("TIT2").Be32(20).Zeros(2).Text("t")},
        {"id3_", ByteWriter().Text("ID3\5").Zeros(2).Be32(20).Fill(20, 'x')},
        {"id3 ", text("ID3")},
        {"ID3_", text("no tag of this kind")}};
    ByteWriter chunks;
    for (const auto& chunk : refused)
        chunks.Chunk(chunk.id, chunk.body);
    const auto path = folder.Write(
        "refused.wav", MonoFile(Ramp(editedFrames), chunks, ByteWriter().Chunk("iXML", Bytes(64))));
    for (const std::string title : {"TITLE=One", "TITLE=Two"}) {
        ASSERT_EQ(
            RequestWrite(*OpenSource(path), target, {title, "CART:URL=u", "BWF:Originator=o"}, mergeTags), 2);
        ExpectTags({"IXML:PROJECT=" + title.substr(6), "CART:URL=u", "BWF:Originator=o"}, path);
        auto list = ChunkList(ReadWholeFile(path));
        for (const auto& chunk : refused)
            EXPECT_EQ(std::erase(list, chunk), 1u) << chunk.id;
        EXPECT_EQ(list.size(), 9u) << "format, audio, filler and one chunk of each scheme: "
                                   << Ids(ReadWholeFile(path));
    }
    ASSERT_EQ(RequestWrite(*OpenSource(path), target, {"INFO:INAM=x"}, replaceAll), 2);
    EXPECT_EQ(Ids(ReadWholeFile(path)), "fmt LISTJUNKdata");
}

// Two tags that are read, and between them one that only the length of its chunk speaks against.
TEST_F(Edits, CarryOverTheFramesOfEveryTag) {
    const auto named = [](const char* name) { return Bytes(ByteWriter().Text(name).U8(0)); };
    const Bytes refused = ByteWriter()
                              .Add(Id3TagWriter(4)
                                       .Text("TPE1", "refused artist")
                                       .Text("TALB", "refused album")
                                       .Frame("GEOB", named("third"))
                                       .Frame("PRIV", named("owner of three"))
                                       .Tag())
                              .Zeros(4);
    const Bytes chunks = ByteWriter()
                             .Chunk("id3 ", Id3TagWriter(3)
                                                .Text("TIT2", "a")
                                                .Frame("GEOB", named("first"))
                                                .Frame("PRIV", named("one"))
                                                .Tag())
                             .Chunk("ID3x", refused)
                             .Chunk("ID3 ", Id3TagWriter(3)
                                                .Text("TPE1", "last artist")
                                                .Frame("POPM", named("second"))
                                                .Frame("PRIV", named("one and more"))
                                                .Tag());
    const auto path = folder.Write("tags.wav", MonoFile(Ramp(editedFrames), chunks));
    EXPECT_EQ(TagsOf(path)["ID3:TALB"], "");
    for (const std::string year : {"1999", "2000"}) {
        ASSERT_EQ(RequestWrite(*OpenSource(path), target, {"ID3:TYER=" + year, "TITLE="}, mergeTags), 2);
        ExpectTags({"ID3:TIT2=", "ID3:TPE1=last artist", "ID3:TALB=refused album", "ID3:TYER=" + year}, path);
        const Bytes file = ReadWholeFile(path);
        EXPECT_EQ(Ids(file).find("ID3"), std::string::npos) << "one tag is left";
        for (const char* name : {"first", "second", "third", "one", "one and more", "owner of three"})
            EXPECT_LT(PlaceOf(named(name), file), file.size()) << name;
    }
}

// Without the merge flag too, when the host writes back every pair that it has.
TEST_F(Edits, CopyPicturesOutOfUnsynchronisedTags) {
    Bytes picture = ByteWriter().U8(0xFF).U8(0).U8(0).U8(0xFF).U8(0xE0).Add(TaggedPicture()).U8(0xFF);
    const Bytes tag = Id3TagWriter(3)
                          .Frame("APIC", ByteWriter().U8(0).Text("image/png").U8(0).U8(3).U8(0).Add(picture))
                          .Tag(0x80);
    const auto path =
        folder.Write("stuffed.wav", MonoFile(Ramp(editedFrames), {}, ByteWriter().Chunk("id3 ", tag)));
    const auto descriptor = TagsOf(path)["ID3:APIC"];
    ASSERT_EQ(PlaceOf(picture, ReadWholeFile(path)), ReadWholeFile(path).size());
    const auto place = descriptor.substr(descriptor.find("type:3"));
    for (const intptr_t flags : {replaceAll, mergeTags}) {
        ASSERT_EQ(
            RequestWrite(*OpenSource(path), target, {"ID3:APIC=desc:other " + place}, flags | neverInPlace),
            1);
        ExpectTags(
            {"ID3:APIC=desc:other type:3 offset:" + std::to_string(PlaceOf(picture, ReadWholeFile(target))) +
             " length:" + std::to_string(picture.size())},
            target);
    }
}

TEST_F(Edits, OfKeysThatAreWrittenUnderAnotherNameReplaceWhatTheyWrote) {
    const std::pair<std::string, std::string> keys[] = {{"My Field", "IXML:USER:My_Field"},
                                                        {"IXML:SPEED:NOTE", "IXML:SPEED_NOTE"},
                                                        {"IXML:BWFXML", "IXML:_BWFXML"},
                                                        {"ASWG:a b", "ASWG:a_b"},
                                                        {"ID3:COMM:eng", "ID3:COMM"},
                                                        {"ID3:USLT:XXX:", "ID3:USLT"},
                                                        {"ID3:COMM:in short", "ID3:COMM:XXX:in short"},
                                                        {"ID3:TT2", "ID3:TIT2"},
                                                        {"ID3:TCOM:of it", "ID3:TCOM"}};
    for (const auto& [key, written] : keys) {
        SCOPED_TRACE(key);
        const auto path = folder.Write("renamed.wav", MonoFile(Ramp(editedFrames)));
        std::vector<size_t> counts;
        for (const std::string value : {"x", "y", "z"}) {
            ASSERT_NE(RequestWrite(*OpenSource(path), target, {key + "=" + value}, mergeTags), 0);
            ExpectTags({written + "=" + value}, path);
            counts.push_back(TagsOf(path).size());
        }
        EXPECT_EQ(counts, std::vector(3, counts[0]));
        ASSERT_NE(RequestWrite(*OpenSource(path), target, {key + "="}, mergeTags), 0);
        EXPECT_EQ(TagsOf(path), Tags{});
    }
}

TEST_F(Edits, OtherSourcesPlayOnAndSeeTheTagsWhenReopened) {
    const auto path = folder.Write("shared.wav", TaggedFile());
    const auto editor = OpenSource(path);
    const auto player = OpenSource(path);
    const auto painter = OpenSource(path, purposePeakRead);
    EXPECT_EQ(ReadInts(*player, 0, 100), Numbers(0, 100));
    EXPECT_EQ(ReadInts(*painter, 500, 100), Numbers(500, 100));
    const char *key = nullptr, *value = nullptr;
    ASSERT_EQ(player->ExtendedCall(0x10013, nullptr, &key, &value), 1);
    const std::string keyBefore = key;
    ASSERT_EQ(RequestWrite(*editor, target, {"TITLE=" + std::string(3000, 'n')}, mergeTags), 2);
    EXPECT_EQ(key, keyBefore) << "what the host was given stays";
    EXPECT_EQ(ValueOf(*player, "TITLE"), "Old title");
    EXPECT_EQ(ReadInts(*player, 100, 100), Numbers(100, 100));
    EXPECT_EQ(ReadInts(*painter, 600, 100), Numbers(600, 100));
    // An edit builds on the one before it, which may have kept the size and on a coarse clock the time.
    ASSERT_EQ(RequestWrite(*editor, target, {"ARTIST=", "CART:Title=apart"}, mergeTags), 2);
    Reopen(*player);
    EXPECT_EQ(ValueOf(*player, "ID3:TIT2"), std::string(255, 'n'));
    EXPECT_EQ(ValueOf(*player, "CART:Title"), "apart");
    EXPECT_EQ(ValueOf(*player, "ID3:TPE1"), "") << "an empty common field goes from every scheme";
    ExpectEverySample(*player);
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
    {
        std::jthread first(play, purposePlayback), second(play, purposePlayback),
            painter(play, purposePeakRead);
        const auto editor = OpenSource(path);
        for (int round = 0; round < 60; ++round) {
            const std::string title(static_cast<size_t>(round * 37 % 500 + 1), 't');
            EXPECT_NE(RequestWrite(*editor, target, {"TITLE=" + title}, mergeTags), 0);
            const int seen = blocks;
            while (blocks < seen + 3 && wrong == 0)
                std::this_thread::yield();
        }
        ends = true;
    }
    EXPECT_EQ(wrong, 0);
    ExpectOnlyTagsDiffer(before, ReadWholeFile(path));
}

TEST_F(Edits, OfOtherContainersAreRefusedUntouched) {
    for (const auto* name : {"caf-little.caf", "wave64.w64", "aiff.aif", "amiga.8svx"}) {
        const auto path = folder.Write(name, SampleFile(name));
        const auto source = OpenSource(path);
        ASSERT_TRUE(source->IsOnline()) << name;
        const auto stamp = std::filesystem::last_write_time(path);
        for (const intptr_t flags : {replaceAll, mergeTags, neverInPlace, mergeTags | neverInPlace})
            EXPECT_EQ(RequestWrite(*source, target, {"TITLE=x"}, flags), 0) << name;
        DocumentRecord picture{"ID3:APIC", "\xFF\xD8\xFF", 3};
        EXPECT_EQ(source->ExtendedCall(callWriteDocument, target.data(), &picture, nullptr), writeFailed);
        EXPECT_EQ(IdleReaderCount(path), 1u) << "nobody has looked at it";
        EXPECT_EQ(ReadWholeFile(path), SampleFile(name));
        EXPECT_EQ(std::filesystem::last_write_time(path), stamp);
        EXPECT_FALSE(std::filesystem::exists(target));
    }
}

TEST_F(Edits, AreOfTheFileThatTheHostSees) {
    const auto path = folder.Write("seen.wav", TaggedFile());
    const auto source = OpenSource(path);
    source->ChangeFile(folder.Write("other.wav", TaggedFile()).c_str());
    EXPECT_EQ(RequestWrite(*source, target, {"TITLE=x"}, mergeTags), 0);
    source->ChangeFile(folder.Path("SEEN.wav").c_str());
    source->ChangeFile(nullptr);
    MetadataPair fields[] = {
        {"INFO:INAM", "x"}, {nullptr, "of no key"}, {"INFO:IART", "y"}, {nullptr, nullptr}};
    EXPECT_EQ(source->ExtendedCall(0x20008, target.data(), fields, Number(replaceAll)), 2);
    EXPECT_EQ(IdleReaderCount(path), 0u) << "what was known of it is forgotten";
    ExpectTags({"INFO:INAM=x", "INFO:IART="}, path);
    fields[1] = {"INFO:ICMT", nullptr};
    EXPECT_EQ(source->ExtendedCall(0x20008, target.data(), fields, Number(replaceAll)), 2);
    ExpectTags({"INFO:INAM=x", "INFO:IART="}, path);
}

TEST_F(Edits, NeverCopyAFileOverItself) {
    const auto path = folder.Write("self.wav", TaggedFile());
    const auto source = OpenSource(path);
    std::error_code noLinks;
    std::filesystem::create_hard_link(path, target, noLinks);
    if (noLinks) target = path;
    for (const auto& name : {path, folder.Path("SELF.wav"), folder.Path("./self.wav"), target})
        EXPECT_EQ(RequestWrite(*source, name, {"TITLE=x"}, neverInPlace), 0) << name;
    MetadataPair end{};
    EXPECT_EQ(source->ExtendedCall(0x20008, nullptr, &end, nullptr), 0);
    EXPECT_EQ(source->ExtendedCall(0x20008, target.data(), nullptr, nullptr), 0);
    EXPECT_EQ(ReadWholeFile(path), TaggedFile());
}

TEST_F(Edits, OfTempoAndKeyReachTheLoopChunk) {
    const auto source = OpenSource(folder.Write("loop.wav", TaggedFile()));
    const auto expectLoop = [&](const char* edit, double tempo, int32_t beats, int32_t rootNote) {
        EXPECT_EQ(RequestWrite(*source, target, {edit}, mergeTags), 2);
        Reopen(*source);
        const auto format = source->Attachment().format;
        EXPECT_EQ(format->tempo, tempo);
        EXPECT_EQ(format->beatCount, beats);
        EXPECT_EQ(format->rootNoteOffset, rootNote);
    };
    expectLoop("TITLE=x", 120, 2, 2);
    expectLoop("KEY=eb", 120, 2, 3);
    expectLoop("BPM=140.5", 140.5, 0, 3);  // its beats have another length
    expectLoop("KEY=C", 140.5, 0, 0);
    const Bytes withoutRoot = ByteWriter().Chunk("acid", AcidBody{0x08, 62, 8, 130});
    for (const Bytes& file : {MonoFile(Ramp(100)), MonoFile(Ramp(100), withoutRoot)}) {
        const auto plain = OpenSource(folder.Write("plain.wav", file));
        const auto loopKind = plain->Attachment().format->loopKind;
        EXPECT_EQ(RequestWrite(*plain, target, {"BPM=90"}, mergeTags), updatedInPlace);
        Reopen(*plain);
        EXPECT_EQ(plain->Attachment().format->loopKind, loopKind);
        EXPECT_FALSE(plain->Attachment().format->hasRootNote);
    }
}

}  // namespace
}  // namespace vantor::test
