#include <gtest/gtest.h>

#include <thread>

#include "tests/source/source_support.h"

namespace vantor::test {
namespace {

class Peaks : public ::testing::Test {
  protected:
    // Columns of one channel; only maxima are returned, as whole sample values.
    std::vector<int> Columns(PCM_source_wavefile& source, double start, double perSecond, int32_t columns) {
        std::vector<double> values(static_cast<size_t>(columns) * 2);
        PeakRequest request{start, perSecond, 1, columns, values.data(), -1, 0};
        source.ReadPeaks(&request);
        EXPECT_EQ(request.startSeconds, start);
        std::vector<int> maxima;
        for (int32_t i = 0; i < request.framesProduced; ++i)
            maxima.push_back(static_cast<int>(values[static_cast<size_t>(i)] * 32768));
        return maxima;
    }

    FakeHost host;
    TempFolder folder;
};

TEST_F(Peaks, FirstPlaybackSourceMakesTheReaderForAll) {
    const auto path = folder.Write("first.wav", MonoFile(Ramp(8)));
    const auto peakWork = OpenSource(path, purposePeakBuild);
    EXPECT_EQ(host.peakReadersMade, 0);
    const auto first = OpenSource(path);
    const auto second = OpenSource(path);
    EXPECT_EQ(host.peakReadersMade, 1);
    EXPECT_EQ(host.lastPeakFile, path);
    EXPECT_EQ(first->BeginPeakBuild(5), 0) << "there are peaks";
}

TEST_F(Peaks, BuildRunsOnceForAllSourcesOfTheFile) {
    host.hasStoredPeaks = false;
    const auto path = folder.Write("build.wav", MonoFile(Ramp(100)));
    const auto source = OpenSource(path);
    const auto other = OpenSource(path);
    EXPECT_EQ(source->RunPeakBuild(), 0) << "nothing was begun";
    EXPECT_EQ(source->BeginPeakBuild(9), 1);
    EXPECT_EQ(host.lastPeakExtra, 9);
    EXPECT_EQ(other->BeginPeakBuild(9), 1);
    EXPECT_EQ(host.peakBuildersMade, 1);
    EXPECT_EQ(host.lastBuildIsFloat, 0);
    EXPECT_EQ(source->RunPeakBuild(), 1);
    EXPECT_EQ(IdleReaderCount(path, purposePeakBuild), 1u);
    host.hasStoredPeaks = true;
    OpenSource(path);
    EXPECT_EQ(host.peakReadersMade, 0) << "while they are built";
    EXPECT_EQ(other->RunPeakBuild(), 0);
    source->FinishPeakBuild();
    EXPECT_EQ(IdleReaderCount(path, purposePeakBuild), 0u) << "the builder took its source along";
    EXPECT_EQ(host.liveObjects, 1) << "the reader of the new peaks";
    EXPECT_EQ(source->BeginPeakBuild(0), 0);
}

TEST_F(Peaks, NothingIsBuiltWithoutAFormatOrABuilder) {
    host.hasStoredPeaks = false;
    host.builderRefused = true;
    const auto whole = folder.Write("whole.wav", MonoFile(Ramp(8)));
    for (const auto& path : {whole, folder.Write("broken.wav", Bytes(40))}) {
        EXPECT_EQ(OpenSource(path)->BeginPeakBuild(0), 0);
        EXPECT_EQ(IdleReaderCount(path, purposePeakBuild), 0u);
    }
    const auto source = OpenSource(whole);
    auto& format = *source->Attachment().format;
    for (const auto& [rate, channels] : {std::pair{0.4, 1}, {1000.0, 0}}) {
        format.sampleRate = rate;
        format.channels = channels;
        for (const bool hasStored : {true, false}) {
            host.hasStoredPeaks = hasStored;
            EXPECT_EQ(source->BeginPeakBuild(0), 0);
        }
        EXPECT_EQ(host.peakReadersMade + host.peakBuildersMade, 0) << rate << " Hz";
    }
    format.sampleRate = format.channels = 1;
    Services().createPeakBuilder = nullptr;
    EXPECT_EQ(source->BeginPeakBuild(0), 0);
    host.hasStoredPeaks = true;
    EXPECT_EQ(source->BeginPeakBuild(0), 0);
    EXPECT_EQ(host.peakReadersMade, 1);
    EXPECT_EQ(host.liveObjects, 1) << "the reader of what was found";
    source->ClearPeaks(false);
    Services().createPeakReader = nullptr;
    EXPECT_EQ(source->BeginPeakBuild(0), 0);
}

TEST_F(Peaks, LastSourceMayGoWhileAnObjectIsMade) {
    const auto path = folder.Write("gone.wav", MonoFile(Ramp(8)));
    const auto source = OpenSource(path);
    const auto begin = [&] { EXPECT_EQ(source->BeginPeakBuild(0), 0); };
    const struct {
        std::string_view service;
        std::function<void()> work;
    } cases[] = {
        {"PeakGet_Create", begin},
        {"PeakGet_Create", [&] { source->FinishPeakBuild(); }},
        {"PeakBuild_CreateEx", begin},
        {"GetPreferredDiskReadModePeak", [&] { Columns(*source, 0, 1000, 1); }},
    };
    for (const auto& [service, work] : cases) {
        host.hasStoredPeaks = false;
        Reopen(*source);
        host.duringPeakService = [&](std::string_view called) {
            if (called != service) return;
            host.hasStoredPeaks = true;
            std::thread([&] { source->SetOnline(false); }).join();
        };
        work();
        host.duringPeakService = nullptr;
        EXPECT_FALSE(source->IsOnline()) << service;
        EXPECT_EQ(host.liveObjects, 0) << service;
        EXPECT_EQ(IdleReaderCount(path, purposePeakBuild), 0u) << service;
        EXPECT_EQ(IdleReaderCount(path, purposePeakRead), 0u) << service;
    }
}

TEST_F(Peaks, HostMayOpenTheFileWhileItMakesAnObject) {
    host.hasStoredPeaks = false;
    const auto source = OpenSource(folder.Write("again.wav", MonoFile(Ramp(8))));
    std::vector<HostPtr<PCM_source>> clones;
    for (const std::string_view service : {"PeakGet_Create", "PeakBuild_CreateEx"}) {
        const size_t before = clones.size();
        host.duringPeakService = [&](std::string_view called) {
            if (called == service && clones.size() == before) {
                clones.emplace_back();
                clones.back() = HostPtr<PCM_source>(source->Clone());
            }
        };
        EXPECT_EQ(source->BeginPeakBuild(0), 1);
        ASSERT_EQ(clones.size(), before + 1);
        EXPECT_TRUE(clones.back()->IsOnline());
        source->ClearPeaks(false);
    }
}

TEST_F(Peaks, AReaderThatAsksItsOwnSourceIsServedFromSamplesOrNot) {
    const auto source = OpenSource(folder.Write("own.wav", MonoFile(Ramp(1000))));
    int32_t served = -1;
    host.duringPeakRead = [&](PeakRequest& request) {
        PeakRequest again = request;
        source->ReadPeaks(&again);
        served = again.framesProduced;
    };
    EXPECT_EQ(Columns(*source, 0, 100, 2).size(), 2u);
    EXPECT_EQ(served, 2);
    Services().hiresPeaks = nullptr;
    EXPECT_EQ(Columns(*source, 0, 100, 2).size(), 2u);
    EXPECT_EQ(served, 0);
}

TEST_F(Peaks, FinerThanStoredComesFromSamples) {
    host.storedPeaksPerSecond = 100;
    const auto source = OpenSource(folder.Write("fine.wav", MonoFile(Ramp(1000))));
    EXPECT_EQ(Columns(*source, 0.5, 100, 3), (std::vector<int>{32768, 32768, 32768}));
    EXPECT_EQ(host.hiresCalls, 0);
    EXPECT_EQ(Columns(*source, 0.5, 200, 3), (std::vector<int>{500, 505, 510}));
    EXPECT_EQ(Columns(*source, 0.6, 200, 2), (std::vector<int>{600, 605}));
    EXPECT_EQ(host.hiresCalls, 2);
    Services().hiresPeaks = nullptr;
    EXPECT_EQ(Columns(*source, 0.5, 200, 1), (std::vector<int>{32768})) << "better coarse than none";
    host.hasStoredPeaks = false;
    const auto bare = OpenSource(folder.Write("bare.wav", MonoFile(Ramp(10))));
    EXPECT_TRUE(Columns(*bare, 0, 10, 1).empty());
}

TEST_F(Peaks, SliceShowsItsOwnSpan) {
    host.storedPeaksPerSecond = 1;
    const auto source = OpenSource(folder.Write(
        "slice.wav", MonoFile(Ramp(1000), ByteWriter().Chunk("strc", SlicesBody({0, 300, 500})))));
    source->SetSliceIndex(1);
    EXPECT_EQ(source->LengthSeconds(), 0.2);
    EXPECT_EQ(Columns(*source, 0.1, 100, 20),
              (std::vector<int>{400, 410, 420, 430, 440, 450, 460, 470, 480, 490}));
    EXPECT_TRUE(Columns(*source, 0.3, 100, 2).empty());
    source->SetSliceIndex(2);
    EXPECT_EQ(Columns(*source, 0.48, 100, 9), (std::vector<int>{980, 990}));
}

TEST_F(Peaks, ClearDeletesUntilAFileIsNamedTwiceAndNeverMoreThanEight) {
    const auto source = OpenSource(folder.Write("clear.wav", MonoFile(Ramp(8))));
    for (int i = 0; i < 12; ++i)
        host.peakFiles.push_back(folder.Write("peaks \xC3\xA4" + std::to_string(i), {1}));
    source->ClearPeaks(false);
    PCM_source_wavefile().ClearPeaks(true);
    EXPECT_EQ(host.liveObjects, 0);
    EXPECT_EQ(host.peakFilesAsked, 0u);
    source->ClearPeaks(true);
    EXPECT_THROW(ReadWholeFile(host.peakFiles[7]), std::runtime_error);
    EXPECT_EQ(ReadWholeFile(host.peakFiles[8]).size(), 1u);
    host.peakFiles = {host.peakFiles[8], host.peakFiles[8], host.peakFiles[9]};
    host.peakFilesAsked = 0;
    source->ClearPeaks(true);
    EXPECT_EQ(host.peakFilesAsked, 2u);
    EXPECT_THROW(ReadWholeFile(host.peakFiles[0]), std::runtime_error);
    Services().peakFileName = nullptr;
    source->ClearPeaks(true);
}

}  // namespace
}  // namespace vantor::test
