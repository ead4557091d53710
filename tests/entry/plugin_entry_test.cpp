#include "entry/plugin_entry.h"

#include <gtest/gtest.h>

#include <array>
#include <bit>
#include <map>

#include "entry/source_type_handler.h"
#include "tests/support/byte_writer.h"
#include "tests/support/fake_host.h"
#include "tests/support/temp_file.h"

namespace vantor::test {
namespace {

// In the order of their slots.
const std::string boundFirst =
    "PCM_Source_CreateFromType Resampler_Create format_timestr PeakGet_Create PeakBuild_CreateEx resolve_fn "
    "relative_fn GetPeakFileName update_disk_counters GetPreferredDiskReadMode GetPreferredDiskReadModePeak "
    "HiresPeaksFromSource OpenImageModal gOnMallocFail ";
const std::string boundLast =
    "vac_createGroupsFromTab __localizeFunc __localizeMenu __localizeInitializeDialog "
    "__localizePrepareDialog ";

// What the module asked of a host that offers a number in place of each service: how many came before it.
struct {
    std::string lookups;
    uintptr_t count = 0;
    std::map<std::string, void*> registered;
    int32_t answer = 1;  // to a registration
    std::string missing;
} asked;

void* Lookup(const char* name) {
    asked.lookups += std::string(name) + " ";
    ++asked.count;
    return name == asked.missing ? nullptr : reinterpret_cast<void*>(asked.count);
}

int32_t Register(const char* key, void* service) {
    asked.registered[key] = service;
    return asked.answer;
}

class PluginEntry : public ::testing::Test {
  protected:
    PluginEntry() { asked = {}; }
    ~PluginEntry() override { Services() = {}; }

