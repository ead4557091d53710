// Files that independent tools write, decoded by the module and by libsndfile: the same samples.

#include <cmath>
#include <random>

#include "tests/interop/independent_tools.h"

namespace vantor::test {
namespace {

// Noise over a sine, so that every bit of a sample moves.
bool WriteWithLibsndfile(const std::string& path, int format, int channels) {
    constexpr int frames = 5003;
    SF_INFO info{0, 44100, channels, format, 0, 0};
    if (!sf_format_check(&info)) return false;
    const auto file = OpenWithLibsndfile(path, SFM_WRITE, info);
    std::mt19937 random(3);
    std::uniform_real_distribution<double> noise(-0.2, 0.2);
    std::vector<double> samples;
    for (int i = 0; i < frames * channels; ++i)
        samples.push_back(0.7 * std::sin(0.03 * i) + noise(random));
    return file && sf_writef_double(file.get(), samples.data(), frames) == frames;
}

// What both sides know. libsndfile marks little-endian AIFC of 24 and 32 bits with names ("42n1", "23ni")
// that the module does not take.
struct Container {
    int format;
    const char* fileName;
    std::vector<int> codings;
};
const std::vector<int> wide = {SF_FORMAT_PCM_U8, SF_FORMAT_PCM_16, SF_FORMAT_PCM_24,
                               SF_FORMAT_PCM_32, SF_FORMAT_FLOAT,  SF_FORMAT_DOUBLE};
const std::vector<int> bigEndian = {SF_FORMAT_PCM_S8,
                                    SF_FORMAT_PCM_16,
                                    SF_FORMAT_PCM_24,
                                    SF_FORMAT_PCM_32,
                                    SF_FORMAT_FLOAT,
                                    SF_FORMAT_DOUBLE,
                                    SF_FORMAT_PCM_16 | SF_ENDIAN_LITTLE};
const std::vector<int> lossy = {SF_FORMAT_ULAW, SF_FORMAT_IMA_ADPCM, SF_FORMAT_MS_ADPCM};
const Container containers[] = {
    {SF_FORMAT_WAV, "riff.wav", wide},
    {SF_FORMAT_WAV, "lossy.wav", lossy},
    {SF_FORMAT_WAVEX, "extensible.wav", wide},
    {SF_FORMAT_RF64, "rf64.wav", wide},
    {SF_FORMAT_W64, "wave.w64", wide},
    {SF_FORMAT_W64, "lossy.w64", lossy},
    {SF_FORMAT_AIFF, "audio.aif", bigEndian},
    {SF_FORMAT_CAF, "core.caf", bigEndian},
    {SF_FORMAT_CAF | SF_ENDIAN_LITTLE, "little.caf", bigEndian},
    {SF_FORMAT_SVX, "amiga.8svx", {SF_FORMAT_PCM_S8}},
};

// u-law: this module's negative half lies 1/8192 lower, by design. The decoders of ADPCM round in their own
// way.
void ExpectSame(const std::string& path, bool isExact, const std::string& what) {
    constexpr double codingTolerance = 0.02;
    const auto ours = DecodeByModule(path);
    auto theirs = DecodeByLibsndfile(path);
    ASSERT_GT(ours.samples.size(), 3000u) << what;
    // The last 8 bytes of an Amiga body are not played.
    if (path.ends_with(".8svx")) theirs.samples.resize(theirs.samples.size() - 8);
    EXPECT_EQ(ours.channels, theirs.channels) << what;
    EXPECT_EQ(ours.sampleRate, theirs.sampleRate) << what;
    if (isExact) {
        EXPECT_TRUE(ours.samples == theirs.samples) << what;
        return;
    }
    // One of them may know better how many frames of the last block are none.
    const auto count = std::min(ours.samples.size(), theirs.samples.size());
    double squares = 0;
    for (size_t i = 0; i < count; ++i)
        squares += std::pow(ours.samples[i] - theirs.samples[i], 2);
    EXPECT_LT(std::sqrt(squares / static_cast<double>(count)), codingTolerance) << what;
}

TEST(InteropSamples, AreThoseOfLibsndfileInEveryFormatItWrites) {
    const TempFolder folder;
    int tried = 0;
    for (const auto& [container, fileName, codings] : containers)
        for (const int coding : codings)
            for (const int channels : {1, 2, 6}) {
                const auto path = folder.Path(fileName);
                if (!WriteWithLibsndfile(path, container | coding, channels)) continue;
                const auto what = std::string(fileName) + ", coding " + std::to_string(coding);
                ExpectSame(path, codings != lossy, what + ", channels " + std::to_string(channels));
                ++tried;
            }
    EXPECT_GT(tried, 120);
}

TEST(InteropSamples, AreThoseOfLibsndfileInFilesOfOtherTools) {
    const TempFolder folder;
    const std::string sox = "sox -n -r 48000 -c 2 %s synth 0.2 pluck C3 pinknoise gain -3";
    const std::string ffmpeg = "ffmpeg -y -f lavfi -i sine=duration=0.2 -ac 2 %s";
    struct ToolFile {
        std::string command;
        const char* name;
        const char* options;
        bool isExact = true;
    };
    const ToolFile files[] = {
        {sox, "8.wav", "-b 8"},
        {sox, "f64.wav", "-e float -b 64"},
        {sox, "u.wav", "-e u-law", false},
        {sox, "ms.wav", "-e ms-adpcm", false},
        {sox, "24.aiff", "-b 24"},
        {sox, "8.8svx", "-c 1 -b 8"},
        {ffmpeg, "surround.wav", "-ac 6 -c:a pcm_s16le"},
        {ffmpeg, "rf64.wav", "-rf64 always -c:a pcm_s24le"},
        {ffmpeg, "ima.wav", "-c:a adpcm_ima_wav", false},
        {ffmpeg, "16.w64", "-c:a pcm_s16le"},
        {ffmpeg, "sowt.aif", "-c:a pcm_s16le -f aiff"},
        {ffmpeg, "f64.aif", "-c:a pcm_f64be -f aiff"},
        {ffmpeg, "f32.caf", "-c:a pcm_f32le"},
    };
    for (const auto& [command, name, options, isExact] : files) {
        const auto path = folder.Path(name);
        Generate(path, std::string(command).insert(command.find("%s"), options + std::string(" ")));
        ExpectSame(path, isExact, name);
    }
}

}  // namespace
}  // namespace vantor::test
