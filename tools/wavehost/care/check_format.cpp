// What the file says of its encoding, and how many frames it counts.
#include <algorithm>
#include <string>
#include <utility>

#include "fileio/byte_order.h"
#include "wavehost/care/examine.h"
#include "wavehost/care/fields.h"

namespace vantor::wavehost {

namespace {

constexpr uint64_t fourGiB = int64_t{1} << 32;

Mending HowSure(const Survey& survey) {
    return survey.sound->isCertain ? Mending::certain : Mending::forced;
}

std::string Difference(const Survey& survey, uint64_t counted, int64_t frames) {
    const auto there = static_cast<uint64_t>(frames);
    if (counted > there) return Count(counted - there, "frame") + " more than there are";
    return SecondsText(survey, static_cast<int64_t>(there - counted)) + " of " + std::to_string(frames) +
           " are hidden";
}

// A stream of blocks may end inside its last one; a count that leaves out a whole block hides sound.
bool IsCountOfBlocks(const Survey& survey, uint64_t counted, uint64_t frames) {
    return counted <= frames && frames - counted < static_cast<uint64_t>(survey.blockFrames);
}

// Some writers count pad bytes to the sound, in Wave64 and in AIFF.
bool IsRoundedUp(const Survey& survey, uint64_t surplusBytes) {
    const bool isUsual = survey.format.fileKind == kindWave64 || survey.format.fileKind == kindIff;
    const int64_t unit = survey.rules->framing.alignment;
    return isUsual && survey.FrameBytes() > 0 && survey.sound->Bytes() % unit == 0 &&
           surplusBytes < static_cast<uint64_t>(unit);
}

// The chunk counts in 32 bits, in Wave64 in 64; in RF64 all ones refer to `ds64`.
void CheckFact(Examination& e) {
    const Survey& survey = e.survey;
    const SurveyedChunk* fact = survey.Find("fact");
    const int width = survey.format.fileKind == kindWave64 ? 8 : 4;
    if (!fact || fact->bodyBytes < width || !survey.sound || !survey.formatAccepted) return;
    const auto body = e.BodyOf(*fact, width);
    if (body.size() < static_cast<size_t>(width)) return;
    const uint64_t counted = width == 8 ? ReadLe64(body.data()) : ReadLe32(body.data());
    const auto frames = static_cast<uint64_t>(survey.Frames());
    if (counted == frames || (survey.ds64 && counted == sizeInDs64)) return;
    if (counted == 0) return;  // as good as no count
    if (frames < 1 || frames >= fourGiB - 1) return;
    if (survey.blockFrames > 0 && IsCountOfBlocks(survey, counted, frames)) return;
    if (counted < frames &&
        IsRoundedUp(survey, (frames - counted) * static_cast<uint64_t>(survey.FrameBytes())))
        return;
    e.Add({FindingId::factCount,
           fact->id,
           fact->start,
           Difference(survey, counted, frames),
           HowSure(survey),
           {NumberStep(survey, fact->bodyStart, frames, width)}});
}

void CheckDs64Count(Examination& e) {
    const Survey& survey = e.survey;
    const SurveyedChunk* fact = survey.Find("fact");
    if (!survey.ds64 || !survey.sound || survey.FrameBytes() == 0) return;
    const uint64_t counted = survey.ds64->sampleCount;
    const bool isAskedFor = fact && fact->bodyBytes >= 4 && ReadLe32(e.BodyOf(*fact, 4).data()) == sizeInDs64;
    if (counted == static_cast<uint64_t>(survey.Frames()) || (counted == 0 && !isAskedFor)) return;
    const int64_t offset = survey.chunks.front().bodyStart + 16;
    e.Add({FindingId::ds64,
           "ds64",
           offset,
           Difference(survey, counted, survey.Frames()),
           HowSure(survey),
           {NumberStep(survey, offset, static_cast<uint64_t>(survey.Frames()), 8)}});
}

// The count of an AIFF file is what players go by.
void CheckCommonFrames(Examination& e) {
    const Survey& survey = e.survey;
    const SurveyedChunk* comm = survey.Find("COMM");
    if (!comm || comm->bodyBytes < 18 || !survey.sound || survey.FrameBytes() == 0) return;
    if (static_cast<uint64_t>(survey.fileBytes) >= fourGiB) return;
    const auto body = e.BodyOf(*comm, 6);
    if (body.size() < 6) return;
    const uint32_t counted = ReadBe32(&body[2]);
    const int64_t hidden = survey.Frames() - int64_t{counted};
    if (hidden == 0) return;
    if (hidden > 0 && IsRoundedUp(survey, static_cast<uint64_t>(hidden * survey.FrameBytes()))) return;
    e.Add({FindingId::frameCount,
           comm->id,
           comm->start,
           Difference(survey, counted, survey.Frames()),
           HowSure(survey),
           {NumberStep(survey, comm->bodyStart + 2, static_cast<uint64_t>(survey.Frames()), 4)}});
}

// Samples at the start that are played once, and those behind that repeat.
// | offset | width | field             |
// |      0 |     4 | played once       |
// |      4 |     4 | repeated          |
// |     14 |     1 | octaves           |
void CheckVoiceCounts(Examination& e) {
    const Survey& survey = e.survey;
    const SurveyedChunk* vhdr = survey.Find("VHDR");
    if (!vhdr || vhdr->bodyBytes < 20 || !survey.sound || survey.container->form != "8SVX" ||
        survey.Find("CHAN"))
        return;
    const auto body = e.BodyOf(*vhdr, 20);
    if (body.size() < 20 || body[14] != 1) return;  // octaves and channels share the body
    const uint64_t once = ReadBe32(body.data()), repeated = ReadBe32(&body[4]);
    const auto there = static_cast<uint64_t>(survey.sound->Bytes());
    if (once + repeated == there || once + repeated == 0 || there >= fourGiB) return;
    Finding finding{FindingId::frameCount, vhdr->id, vhdr->start,
                    Difference(survey, once + repeated, survey.sound->Bytes())};
    if (repeated <= there) {
        finding.mending = HowSure(survey);
        finding.steps = {NumberStep(survey, vhdr->bodyStart, there - repeated, 4)};
    }
    e.Add(std::move(finding));
}

// | offset | width | field                 |
// |      4 |     4 | sample rate           |
// |      8 |     4 | bytes a second        |
// |     12 |     2 | bytes a frame         |
void CheckAlignAndRate(Examination& e) {
    const Survey& survey = e.survey;
    const SurveyedChunk* fmt = survey.Find("fmt ");
    if (!fmt || fmt->bodyBytes < 16 || survey.FrameBytes() == 0 || survey.format.bitsPerSample % 8 != 0)
        return;
    const auto body = e.BodyOf(*fmt, 16);
    if (body.size() < 16) return;
    const auto align = static_cast<int64_t>(ReadLe16(&body[12]));
    const int64_t tight = survey.FrameBytes();
    if (align != tight) {
        Finding finding{FindingId::blockAlign, fmt->id, fmt->start,
                        std::to_string(align) + " bytes a frame, where " +
                            std::to_string(survey.format.channels) + " channels of " +
                            std::to_string(survey.format.bitsPerSample) + " bits take " +
                            std::to_string(tight)};
        if (align < tight && tight <= 0xFFFF) {
            finding.mending = Mending::certain;
            finding.steps = {NumberStep(survey, fmt->bodyStart + 12, static_cast<uint64_t>(tight), 2)};
        }
        e.Add(std::move(finding));
    }
    const uint32_t byteRate = ReadLe32(&body[4]) * static_cast<uint32_t>(std::max(align, tight));
    if (ReadLe32(&body[8]) == byteRate) return;
    e.Add({FindingId::byteRate,
           fmt->id,
           fmt->start,
           std::to_string(ReadLe32(&body[8])) + " bytes a second, where rate and block alignment give " +
               std::to_string(byteRate),
           Mending::certain,
           {NumberStep(survey, fmt->bodyStart + 8, byteRate, 4)}});
}

void CheckWholeFrames(Examination& e) {
    const Survey& survey = e.survey;
    if (!survey.sound) return;
    if (survey.sound->Bytes() <= 0) {
        e.Add({FindingId::empty, survey.SoundChunk().id, survey.SoundChunk().start, "there is no sound"});
    } else if (const int64_t frameBytes = survey.FrameBytes()) {
        const int64_t rest = survey.sound->Bytes() % frameBytes;
        if (rest != 0 && !IsRoundedUp(survey, static_cast<uint64_t>(rest)))
            e.Add({FindingId::partialFrame, survey.SoundChunk().id, survey.sound->end - rest,
                   "the last " + Count(rest, "byte") + " are less than a frame of " +
                       std::to_string(frameBytes)});
    }
}

}  // namespace

std::vector<Check> FormatChecks() {
    return {CheckFact,        CheckDs64Count,    CheckCommonFrames,
            CheckVoiceCounts, CheckAlignAndRate, CheckWholeFrames};
}

}  // namespace vantor::wavehost
