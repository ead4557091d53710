// Files that independent tools write, decoded by the module and by libsndfile: the same samples.

#include <gtest/gtest.h>
#include <sndfile.h>

#include <cmath>
#include <cstdlib>
#include <memory>
#include <random>

#include "tests/interop/decoded_file.h"
#include "tests/support/temp_file.h"

namespace vantor::test {
namespace {

constexpr int rate = 44100;
constexpr int frames = 5003;

// Noise over a sine, so that every bit of a sample moves.
std::vector<double> Signal(int channels) {
    std::mt19937 random(3);
    std::uniform_real_distribution<double> noise(-0.2, 0.2);
    std::vector<double> samples;
    for (int frame = 0; frame < frames; ++frame)
        for (int channel = 0; channel < channels; ++channel)
            samples.push_back(0.7 * std::sin(0.03 * (channel + 1) * frame) + noise(random));
    return samples;
}

bool WriteWithLibsndfile(const std::string& path, int format, int channels) {
    SF_INFO info{};
    info.samplerate = rate;
    info.channels = channels;
    info.format = format;
    if (!sf_format_check(&info)) return false;
    const std::unique_ptr<SNDFILE, decltype(&sf_close)> file(sf_open(path.c_str(), SFM_WRITE, &info),
                                                             &sf_close);
    const auto samples = Signal(channels);
    return file && sf_writef_double(file.get(), samples.data(), frames) == frames;
}

struct Container {
    const char* name;
    int format;
    const char* extension;
};
const Container containers[] = {
    {"WAV", SF_FORMAT_WAV, "wav"},  {"WAVEX", SF_FORMAT_WAVEX, "wav"}, {"RF64", SF_FORMAT_RF64, "wav"},
    {"W64", SF_FORMAT_W64, "w64"},  {"AIFF", SF_FORMAT_AIFF, "aif"},   {"CAF", SF_FORMAT_CAF, "caf"},
    {"SVX", SF_FORMAT_SVX, "8svx"},
};

struct Coding {
    const char* name;
    int format;
    double tolerance;  // 0: the arithmetic is exact
};
// u-law: this module's negative half lies 1/8192 lower, by design. The decoders of ADPCM round in their own
// way.
const Coding codings[] = {
    {"s8", SF_FORMAT_PCM_S8, 0},      {"u8", SF_FORMAT_PCM_U8, 0},    {"s16", SF_FORMAT_PCM_16, 0},
    {"s24", SF_FORMAT_PCM_24, 0},     {"s32", SF_FORMAT_PCM_32, 0},   {"f32", SF_FORMAT_FLOAT, 0},
    {"f64", SF_FORMAT_DOUBLE, 0},     {"ulaw", SF_FORMAT_ULAW, 0.02}, {"ima", SF_FORMAT_IMA_ADPCM, 0.02},
    {"ms", SF_FORMAT_MS_ADPCM, 0.02},
};
const int byteOrders[] = {SF_ENDIAN_FILE, SF_ENDIAN_LITTLE, SF_ENDIAN_BIG};

// What the module does not take: u-law and ADPCM outside RIFF and Wave64, big-endian RIFF.
bool IsReadable(const Container& container, const Coding& coding, int byteOrder) {
    const bool isRiffLike = container.format == SF_FORMAT_WAV || container.format == SF_FORMAT_WAVEX ||
                            container.format == SF_FORMAT_RF64 || container.format == SF_FORMAT_W64;
    const bool isExtensible = container.format == SF_FORMAT_WAVEX || container.format == SF_FORMAT_RF64;
    if (isRiffLike) return byteOrder != SF_ENDIAN_BIG && (!isExtensible || coding.format != SF_FORMAT_ULAW);
    if (container.format == SF_FORMAT_SVX) return coding.format == SF_FORMAT_PCM_S8;
    // libsndfile marks little-endian AIFC of 24 and 32 bits with names ("42n1", "23ni") that are not among
    // those known.
    const bool isWide = coding.format == SF_FORMAT_PCM_24 || coding.format == SF_FORMAT_PCM_32;
    if (container.format == SF_FORMAT_AIFF && byteOrder == SF_ENDIAN_LITTLE && isWide) return false;
    return coding.tolerance == 0 && coding.format != SF_FORMAT_PCM_U8;
}

bool IsAmiga(const std::string& path) {
    return path.ends_with(".8svx");
}

void ExpectSame(const std::string& path, const std::string& what, double tolerance) {
    const auto ours = DecodeByModule(path);
    auto theirs = DecodeByLibsndfile(path);
    // The last 8 bytes of an Amiga body are not played.
    if (IsAmiga(path) && theirs.opened) theirs.samples.resize(theirs.samples.size() - 8);
    ASSERT_TRUE(ours.opened && theirs.opened) << what;
    EXPECT_EQ(ours.channels, theirs.channels) << what;
    EXPECT_EQ(ours.sampleRate, theirs.sampleRate) << what;
    if (tolerance == 0)
        EXPECT_TRUE(ours.samples == theirs.samples)
            << what << ": " << ours.Frames() << " and " << theirs.Frames();
    else
        EXPECT_LT(RmsDifference(ours, theirs), tolerance) << what;
    EXPECT_GT(ours.Frames(), 3000u) << what;  // the `fact` of a stereo IMA file by libsndfile says 3061
}

TEST(Interop, EveryFormatOfLibsndfileDecodesToTheSameSamples) {
    TempFolder folder;
    int tried = 0;
    for (const auto& container : containers)
        for (const auto& coding : codings)
            for (const int order : byteOrders)
                for (const int channels : {1, 2, 6}) {
                    if (!IsReadable(container, coding, order)) continue;
                    const auto path = folder.Path(std::string("f.") + container.extension);
                    if (!WriteWithLibsndfile(path, container.format | coding.format | order, channels))
                        continue;
                    const auto what = std::string(container.name) + " " + coding.name + " order " +
                                      std::to_string(order) + " channels " + std::to_string(channels);
                    ExpectSame(path, what, coding.tolerance);
                    ++tried;
                }
    EXPECT_GT(tried, 90);
}

struct ToolCase {
    const char* file;
    const char* command;  // %s is the output
    double tolerance;
};

std::string Generate(const TempFolder& folder, const ToolCase& tool) {
    auto path = folder.Path(tool.file);
    std::string command = tool.command;
    command.replace(command.find("%s"), 2, "'" + path + "'");
    EXPECT_EQ(std::system((command + " >/dev/null 2>&1").c_str()), 0) << command;
    return path;
}

#define SOX_IN "sox -n -r 48000 -c 2 "
#define SOX_SYNTH " synth 0.2 pluck C3 pinknoise gain -3"
#define FF_IN "ffmpeg -v error -y -f lavfi -i 'sine=frequency=330:sample_rate=48000:duration=0.2' -ac 2 "

const ToolCase toolCases[] = {
    {"x8.wav", SOX_IN "-b 8 %s" SOX_SYNTH, 0},
    {"x16.wav", SOX_IN "-b 16 %s" SOX_SYNTH, 0},
    {"x24.wav", SOX_IN "-b 24 %s" SOX_SYNTH, 0},
    {"x32.wav", SOX_IN "-b 32 %s" SOX_SYNTH, 0},
    {"xf.wav", SOX_IN "-e float -b 32 %s" SOX_SYNTH, 0},
    {"xd.wav", SOX_IN "-e float -b 64 %s" SOX_SYNTH, 0},
    {"xu.wav", SOX_IN "-e u-law %s" SOX_SYNTH, 0.02},
    {"xi.wav", SOX_IN "-e ima-adpcm %s" SOX_SYNTH, 0.02},
    {"xm.wav", SOX_IN "-e ms-adpcm %s" SOX_SYNTH, 0.02},
    {"x16.aiff", SOX_IN "-b 16 %s" SOX_SYNTH, 0},
    {"x24.aiff", SOX_IN "-b 24 %s" SOX_SYNTH, 0},
    {"x32.aifc", SOX_IN "-b 32 %s" SOX_SYNTH, 0},
    {"x8.8svx", "sox -n -r 8000 -c 1 -b 8 %s synth 1 pluck C3", 0},
    {"f16.wav", FF_IN "-c:a pcm_s16le %s", 0},
    {"f24.wav", FF_IN "-c:a pcm_s24le %s", 0},
    {"f51.wav", FF_IN "-ac 6 -c:a pcm_s16le %s", 0},
    {"fforced.wav", FF_IN "-rf64 always -c:a pcm_s24le %s", 0},
    {"fima.wav", FF_IN "-c:a adpcm_ima_wav %s", 0.02},
    {"fms.wav", FF_IN "-c:a adpcm_ms %s", 0.02},
    {"f16.w64", FF_IN "-c:a pcm_s16le %s", 0},
    {"fsowt.aif", FF_IN "-c:a pcm_s16le -f aiff %s", 0},
    {"f24.aif", FF_IN "-c:a pcm_s24be -f aiff %s", 0},
    {"ff32.aif", FF_IN "-c:a pcm_f32be -f aiff %s", 0},
    {"ff64.aif", FF_IN "-c:a pcm_f64be -f aiff %s", 0},
    {"f16be.caf", FF_IN "-c:a pcm_s16be %s", 0},
    {"f24le.caf", FF_IN "-c:a pcm_s24le %s", 0},
    {"ff32.caf", FF_IN "-c:a pcm_f32le %s", 0},
    {"ff64.caf", FF_IN "-c:a pcm_f64be %s", 0},
};

TEST(Interop, FilesOfSoxAndFfmpegDecodeToTheSameSamples) {
    TempFolder folder;
    for (const auto& tool : toolCases)
        ExpectSame(Generate(folder, tool), tool.command, tool.tolerance);
}

// ADPCM against the signal that was encoded, not against another decoder.
TEST(Interop, AdpcmStaysWithinTheCodingError) {
    TempFolder folder;
    for (const int format : {SF_FORMAT_IMA_ADPCM, SF_FORMAT_MS_ADPCM})
        for (const int container : {SF_FORMAT_WAV, SF_FORMAT_W64}) {
            const auto coded = folder.Path("c.wav");
            const auto plain = folder.Path("p.wav");
            ASSERT_TRUE(WriteWithLibsndfile(coded, container | format, 2));
            ASSERT_TRUE(WriteWithLibsndfile(plain, SF_FORMAT_WAV | SF_FORMAT_DOUBLE, 2));
            const auto original = DecodeByModule(plain);
            const double theirError = RmsDifference(DecodeByLibsndfile(coded), original);
            const double ourError = RmsDifference(DecodeByModule(coded), original);
            EXPECT_LT(ourError, 1.2 * theirError + 0.001) << container << " " << format;
        }
}

}  // namespace
}  // namespace vantor::test
