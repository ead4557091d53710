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
    void* DeletingDestructor(unsigned) override {
        calls += "destroy; ";
        return this;
    }
    void Configure(int32_t what, intptr_t mode) override {
        calls += "configure " + std::to_string(what) + " " + std::to_string(mode) + "; ";
    }
    void SetRates(double input, double output) override {
        calls +=
            "rates " + std::to_string(std::lround(input)) + " " + std::to_string(std::lround(output)) + "; ";
    }
    double LatencySeconds() override { return latencySeconds; }
    void Reset() override { calls += "reset; "; }
    int32_t RequestInput(int32_t outputFrames, int32_t channels, double** input) override {
        calls += "request " + std::to_string(outputFrames) + " x " + std::to_string(channels) + "; ";
        room.assign(static_cast<size_t>(std::max(0, inputFrames) * channels), 99.0);
        *input = noRoom ? nullptr : room.data();
        return inputFrames;
    }
    int32_t Produce(double* output, int32_t frames, int32_t outputFrames, int32_t channels) override {
        calls += "produce " + std::to_string(frames) + " to " + std::to_string(outputFrames) + "; ";
        const int32_t count = std::min(frames, outputFrames);
        std::copy_n(room.begin(), int64_t{count} * channels, output);
        return produced != 0 ? produced : count;
    }

    std::string calls;
    std::vector<double> room;
    double latencySeconds = 0;
    int32_t inputFrames = 20;
    int32_t produced = 0;  // 0: as many frames as there are
    bool noRoom = false;
};

// The host's services with one resampler, for the time of a test.
class Resampling : public testing::Test {
  protected:
    Resampling() {
        current = &resampler;
        Services().createResampler = []() -> Resampler* {
            current->calls += "create; ";
            return current;
        };
    }
    ~Resampling() override { Services().createResampler = nullptr; }

    ScriptedResampler resampler;
    PlayedFile file{{encodingInteger, 16, 1}, ChannelRamp(10000, 1), 10000};
    static inline ScriptedResampler* current;
};

TEST_F(Resampling, TheCallsOfAStream) {
    const std::string at24k = "configure 4096 3; rates 48000 24000; ";
    const std::string at48k = "configure 4096 3; rates 48000 48000; ";
    const auto deliver = [](int inputFrames) {
        return "request 10 x 2; produce " + std::to_string(inputFrames) + " to 10; ";
    };
    constexpr int32_t none = -1;
    const struct {
        double start, rate;
        int32_t latencyFrames;
        std::string calls;
        int32_t first;  // frame that is delivered, or none
    } steps[] = {
        {4800, 48000.000009, 0, "", 4800},
        {5000.7, 48000, 0, "", 5001},  // a jump rounds to the nearest frame, one through the resampler down
        {1000.7, 48000.00002, 0, "create; " + at48k + "reset; " + deliver(20), 1000},
        {4800, 24000, 0, at24k + "reset; " + deliver(20), 4800},
        {4820, 24000, 0, at24k + deliver(20), 4820},  // reads on by what was consumed
        // The latency counts for a continuation, not for a jump.
        {1000, 24000, 100, at24k + "reset; " + deliver(120), 1000},
        {1020, 24000, 100, at24k + deliver(120), 1120},
        // Back at the file's rate the stream keeps passing through until a jump sets the resampler aside.
        {1240, 48000, 0, at48k + deliver(20), 1240},
        {7000, 48000, 0, at48k + "reset; ", 7000},
        {7010, 48000, 0, "", 7010},
        {4800, 24000, 0, at24k + "reset; " + deliver(20), 4800},
        // At the end the rest is produced.
        {9990, 24000, 0, at24k + "reset; " + deliver(10), 9990},
        {48000, 24000, 0, at24k + "reset; " + deliver(0), none},
    };
    file.scope.resampleMode = 3;
    for (const auto& step : steps) {
        resampler.latencySeconds = step.latencyFrames / 48000.0;
        resampler.inputFrames = 20 + step.latencyFrames;
        Samples expected;
        for (int32_t frame = step.first; frame != none && frame < step.first + 10; ++frame)
            expected.insert(expected.end(), 2, RampValue(frame));
        EXPECT_EQ(file.Read(step.start / 48000, 10, 2, step.rate), expected) << "step " << &step - steps;
        EXPECT_EQ(std::exchange(resampler.calls, {}), step.calls) << "step " << &step - steps;
    }
    file.context.reset();
    EXPECT_EQ(resampler.calls, "destroy; ");
}

TEST_F(Resampling, AMistakenResamplerDoesNoHarm) {
    const auto delivered = [&] { return file.Read(0.1, 10, 1, 24000).size(); };
    resampler.latencySeconds = std::numeric_limits<double>::quiet_NaN();
    EXPECT_EQ(delivered(), 10u);
    for (const auto& [produced, frames] : {std::pair{1000, 10u}, {-3, 0u}}) {
        resampler.produced = produced;
        EXPECT_EQ(delivered(), frames);
    }
    resampler.produced = 0;
    for (const int32_t wanted : {-1, 0, -0x7FFFFFFF}) {
        resampler.inputFrames = wanted;
        EXPECT_EQ(delivered(), 0u) << wanted;
    }
    resampler.inputFrames = 20;
    resampler.noRoom = true;
    EXPECT_EQ(delivered(), 0u);
}

TEST_F(Resampling, ATimeOrRateThatIsNoneReachesNoResampler) {
    constexpr double nan = std::numeric_limits<double>::quiet_NaN(),
                     inf = std::numeric_limits<double>::infinity();
    for (const auto& [start, rate] :
         {std::pair{0.0, nan}, {0.0, inf}, {0.0, -1.0}, {nan, 24000.0}, {inf, 24000.0}})
        EXPECT_TRUE(file.Read(start, 10, 1, rate).empty());
    double sample = 99;
    TransferBlock nothing{0, 24000, 1, 0, &sample, 7, 0, 0};
    ReadFrames(nothing, *file.context, file.format, file.scope);
    EXPECT_EQ(nothing.framesProduced, 0);
    file.format.sampleRate = inf;
    EXPECT_TRUE(file.Read(0, 10, 1, 24000).empty());
    EXPECT_EQ(resampler.calls, "");
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
    const Samples direct = adpcm.ReadAt(2001, 10, 1);
    (void)adpcm.ReadAt(100, 1, 1);
    EXPECT_EQ(adpcm.Read(2000.7 / 48000, 10, 1, 24000), direct);
    EXPECT_EQ(adpcm.ReadAt(3000, 10, 1).size(), 10u);
    EXPECT_EQ(adpcm.context->resamplerState, ResamplerState::setAside);
    // The latency counts for a continuation, not for a jump.
    resampler.latencySeconds = 100.0 / 48000;
    resampler.inputFrames = 120;
    EXPECT_EQ(adpcm.Read(2001.0 / 48000, 10, 1, 24000), direct);
    resampler.calls.clear();
    EXPECT_EQ(adpcm.Read(2021.0 / 48000, 10, 1, 24000).size(), 10u);
    EXPECT_EQ(resampler.calls.find("reset"), std::string::npos);
}

}  // namespace
}  // namespace vantor::test
