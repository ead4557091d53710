#include "entry/plugin_entry.h"

#include <gtest/gtest.h>

#include "tests/support/byte_writer.h"
#include "tests/support/fake_host.h"
#include "tests/support/temp_file.h"

namespace vantor::test {
namespace {

const std::string lookedUpFirst =
    "PCM_Source_CreateFromType Resampler_Create format_timestr PeakGet_Create PeakBuild_CreateEx resolve_fn "
    "relative_fn GetPeakFileName update_disk_counters GetPreferredDiskReadMode GetPreferredDiskReadModePeak "
    "HiresPeaksFromSource OpenImageModal gOnMallocFail ";
const std::string lookedUpLast =
    "vac_createGroupsFromTab __localizeFunc __localizeMenu __localizeInitializeDialog "
    "__localizePrepareDialog ";

TEST(PluginEntry, BindsInOrderAndRegisters) {
    FakeHost host;
    Services() = {};
    HostInfo info = host.Info();
    int instance = 0;
    EXPECT_EQ(VantorPluginEntry(&instance, &info), 1);
    EXPECT_EQ(host.lookups, lookedUpFirst + lookedUpLast);
    EXPECT_EQ(Services().moduleInstance, &instance);
    EXPECT_EQ(Services().hiresPeaks, host.offered.hiresPeaks);
    EXPECT_EQ(Services().localize, host.offered.localize);
    EXPECT_EQ(Services().preferredReadMode, nullptr);
    EXPECT_EQ(host.registered.size(), 3u);
}

TEST(PluginEntry, RefusesHostsItCannotWorkWith) {
    FakeHost host;
    const auto refused = [&](auto change, const std::string& lookups) {
        host.lookups.clear();
        host.registered.clear();
        HostInfo info = host.Info();
        change(info);
        EXPECT_EQ(VantorPluginEntry(nullptr, &info), 0);
        EXPECT_EQ(host.lookups, lookups);
    };
    EXPECT_EQ(VantorPluginEntry(nullptr, nullptr), 0);
    for (const int32_t version : {525, 527, 0})
        refused([&](HostInfo& info) { info.callerVersion = version; }, {});
    refused([](HostInfo& info) { info.LookupService = nullptr; }, {});
    refused([](HostInfo& info) { info.RegisterService = nullptr; }, lookedUpFirst);
    refused([&](HostInfo&) { host.registerResult = 0; }, lookedUpFirst);
    EXPECT_EQ(host.registered.size(), 1u) << "nothing else after a refused handler";
    host.registerResult = 1;
    const HostServices whole = host.offered;
    const auto refusedWithout = [&](auto HostServices::*service) {
        host.offered.*service = nullptr;
        refused([](HostInfo&) {}, lookedUpFirst);
        EXPECT_TRUE(host.registered.empty());
        host.offered = whole;
    };
    refusedWithout(&HostServices::createPeakReader);
    refusedWithout(&HostServices::createPeakBuilder);
    refusedWithout(&HostServices::createResampler);
    refusedWithout(&HostServices::formatTime);
    refusedWithout(&HostServices::resolveFileName);
}

// The host's source for MPEG audio.
class MpegSource final : public PCM_source {
  public:
    explicit MpegSource(bool online) : canOpen(online) { ++alive; }
    virtual ~MpegSource() { --alive; }
    void* DeletingDestructor(unsigned flags) override {
        if (flags & deleteAndFree) delete this;
        return this;
    }
    PCM_source* Clone() override { return nullptr; }
    bool IsOnline() override { return online && !fileName.empty(); }
    void SetOnline(bool wanted) override { online = wanted && canOpen; }
    const char* TypeName() override { return "MP3"; }
    const char* FileName() override { return fileName.c_str(); }
    bool ChangeFile(const char* name) override {
        fileName = name;
        return true;
    }
    PCM_source* SubSource() override { return nullptr; }
    void SetSubSource(PCM_source*) override {}
    int32_t ChannelCount() override { return 0; }
    double SampleRate() override { return 0; }
    double LengthSeconds() override { return 0; }
    double BeatLength() override { return 0; }
    int32_t BitDepth() override { return 0; }
    double PlacementPosition() override { return 0; }
    int32_t ShowProperties(void*) override { return 0; }
    void ReadSamples(TransferBlock*) override {}
    void ReadPeaks(PeakRequest*) override {}
    int32_t WriteState(ProjectContext*) override { return 0; }
    int32_t ReadState(const char*, ProjectContext*) override { return 0; }
    void ClearPeaks(bool) override {}
    int32_t BeginPeakBuild(intptr_t) override { return 0; }
    int32_t RunPeakBuild() override { return 0; }
    void FinishPeakBuild() override {}
    intptr_t ExtendedCall(int32_t, void*, void*, void*) override { return 0; }

    bool canOpen;
    bool online = false;
    std::string fileName;
    static inline int alive = 0;
    static inline bool nextCanOpen = true;
};

class SourceHandler : public ::testing::Test {
  protected:
    SourceHandler() {
        HostInfo info = host.Info();
        EXPECT_EQ(VantorPluginEntry(nullptr, &info), 1);
        handler = static_cast<const SourceTypeHandler*>(host.registered["pcmsrc"]);
    }
    // "online", "offline" or "none".
    std::string Offer(const std::string& path, int32_t priority) {
        const HostPtr<PCM_source> source(handler->CreateByFile(path.c_str(), priority));
        if (!source) return "none";
        return source->IsOnline() ? source->TypeName() : "offline";
    }

