#include <gtest/gtest.h>

#include <set>

#include "source/source_entry.h"
#include "tests/source/source_support.h"

namespace vantor::test {
namespace {

class LifeCycle : public ::testing::Test {
  protected:
    FakeHost host;
    TempFolder folder;
};

TEST_F(LifeCycle, NewObjectAnswersWithoutAFile) {
    const HostPtr<PCM_source> source(CreateEmptyWaveSource());
    EXPECT_FALSE(source->IsOnline());
    EXPECT_STREQ(source->TypeName(), "WAVE");
    EXPECT_STREQ(source->FileName(), "");
    EXPECT_EQ(source->ChannelCount(), 1);
    EXPECT_EQ(source->SampleRate(), 0.0);
    EXPECT_EQ(source->LengthSeconds(), 0.0);
    EXPECT_EQ(source->BeatLength(), -1.0);
    EXPECT_EQ(source->PlacementPosition(), -1.0);
    EXPECT_EQ(source->SubSource(), nullptr);
    source->SetOnline(true);
    EXPECT_FALSE(source->IsOnline());
    EXPECT_TRUE(ReadInts(*source.Get(), 0, 4).empty());
}

TEST_F(LifeCycle, OpenSourceDescribesAndPlaysItsFile) {
    const auto source = OpenSource(folder.Write("take.wav", MonoFile(Ramp(500))));
    EXPECT_TRUE(source->IsOnline());
    EXPECT_EQ(source->SampleRate(), 1000.0);
    EXPECT_EQ(source->LengthSeconds(), 0.5);
    EXPECT_EQ(source->BitDepth(), 16);
    EXPECT_EQ(ReadInts(*source, 100, 50), Numbers(100, 50));
    EXPECT_EQ(ReadInts(*source, 490, 50), Numbers(490, 10));
    EXPECT_GT(host.bytesRead, 0);
}

TEST_F(LifeCycle, BitDepthPrefersValidBitsAndShowsAdpcmAs16) {
    const Bytes extension = ByteWriter().Le16(22).Le16(20).Le32(0).Le16(1).Zeros(2).Add(
        {0, 0, 0x10, 0, 0x80, 0, 0, 0xAA, 0, 0x38, 0x9B, 0x71});
    const Bytes extensible = ByteWriter().Add(FmtBody(0xFFFE, 1, 1000, 24)).Add(extension);
    const Bytes adpcm = ByteWriter().Add(FmtBody(0x11, 1, 1000, 4, 256)).Le16(2).Le16(505);
    const auto depth = [&](const std::string& name, const Bytes& fmt) {
        const Bytes chunks = ByteWriter().Chunk("fmt ", fmt).Chunk("data", Bytes(512));
        return OpenSource(folder.Write(name, RiffFile(chunks)))->BitDepth();
    };
    EXPECT_EQ(depth("extensible.wav", extensible), 20);
    EXPECT_EQ(depth("adpcm.wav", adpcm), 16);
}

TEST_F(LifeCycle, NamesThatDifferInCaseShareEverything) {
    const auto path = folder.Write("A.WAV", MonoFile(Ramp(10)));
    const auto lower = folder.Path("a.wav");
    const auto first = OpenSource(path);
    const auto second = OpenSource(lower);
    EXPECT_EQ(first->FileName(), second->FileName());
    EXPECT_STREQ(second->FileName(), path.c_str());
    EXPECT_EQ(first->Attachment().state, second->Attachment().state);
    EXPECT_EQ(first->Attachment().format, second->Attachment().format);
    EXPECT_EQ(IdleReaderCount(path), 1u);
}

TEST_F(LifeCycle, EachPurposeHasItsOwnStateAndHandle) {
    const auto path = folder.Write("p.wav", MonoFile(Ramp(10)));
    std::vector<SourcePtr> sources;
    std::set<const SharedFileState*> states;
    for (const int32_t purpose : {0, 1, 2, 7, 7}) {
        sources.push_back(OpenSource(path, purpose));
        EXPECT_TRUE(sources.back()->IsOnline());
        states.insert(sources.back()->Attachment().state.get());
    }
    EXPECT_EQ(states.size(), 5u);
    for (const int32_t purpose : {0, 1, 2})
        EXPECT_EQ(IdleReaderCount(path, purpose), 1u);
}

TEST_F(LifeCycle, CloneOpensTheSameFileAsTheSameSlice) {
    const auto source = OpenSource(folder.Write("c.wav", MonoFile(Ramp(10))));
    source->SetSliceIndex(3);
    const HostPtr<PCM_source> clone(source->Clone());
    EXPECT_STREQ(clone->TypeName(), "WAVE_SLICE");
    EXPECT_STREQ(clone->FileName(), source->FileName());
    EXPECT_TRUE(clone->IsOnline());
}

TEST_F(LifeCycle, OfflineClosesEveryHandleAndOnlineReadsWhatIsThereThen) {
    const auto path = folder.Write("o.wav", MonoFile(Ramp(100)));
    const auto source = OpenSource(path);
    const auto other = OpenSource(path);
    ReadInts(*source, 0, 10);
    source->SetOnline(false);
    EXPECT_FALSE(source->IsOnline());
    EXPECT_EQ(IdleReaderCount(path), 1u) << "the other source still needs it";
    other->SetOnline(false);
    EXPECT_EQ(IdleReaderCount(path), 0u);
    EXPECT_EQ(host.liveObjects, 0);
    EXPECT_TRUE(ReadInts(*source, 0, 10).empty());

    WriteWholeFile(path, MonoFile(Ramp(200, 1000)));
    source->SetOnline(true);
    EXPECT_TRUE(source->IsOnline());
    EXPECT_EQ(source->LengthSeconds(), 0.2);
    EXPECT_EQ(ReadInts(*source, 0, 10), Numbers(1000, 10));
}

TEST_F(LifeCycle, UnchangedFileKeepsItsFormatAcrossOffline) {
    const auto source = OpenSource(folder.Write("u.wav", MonoFile(Ramp(100))));
    const auto format = source->Attachment().format;
    source->SetOnline(false);
    source->SetOnline(true);
    EXPECT_EQ(source->Attachment().format, format);
}

TEST_F(LifeCycle, BrokenFileTellsWhyAndPlaysOnceItIsMended) {
    const auto path = folder.Write("b.wav", Bytes(100, 'x'));
    const auto source = OpenSource(path);
    EXPECT_FALSE(source->IsOnline());
    char text[64];
    EXPECT_EQ(source->ExtendedCall(0x10014, text, reinterpret_cast<void*>(sizeof text), nullptr), 1);
    EXPECT_STREQ(text, "Unknown file header");
    source->SetOnline(false);  // lets go of the file
    WriteWholeFile(path, MonoFile(Ramp(10)));
    source->SetOnline(true);
    EXPECT_TRUE(source->IsOnline());
}

TEST_F(LifeCycle, StatusOfASourceWithoutFormat) {
    const auto source = OpenSource(folder.Path("missing.wav"));
    EXPECT_FALSE(source->IsOnline());
    char text[64] = "";
    EXPECT_EQ(source->ExtendedCall(0x10014, text, reinterpret_cast<void*>(sizeof text), nullptr), 0);
    EXPECT_STREQ(text, "File not opened");
    source->SetOnline(false);
    source->ExtendedCall(0x10014, text, reinterpret_cast<void*>(sizeof text), nullptr);
    EXPECT_STREQ(text, "File offline");
}

TEST_F(LifeCycle, ChangeFileIsOpenedByTheNextSetOnline) {
    const auto source = OpenSource(folder.Write("old.wav", MonoFile(Ramp(10))));
    const auto next = folder.Write("new.wav", MonoFile(Ramp(10, 500)));
    source->SetOnline(false);
    EXPECT_TRUE(source->ChangeFile(next.c_str()));
    EXPECT_STREQ(source->FileName(), next.c_str());
    EXPECT_FALSE(source->IsOnline());
    source->SetOnline(true);
    EXPECT_EQ(ReadInts(*source, 0, 3), Numbers(500, 3));
}

TEST_F(LifeCycle, ANewNameRemovesTheStateOfTheOld) {
    const auto first = folder.Write("first.wav", MonoFile(Ramp(10)));
    const auto second = folder.Write("second.wav", MonoFile(Ramp(10)));
    const auto source = OpenSource(first);
    source->Open(second.c_str(), purposePlayback);
    EXPECT_EQ(FindState(first.c_str(), purposePlayback), nullptr);
    EXPECT_NE(FindState(second.c_str(), purposePlayback), nullptr);
}

TEST_F(LifeCycle, PlayingSourceKeepsItsReaderForThreeSeconds) {
    const auto path = folder.Write("r.wav", MonoFile(Ramp(100)));
    const auto one = OpenSource(path);
    const auto two = OpenSource(path);
    ReadInts(*one, 0, 10);
    const auto state = one->Attachment().state;
    ASSERT_EQ(state->idle.size(), 1u);
    const ReaderContext* reader = state->idle[0].get();
    EXPECT_NE(reader->reservedUntil, 0u);
    ReadInts(*two, 0, 10);
    EXPECT_EQ(state->idle.size(), 2u) << "the first reader is reserved";
    ReadInts(*one, 10, 10);
    EXPECT_EQ(state->idle.back().get(), reader) << "its owner gets it back";

    state->idle.back()->reservedUntil -= 3001;  // as if that time had passed
    const auto three = OpenSource(path);
    ReadInts(*three, 0, 10);
    EXPECT_EQ(state->idle.size(), 2u) << "an expired reservation yields its reader";
    EXPECT_EQ(state->idle.back().get(), reader);
}

TEST_F(LifeCycle, ASourceThatGoesLeavesItsReaderToAnybody) {
    const auto path = folder.Write("g.wav", MonoFile(Ramp(100)));
    const auto one = OpenSource(path);
    const auto two = OpenSource(path);
    ReadInts(*one, 0, 10);
    EXPECT_EQ(one->ExtendedCall(0x90007, nullptr, nullptr, nullptr), 1);
    ReadInts(*two, 0, 10);
    EXPECT_EQ(IdleReaderCount(path), 1u);
    EXPECT_EQ(
        SourcePtr(std::make_unique<PCM_source_wavefile>())->ExtendedCall(0x90007, nullptr, nullptr, nullptr),
        1);
}

TEST_F(LifeCycle, LengthGrowsWithTheFile) {
    const auto path = folder.Write("grow.wav", MonoFile(Ramp(100)));
    const auto source = OpenSource(path);
    const auto format = source->Attachment().format;
    format->lengthCutWhileGrowing = true;  // as when another process writes the file
    format->lengthFrames = 10;
    EXPECT_EQ(source->LengthSeconds(), 0.1);
}

// The host calls by slot number: every slot of the table must be the one that the name says.
TEST_F(LifeCycle, SlotsStandInTheirOrder) {
    const auto path = folder.Write("slots.wav", MonoFile(Ramp(100)));
    PCM_source* source = CreateEmptyWaveSource();
    using Slot = void (*)();
    const auto slot = [&]<typename Result, typename... Arguments>(int index,
                                                                  Result (*)(PCM_source*, Arguments...)) {
        const Slot* table = *reinterpret_cast<Slot**>(source);
        return reinterpret_cast<Result (*)(PCM_source*, Arguments...)>(table[index]);
    };
    const auto text = static_cast<const char* (*)(PCM_source*)>(nullptr);
    const auto real = static_cast<double (*)(PCM_source*)>(nullptr);
    const auto whole = static_cast<int32_t (*)(PCM_source*)>(nullptr);
    EXPECT_TRUE(slot(6, static_cast<bool (*)(PCM_source*, const char*)>(nullptr))(source, path.c_str()));
    slot(3, static_cast<void (*)(PCM_source*, bool)>(nullptr))(source, true);
    EXPECT_TRUE(slot(2, static_cast<bool (*)(PCM_source*)>(nullptr))(source));
    EXPECT_STREQ(slot(4, text)(source), "WAVE");
    EXPECT_STREQ(slot(5, text)(source), path.c_str());
    EXPECT_EQ(slot(9, whole)(source), 1);
    EXPECT_EQ(slot(10, real)(source), 1000.0);
    EXPECT_EQ(slot(11, real)(source), 0.1);
    EXPECT_EQ(slot(12, real)(source), -1.0);
    EXPECT_EQ(slot(13, whole)(source), 16);
    EXPECT_EQ(slot(14, real)(source), -1.0);
    FakeProject project;
    slot(18, static_cast<int32_t (*)(PCM_source*, ProjectContext*)>(nullptr))(source, &project);
    EXPECT_EQ(project.lines.size(), 1u);
    EXPECT_EQ(slot(24, static_cast<intptr_t (*)(PCM_source*, int32_t, void*, void*, void*)>(nullptr))(
                  source, 0x9000a, nullptr, nullptr, nullptr),
              1);
    PCM_source* clone = slot(1, static_cast<PCM_source* (*)(PCM_source*)>(nullptr))(source);
    for (PCM_source* object : {clone, source})
        slot(0, static_cast<void* (*)(PCM_source*, unsigned)>(nullptr))(object, deleteAndFree);
    EXPECT_EQ(host.liveObjects, 0);
}

}  // namespace
}  // namespace vantor::test
