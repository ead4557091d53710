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
    EXPECT_STREQ(source->FileName(), "");
    EXPECT_EQ(source->ChannelCount(), 1);
    EXPECT_EQ(source->SampleRate(), 0.0);
    EXPECT_EQ(source->LengthSeconds(), 0.0);
    EXPECT_EQ(source->PlacementPosition(), -1.0);
    source->SetOnline(true);
    EXPECT_FALSE(source->IsOnline());
    EXPECT_TRUE(ReadInts(*source.Get(), 0, 4).empty());
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
    const auto format = other->Attachment().format;
    ReadInts(*source, 0, 10);
    source->SetOnline(false);
    EXPECT_EQ(IdleReaderCount(path), 1u) << "the other source still needs it";
    other->SetOnline(false);
    EXPECT_EQ(IdleReaderCount(path), 0u);
    EXPECT_EQ(host.liveObjects, 0);
    EXPECT_TRUE(ReadInts(*source, 0, 10).empty());
    other->SetOnline(true);
    EXPECT_EQ(other->Attachment().format, format) << "the file did not change";
    other->SetOnline(false);

    WriteWholeFile(path, MonoFile(Ramp(200, 1000)));
    source->SetOnline(true);
    EXPECT_EQ(source->LengthSeconds(), 0.2);
    EXPECT_EQ(ReadInts(*source, 0, 10), Numbers(1000, 10));
}

TEST_F(LifeCycle, MissingOrBrokenFileTellsWhyAndPlaysOnceItIsMended) {
    const auto path = folder.Path("b.wav");
    const auto source = OpenSource(path);
    EXPECT_EQ(InfoText(*source), "File not opened");
    source->SetOnline(false);
    EXPECT_EQ(InfoText(*source), "File offline");
    WriteWholeFile(path, Bytes(100, 'x'));
    source->SetOnline(true);
    EXPECT_FALSE(source->IsOnline());
    EXPECT_EQ(InfoText(*source), "Unknown file header");
    source->SetOnline(false);  // lets go of the file
    WriteWholeFile(path, MonoFile(Ramp(10)));
    source->SetOnline(true);
    EXPECT_EQ(ReadInts(*source, 5, 10), Numbers(5, 5));
}

TEST_F(LifeCycle, ChangeFileIsOpenedByTheNextSetOnline) {
    const auto source = OpenSource(folder.Write("old.wav", MonoFile(Ramp(10))));
    const auto next = folder.Write("new.wav", MonoFile(Ramp(10, 500)));
    source->SetOnline(false);
    EXPECT_TRUE(source->ChangeFile(next.c_str()));
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
    EXPECT_GT(host.bytesRead, 0);
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

// As the host calls: by slot number.
template <typename Result, typename... Arguments>
Result CallSlot(PCM_source* source, size_t index, Arguments... arguments) {
    using Slot = Result (*)(PCM_source*, Arguments...);
    return (*reinterpret_cast<Slot**>(source))[index](source, arguments...);
}

TEST_F(LifeCycle, SlotsStandInTheirOrder) {
    const auto path = folder.Write("slots.wav", MonoFile(Ramp(100)));
    PCM_source* source = CreateEmptyWaveSource();
    EXPECT_TRUE(CallSlot<bool>(source, 6, path.c_str()));
    CallSlot<void>(source, 3, true);
    EXPECT_TRUE(CallSlot<bool>(source, 2));
    EXPECT_STREQ(CallSlot<const char*>(source, 4), "WAVE");
    EXPECT_STREQ(CallSlot<const char*>(source, 5), path.c_str());
    EXPECT_EQ(CallSlot<int32_t>(source, 9), 1);
    EXPECT_EQ(CallSlot<double>(source, 10), 1000.0);
    EXPECT_EQ(CallSlot<double>(source, 11), 0.1);
    EXPECT_EQ(CallSlot<double>(source, 12), -1.0);
    EXPECT_EQ(CallSlot<int32_t>(source, 13), 16);
    EXPECT_EQ(CallSlot<double>(source, 14), -1.0);
    FakeProject project;
    CallSlot<int32_t>(source, 18, static_cast<ProjectContext*>(&project));
    EXPECT_EQ(project.lines.size(), 1u);
    void* const none = nullptr;
    EXPECT_EQ(CallSlot<intptr_t>(source, 24, 0x9000a, none, none, none), 1);
    auto* clone = CallSlot<PCM_source*>(source, 1);
    for (PCM_source* object : {clone, source})
        CallSlot<void*>(object, 0, unsigned{deleteAndFree});
    EXPECT_EQ(host.liveObjects, 0);
}

}  // namespace
}  // namespace vantor::test
