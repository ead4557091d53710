#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>
#include <utility>

#include "host/host_services.h"
#include "tests/decode/decode_support.h"

namespace vantor::test {
namespace {

// Delivers its input as it came, and writes down how it was called.
class ScriptedResampler : public Resampler {
  public:
    void* DeletingDestructor(unsigned flags) override {
        if (flags & deleteAndFree) ++destroyed;
        return this;
    }
    void Configure(int32_t what, intptr_t mode) override {
        Note("configure " + std::to_string(what) + " " + std::to_string(mode));
    }
    void SetRates(double input, double output) override {
        Note("rates " + std::to_string(std::lround(input)) + " " + std::to_string(std::lround(output)));
    }
    double LatencySeconds() override {
        Note("latency");
        return latencySeconds;
    }
    void Reset() override { Note("reset"); }
    int32_t RequestInput(int32_t outputFrames, int32_t channels, double** input) override {
        Note("request " + std::to_string(outputFrames) + " x " + std::to_string(channels));
        room.assign(static_cast<size_t>(std::max(0, inputFrames) * channels), 99.0);
        *input = noRoom ? nullptr : room.data();
        return inputFrames;
    }
    int32_t Produce(double* output, int32_t frames, int32_t outputFrames, int32_t channels) override {
        Note("produce " + std::to_string(frames) + " to " + std::to_string(outputFrames));
        given.assign(room.begin(), room.begin() + int64_t{frames} * channels);
        const int64_t count = int64_t{std::min(frames, outputFrames)} * channels;
        std::copy_n(room.begin(), count, output);
        return produced != 0 ? produced : std::min(frames, outputFrames);
    }
    void Note(const std::string& call) { calls += call + "; "; }
    std::string TakeCalls() { return std::exchange(calls, {}); }

    std::string calls;
    std::vector<double> room;
    std::vector<double> given;  // to the last Produce
    double latencySeconds = 0;
    int32_t inputFrames = 20;
    int32_t produced = 0;  // 0: as many frames as there are
    bool noRoom = false;
    int destroyed = 0;
};

// The host's services with one resampler, for the time of a test.
class Resampling : public testing::Test {
  protected:
    Resampling() {
        current = &resampler;
        created = 0;
        Services().createResampler = []() -> Resampler* {
            ++created;
            return current;
        };
    }
    ~Resampling() override { Services().createResampler = nullptr; }

    // 16-bit mono whose value is its frame, at 48000 Hz.
    static Bytes Ramp(int32_t frames) {
        ByteWriter bytes;
        for (int32_t frame = 0; frame < frames; ++frame)
            bytes.Le16(static_cast<uint16_t>(frame));
        return bytes;
    }
    static int32_t FrameOf(double sample) { return static_cast<int32_t>(sample * 32768); }

