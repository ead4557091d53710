// The files that the benchmarks read: written by libsndfile into a folder of their own, when first asked for.
#pragma once

#include <sndfile.h>

#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

namespace vantor::bench {

namespace fs = std::filesystem;

inline constexpr int32_t sampleRate = 48000;
inline constexpr int32_t fileChannels = 2;

struct Coding {
    const char* name;
    int sndfileFormat;
    double bytesASample;   // for the limits
    bool isTonal = false;  // without the noise, where a decoder's guesses come true
};
inline constexpr Coding codings[] = {
    {"u8", SF_FORMAT_WAV | SF_FORMAT_PCM_U8, 1},
    {"s16", SF_FORMAT_WAV | SF_FORMAT_PCM_16, 2},
    {"s24", SF_FORMAT_WAV | SF_FORMAT_PCM_24, 3},
    {"s32", SF_FORMAT_WAV | SF_FORMAT_PCM_32, 4},
    {"f32", SF_FORMAT_WAV | SF_FORMAT_FLOAT, 4},
    {"f64", SF_FORMAT_WAV | SF_FORMAT_DOUBLE, 8},
    {"ulaw", SF_FORMAT_WAV | SF_FORMAT_ULAW, 1},
    {"s16be", SF_FORMAT_AIFF | SF_FORMAT_PCM_16, 2},
    {"s24be", SF_FORMAT_AIFF | SF_FORMAT_PCM_24, 3},
    {"s32be", SF_FORMAT_AIFF | SF_FORMAT_PCM_32, 4},
    {"f32be", SF_FORMAT_AIFF | SF_FORMAT_FLOAT, 4},
    {"f64be", SF_FORMAT_AIFF | SF_FORMAT_DOUBLE, 8},
    {"ima", SF_FORMAT_WAV | SF_FORMAT_IMA_ADPCM, .5},
    {"ms", SF_FORMAT_WAV | SF_FORMAT_MS_ADPCM, .5},
    {"ima tonal", SF_FORMAT_WAV | SF_FORMAT_IMA_ADPCM, .5, true},
    {"ms tonal", SF_FORMAT_WAV | SF_FORMAT_MS_ADPCM, .5, true},
};
const Coding& CodingNamed(const std::string& name);

struct CloseSndfile {
    void operator()(SNDFILE* file) const { sf_close(file); }
};
using Sndfile = std::unique_ptr<SNDFILE, CloseSndfile>;
// Opens for reading. Throws std::runtime_error.
Sndfile OpenSndfile(const std::string& fileName);

// A folder under the system's temporary one, removed with all that is in it by its maker.
class BenchFolder {
  public:
    BenchFolder();                            // makes one
    explicit BenchFolder(const fs::path& of)  // uses another's
        : path_(of), isMine_(false) {}
    ~BenchFolder();
    BenchFolder(const BenchFolder&) = delete;
    BenchFolder& operator=(const BenchFolder&) = delete;

    [[nodiscard]] const fs::path& Path() const { return path_; }
    void SetAudioSeconds(int32_t seconds) { audioSeconds_ = seconds; }
    [[nodiscard]] int64_t AudioFrames() const { return int64_t{audioSeconds_} * sampleRate; }

    // Stereo noise and tone in the coding.
    std::string AudioFile(const Coding& coding) const;
    // 24-bit WAV files of about a MiB each.
    [[nodiscard]] std::vector<std::string> Tracks(int count, int32_t channels) const;
    // Small Broadcast WAV files with a full bext chunk in front of the audio and a dozen INFO texts behind
    // it; `audioBytes` of silence between them, not stored by the file system.
    std::vector<std::string> TaggedFiles(int count, int64_t audioBytes) const;
    // One Broadcast WAV file with a gap of 2 KiB for new chunks and `audioBytes` of silence, as above.
    std::string LargeFile(int64_t audioBytes) const;

  private:
    fs::path path_;
    bool isMine_ = true;
    int32_t audioSeconds_ = 60;
};

}  // namespace vantor::bench
