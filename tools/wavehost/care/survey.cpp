#include "wavehost/care/survey.h"

#include <algorithm>
#include <system_error>
#include <utility>

#include "fileio/byte_order.h"
#include "formats/adpcm_shape.h"
#include "wavehost/care/sound_end.h"
#include "wavehost/os/failure.h"

namespace vantor::wavehost {

namespace {

constexpr size_t mostChunks = 4096;  // listed; the richest file has some dozens

// A parse that fails forgets the encoding; the walk is asked for it once more.
void ReadFormatOfRefused(Survey& survey, const Container& container, FileReader& reader) {
    ContainerWalk walk{.format = survey.format, .reader = reader};
    reader.Seek(container.firstChunk);
    (void)container.walk(walk);
    survey.formatAccepted = walk.formatAccepted;
}

class ChunkWalk {
  public:
    ChunkWalk(Survey& survey, FileReader& reader, int64_t firstChunk)
        : survey_(survey),
          reader_(reader),
          probe_(reader, *survey.rules),
          position_(std::min(firstChunk, survey.fileBytes)) {}

    void Run() {
        while (position_ < survey_.fileBytes && Step()) {
        }
        survey_.end = std::min(position_, survey_.fileBytes);
    }

  private:
    bool Step() {
        Chunk chunk;
        if (!probe_.HeaderAt(position_, chunk)) return false;
        if (chunk.header[0] == 0) return SkipZeros(chunk);
        // Text that leads beyond the file is more likely to be what other programs put behind the last chunk.
        if (!probe_.IsKnown(chunk) &&
            chunk.bodyBytes > static_cast<uint64_t>(survey_.fileBytes - chunk.bodyStart))
            return false;
        if (survey_.chunks.size() == mostChunks) {
            survey_.hasMoreChunks = true;
            return false;
        }
        SurveyedChunk listed{std::string(chunk.Id()), position_, chunk.bodyStart, chunk.bodyBytes};
        const bool isSound = chunk.Id() == survey_.rules->data && !survey_.sound;
        isSound ? TakeSound(chunk, listed) : TakeChunk(chunk, listed);
        Advance(listed);
        survey_.chunks.push_back(std::move(listed));
        return true;
    }

    // Zeros up to the end of the file are no chunks.
    bool SkipZeros(const Chunk& chunk) {
        if (probe_.IsZeroFrom(position_)) return false;
        reader_.Seek(chunk.bodyStart);
        if (!SeekPastChunk(reader_, survey_.rules->framing, chunk)) return false;
        position_ = reader_.Tell();
        return true;
    }

    void TakeSound(const Chunk& chunk, SurveyedChunk& listed) {
        Sound sound = LocateSound(survey_, chunk, reader_, probe_);
        sound.chunk = survey_.chunks.size();
        listed.bodyBytes = sound.end - listed.bodyStart;
        survey_.sound = sound;
    }

    void TakeChunk(const Chunk& chunk, SurveyedChunk& listed) {
        if (survey_.Is64() && survey_.chunks.empty() && listed.id == "ds64") {
            Ds64 ds64;
            reader_.Seek(listed.bodyStart);
            const auto bytes = static_cast<uint32_t>(chunk.sizeField);
            if (ReadDs64(reader_, bytes, smallestDs64, ds64) == Ds64Result::ok)
                survey_.ds64 = std::move(ds64);
        }
        if (survey_.ds64)
            listed.claimedBytes =
                SizeFromTable(*survey_.ds64, listed.id, static_cast<uint32_t>(chunk.sizeField));
        const int64_t left = survey_.fileBytes - listed.bodyStart;
        listed.isCutOff = listed.claimedBytes > static_cast<uint64_t>(left);
        listed.bodyBytes = listed.isCutOff ? left : static_cast<int64_t>(listed.claimedBytes);
    }

    void Advance(SurveyedChunk& listed) {
        const int64_t end = listed.BodyEnd();
        const int64_t mask = survey_.rules->framing.alignment - 1;
        const int64_t padded = listed.bodyStart + ((listed.bodyBytes + mask) & ~mask);
        position_ = padded;
        if (padded == end || listed.isCutOff) return;
        listed.lacksPad =
            padded > survey_.fileBytes || (!probe_.ChunksFollow(padded) && probe_.ChunksFillFrom(end));
        if (listed.lacksPad) position_ = end;
    }

    Survey& survey_;
    FileReader& reader_;
    ChunkProbe probe_;
    int64_t position_;
};

// What the format makes of a block of so many bytes; 0 for codings without blocks.
int64_t FramesOfBlock(const AudioFormat& format, int64_t bytes) {
    const auto* shape = FindAdpcmShape(format.encoding);
    if (!shape || format.channels < 1) return 0;
    const int64_t behindHeader = bytes / format.channels - shape->headerBytes;
    return behindHeader < 0 ? 0 : behindHeader * shape->framesPerByte + shape->headerFrames;
}

// | offset | width | field             |
// |     18 |     2 | frames of a block |
int64_t BlockFrames(const Survey& survey, FileReader& reader) {
    const SurveyedChunk* fmt = survey.Find("fmt ");
    if (!fmt || !survey.formatAccepted || !IsAdpcm(survey.format.encoding)) return 0;
    uint8_t told[2] = {};
    reader.Seek(fmt->bodyStart + 18);
    const bool isTold = fmt->bodyBytes >= 20 && reader.ReadExactly(told, sizeof told);
    const int64_t frames = isTold ? ReadLe16(told) : 0;
    return frames > 0 ? frames : FramesOfBlock(survey.format, survey.format.blockAlign);
}

void SurveyChunks(Survey& survey, const Container& container, FileReader& reader) {
    survey.rules = RulesOf(container);
    if (!survey.rules) return;
    if (!survey.isPlayable) ReadFormatOfRefused(survey, container, reader);
    ChunkWalk(survey, reader, container.firstChunk).Run();
    survey.blockFrames = BlockFrames(survey, reader);
}

}  // namespace

const SurveyedChunk* Survey::Find(std::string_view id) const {
    const auto found = std::ranges::find(chunks, id, &SurveyedChunk::id);
    return found == chunks.end() ? nullptr : &*found;
}

int64_t Survey::FrameBytes() const {
    if (!formatAccepted || IsAdpcm(format.encoding)) return 0;
    if (format.fileKind == kindCaf) return format.blockAlign;
    return int64_t{WholeBytes(format.bitsPerSample)} * format.channels;
}

int64_t Survey::Frames() const {
    if (!sound || !formatAccepted) return 0;
    if (blockFrames > 0 && format.blockAlign > 0)
        return sound->Bytes() / format.blockAlign * blockFrames +
               std::min(FramesOfBlock(format, sound->Bytes() % format.blockAlign), blockFrames);
    return FrameBytes() > 0 ? sound->Bytes() / FrameBytes() : 0;
}

std::unique_ptr<Survey> SurveyFile(const std::string& file, FileReader& reader) {
    auto survey = std::make_unique<Survey>();
    survey->file = file;
    survey->isPlayable = ParseAudioFormat(survey->format, reader) == 0;
    survey->formatAccepted = survey->isPlayable;
    survey->fileBytes = reader.Size();
    survey->container = RecogniseContainer(reader);
    if (survey->container) SurveyChunks(*survey, *survey->container, reader);
    if (reader.HasMissedBytes()) throw Failure("cannot be read");
    return survey;
}

std::unique_ptr<Survey> SurveyFile(const std::string& file) {
    FileReader reader(file, {});
    return SurveyFile(file, reader);
}

}  // namespace vantor::wavehost
