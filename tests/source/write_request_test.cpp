// What a request for a tag edit comes to: in place, copied or refused. What the edits do to the tags stands
// in edit_test.cpp.
#include <gtest/gtest.h>

#include <filesystem>

#include "tests/source/source_support.h"

namespace vantor::test {
namespace {

class WriteRequest : public ::testing::Test {
  protected:
    static void Reopen(PCM_source& source) {
        source.SetOnline(false);
        source.SetOnline(true);
    }

    FakeHost host;
    TempFolder folder;
    std::string target = folder.Path("target.wav");
};

TEST_F(WriteRequest, BuildsOnTheOneBeforeAndLeavesTextsThatWereGiven) {
    const auto path = folder.Write("twice.wav", MonoFile(Ramp(10)));
    const auto source = OpenSource(path);
    const auto other = OpenSource(path);
    EXPECT_EQ(RequestWrite(*source, target, {{"TITLE", "Rain"}, {"ARTIST", "Sky"}}, mergeTags), 2);
    EXPECT_FALSE(std::filesystem::exists(target));
    Reopen(*other);
    const char *key = nullptr, *value = nullptr;
    ASSERT_EQ(other->ExtendedCall(0x10013, nullptr, &key, &value), 1);
    const std::string keyBefore = key;
    // The same size, and on a coarse clock the same time.
    EXPECT_EQ(RequestWrite(*source, target, {{"TITLE", "Hail"}}, mergeTags), 2);
    EXPECT_EQ(key, keyBefore);
    Reopen(*source);
    EXPECT_EQ(ValueOf(*source, "TITLE"), "Hail");
    EXPECT_EQ(ValueOf(*source, "ARTIST"), "Sky");
    EXPECT_EQ(RequestWrite(*source, target, {{"CART:Title", ""}, {"ARTIST", ""}}, mergeTags), 2);
    Reopen(*source);
    EXPECT_EQ(ValueOf(*source, "CART:Title"), "");
    EXPECT_EQ(ValueOf(*source, "INFO:IART"), "") << "an empty common field goes from every scheme";
    EXPECT_EQ(ValueOf(*source, "INFO:INAM"), "Hail");
}

TEST_F(WriteRequest, CopyGoesToTheTargetAndLeavesTheSource) {
    const Bytes before = MonoFile(Ramp(100));
    const auto path = folder.Write("copied.wav", before);
    const auto source = OpenSource(path);
    EXPECT_EQ(RequestWrite(*source, target, {{"TITLE", "Copy"}}, mergeTags | neverInPlace), 1);
    const auto copy = OpenSource(target);
    EXPECT_EQ(ReadInts(*copy, 0, 100), Numbers(0, 100));
    EXPECT_EQ(RequestWrite(*source, target, {{"TITLE", "Again"}}, mergeTags | neverInPlace), 1);
    EXPECT_EQ(ReadWholeFile(path), before);
    EXPECT_EQ(ValueOf(*OpenSource(target), "TITLE"), "Again") << "a target that was open is read anew";
}

TEST_F(WriteRequest, NeverCopiesAFileOverItself) {
    const Bytes before = MonoFile(Ramp(10));
    const auto path = folder.Write("self.wav", before);
    const auto source = OpenSource(path);
    std::error_code noLinks;
    std::filesystem::create_hard_link(path, target, noLinks);
    if (noLinks) target = path;
    for (const auto& name : {path, folder.Path("SELF.wav"), folder.Path("./self.wav"), target})
        EXPECT_EQ(RequestWrite(*source, name, {{"TITLE", "x"}}, neverInPlace), 0) << name;
    EXPECT_EQ(ReadWholeFile(path), before);
}

TEST_F(WriteRequest, OtherKindsAndMissingArgumentsTouchNothing) {
    const Bytes common = ByteWriter().Be16(1).Be32(4).Be16(16).Be16(0x400E).Be16(0xAC44).Zeros(6);
    const Bytes aiff = IffFile("AIFF", ByteWriter().IffChunk("COMM", common).IffChunk("SSND", Bytes(16)));
    const auto path = folder.Write("kind.aif", aiff);
    const auto source = OpenSource(path);
    ASSERT_TRUE(source->IsOnline());
    EXPECT_EQ(RequestWrite(*source, target, {{"TITLE", "x"}}, mergeTags), 0);
    EXPECT_EQ(ReadWholeFile(path), aiff);
    EXPECT_FALSE(std::filesystem::exists(target));
    const auto wave = OpenSource(folder.Write("wave.wav", MonoFile(Ramp(4))));
    MetadataPair end{};
    EXPECT_EQ(wave->ExtendedCall(0x20008, nullptr, &end, nullptr), 0);
    EXPECT_EQ(wave->ExtendedCall(0x20008, target.data(), nullptr, nullptr), 0);
}

TEST_F(WriteRequest, LoopChunkFollowsTempoAndKey) {
    const AcidBody acid{.flags = 10, .rootNote = 62, .beats = 2, .tempo = 120};
    struct Case {
        Fields fields;
        double tempo;
        int32_t beats, rootNote;
    };
    const Case cases[] = {{{{"TITLE", "x"}}, 120, 2, 2},
                          {{{"BPM", "140.5"}}, 140.5, 0, 2},  // its beats have another length
                          {{{"KEY", "eb"}}, 120, 2, 3}};
    for (const auto& wanted : cases) {
        TempFolder own;
        const auto source =
            OpenSource(own.Write("loop.wav", MonoFile(Ramp(1000), ByteWriter().Chunk("acid", acid))));
        EXPECT_EQ(RequestWrite(*source, target, wanted.fields, mergeTags), 2);
        Reopen(*source);
        const auto format = source->Attachment().format;
        EXPECT_EQ(format->tempo, wanted.tempo);
        EXPECT_EQ(format->beatCount, wanted.beats);
        EXPECT_EQ(format->rootNoteOffset, wanted.rootNote);
    }
}

}  // namespace
}  // namespace vantor::test
