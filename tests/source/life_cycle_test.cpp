#include <gtest/gtest.h>

#include <array>
#include <cstddef>
#include <filesystem>
#include <fstream>
#include <functional>
#include <new>
#include <set>

#include "source/source_entry.h"
#include "source/wav_metadata_source.h"
#include "tests/source/source_support.h"
#include "tests/support/failing_allocation.h"

namespace vantor::test {
namespace {

class LifeCycle : public ::testing::Test {
  protected:
    std::string Write(const std::string& name, int firstSample = 0) {
        return folder.Write(name, MonoFile(Ramp(100, firstSample)));
    }

    FakeHost host;
    TempFolder folder;
};

TEST_F(LifeCycle, NewObjectAnswersWithoutAFile) {
    const HostPtr<PCM_source> source(CreateEmptyWaveSource());
    source->SetOnline(true);
    EXPECT_FALSE(source->IsOnline());
    EXPECT_STREQ(source->FileName(), "");
    EXPECT_EQ(source->ChannelCount(), 1);
    EXPECT_EQ(source->SampleRate(), 0.0);
    EXPECT_EQ(source->LengthSeconds(), 0.0);
    EXPECT_EQ(source->PlacementPosition(), -1.0);
    EXPECT_TRUE(ReadInts(*source.Get(), 0, 4).empty());
    EXPECT_EQ(source->ExtendedCall(0x90007, nullptr, nullptr, nullptr), 1);
}

// A host that keeps objects in memory of its own.
template <typename Source>
void DestroyInPlace(const std::function<Source*(void*)>& make) {
    alignas(Source) std::array<std::byte, sizeof(Source)> memory;
    Source* const source = make(memory.data());
    EXPECT_EQ(source->DeletingDestructor(0), source);
}

TEST_F(LifeCycle, AnObjectIsDestroyedWithoutItsMemory) {
    const auto path = Write("in place.wav");
    DestroyInPlace<PCM_source_wavefile>([&](void* memory) {
        auto* const source = new (memory) PCM_source_wavefile;
        source->Open(path.c_str(), purposePlayback);
        EXPECT_NE(FindState(path.c_str(), purposePlayback), nullptr);
        return source;
    });
    EXPECT_EQ(FindState(path.c_str(), purposePlayback), nullptr);
    // What it does not give back, the leak checker finds.
    DestroyInPlace<PCM_source_wav_metadata>(
        [&](void* memory) { return new (memory) PCM_source_wav_metadata(path.c_str()); });
}

TEST_F(LifeCycle, BitDepthPrefersValidBitsAndShowsAdpcmAs16) {
    EXPECT_EQ(OpenSource(folder.Write("adpcm", SampleFile("ima-adpcm.wav")))->BitDepth(), 16);
    const auto source = OpenSource(folder.Write("pcm", SampleFile("pcm24.wav")));
    EXPECT_EQ(source->BitDepth(), 24);
    auto& format = *source->Attachment().format;
    format.validBits = 20;
    EXPECT_EQ(source->BitDepth(), 20);
    format.validBits = 0;
    format.bitsPerSample = 2;
    EXPECT_EQ(source->BitDepth(), 16);
    format.sampleRate = 0.1;
    EXPECT_EQ(source->LengthSeconds(), 0.0) << "of next to no rate";
}

TEST_F(LifeCycle, NamesThatDifferInCaseShareEverything) {
    const auto path = Write("A.WAV");
    const auto first = OpenSource(path);
    const auto second = OpenSource(folder.Path("a.wav"));
    EXPECT_STREQ(second->FileName(), path.c_str());
    EXPECT_EQ(first->Attachment().state, second->Attachment().state);
    EXPECT_EQ(first->Attachment().format, second->Attachment().format);
    EXPECT_EQ(IdleReaderCount(path), 1u);
}

TEST_F(LifeCycle, EachPurposeHasItsOwnStateAndHandle) {
    const auto path = Write("p.wav");
    std::vector<SourcePtr> sources;
    std::set<const SharedFileState*> states;
    for (const int32_t purpose : {0, 1, 2, -1, 3, 3}) {
        sources.push_back(OpenSource(path, purpose));
        EXPECT_TRUE(sources.back()->IsOnline());
        states.insert(sources.back()->Attachment().state.get());
    }
    EXPECT_EQ(states.size(), 6u);
    for (const int32_t purpose : {0, 1, 2})
        EXPECT_EQ(IdleReaderCount(path, purpose), 1u);
}

TEST_F(LifeCycle, OfflineClosesEveryHandleAndOnlineReadsWhatIsThereThen) {
    const auto path = Write("o.wav");
    const auto source = OpenSource(path);
    const auto other = OpenSource(path);
    const auto [state, format] = other->Attachment();
    ReadInts(*source, 0, 10);
    source->SetOnline(false);
    EXPECT_EQ(IdleReaderCount(path), 1u) << "the other source still needs it";
    EXPECT_EQ(state->idle[0]->lastOwner, nullptr) << "and does not wait for it";
    other->SetOnline(false);
    EXPECT_TRUE(state->idle.empty());
    EXPECT_EQ(host.liveObjects, 0);
    EXPECT_TRUE(ReadInts(*source, 0, 10).empty());
    other->SetOnline(true);
    EXPECT_EQ(other->Attachment().format, format) << "the file did not change";
    other->SetOnline(false);

    // A call that goes on while its source is taken offline looks at the file once more.
    ReleaseReader(*state, AcquireReader(*state, nullptr), nullptr, 0);
    EXPECT_EQ(IdleReaderCount(path), 0u);
    WriteWholeFile(path, MonoFile(Ramp(200, 1000)));
    source->SetOnline(true);
    EXPECT_EQ(source->LengthSeconds(), 0.2);
    EXPECT_EQ(ReadInts(*source, 0, 10), Numbers(1000, 10));
}

// Writes the file of the folder bit by bit, in the sight of others.
class Recorder {
  public:
    explicit Recorder(const std::string& path) : file_(path, std::ios::binary) {}
    void Record(const Bytes& bytes) {
        file_.write(reinterpret_cast<const char*>(bytes.data()), std::ssize(bytes)).flush();
    }

