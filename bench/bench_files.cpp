#include "bench/bench_files.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <fstream>
#include <iterator>
#include <random>
#include <stdexcept>

namespace vantor::bench {

namespace {

using Bytes = std::vector<char>;

Sndfile CreateSndfile(const fs::path& path, int format, int32_t channels = fileChannels) {
    SF_INFO info{};
    info.samplerate = sampleRate;
    info.channels = channels;
    info.format = format;
    Sndfile file(sf_open(path.c_str(), SFM_WRITE, &info));
    if (!file) throw std::runtime_error(path.string() + ": " + sf_strerror(nullptr));
    return file;
}

// A second of a tone, in noise or alone.
std::vector<double> Signal(bool isTonal = false) {
    std::minstd_rand random(1);
    std::uniform_real_distribution<double> noise(-0.3, 0.3);
    std::vector<double> samples(size_t{sampleRate} * fileChannels);
    for (size_t i = 0; i < samples.size(); ++i)
        samples[i] = 0.5 * std::sin(static_cast<double>(i) * 0.02) + (isTonal ? 0 : noise(random));
    return samples;
}

template <size_t size>
void Fill(char (&field)[size], const char* text) {
    std::memcpy(field, text, std::min(size, std::strlen(text)));
}

SF_BROADCAST_INFO Broadcast() {
    SF_BROADCAST_INFO info{};
    Fill(info.description, "Scene 12, take 3: the orchestra tunes, doors, steps on gravel");
    Fill(info.originator, "Vantor bench");
    Fill(info.originator_reference, "XX00000000000000000000000000000");
    Fill(info.origination_date, "2024-05-17");
    Fill(info.origination_time, "14:03:22");
    info.time_reference_low = 172800000;
    info.version = 2;
    Fill(info.umid, "0123456789");
    Fill(info.coding_history, "A=PCM,F=48000,W=24,M=stereo,T=original\r\n");
    info.coding_history_size = static_cast<uint32_t>(std::strlen(info.coding_history));
    return info;
}

void WriteTexts(SNDFILE* file) {
    constexpr std::pair<int, const char*> texts[] = {
        {SF_STR_TITLE, "Doors and steps"},
        {SF_STR_COPYRIGHT, "2024, all rights reserved"},
        {SF_STR_SOFTWARE, "vantor_bench"},
        {SF_STR_ARTIST, "The second unit"},
        {SF_STR_COMMENT, "Wind from the left, plane at 0:42"},
        {SF_STR_DATE, "2024-05-17"},
        {SF_STR_ALBUM, "Reel 7"},
        {SF_STR_LICENSE, "none"},
        {SF_STR_TRACKNUMBER, "12"},
        {SF_STR_GENRE, "Field recording"},
    };
    for (const auto& [field, text] : texts)
        sf_set_string(file, field, text);
}

// The bytes of a tagged file whose audio is one second of silence.
Bytes TaggedImage(const fs::path& path) {
    {
        const auto file = CreateSndfile(path, SF_FORMAT_WAV | SF_FORMAT_PCM_24);
        auto broadcast = Broadcast();
        sf_command(file.get(), SFC_SET_BROADCAST_INFO, &broadcast, sizeof broadcast);
        const std::vector<double> silence(size_t{sampleRate} * fileChannels);
        sf_writef_double(file.get(), silence.data(), sampleRate);
        WriteTexts(file.get());
    }
    std::ifstream stream(path, std::ios::binary);
    Bytes bytes{std::istreambuf_iterator<char>(stream), {}};
    fs::remove(path);
    return bytes;
}

void PutLe32(Bytes& bytes, size_t offset, int64_t value) {
    for (size_t i = 0; i < 4; ++i)
        bytes[offset + i] = static_cast<char>(value >> (8 * i));
}

size_t Find(const Bytes& bytes, const char* id) {
    const auto found = std::search(bytes.begin(), bytes.end(), id, id + 4);
    if (found == bytes.end()) throw std::runtime_error(std::string("no chunk ") + id);
    return static_cast<size_t>(found - bytes.begin());
}

// What stands before the audio and behind it, with the sizes of a file that holds `audioBytes` of it.
struct Frame {
    Bytes head, tail;