    FakeHost host;
    TempFolder folder;
    const SourceTypeHandler* handler = nullptr;
    const Bytes wave = RiffFile(ByteWriter().Chunk("fmt ", FmtBody(1, 1, 8000, 16)).Chunk("data", Bytes(8)));
};

TEST_F(SourceHandler, TypesByExactNameAndPriority) {
    for (const auto* name : {"WAVE", "WAVE_SLICE"}) {
        const HostPtr<PCM_source> source(handler->CreateByType(name, 5));
        ASSERT_TRUE(source);
        EXPECT_STREQ(source->TypeName(), "WAVE") << "a slice only once its index is known";
        EXPECT_EQ(handler->CreateByType(name, 4), nullptr);
    }
    for (const auto* name : {"wave", "WAVE ", "", "MP3"})
        EXPECT_EQ(handler->CreateByType(name, 7), nullptr) << name;
}

TEST_F(SourceHandler, FilesByExtensionAndPriority) {
    const auto offers = [&](const char* name) {
        const auto path = folder.Write(name, wave);
        std::string taken;
        for (int32_t priority = 4; priority <= 8; ++priority)
            if (Offer(path, priority) == "WAVE") taken += std::to_string(priority);
        return taken;
    };
    for (const auto* name :
         {"ab.wav", "x.WAV", "x.w64", "x.bwf", "x.aif", "x.caf", "x.aiff", "x.caff", "take.L", "take.r"})
        EXPECT_EQ(offers(name), "5678") << name;
    for (const auto* name : {"x.txt", "takeL", "x.wave"})
        EXPECT_EQ(offers(name), "7") << name;
    EXPECT_EQ(offers("x.Mid"), "");
    EXPECT_EQ(handler->CreateByFile("a.wav", 7), nullptr) << "too short a name";
}

TEST_F(SourceHandler, UnreadableFilesAreKeptOnlyAtTheLastResort) {
    const auto path = folder.Write("broken.wav", Bytes(40, 'x'));
    EXPECT_EQ(Offer(path, 6), "none");
    EXPECT_EQ(Offer(path, 7), "offline");
    EXPECT_EQ(Offer(path, 8), "offline");
    EXPECT_EQ(Offer(folder.Path("missing.txt"), 7), "offline");
    EXPECT_EQ(host.liveObjects, 0);
}

TEST_F(SourceHandler, MpegInWaveGoesToTheHostsSource) {
    const auto path = folder.Write(
        "mpeg.wav",
        RiffFile(ByteWriter().Chunk("fmt ", FmtBody(0x50, 1, 8000, 0, 1)).Chunk("data", Bytes(8))));
    Services().createFromType = [](const char* type) -> PCM_source* {
        return std::string(type) == "MP3" ? new MpegSource(MpegSource::nextCanOpen) : nullptr;
    };
    EXPECT_EQ(Offer(path, 7), "MP3");
    EXPECT_EQ(Offer(path, 6), "none");
    EXPECT_EQ(Offer(folder.Write("plain.wav", wave), 7), "WAVE");
    MpegSource::nextCanOpen = false;
    EXPECT_EQ(Offer(path, 7), "offline");
    EXPECT_EQ(MpegSource::alive, 0);
    Services().createFromType = nullptr;
    EXPECT_EQ(Offer(path, 7), "offline");
}

TEST_F(SourceHandler, ExtensionsAndTheirTranslatedDescriptions) {
    const char* description = nullptr;
    EXPECT_STREQ(handler->ExtensionList(0, &description), "WAV;W64;BWF");
    EXPECT_STREQ(description, "WAV files");
    EXPECT_STREQ(handler->ExtensionList(1, nullptr), "AIF;AIFF");
    host.localizePrefix = "de/";
    EXPECT_STREQ(handler->ExtensionList(2, &description), "CAF;CAFF");
    EXPECT_STREQ(description, "de/wave:CAF files");
    for (const int32_t index : {-1, 3}) {
        EXPECT_EQ(handler->ExtensionList(index, &description), nullptr);
        EXPECT_EQ(description, nullptr);
    }
}

TEST_F(SourceHandler, RegisteredFunctionsWork) {
    const auto create =
        reinterpret_cast<PCM_source* (*)(const char*)>(host.registered["API_wave__createMetadataSource"]);
    const HostPtr<PCM_source> source(create(folder.Write("meta.wav", wave).c_str()));
    EXPECT_TRUE(source);
    const auto reduce = reinterpret_cast<int32_t (*)(uint32_t)>(host.registered["open_file_reduce"]);
    reduce(2);
    const HostPtr<PCM_source> playing(handler->CreateByFile(folder.Write("reduce.wav", wave).c_str(), 5));
    EXPECT_EQ(reduce(2), 1);
    EXPECT_EQ(reduce(2), 0);
}

}  // namespace
}  // namespace vantor::test