  private:
    std::ofstream file_;
};

// A recorder puts sizes into the header when it is done, or now and then.
TEST_F(LifeCycle, ARecordingThatGoesOnIsPlayedToItsEnd) {
    for (const uint32_t promised : {0u, 1000u, 0xFFFFFFFFu}) {
        Recorder recorder(folder.Path("take.wav"));
        recorder.Record(RiffFile(
            ByteWriter().Chunk("fmt ", FmtBody(1, 1, 1000, 16)).Text("data").Le32(promised).Add(Ramp(100))));
        const auto source = OpenSource(folder.Path("take.wav"));
        EXPECT_EQ(ReadInts(*source, 0, 200), Numbers(0, 100));
        for (int frames = 100; frames < 25000; frames += 7001) {
            recorder.Record(Ramp(7001, frames));
            if (frames > 10000) {  // else playing alone tells how much there is
                EXPECT_EQ(source->LengthSeconds(), (frames + 7001) / 1000.0);
            }
            EXPECT_EQ(ReadInts(*source, frames - 50, 7100), Numbers(frames - 50, 7051)) << promised;
        }
    }
}

// IMA ADPCM of 57 frames a block, all of which hold the block's first sample, its number; the frames that the
// last block has beyond the count of the whole stream are not played.
TEST_F(LifeCycle, ACompressedRecordingThatGoesOnIsPlayedToItsEnd) {
    const auto blocks = [](uint16_t from, uint16_t to) {
        ByteWriter bytes;
        for (; from < to; ++from)
            bytes.Le16(from).Zeros(30);
        return bytes;
    };
    constexpr auto framesOf = [](int count) { return 56 * count + 1; };
    for (const uint32_t promised : {0u, 2000u, 0xFFFFFFFFu}) {
        Recorder recorder(folder.Path("take.wav"));
        recorder.Record(RiffFile(ByteWriter()
                                     .Chunk("fmt ", FmtBody(0x11, 1, 1000, 4, 32))
                                     .Text("data")
                                     .Le32(promised)
                                     .Add(blocks(0, 4))));
        const auto source = OpenSource(folder.Path("take.wav"));
        ReadInts(*source, 0, 1000);
        for (uint16_t count = 4; count < 200; count = static_cast<uint16_t>(count + 50)) {
            recorder.Record(blocks(count, static_cast<uint16_t>(count + 50)));
            const auto played = ReadInts(*source, 0, 57 * 250);
            ASSERT_EQ(played.size(), static_cast<size_t>(framesOf(count + 50))) << promised;
            for (size_t i = 0; i < played.size(); ++i)
                ASSERT_EQ(played[i], static_cast<int>(i / 57)) << promised;
        }
    }
}

TEST_F(LifeCycle, TheLengthOfARecordingGrowsUnlessItIsCompressed) {
    for (const auto& [fmt, grows] :
         {std::pair{FmtBody(1, 1, 1000, 8), true}, {FmtBody(0x11, 1, 1000, 4, 32), false}}) {
        Recorder recorder(folder.Path("take.wav"));
        recorder.Record(RiffFile(ByteWriter().Chunk("fmt ", fmt).Text("data").Le32(0).Zeros(64)));
        const auto source = OpenSource(folder.Path("take.wav"));
        const double before = source->LengthSeconds();
        EXPECT_GT(before, 0);
        recorder.Record(Bytes(64));
        EXPECT_EQ(source->LengthSeconds(), grows ? 2 * before : before);
    }
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
    Write("b.wav");
    source->SetOnline(true);
    EXPECT_EQ(ReadInts(*source, 95, 10), Numbers(95, 5));
    source->SetOnline(false);
    std::filesystem::remove(path);
    source->SetOnline(true);
    EXPECT_EQ(InfoText(*source), "File not opened") << "although its format is known";
}

TEST_F(LifeCycle, ChangeFileIsOpenedByTheNextSetOnline) {
    const auto source = OpenSource(Write("old.wav"));
    const auto next = Write("new.wav", 500);
    source->SetOnline(false);
    EXPECT_TRUE(source->ChangeFile(next.c_str()));
    EXPECT_FALSE(source->IsOnline());
    source->SetOnline(true);
    EXPECT_EQ(ReadInts(*source, 0, 3), Numbers(500, 3));
}

// The old name goes first.
TEST_F(LifeCycle, ANewSpellingOfTheNameIsTakenOver) {
    const auto source = OpenSource(Write("spelt.wav"));
    const auto path = folder.Path("SPELT.wav");
    EXPECT_TRUE(source->ChangeFile(path.c_str()));
    EXPECT_EQ(source->FileName(), path);
    EXPECT_TRUE(source->ChangeFile(source->FileName()));
    EXPECT_EQ(source->FileName(), path);
    source->Open(folder.Path("Spelt.wav").c_str(), purposePlayback);
    EXPECT_EQ(source->FileName(), folder.Path("Spelt.wav"));
    source->SetOnline(false);
    source->ChangeFile(nullptr);
    const auto again = OpenSource(path);
    EXPECT_EQ(again->Attachment().state->fileName, path) << "of a file that is remembered";
}

TEST_F(LifeCycle, WithoutMemoryForTheNewNameTheOldFileIsNotOpened) {
    // Too long to be held without an allocation.
    const auto first = Write("the first of two files.wav"),
               second = Write("the second of two files.wav", 500);
    bool hasFailed = true;
    for (int allowed = 0; hasFailed; ++allowed) {
        const auto source = OpenSource(first);
        {
            FailingAllocation failing(allowed);
            try {
                source->Open(second.c_str(), purposePlayback);
            } catch (const std::bad_alloc&) {
            }
            hasFailed = failing.HasFailed();
        }
        const bool isOld = source->FileName() == first;
        EXPECT_FALSE(isOld && source->IsOnline()) << allowed;
    }
}

TEST_F(LifeCycle, PlayingSourceKeepsItsReaderForThreeSeconds) {
    const auto path = Write("r.wav");
    const auto one = OpenSource(path), two = OpenSource(path), three = OpenSource(path);
    ReadInts(*one, 0, 10);
    const auto& idle = one->Attachment().state->idle;
    ASSERT_EQ(idle.size(), 1u);
    const ReaderContext* reader = idle[0].get();
    EXPECT_GT(host.bytesRead, 0);
    ReadInts(*two, 0, 10);
    EXPECT_EQ(idle.size(), 2u) << "the first reader is reserved";
    ReadInts(*one, 10, 10);
    EXPECT_EQ(idle.back().get(), reader) << "its owner gets it back";
    EXPECT_EQ(two->ExtendedCall(0x90007, nullptr, nullptr, nullptr), 1);
    ReadInts(*three, 0, 10);
    EXPECT_EQ(idle.size(), 2u) << "a source that goes away leaves its reader to anybody";
    EXPECT_NE(idle.back().get(), reader);

    for (const auto& context : idle)
        if (context.get() == reader) context->reservedUntil -= 3001;  // as if that time had passed
    ReadInts(*two, 0, 10);
    EXPECT_EQ(idle.size(), 2u) << "an expired reservation yields its reader";
    EXPECT_EQ(idle.back().get(), reader);
}

// As the host calls: by slot number.
template <typename Result, typename... Arguments>
Result CallSlot(PCM_source* source, size_t index, Arguments... arguments) {
    using Slot = Result (*)(PCM_source*, Arguments...);
    return (*reinterpret_cast<Slot**>(source))[index](source, arguments...);
}

TEST_F(LifeCycle, SlotsStandInTheirOrder) {
    const auto path = Write("slots.wav");
    PCM_source* source = CreateEmptyWaveSource();
    static_cast<PCM_source_wavefile*>(source)->SetSliceIndex(3);
    EXPECT_TRUE(CallSlot<bool>(source, 6, path.c_str()));
    CallSlot<void>(source, 3, true);
    FakeProject project;
    CallSlot<int32_t>(source, 18, static_cast<ProjectContext*>(&project));
    EXPECT_EQ(project.lines.size(), 2u);
    void* const none = nullptr;
    EXPECT_EQ(CallSlot<intptr_t>(source, 24, 0x9000a, none, none, none), 1);
    auto* clone = CallSlot<PCM_source*>(source, 1);
    for (PCM_source* object : {source, clone}) {
        EXPECT_TRUE(CallSlot<bool>(object, 2));
        EXPECT_STREQ(CallSlot<const char*>(object, 4), "WAVE_SLICE");
        EXPECT_STREQ(CallSlot<const char*>(object, 5), path.c_str());
        EXPECT_EQ(CallSlot<int32_t>(object, 9), 1);
        EXPECT_EQ(CallSlot<double>(object, 10), 1000.0);
        EXPECT_EQ(CallSlot<double>(object, 11), 0.1);
        EXPECT_EQ(CallSlot<double>(object, 12), -1.0);
        EXPECT_EQ(CallSlot<int32_t>(object, 13), 16);
        EXPECT_EQ(CallSlot<double>(object, 14), -1.0);
        CallSlot<void*>(object, 0, unsigned{deleteAndFree});
    }
    EXPECT_EQ(host.liveObjects, 0);
}

}  // namespace
}  // namespace vantor::test
