// What the sizes in a file say, against what lies there.
#include <algorithm>
#include <string>
#include <utility>

#include "fileio/byte_order.h"
#include "formats/ds64.h"
#include "metadata/tag_schemes.h"
#include "wavehost/care/examine.h"
#include "wavehost/care/fields.h"

namespace vantor::wavehost {

namespace {

constexpr uint64_t most32 = 0xFFFFFFFE;  // all ones is no size

// Padding by any name, and a `ds64` that the file's id does not call for.
bool MakesRoom(std::string_view id) {
    const TagScheme* scheme = SchemeOfChunkId(id);
    return id == "PAD " || id == "ds64" || (scheme && scheme->name == std::string_view(paddingScheme));
}

Mending HowSure(const Survey& survey) {
    return survey.sound && !survey.sound->isCertain ? Mending::forced : Mending::certain;
}

bool NeedsMore(const Survey& survey, int64_t bytes) {
    return survey.rules->framing.sizeBytes == 4 && !survey.Is64() && static_cast<uint64_t>(bytes) > most32;
}

// The sound, with the pad byte that its chunk will have, and what follows it.
int64_t WholeEnd(const Survey& survey) {
    return std::max(survey.end, PaddedEnd(survey));
}

// Each state between two steps is a file that plays at least what it did, and leads on: the `ds64` is whole
// before it is named, and named before the file's id makes readers look for it.
std::vector<Step> StepsToRf64(const Survey& survey) {
    if (survey.format.fileKind != kindWave || survey.chunks.empty()) return {};
    const SurveyedChunk& room = survey.chunks.front();
    if (!MakesRoom(room.id) || room.start != survey.container->firstChunk || room.bodyBytes < ds64FixedBytes)
        return {};
    std::vector<uint8_t> ds64(ds64FixedBytes);
    WriteLe64(ds64.data(), static_cast<uint64_t>(WholeEnd(survey) - 8));
    WriteLe64(ds64.data() + 8, static_cast<uint64_t>(survey.sound->end - survey.SoundChunk().bodyStart));
    WriteLe64(ds64.data() + 16, static_cast<uint64_t>(survey.Frames()));
    return {{.offset = room.bodyStart, .bytes = ds64},
            TextStep(room.start, "ds64"),
            TextStep(0, "RF64"),
            NumberStep(survey, survey.SoundChunk().start + 4, sizeInDs64, 4),
            NumberStep(survey, 4, sizeInDs64, 4)};
}

// In RF64 the size is told by `ds64`; the field in the chunk says so once it is there.
std::vector<Step> SoundSizeSteps(const Survey& survey) {
    const SurveyedChunk& chunk = survey.SoundChunk();
    const auto bytes = static_cast<uint64_t>(survey.sound->end - chunk.bodyStart);
    if (NeedsMore(survey, static_cast<int64_t>(bytes))) return StepsToRf64(survey);
    if (!survey.Is64() || !survey.ds64) return {ChunkSizeStep(survey, chunk, bytes)};
    std::vector<Step> steps;
    if (survey.ds64->dataSize != bytes)
        steps.push_back(NumberStep(survey, survey.chunks.front().bodyStart + 8, bytes, 8));
    if (survey.sound->claim == SoundClaim::elsewhere || chunk.claimedBytes != sizeInDs64)
        steps.push_back(NumberStep(survey, chunk.start + 4, sizeInDs64, 4));
    return steps;
}

std::string Presence(const Survey& survey) {
    return SecondsText(survey, survey.Frames()) +
           (survey.FrameBytes() || survey.Frames() ? " are there" : "");
}

std::string WhereItEnds(const Survey& survey) {
    if (survey.sound->isCertain) return "";
    const bool toTheEnd = survey.sound->end == survey.fileBytes;
    return toTheEnd
               ? "; whether what follows the sound is sound too, the file alone does not tell: --force takes "
                 "it for sound up to the end of the file"
               : "; what looks like tags follows it at " + std::to_string(survey.sound->end) +
                     ", and the file alone does not tell: --force ends the sound there";
}

std::string SoundText(const Survey& survey) {
    const Sound& sound = *survey.sound;
    switch (sound.claim) {
        case SoundClaim::unfinished:
            return "the size of the sound was never written; " + Presence(survey);
        case SoundClaim::tooLong:
            return "the file ends " + Count(sound.claimedEnd - survey.fileBytes, "byte") +
                   " before its sound should; " + Presence(survey);
        case SoundClaim::tooShort:
            return Count(sound.end - sound.claimedEnd, "byte") + " behind the sound are no chunk" +
                   ", the size of the sound may be too small";
        case SoundClaim::wrapped:
            return "the sound is " + Count((sound.end - sound.claimedEnd) >> 32, "time") +
                   " 4 GiB longer than its 32-bit size tells; " + Presence(survey);
        default:
            return "the size in the chunk and that in ds64 differ; " + Presence(survey);
    }
}

FindingId SoundFinding(SoundClaim claim) {
    switch (claim) {
        case SoundClaim::unfinished:
            return FindingId::unfinished;
        case SoundClaim::tooLong:
            return FindingId::cutOff;
        case SoundClaim::tooShort:
            return FindingId::hiddenSound;
        case SoundClaim::wrapped:
            return FindingId::outgrown;
        default:
            return FindingId::dataSize;
    }
}

void CheckSoundSize(Examination& e) {
    const Survey& survey = e.survey;
    if (!survey.sound || survey.sound->claim == SoundClaim::fits) return;
    const SurveyedChunk& chunk = survey.SoundChunk();
    const bool isTooLarge = NeedsMore(survey, survey.sound->end - chunk.bodyStart);
    Finding finding{isTooLarge ? FindingId::outgrown : SoundFinding(survey.sound->claim), chunk.id,
                    chunk.start, SoundText(survey) + WhereItEnds(survey), HowSure(survey)};
    finding.steps = SoundSizeSteps(survey);
    if (finding.steps.empty()) {
        finding.mending = Mending::none;
        finding.text += survey.format.fileKind == kindWave
                            ? "; no padding chunk stands first to make room for 64-bit sizes"
                            : "; the container knows no larger sizes";
        finding.text += "; 'wavehost render' plays all of it into a new file with such sizes";
    }
    e.Add(std::move(finding));
}

void AddContainerSize(Examination& e, uint64_t field, const ContainerSize& size, FindingId id) {
    const std::string text = field > size.expected
                                 ? Count(field - size.expected, "byte") + " more than there are"
                                 : Count(size.expected - field, "byte") + " fewer than there are";
    e.Add({id,
           e.survey.Is64() ? "ds64" : "",
           size.offset,
           "the size of the container counts " + text,
           HowSure(e.survey),
           {NumberStep(e.survey, size.offset, size.expected, size.width)}});
}

uint64_t NumberAt(Examination& e, int64_t offset, int width) {
    std::vector<uint8_t> bytes(static_cast<size_t>(width));
    e.reader.Seek(offset);
    if (!e.reader.ReadExactly(bytes.data(), width)) return 0;
    if (e.survey.rules->framing.bigEndian) std::ranges::reverse(bytes);
    uint64_t value = 0;
    for (size_t i = bytes.size(); i-- > 0;)
        value = value << 8 | bytes[i];
    return value;
}

// Writers differ in whether the last pad byte counts, and what stands behind the last chunk may count or not.
void CheckContainerSize(Examination& e) {
    const Survey& survey = e.survey;
    const ContainerSize size = ContainerSizeFor(survey, WholeEnd(survey));
    if (size.width == 0 || NeedsMore(survey, static_cast<int64_t>(size.expected)) || survey.hasMoreChunks)
        return;
    const uint64_t field = NumberAt(e, size.offset, size.width);
    const auto unpadded = survey.chunks.empty() ? survey.end : survey.chunks.back().BodyEnd();
    for (const int64_t end : {WholeEnd(survey), unpadded, survey.fileBytes})
        if (field == ContainerSizeFor(survey, end).expected) return;
    AddContainerSize(e, field, size, survey.Is64() ? FindingId::ds64 : FindingId::containerSize);
}

void CheckRf64SizeField(Examination& e) {
    if (!e.survey.Is64() || !e.survey.ds64 || NumberAt(e, 4, 4) == sizeInDs64) return;
    e.Add({FindingId::containerSize,
           "",
           4,
           "the 32-bit size of the container does not refer to ds64",
           Mending::certain,
           {NumberStep(e.survey, 4, sizeInDs64, 4)}});
}

void CheckDs64DataSize(Examination& e) {
    const Survey& survey = e.survey;
    if (!survey.ds64 || !survey.sound || survey.sound->claim != SoundClaim::fits) return;
    const auto bytes = static_cast<uint64_t>(survey.sound->end - survey.SoundChunk().bodyStart);
    if (survey.ds64->dataSize == bytes) return;
    const int64_t offset = survey.chunks.front().bodyStart + 8;
    e.Add({FindingId::ds64,
           "ds64",
           offset,
           "ds64 tells another size of the sound than its chunk",
           Mending::certain,
           {NumberStep(survey, offset, bytes, 8)}});
}

void CheckCutOffChunks(Examination& e) {
    constexpr std::string_view vital[] = {"fmt ", "ds64", "COMM", "VHDR", "desc"};
    for (const SurveyedChunk& chunk : e.survey.chunks) {
        if (!chunk.isCutOff) continue;
        Finding finding{FindingId::chunkCutOff, chunk.id, chunk.start,
                        "the file ends " +
                            std::to_string(chunk.claimedBytes - static_cast<uint64_t>(chunk.bodyBytes)) +
                            " bytes before the chunk does"};
        const bool in64 = e.survey.Is64() && chunk.claimedBytes >= sizeInDs64;
        if (std::ranges::find(vital, chunk.id) == std::end(vital) && !in64) {
            finding.mending = HowSure(e.survey);
            finding.steps = {ChunkSizeStep(e.survey, chunk, static_cast<uint64_t>(chunk.bodyBytes))};
        }
        e.Add(std::move(finding));
    }
}

// The last chunk of a Wave64 file goes without in the files of a widespread library; nothing hangs on it.
void CheckPadBytes(Examination& e) {
    const int64_t mask = e.survey.rules->framing.alignment - 1;
    for (const SurveyedChunk& chunk : e.survey.chunks) {
        if (!chunk.lacksPad) continue;
        if (e.survey.format.fileKind == kindWave64 && &chunk == &e.survey.chunks.back()) continue;
        const int64_t padBytes = ((chunk.bodyBytes + mask) & ~mask) - chunk.bodyBytes;
        const bool isLast = &chunk == &e.survey.chunks.back() && e.survey.end >= e.survey.fileBytes;
        const int64_t offset = isLast ? e.survey.fileBytes : chunk.BodyEnd();
        const int64_t missing = chunk.BodyEnd() + padBytes - (isLast ? e.survey.fileBytes : chunk.BodyEnd());
        Step step{isLast ? Step::Kind::write : Step::Kind::insert, offset,
                  std::vector<uint8_t>(static_cast<size_t>(missing))};
        e.Add({FindingId::padByte,
               chunk.id,
               chunk.BodyEnd(),
               "a chunk of " + Count(chunk.bodyBytes, "byte") + " without its pad byte" +
                   (isLast ? "" : ": readers that expect it lose what follows"),
               HowSure(e.survey),
               {std::move(step)}});
    }
}

void CheckTrailingBytes(Examination& e) {
    const int64_t left = e.survey.fileBytes - e.survey.end;
    if (left <= 0 || e.survey.hasMoreChunks) return;
    e.Add({FindingId::trailingBytes, "", e.survey.end, Count(left, "byte") + " behind the last chunk"});
}

}  // namespace

std::vector<Check> SizeChecks() {
    return {CheckSoundSize,    CheckContainerSize, CheckRf64SizeField, CheckDs64DataSize,
            CheckCutOffChunks, CheckPadBytes,      CheckTrailingBytes};
}

}  // namespace vantor::wavehost
