#include <gtest/gtest.h>

#include "source/project_tokens.h"
#include "tests/source/source_support.h"

namespace vantor::test {
namespace {

using Lines = std::vector<std::string>;

class SavedState : public ::testing::Test {
  protected:
    int32_t Restore(PCM_source_wavefile& source, Lines lines) {
        FakeProject project(std::move(lines));
        const int32_t result = source.ReadState("<SOURCE WAVE", &project);
        linesRead = project.next;
        return result;
    }

    FakeHost host;
    TempFolder folder;
    size_t linesRead = 0;
};

TEST_F(SavedState, WritesFileAndSlice) {
    const auto source = OpenSource(folder.Write("w.wav", MonoFile(Ramp(8))));
    FakeProject project;
    source->WriteState(&project);
    source->SetSliceIndex(0);
    EXPECT_EQ(source->WriteState(&project), 3) << "the result of the last line";
    const std::string file = "FILE \"project:" + source->Name() + "\"";
    EXPECT_EQ(project.lines, (Lines{file, file, "SLICE 0"}));

    Services().relativeFileName = nullptr;
    FakeProject absolute;
    source->WriteState(&absolute);
    EXPECT_EQ(absolute.lines[0], "FILE \"" + source->Name() + "\"");
}

TEST_F(SavedState, RestoresWhatItSaved) {
    const auto path = folder.Write("it's a `name`.wav", MonoFile(Ramp(8, 70)));
    PCM_source_wavefile source;
    source.SetSliceIndex(4);
    EXPECT_EQ(Restore(source, {"FILE \"project:" + path + "\"", ">", "SLICE 9"}), 0);
    EXPECT_EQ(linesRead, 2u) << "the block ends at its closing line";
    EXPECT_EQ(source.SliceIndex(), -1);
    EXPECT_EQ(ReadInts(source, 0, 2), Numbers(70, 2));
}

TEST_F(SavedState, ANameTheHostCannotResolveIsTakenAsItIs) {
    const auto path = folder.Write("asis.wav", MonoFile(Ramp(8, 70)));
    Services().resolveFileName = [](const char*, char*, int32_t) {};
    PCM_source_wavefile source;
    EXPECT_EQ(Restore(source, {"FILE \"" + path + "\"", ">"}), 0);
    EXPECT_EQ(ReadInts(source, 0, 2), Numbers(70, 2));
}

TEST_F(SavedState, FileThatIsOpenAlreadyIsNotOpenedAgain) {
    const auto path = folder.Write("same.wav", MonoFile(Ramp(8)));
    const auto source = OpenSource(path);
    const int made = host.peakReadersMade;
    EXPECT_EQ(Restore(*source, {"file '" + folder.Path("SAME.wav") + "'", ">"}), 0);
    EXPECT_EQ(host.peakReadersMade, made);
    EXPECT_EQ(source->Name(), path);
    source->SetOnline(false);
    EXPECT_EQ(Restore(*source, {"FILE '" + path + "'", ">"}), 0);
    EXPECT_TRUE(source->IsOnline());
    const auto other = folder.Write("other.wav", MonoFile(Ramp(8, 70)));
    EXPECT_EQ(Restore(*source, {"FILE '" + other + "'", ">"}), 0);
    EXPECT_EQ(ReadInts(*source, 0, 2), Numbers(70, 2));
}

TEST_F(SavedState, SliceNumbersStandOutsideNestedBlocks) {
    const std::vector<std::pair<Lines, int32_t>> cases = {
        {{"SLICE 12"}, 12},
        {{"slice 0x1A"}, 26},
        {{"SLICE 0X1a"}, 26},
        {{"SLICE -1"}, -1},
        {{"SLICE \"7\""}, 7},
        {{"SLICE x"}, 0},
        {{"SLICE"}, -1},
        {{"SLICES 5"}, -1},
        {{"SLICE 4294967295"}, -1},
        {{"", "<NOTES", "SLICE 3", "<DEEPER", ">", "SLICE 4", ">", "SLICE 5", "OTHER 1"}, 5},
    };
    for (auto [lines, index] : cases) {
        PCM_source_wavefile source;
        lines.emplace_back(">");
        EXPECT_EQ(Restore(source, lines), 0);
        EXPECT_EQ(source.SliceIndex(), index) << lines[0];
        EXPECT_EQ(Restore(source, {"SLICE 6", "<OPEN", ">"}), -1) << "the lines ended too early";
    }
}

TEST(ProjectTokens, QuotesHoldBlanksAndOtherQuotes) {
    EXPECT_EQ(ProjectTokens("  FILE \"it's\" 'a \"b\"'\t`c'\"d` end"),
              (Lines{"FILE", "it's", "a \"b\"", "c'\"d", "end"}));
    EXPECT_EQ(ProjectTokens("A \"open ended"), (Lines{"A", "open ended"}));
    EXPECT_EQ(ProjectTokens("A \"\" B"), (Lines{"A", "", "B"}));
    EXPECT_TRUE(ProjectTokens(" \t ").empty());
}

}  // namespace
}  // namespace vantor::test
