#include <gtest/gtest.h>

#include <filesystem>

#include "tests/source/source_support.h"

namespace vantor::test {
namespace {

constexpr intptr_t replace = 0;
constexpr intptr_t merge = 1;
constexpr intptr_t copyOnly = 2;

class WriteRequest : public ::testing::Test {
  protected:
    intptr_t Write(PCM_source& source, const std::string& target,
                   std::vector<std::pair<std::string, std::string>> fields, intptr_t flags) {
        std::vector<MetadataPair> pairs;
        for (const auto& [key, value] : fields)
            pairs.push_back({key.c_str(), value.c_str()});
        pairs.push_back({nullptr, nullptr});
        std::string name = target;
        return source.ExtendedCall(0x20008, name.data(), pairs.data(), reinterpret_cast<void*>(flags));
    }
    static void Reopen(PCM_source& source) {
        source.SetOnline(false);
        source.SetOnline(true);
    }

    FakeHost host;
    TempFolder folder;
    std::string target = folder.Path("target.wav");
};

TEST_F(WriteRequest, UpdatesInPlaceAndTheNextOpenSeesIt) {
    const auto path = folder.Write("place.wav", MonoFile(Ramp(100)));
    const auto source = OpenSource(path);
    ReadInts(*source, 0, 10);
    EXPECT_EQ(Write(*source, target, {{"TITLE", "Rain"}, {"ARTIST", "Sky"}}, merge), 2);
    EXPECT_FALSE(std::filesystem::exists(target));
    EXPECT_EQ(ReadInts(*source, 10, 10), Numbers(10, 10)) << "it plays on";
    Reopen(*source);
    EXPECT_EQ(ValueOf(*source, "INFO:INAM"), "Rain");
    EXPECT_EQ(ValueOf(*source, "ARTIST"), "Sky");
    // The same size, and on a coarse clock the same time.
    EXPECT_EQ(Write(*source, target, {{"TITLE", "Hail"}}, merge), 2);
    Reopen(*source);
    EXPECT_EQ(ValueOf(*source, "TITLE"), "Hail");
    EXPECT_EQ(ValueOf(*source, "ARTIST"), "Sky");
    EXPECT_EQ(ReadInts(*source, 0, 100), Numbers(0, 100));
}

TEST_F(WriteRequest, SecondRequestBuildsOnTheFirstAndOtherSourcesKeepTheirTexts) {
    const auto path = folder.Write("twice.wav", MonoFile(Ramp(10)));
    const auto source = OpenSource(path);
    const auto other = OpenSource(path);
    EXPECT_EQ(Write(*source, target, {{"TITLE", "One"}}, merge), 2);
    Reopen(*other);
    const char *key = nullptr, *value = nullptr;
    ASSERT_EQ(other->ExtendedCall(0x10013, nullptr, &key, &value), 1);
    const std::string keyBefore = key;
    EXPECT_EQ(Write(*source, target, {{"ALBUM", "Two"}}, merge), 2);
    EXPECT_EQ(key, keyBefore);
    Reopen(*source);
    EXPECT_EQ(ValueOf(*source, "TITLE"), "One");
    EXPECT_EQ(ValueOf(*source, "ALBUM"), "Two");
}

TEST_F(WriteRequest, RawKeysGoUnderTheirOwnNameAndEmptyValuesRemove) {
    const auto source = OpenSource(folder.Write("raw.wav", MonoFile(Ramp(10))));
    EXPECT_EQ(Write(*source, target, {{"TITLE", "T"}, {"INFO:ICMT", "raw"}, {"CART:CutID", "7"}}, replace),
              2);
    Reopen(*source);
    EXPECT_EQ(ValueOf(*source, "INFO:ICMT"), "raw");
    EXPECT_EQ(ValueOf(*source, "CART:CutID"), "7");
    EXPECT_EQ(ValueOf(*source, "CART:Title"), "T");
    EXPECT_EQ(Write(*source, target, {{"CART:Title", ""}, {"COMMENT", ""}}, merge), 2);
    Reopen(*source);
    EXPECT_EQ(ValueOf(*source, "CART:Title"), "");
    EXPECT_EQ(ValueOf(*source, "INFO:ICMT"), "");
    EXPECT_EQ(ValueOf(*source, "INFO:INAM"), "T");
    EXPECT_EQ(Write(*source, target, {{"GENRE", "Noise"}}, replace), 2);
    Reopen(*source);
    EXPECT_EQ(ValueOf(*source, "TITLE"), "");
    EXPECT_EQ(ValueOf(*source, "GENRE"), "Noise");
}

TEST_F(WriteRequest, CopyGoesToTheTargetAndLeavesTheSource) {
    const Bytes before = MonoFile(Ramp(100));
    const auto path = folder.Write("copied.wav", before);
    const auto source = OpenSource(path);
    EXPECT_EQ(Write(*source, target, {{"TITLE", "Copy"}}, merge | copyOnly), 1);
    EXPECT_EQ(ReadWholeFile(path), before);
    const auto copy = OpenSource(target);
    EXPECT_EQ(ValueOf(*copy, "TITLE"), "Copy");
    EXPECT_EQ(ReadInts(*copy, 0, 100), Numbers(0, 100));
    EXPECT_EQ(Write(*source, target, {{"TITLE", "Again"}}, merge | copyOnly), 1);
    EXPECT_EQ(ReadWholeFile(path), before);
    EXPECT_EQ(ValueOf(*OpenSource(target), "TITLE"), "Again") << "a target that was open is read anew";
}

TEST_F(WriteRequest, NeverCopiesAFileOverItself) {
    const Bytes before = MonoFile(Ramp(10));
    const auto path = folder.Write("self.wav", before);
    const auto source = OpenSource(path);
    EXPECT_EQ(Write(*source, path, {{"TITLE", "x"}}, copyOnly), 0);
    EXPECT_EQ(Write(*source, folder.Path("SELF.wav"), {{"TITLE", "x"}}, copyOnly), 0);
    EXPECT_EQ(Write(*source, folder.Path("./self.wav"), {{"TITLE", "x"}}, copyOnly), 0);
    std::error_code noLinks;
    std::filesystem::create_hard_link(path, target, noLinks);
    if (noLinks) target = path;
    EXPECT_EQ(Write(*source, target, {{"TITLE", "x"}}, copyOnly), 0);
    EXPECT_EQ(ReadWholeFile(path), before);
}

TEST_F(WriteRequest, OtherKindsAndMissingArgumentsTouchNothing) {
    const Bytes aiff =
        ByteWriter()
            .Text("FORM")
            .Be32(54)
            .Text("AIFF")
            .IffChunk("COMM", ByteWriter().Be16(1).Be32(4).Be16(16).Be16(0x400E).Be16(0xAC44).Zeros(6))
            .IffChunk("SSND", Bytes(16));
    const auto path = folder.Write("kind.aif", aiff);
    const auto source = OpenSource(path);
    ASSERT_TRUE(source->IsOnline());
    EXPECT_EQ(Write(*source, target, {{"TITLE", "x"}}, merge), 0);
    EXPECT_EQ(ReadWholeFile(path), aiff);
    EXPECT_FALSE(std::filesystem::exists(target));
    const auto wave = OpenSource(folder.Write("wave.wav", MonoFile(Ramp(4))));
    MetadataPair end{};
    char name[] = "x";
    EXPECT_EQ(wave->ExtendedCall(0x20008, nullptr, &end, nullptr), 0);
    EXPECT_EQ(wave->ExtendedCall(0x20008, name, nullptr, nullptr), 0);
}

TEST_F(WriteRequest, LoopChunkFollowsTempoAndKey) {
    const auto loop = [&](std::vector<std::pair<std::string, std::string>> fields) {
        static int made = 0;
        const auto path = folder.Write(
            "loop" + std::to_string(made++) + ".wav",
            MonoFile(
                Ramp(1000),
                ByteWriter().Chunk("acid", AcidBody{.flags = 10, .rootNote = 62, .beats = 2, .tempo = 120})));
        auto source = OpenSource(path);
        EXPECT_EQ(Write(*source, target, std::move(fields), merge), 2);
        Reopen(*source);
        return source;
    };
    const auto kept = loop({{"TITLE", "x"}});
    EXPECT_EQ(kept->Attachment().format->beatCount, 2);
    EXPECT_EQ(kept->Attachment().format->tempo, 120);
    const auto faster = loop({{"BPM", "140.5"}});
    EXPECT_EQ(faster->Attachment().format->tempo, 140.5);
    EXPECT_EQ(faster->Attachment().format->beatCount, 0) << "its beats have another length";
    EXPECT_EQ(faster->Attachment().format->rootNoteOffset, 2) << "kept";
    const auto tuned = loop({{"KEY", "eb"}});
    EXPECT_EQ(tuned->Attachment().format->rootNoteOffset, 3);
    EXPECT_EQ(tuned->Attachment().format->tempo, 120);
    EXPECT_EQ(tuned->Attachment().format->beatCount, 2);
}

}  // namespace
}  // namespace vantor::test
