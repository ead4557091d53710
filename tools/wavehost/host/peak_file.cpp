#include "wavehost/host/peak_file.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <string>
#include <utility>

#include "wavehost/os/fnv_hash.h"
#include "wavehost/os/folder.h"

namespace vantor::wavehost {

namespace {

constexpr int64_t magic = 0x56574B5045414B01;
constexpr int64_t headerBytes = 64;
using Header = std::array<int64_t, 8>;
static_assert(sizeof(Header) == headerBytes);

int64_t CoarserCount(int64_t peaks) {
    return (peaks + peaksPerCoarserPeak - 1) / peaksPerCoarserPeak;
}

std::vector<PeakPair> Coarser(const std::vector<PeakPair>& finer, size_t channels) {
    const auto peaks = static_cast<int64_t>(finer.size() / channels);
    std::vector<PeakPair> coarser(static_cast<size_t>(CoarserCount(peaks)) * channels);
    for (size_t i = 0; i < finer.size(); ++i) {
        const size_t peak = i / channels;
        PeakPair& into = coarser[peak / peaksPerCoarserPeak * channels + i % channels];
        const bool first = peak % peaksPerCoarserPeak == 0;
        into =
            first ? finer[i] : PeakPair{std::max(into.high, finer[i].high), std::min(into.low, finer[i].low)};
    }
    return coarser;
}

bool WriteLevels(std::FILE* stream, const Header& header, std::vector<PeakPair> level, size_t channels) {
    if (std::fwrite(header.data(), headerBytes, 1, stream) != 1) return false;
    for (;;) {
        if (std::fwrite(level.data(), sizeof(PeakPair), level.size(), stream) != level.size()) return false;
        if (level.size() / channels <= coarsestLevelPeaks) return true;
        level = Coarser(level, channels);
    }
}

// A name for the cache that two files of the same name do not share: the hash of the whole path.
std::string CacheName(const fs::path& audioFile) {
    char text[17];
    std::snprintf(text, sizeof text, "%016llx", static_cast<unsigned long long>(FnvHash(TextOf(audioFile))));
    return text;
}

}  // namespace

PeakOrigin OriginOf(const fs::path& audioFile, int32_t sampleRate, int32_t channels) {
    const FileStatus status = StatusOf(audioFile);
    const bool exists = status.kind == FileKind::file;
    return {exists ? status.bytes : -1, status.writeTime, channels, sampleRate};
}

std::vector<fs::path> PeakFileCandidates(const fs::path& audioFile) {
    const fs::path file = PlainPath(audioFile);
    fs::path beside = file;
    beside += ".vwpeaks";
    std::vector<fs::path> candidates{beside};
    const fs::path cache = UserCacheFolder();
    if (!cache.empty()) candidates.push_back(cache / (CacheName(file) + ".vwpeaks"));
    return candidates;
}

bool WritePeakFile(const fs::path& file, const PeakOrigin& origin, int64_t framesPerPeak,
                   std::vector<PeakPair> finest) {
    const auto channels = static_cast<size_t>(origin.channels);
    const auto peaks = static_cast<int64_t>(finest.size() / channels);
    fs::path temporary = file;
    temporary += std::to_string(ProcessNumber()) + ".tmp";
    Stream stream(OpenStream(temporary, "wb"));
    if (!stream) return false;
    const Header header{
        magic, origin.fileBytes, origin.writeTime, origin.channels, origin.sampleRate, framesPerPeak, peaks,
        0};
    const bool wrote = WriteLevels(stream.get(), header, std::move(finest), channels);
    const bool closed = std::fclose(stream.release()) == 0;
    std::string error;
    if (wrote && closed && TakePlaceOf(temporary, file, error)) return true;
    std::error_code ignored;
    fs::remove(temporary, ignored);
    return false;
}

std::unique_ptr<PeakFile> PeakFile::Open(const fs::path& file, const PeakOrigin& origin) {
    const FileStatus status = StatusOf(file);
    if (status.kind != FileKind::file || origin.channels < 1) return nullptr;
    auto peaks = std::make_unique<PeakFile>();
    peaks->stream_.reset(OpenStream(file, "rb"));
    if (!peaks->stream_ || !peaks->ReadHeader(origin, status.bytes)) return nullptr;
    return peaks;
}

bool PeakFile::ReadHeader(const PeakOrigin& origin, int64_t fileBytes) {
    Header header{};
    if (std::fread(header.data(), headerBytes, 1, stream_.get()) != 1 || header[0] != magic) return false;
    origin_ = {header[1], header[2], header[3], header[4]};
    framesPerPeak_ = header[5];
    const int64_t finestPeaks = header[6];
    const auto pairBytes = static_cast<int64_t>(sizeof(PeakPair)) * origin.channels;
    if (!(origin_ == origin) || framesPerPeak_ < 1) return false;
    if (finestPeaks < 0 || finestPeaks > (fileBytes - headerBytes) / pairBytes) return false;
    LayOutLevels(finestPeaks);
    return levels_.back().position + levels_.back().peaks * pairBytes == fileBytes;
}

void PeakFile::LayOutLevels(int64_t finestPeaks) {
    Level level{headerBytes, finestPeaks, PeaksPerSecond()};
    levels_.push_back(level);
    while (level.peaks > coarsestLevelPeaks) {
        level.position += level.peaks * origin_.channels * static_cast<int64_t>(sizeof(PeakPair));
        level.peaks = CoarserCount(level.peaks);
        level.peaksPerSecond /= static_cast<double>(peaksPerCoarserPeak);
        levels_.push_back(level);
    }
}

const PeakFile::Level& PeakFile::LevelFor(double peaksPerSecond) const {
    const auto coarsest = std::find_if(levels_.rbegin(), std::prev(levels_.rend()), [&](const Level& level) {
        return level.peaksPerSecond >= peaksPerSecond;
    });
    return *coarsest;
}

bool PeakFile::Load(const Level& level, int64_t from, int64_t to) {
    const auto channels = origin_.channels;
    pairs_.resize(static_cast<size_t>((to - from) * channels));
    return SeekStream(stream_.get(),
                      level.position + from * channels * static_cast<int64_t>(sizeof(PeakPair))) &&
           std::fread(pairs_.data(), sizeof(PeakPair), pairs_.size(), stream_.get()) == pairs_.size();
}

void PeakFile::Read(PeakRequest& request) {
    const std::lock_guard hold(lock_);
    request.framesProduced = 0;
    if (!request.peaks || request.frames < 1 || request.channels < 1 || !(request.peaksPerSecond > 0)) return;
    const Level& level = LevelFor(request.peaksPerSecond);
    // The first peak of column i; that of column i + 1 is its end.
    const auto peakAt = [&](int32_t column) {
        const double place = (request.startSeconds + column / request.peaksPerSecond) * level.peaksPerSecond;
        return static_cast<int64_t>(
            std::clamp(std::floor(place + 1e-6), -1.0, static_cast<double>(level.peaks)));
    };
    const int64_t loadedFrom = std::max<int64_t>(peakAt(0), 0);
    const int64_t loadedTo = std::min(level.peaks, peakAt(request.frames) + 1);
    if (loadedFrom >= loadedTo || !Load(level, loadedFrom, loadedTo)) return;

    const auto channels = static_cast<int32_t>(origin_.channels);
    for (int32_t column = 0; column < request.frames && peakAt(column) < level.peaks; ++column) {
        const int64_t from = std::max<int64_t>(peakAt(column), 0);
        const int64_t to = std::min(std::max(peakAt(column + 1), peakAt(column) + 1), loadedTo);
        for (int32_t channel = 0; channel < std::min(channels, request.channels); ++channel) {
            PeakPair pair{0, 0};
            for (int64_t peak = from; peak < to; ++peak) {
                const PeakPair& one = pairs_[static_cast<size_t>((peak - loadedFrom) * channels + channel)];
                pair =
                    peak == from ? one : PeakPair{std::max(pair.high, one.high), std::min(pair.low, one.low)};
            }
            PutColumn(request, column, channel, channels, pair);
        }
        request.framesProduced = column + 1;
    }
}

void PutColumn(PeakRequest& request, int32_t column, int32_t channel, int32_t fileChannels, PeakPair pair) {
    const size_t minima = static_cast<size_t>(request.frames) * static_cast<size_t>(request.channels);
    double* high = request.peaks + static_cast<size_t>(column) * static_cast<size_t>(request.channels);
    const auto put = [&](int32_t at, double maximum, double minimum) {
        high[at] = maximum;
        high[minima + static_cast<size_t>(at)] = minimum;
    };
    put(channel, pair.high, pair.low);
    if (channel + 1 != std::min(fileChannels, request.channels)) return;
    const bool bothSides = fileChannels == 1 && request.channels > 1;
    if (bothSides) put(1, pair.high, pair.low);
    for (int32_t beyond = bothSides ? 2 : fileChannels; beyond < request.channels; ++beyond)
        put(beyond, 0, 0);
}

}  // namespace vantor::wavehost