    ScriptedResampler resampler;
    PlayedFile file{{encodingInteger, 16, 1}, Ramp(10000), 10000};
    static inline ScriptedResampler* current;
    static inline int created;
};

const std::string readyAt24k = "configure 4096 0; rates 48000 24000; latency; ";
const std::string produce10 = "request 10 x 1; produce 20 to 10; ";

TEST_F(Resampling, EqualRatesNeedNone) {
    EXPECT_EQ(file.Read(0.1, 10, 1, 48000.000009).size(), 10u);
    EXPECT_EQ(created, 0);
    EXPECT_EQ(file.Read(0.1, 10, 1, 48000.00002).size(), 10u);
    EXPECT_EQ(created, 1);
}

TEST_F(Resampling, TheOrderOfCalls) {
    file.scope.resampleMode = 3;
    EXPECT_EQ(file.Read(0.1, 10, 2, 24000).size(), 20u);
    EXPECT_EQ(resampler.TakeCalls(),
              "configure 4096 3; rates 48000 24000; latency; reset; request 10 x 2; produce 20 to 10; ");
    EXPECT_EQ(FrameOf(resampler.given[2]), 4801);
    EXPECT_EQ(FrameOf(resampler.given[3]), 4801);
    file.context.reset();
    EXPECT_EQ(resampler.destroyed, 1);
}

// The latency counts for a continuation, not for a jump.
TEST_F(Resampling, AStreamReadsOnByWhatWasConsumed) {
    for (const int32_t latencyFrames : {0, 100}) {
        file.absoluteSeconds = notContinuation;
        resampler.latencySeconds = latencyFrames / 48000.0;
        resampler.inputFrames = 20 + latencyFrames;
        (void)file.Read(0.1, 10, 1, 24000);
        EXPECT_EQ(FrameOf(resampler.given[0]), 4800);
        (void)resampler.TakeCalls();
        file.absoluteSeconds = 0;
        (void)file.Read(0.1 + 10 / 24000.0, 10, 1, 24000);
        const auto produced = "produce " + std::to_string(resampler.inputFrames) + " to 10; ";
        EXPECT_EQ(resampler.TakeCalls(), readyAt24k + "request 10 x 1; " + produced);
        EXPECT_EQ(FrameOf(resampler.given[0]), 4820 + latencyFrames);
    }
}

// A jump through the resampler rounds down, any other to the nearest frame.
TEST_F(Resampling, AJumpResetsAndRoundsDown) {
    (void)file.Read(1000.7 / 48000, 10, 1, 24000);
    EXPECT_EQ(FrameOf(resampler.given[0]), 1000);
    EXPECT_EQ(FrameOf(file.Read(5000.7 / 48000, 10, 1)[0]), 5001);
}

// Back at the file's rate the stream keeps passing through until a jump sets the resampler aside.
TEST_F(Resampling, EqualRatesDrainUntilAJump) {
    (void)file.Read(0.1, 10, 1, 24000);
    (void)resampler.TakeCalls();
    (void)file.ReadAt(4820, 20, 1);
    const std::string ready = "configure 4096 0; rates 48000 48000; latency; ";
    EXPECT_EQ(resampler.TakeCalls(), ready + "request 20 x 1; produce 20 to 20; ");
    EXPECT_EQ(file.context->resamplerState, ResamplerState::inUse);

    EXPECT_EQ(FrameOf(file.ReadAt(7000, 20, 1)[0]), 7000);
    EXPECT_EQ(resampler.TakeCalls(), ready + "reset; ");
    EXPECT_EQ(file.context->resamplerState, ResamplerState::setAside);
    EXPECT_EQ(FrameOf(file.ReadAt(7020, 20, 1)[0]), 7020);
    EXPECT_EQ(resampler.TakeCalls(), "");

    (void)file.Read(0.1, 10, 1, 24000);
    EXPECT_EQ(resampler.TakeCalls(), readyAt24k + "reset; " + produce10);
    EXPECT_EQ(created, 1);
}

TEST_F(Resampling, AtTheEndTheRestIsProduced) {
    (void)file.ReadAt(9990, 10, 1);
    EXPECT_EQ(file.Read(9990 / 48000.0, 30, 1, 24000).size(), 10u);
    EXPECT_EQ(file.Read(1.0, 30, 1, 24000).size(), 0u);
    EXPECT_TRUE(resampler.calls.ends_with("; produce 0 to 30; "));
}

TEST_F(Resampling, AMistakenResamplerDoesNoHarm) {
    constexpr double nan = std::numeric_limits<double>::quiet_NaN();
    const struct {
        int32_t inputFrames, produced;
        bool noRoom;
        double latencySeconds;
        size_t delivered;
    } mistakes[] = {{-1, 0, false, 0, 0},   {0, 0, false, 0, 0},      {-0x7FFFFFFF, 0, false, 0, 0},
                    {20, 0, true, 0, 0},    {20, 1000, false, 0, 10}, {20, -3, false, 0, 0},
                    {20, 0, false, nan, 10}};
    for (const auto& mistake : mistakes) {
        resampler.inputFrames = mistake.inputFrames;
        resampler.produced = mistake.produced;
        resampler.noRoom = mistake.noRoom;
        resampler.latencySeconds = mistake.latencySeconds;
        EXPECT_EQ(file.Read(0.1, 10, 1, 24000).size(), mistake.delivered) << &mistake - mistakes;
    }
}

TEST_F(Resampling, WithoutTheServiceOtherRatesAreNotServed) {
    Services().createResampler = [] { return static_cast<Resampler*>(nullptr); };
    EXPECT_TRUE(file.Read(0, 10, 1, 24000).empty());
    Services().createResampler = nullptr;
    EXPECT_TRUE(file.Read(0, 10, 1, 24000).empty());
    EXPECT_EQ(file.Read(0, 10, 1).size(), 10u);
}

// A jump in an ADPCM stream rounds to the nearest frame, with or without the resampler.
TEST_F(Resampling, AdpcmJumps) {
    PlayedFile adpcm({encodingImaAdpcm, 4, 1, 64}, Noise(6400), 10000);
    const Samples direct = adpcm.ReadAt(2001, 1, 1);
    (void)adpcm.ReadAt(100, 1, 1);
    (void)adpcm.Read(2000.7 / 48000, 10, 1, 24000);
    EXPECT_EQ(resampler.given[0], direct[0]);
    EXPECT_EQ(adpcm.ReadAt(3000, 10, 1).size(), 10u);
    EXPECT_EQ(adpcm.context->resamplerState, ResamplerState::setAside);
}

}  // namespace
}  // namespace vantor::test
