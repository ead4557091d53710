// Many threads on few files, as a host with a large project has them. Run it under ThreadSanitizer.
#include <gtest/gtest.h>

#include <random>
#include <thread>

#include "source/source_entry.h"
#include "tests/source/source_support.h"

namespace vantor::test {
namespace {

constexpr int threadCount = 20;
constexpr int fileCount = 24;
constexpr int frames = 4000;
#if defined(_WIN32)
constexpr int rounds = 25;
constexpr size_t edits = 10;
#else
constexpr int rounds = 150;
constexpr size_t edits = 40;
#endif

class Soak : public ::testing::Test {
  protected:
    Soak() {
        host.storedPeaksPerSecond = 100;
        for (int file = 0; file < fileCount; ++file) {
            const auto name = "soak" + std::to_string(file) + ".wav";
            paths.push_back(folder.Write(name, MonoFile(Ramp(frames, FirstSample(file)))));
            shared.push_back(OpenSource(paths.back()));
        }
    }

    static int FirstSample(int file) { return file * 1000; }

    // Starts and lengths are so coarse that a read never counts as the continuation of another one.
    static void ExpectSamples(PCM_source& source, int file, uint32_t place, bool mayBeOffline) {
        const auto frame = static_cast<int>(place % 39) * 100;
        const auto samples = ReadInts(source, frame, 50);
        if (mayBeOffline && samples.empty()) return;
        EXPECT_EQ(samples, Numbers(FirstSample(file) + frame, 50));
    }

    static void ReadPeaks(PCM_source& source, uint32_t place) {
        double values[8] = {};
        PeakRequest request{0.1 * (place % 30), place % 2 ? 100.0 : 500.0, 1, 4, values, 0, 0};
        source.ReadPeaks(&request);
        EXPECT_TRUE(request.framesProduced == 4 || request.framesProduced == 0);
    }

    void UseOwnSource(int file, uint32_t place) {
        const auto source = OpenSource(paths[static_cast<size_t>(file)]);
        ASSERT_TRUE(source->IsOnline());
        ExpectSamples(*source, file, place, false);
        const HostPtr<PCM_source> clone(source->Clone());
        ExpectSamples(*clone.Get(), file, place + 7, false);
        ReadPeaks(*source, place);
        FakeProject project;
        source->WriteState(&project);
        project.lines.emplace_back(">");
        PCM_source_wavefile restored;
        EXPECT_EQ(restored.ReadState("", &project), 0);
        ExpectSamples(restored, file, place + 3, false);
    }

    void UseSharedSource(int file, uint32_t place) {
        PCM_source_wavefile& source = *shared[static_cast<size_t>(file)];
        ExpectSamples(source, file, place, true);
        switch (place % 6) {
            case 0:
                return source.SetOnline(false);
            case 1:
                source.ClearPeaks(false);
                source.BeginPeakBuild(0);
                source.RunPeakBuild();
                return source.FinishPeakBuild();
            case 2:
                InfoText(source);
                ValueOf(source, "TITLE");
                EXPECT_GE(source.LengthSeconds(), 0.0);
                return;
            case 3:
                return ReadPeaks(source, place);
            default:
                return source.SetOnline(true);
        }
    }

    // Tags one file after the other while they play; in place, or where handles keep the writer out, as a
    // copy.
    void Edit(const std::string& copyName) {
        for (size_t edit = 0; edit < edits; ++edit) {
            const auto source = OpenSource(paths[edit % fileCount]);
            const Fields fields = {"TITLE=edit " + std::to_string(edit)};
            EXPECT_GT(RequestWrite(*source, folder.Path(copyName), fields, mergeTags), 0);
        }
    }

    void Work(uint32_t seed) {
        std::minstd_rand random(seed);
        for (int round = 0; round < rounds; ++round) {
            const auto file = static_cast<int>(random() % fileCount);
            const auto place = static_cast<uint32_t>(random());
            if (random() % 2) {
                UseOwnSource(file, place);
            } else {
                UseSharedSource(file, place);
            }
            if (round % 8 == 0) OpenFileReduce(static_cast<uint32_t>(random() % 4));
        }
    }

    FakeHost host;
    TempFolder folder;
    std::vector<std::string> paths;
    std::vector<SourcePtr> shared;
};

TEST_F(Soak, EverySampleIsRightAndNothingStaysOpen) {
    std::vector<std::jthread> threads;
    for (uint32_t i = 0; i < threadCount; ++i)
        threads.emplace_back([this, i] { Work(i + 1); });
    for (const char* copyName : {"one.wav", "two.wav"})
        threads.emplace_back([this, copyName] { Edit(copyName); });
    threads.clear();
    shared.clear();
    for (const auto& path : paths)
        for (const int32_t purpose : {purposePlayback, purposePeakBuild, purposePeakRead})
            EXPECT_EQ(IdleReaderCount(path, purpose), 0u);
    EXPECT_EQ(host.liveObjects, 0);
}

}  // namespace
}  // namespace vantor::test