    Frame(const Bytes& image, int64_t audioBytes, size_t gapBytes) {
        const size_t data = Find(image, "data");
        const size_t oldAudioBytes = size_t{sampleRate} * fileChannels * 3;
        const auto dataAt = image.begin() + static_cast<std::ptrdiff_t>(data);
        head.assign(image.begin(), dataAt);
        if (gapBytes > 0) {
            const Bytes junk = {'J', 'U', 'N', 'K', 0, 0, 0, 0};
            head.insert(head.end(), junk.begin(), junk.end());
            PutLe32(head, head.size() - 4, static_cast<int64_t>(gapBytes));
            head.resize(head.size() + gapBytes);
        }
        head.insert(head.end(), dataAt, dataAt + 8);
        PutLe32(head, head.size() - 4, audioBytes);
        tail.assign(dataAt + 8 + static_cast<std::ptrdiff_t>(oldAudioBytes), image.end());
        PutLe32(head, 4, static_cast<int64_t>(head.size() + tail.size()) - 8 + audioBytes);
    }

    void Write(const fs::path& path, int64_t audioBytes) const {
        std::ofstream stream(path, std::ios::binary);
        stream.write(head.data(), static_cast<std::streamsize>(head.size()));
        stream.seekp(audioBytes, std::ios::cur);
        stream.write(tail.data(), static_cast<std::streamsize>(tail.size()));
        if (!stream) throw std::runtime_error(path.string() + ": cannot be written");
    }
};

}  // namespace

const Coding& CodingNamed(const std::string& name) {
    const auto* found = std::find_if(std::begin(codings), std::end(codings),
                                     [&](const Coding& coding) { return coding.name == name; });
    if (found == std::end(codings)) throw std::runtime_error(name + ": no such coding");
    return *found;
}

Sndfile OpenSndfile(const std::string& fileName) {
    SF_INFO info{};
    Sndfile file(sf_open(fileName.c_str(), SFM_READ, &info));
    if (!file) throw std::runtime_error(fileName + ": " + sf_strerror(nullptr));
    return file;
}

BenchFolder::BenchFolder() {
    std::string name = (fs::temp_directory_path() / "vantor_bench_XXXXXX").string();
    if (!mkdtemp(name.data())) throw std::runtime_error(name + ": cannot be made");
    path_ = name;
}

BenchFolder::~BenchFolder() {
    std::error_code ignored;
    if (isMine_) fs::remove_all(path_, ignored);
}

std::string BenchFolder::AudioFile(const Coding& coding) const {
    const bool isAiff = (coding.sndfileFormat & SF_FORMAT_TYPEMASK) == SF_FORMAT_AIFF;
    const fs::path path = path_ / (std::string(coding.name) + (isAiff ? ".aif" : ".wav"));
    if (fs::exists(path)) return path;
    const auto signal = Signal(coding.isTonal);
    const auto file = CreateSndfile(path, coding.sndfileFormat);
    for (int32_t second = 0; second < audioSeconds_; ++second)
        sf_writef_double(file.get(), signal.data(), sampleRate);
    return path;
}

std::vector<std::string> BenchFolder::Tracks(int count, int32_t channels) const {
    constexpr int64_t trackSamples = (int64_t{1} << 20) / 3;
    const fs::path folder = path_ / ("tracks" + std::to_string(channels));
    fs::create_directory(folder);
    std::vector<std::string> names;
    const auto signal = Signal();
    for (int i = 0; i < count; ++i) {
        names.push_back(folder / ("track" + std::to_string(i) + ".wav"));
        if (fs::exists(names.back())) continue;
        const auto file = CreateSndfile(names.back(), SF_FORMAT_WAV | SF_FORMAT_PCM_24, channels);
        for (int64_t left = trackSamples / channels * channels; left > 0;)
            left -= sf_write_double(file.get(), signal.data(),
                                    std::min<int64_t>(left, std::ssize(signal) / channels * channels));
    }
    return names;
}

std::vector<std::string> BenchFolder::TaggedFiles(int count, int64_t audioBytes) const {
    const fs::path folder = path_ / ("tagged" + std::to_string(audioBytes));
    const bool isNew = fs::create_directory(folder);
    std::vector<std::string> names;
    for (int i = 0; i < count; ++i)
        names.push_back(folder / ("take" + std::to_string(i) + ".wav"));
    if (!isNew) return names;
    const Frame frame(TaggedImage(folder / "image.wav"), audioBytes, 0);
    for (const auto& name : names)
        frame.Write(name, audioBytes);
    return names;
}

std::string BenchFolder::LargeFile(int64_t audioBytes) const {
    const fs::path path = path_ / "large.wav";
    if (!fs::exists(path)) Frame(TaggedImage(path), audioBytes, 2048).Write(path, audioBytes);
    return path;
}

}  // namespace vantor::bench
