#include "wavehost/care/sound_end.h"

#include <algorithm>
#include <array>
#include <limits>

#include "fileio/byte_order.h"
#include "formats/riff_data_size.h"

namespace vantor::wavehost {

namespace {

constexpr int64_t fourGiB = int64_t{1} << 32;
constexpr int64_t farthest = std::numeric_limits<int64_t>::max();
constexpr int64_t cafEditCountBytes = 4;
constexpr int64_t ssndHeaderBytes = 8;

// Sizes that writers leave in place of one that they do not know yet. The last ones count only where they
// lead beyond the file.
constexpr uint64_t placeholders[] = {0, 0xFFFFFFFF};
constexpr uint64_t likelyPlaceholders[] = {0x7FFFFFFF, 0x7FFFF000, 0x7F000000, 0x7F000008};

// Bytes between the chunk's body and the first sample.
int64_t LeadBytes(const Survey& survey, const Chunk& chunk, FileReader& reader) {
    if (survey.format.fileKind == kindCaf) return cafEditCountBytes;
    if (chunk.Id() != "SSND") return 0;
    std::array<uint8_t, 4> offset{};
    reader.Seek(chunk.bodyStart);
    return reader.ReadExactly(offset.data(), 4) ? ssndHeaderBytes + ReadBe32(offset.data()) : ssndHeaderBytes;
}

bool IsPlaceholder(const Survey& survey, const Chunk& chunk) {
    if (std::ranges::find(placeholders, chunk.sizeField) != std::end(placeholders)) return true;
    return chunk.sizeField > static_cast<uint64_t>(survey.fileBytes - chunk.bodyStart) &&
           std::ranges::find(likelyPlaceholders, chunk.sizeField) != std::end(likelyPlaceholders);
}

bool IsUnwritten(const Survey& survey, const Chunk& chunk, int64_t leadBytes) {
    const auto field = static_cast<int64_t>(chunk.sizeField);
    switch (survey.format.fileKind) {
        case kindCaf:
            return field < 0 || field <= cafEditCountBytes;
        case kindWave64:
            return field < 0 || field == farthest || chunk.bodyBytes == 0;
        case kindIff:
            return IsPlaceholder(survey, chunk) || field < leadBytes;
        default:
            if (chunk.sizeField == sizeInDs64 && survey.ds64)
                return survey.ds64->dataSize == 0 || survey.ds64->dataSize >= uint64_t{1} << 63;
            return IsPlaceholder(survey, chunk);
    }
}

// Body sizes to try, the container's own rule first.
std::vector<int64_t> Claims(const Survey& survey, const Chunk& chunk) {
    const int64_t rest = survey.fileBytes - chunk.bodyStart;
    const auto field = static_cast<int64_t>(std::min<uint64_t>(chunk.bodyBytes, farthest));
    if (survey.rules->framing.sizeBytes == 8) return {field};
    std::vector<int64_t> claims{field};
    if (survey.ds64 && chunk.sizeField == sizeInDs64)
        return {RiffDataBytes(sizeInDs64, &*survey.ds64, true, chunk.bodyStart, survey.fileBytes)};
    if (survey.ds64)
        claims.push_back(static_cast<int64_t>(std::min<uint64_t>(survey.ds64->dataSize, farthest)));
    for (int64_t bytes = field + fourGiB; bytes <= rest; bytes += fourGiB)
        claims.push_back(bytes);
    return claims;
}

// Frames that another place of the file counts; 0 where none does.
int64_t CountedFrames(const Survey& survey, FileReader& reader) {
    std::array<uint8_t, 8> bytes{};
    const auto read = [&](std::string_view id, int64_t offset, int64_t count) {
        const SurveyedChunk* chunk = survey.Find(id);
        return chunk && chunk->bodyBytes >= offset + count && reader.Seek(chunk->bodyStart + offset) &&
               reader.ReadExactly(bytes.data(), count);
    };
    if (survey.format.fileKind == kindIff) return read("COMM", 2, 4) ? ReadBe32(bytes.data()) : 0;
    if (survey.format.fileKind == kindWave64)
        return read("fact", 0, 8) ? static_cast<int64_t>(ReadLe64(bytes.data())) : 0;
    if (survey.ds64 && survey.ds64->sampleCount) return static_cast<int64_t>(survey.ds64->sampleCount);
    return read("fact", 0, 4) ? ReadLe32(bytes.data()) : 0;
}

bool AgreesWithCount(const Survey& survey, FileReader& reader, const Sound& sound) {
    const int64_t frameBytes = survey.FrameBytes();
    const int64_t frames = CountedFrames(survey, reader);
    return frameBytes > 0 && frames > 0 && frames <= survey.fileBytes / frameBytes &&
           sound.Bytes() - frames * frameBytes >= 0 && sound.Bytes() - frames * frameBytes <= 1;
}

int64_t Padded(int64_t bodyStart, int64_t bytes, const ContainerRules& rules) {
    const int64_t mask = rules.framing.alignment - 1;
    return bodyStart + ((bytes + mask) & ~mask);
}

// The first size that what follows bears out; none: claims.size(). Known ids count before anything else:
// silence behind a size that is too small looks like chunks of nothing.
size_t FittingClaim(const Survey& survey, int64_t bodyStart, const std::vector<int64_t>& claims,
                    ChunkProbe& probe) {
    const auto first = [&](auto fits) {
        size_t i = 0;
        while (i < claims.size() && (claims[i] > survey.fileBytes - bodyStart || !fits(claims[i])))
            ++i;
        return i;
    };
    const size_t known = first(
        [&](int64_t bytes) { return probe.KnownChunkFollows(Padded(bodyStart, bytes, *survey.rules)); });
    if (known < claims.size()) return known;
    return first([&](int64_t bytes) {
        return probe.ChunksFollow(Padded(bodyStart, bytes, *survey.rules)) ||
               probe.ChunksFillFrom(bodyStart + bytes);
    });
}

// The end of sound whose size tells nothing: tags found behind it, or the end of the file.
void SearchEnd(const Survey& survey, FileReader& reader, int64_t from, ChunkProbe& probe, Sound& sound) {
    const auto tags = probe.FindTags(from);
    sound.end = tags.value_or(survey.fileBytes);
    if (tags || probe.HasGivenUp() || sound.claim == SoundClaim::tooShort)
        sound.isCertain = AgreesWithCount(survey, reader, sound);
}

// What is left behind the sound is too short to hold any.
bool IsLessThanAFrame(const Survey& survey, int64_t paddedEnd) {
    const int64_t unit = survey.FrameBytes() > 0 ? survey.FrameBytes() : survey.format.blockAlign;
    return survey.formatAccepted && paddedEnd <= survey.fileBytes && survey.fileBytes - paddedEnd < unit;
}

}  // namespace

Sound LocateSound(const Survey& survey, const Chunk& chunk, FileReader& reader, ChunkProbe& probe) {
    const int64_t lead = LeadBytes(survey, chunk, reader);
    Sound sound;
    sound.start = std::min(chunk.bodyStart + lead, survey.fileBytes);
    const auto claims = Claims(survey, chunk);
    sound.claimedEnd = chunk.bodyStart + std::min(claims.front(), farthest - chunk.bodyStart);
    if (IsUnwritten(survey, chunk, lead)) {
        // Nothing but chunks behind an empty one: no sound was recorded.
        const bool isEmpty = chunk.sizeField != sizeInDs64 && sound.claimedEnd <= survey.fileBytes &&
                             (sound.start >= survey.fileBytes || probe.ChunksFillFrom(sound.claimedEnd));
        sound.claim = isEmpty ? SoundClaim::fits : SoundClaim::unfinished;
        sound.end = sound.start;
        if (!isEmpty) SearchEnd(survey, reader, sound.start, probe, sound);
        return sound;
    }
    if (const size_t i = FittingClaim(survey, chunk.bodyStart, claims, probe); i < claims.size()) {
        sound.end = std::max(chunk.bodyStart + claims[i], sound.start);
        const bool isInDs64 = survey.ds64 && i == 1;
        sound.claim = i == 0 ? SoundClaim::fits : isInDs64 ? SoundClaim::elsewhere : SoundClaim::wrapped;
        return sound;
    }
    if (IsLessThanAFrame(survey, Padded(chunk.bodyStart, claims.front(), *survey.rules))) {
        sound.end = std::max(sound.claimedEnd, sound.start);
        return sound;
    }
    sound.claim = sound.claimedEnd > survey.fileBytes ? SoundClaim::tooLong : SoundClaim::tooShort;
    SearchEnd(survey, reader, sound.claim == SoundClaim::tooShort ? sound.claimedEnd : sound.start, probe,
              sound);
    return sound;
}

}  // namespace vantor::wavehost