    HostInfo info{hostInterfaceVersion, nullptr, Register, Lookup};
};

TEST_F(PluginEntry, BindsInOrderAndRegisters) {
    int instance = 0;
    EXPECT_EQ(VantorPluginEntry(&instance, &info), 1);
    EXPECT_EQ(asked.lookups, boundFirst + boundLast);
    const auto slots = std::bit_cast<std::array<uintptr_t, 20>>(Services());
    for (size_t i = 0; i < asked.count; ++i)
        EXPECT_EQ(slots[i], i + 1);
    EXPECT_EQ(Services().moduleInstance, &instance);
    EXPECT_EQ(asked.registered.size(), 3u);
    EXPECT_EQ(asked.registered["pcmsrc"], &sourceTypeHandler);
}

TEST_F(PluginEntry, RefusesHostsItCannotWorkWith) {
    const auto refusesAfter = [&](HostInfo host, const std::string& lookups, size_t registrations) {
        EXPECT_EQ(VantorPluginEntry(nullptr, &host), 0);
        EXPECT_EQ(asked.lookups, lookups);
        EXPECT_EQ(asked.registered.size(), registrations);
        asked = {};
    };
    EXPECT_EQ(VantorPluginEntry(nullptr, nullptr), 0);
    for (const int32_t version : {525, 527, 0})
        refusesAfter({version, nullptr, Register, Lookup}, "", 0);
    refusesAfter({hostInterfaceVersion, nullptr, Register, nullptr}, "", 0);
    refusesAfter({hostInterfaceVersion, nullptr, nullptr, Lookup}, boundFirst, 0);
    asked.answer = 0;
    refusesAfter(info, boundFirst, 1);
    for (const auto* name :
         {"PeakGet_Create", "PeakBuild_CreateEx", "Resampler_Create", "format_timestr", "resolve_fn"}) {
        asked.missing = name;
        refusesAfter(info, boundFirst, 0);
    }
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
    // The type of what is online, "offline" or "none".
    static std::string Offer(const std::string& path, int32_t priority) {
        const HostPtr<PCM_source> source(sourceTypeHandler.CreateByFile(path.c_str(), priority));
        if (!source) return "none";
        return source->IsOnline() ? source->TypeName() : "offline";
    }

    FakeHost host;
    TempFolder folder;
    const Bytes wave = RiffFile(ByteWriter().Chunk("fmt ", FmtBody(1, 1, 8000, 16)).Chunk("data", Bytes(8)));
};

TEST_F(SourceHandler, TypesByExactNameAndPriority) {
    for (const auto* name : {"WAVE", "WAVE_SLICE"}) {
        const HostPtr<PCM_source> source(sourceTypeHandler.CreateByType(name, 5));
        ASSERT_TRUE(source);
        EXPECT_STREQ(source->TypeName(), "WAVE") << "a slice only once its index is known";
        EXPECT_EQ(sourceTypeHandler.CreateByType(name, 4), nullptr);
    }
    for (const auto* name : {"wave", "WAVE ", "", "MP3"})
        EXPECT_EQ(sourceTypeHandler.CreateByType(name, 7), nullptr) << name;
}

TEST_F(SourceHandler, FilesByExtensionAndPriority) {
    const auto offers = [&](const char* name, const Bytes& bytes) {
        const auto path = folder.Write(name, bytes);
        std::string answers;
        for (int32_t priority = 4; priority <= 8; ++priority)
            answers += Offer(path, priority) + " ";
        return answers;
    };
    for (const auto* name :
         {"ab.wav", "x.WAV", "x.w64", "x.bwf", "x.aif", "x.caf", "x.aiff", "x.caff", "take.L", "take.r"})
        EXPECT_EQ(offers(name, wave), "none WAVE WAVE WAVE WAVE ") << name;
    for (const auto* name : {"x.txt", "takeL", "x.wave"})
        EXPECT_EQ(offers(name, wave), "none none none WAVE none ") << name;
    EXPECT_EQ(offers("x.Mid", wave), "none none none none none ");
    EXPECT_EQ(offers("broken.wav", Bytes(40, 'x')), "none none none offline offline ");
    EXPECT_EQ(Offer("a.wav", 7), "none") << "too short a name";
    EXPECT_EQ(Offer(folder.Path("missing.txt"), 7), "offline");
    EXPECT_EQ(host.liveObjects, 0);
}

TEST_F(SourceHandler, MpegInWaveGoesToTheHostsSource) {
    const auto path = folder.Write(
        "mpeg.wav",
        RiffFile(ByteWriter().Chunk("fmt ", FmtBody(0x50, 1, 8000, 0, 1)).Chunk("data", Bytes(8))));
    EXPECT_EQ(Offer(path, 7), "offline") << "no such source";
    Services().createFromType = [](const char* type) -> PCM_source* {
        return std::string(type) == "MP3" ? new MpegSource(MpegSource::nextCanOpen) : nullptr;
    };
    EXPECT_EQ(Offer(path, 7), "MP3");
    EXPECT_EQ(Offer(folder.Write("pcm.wav", wave), 7), "WAVE");
    EXPECT_EQ(Offer(path, 6), "none");
    MpegSource::nextCanOpen = false;
    EXPECT_EQ(Offer(path, 7), "offline");
    EXPECT_EQ(MpegSource::alive, 0);
}

TEST_F(SourceHandler, ExtensionsAndTheirTranslatedDescriptions) {
    const char* description = nullptr;
    EXPECT_STREQ(sourceTypeHandler.ExtensionList(0, &description), "WAV;W64;BWF");
    EXPECT_STREQ(description, "WAV files");
    EXPECT_STREQ(sourceTypeHandler.ExtensionList(1, nullptr), "AIF;AIFF");
    host.localizePrefix = "de/";
    EXPECT_STREQ(sourceTypeHandler.ExtensionList(2, &description), "CAF;CAFF");
    EXPECT_STREQ(description, "de/wave:CAF files");
    for (const int32_t index : {-1, 3}) {
        EXPECT_EQ(sourceTypeHandler.ExtensionList(index, &description), nullptr);
        EXPECT_EQ(description, nullptr);
    }
}

}  // namespace
}  // namespace vantor::test
