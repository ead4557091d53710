// What a file's chunks and sizes say, and where its sound really lies, whatever they say.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "formats/audio_format.h"
#include "formats/containers.h"
#include "formats/ds64.h"
#include "wavehost/care/chunk_probe.h"

namespace vantor::wavehost {

struct SurveyedChunk {
    std::string id;  // four characters
    int64_t start = 0;
    int64_t bodyStart = 0;
    uint64_t claimedBytes = 0;  // of the body
    int64_t bodyBytes = 0;      // in the file
    bool isCutOff = false;      // the file ends first
    bool lacksPad = false;      // odd, and what follows stands at its end

    [[nodiscard]] int64_t BodyEnd() const { return bodyStart + bodyBytes; }
};

// How the size of the chunk that holds the sound relates to the file.
enum class SoundClaim {
    fits,
    unfinished,  // never written, or a writer's placeholder
    tooLong,     // the file ends first
    tooShort,    // what follows it is no chunk
    wrapped,     // fits once the multiples of 4 GiB that 32 bits lose are added
    elsewhere,   // another field of the file has the size that fits
};

struct Sound {
    size_t chunk = 0;        // in Survey::chunks
    int64_t start = 0;       // file offset of the first audio byte
    int64_t end = 0;         // behind the last one
    int64_t claimedEnd = 0;  // by the container; beyond the file's end too
    SoundClaim claim = SoundClaim::fits;
    bool isCertain = true;  // false: where it ends, the file alone does not tell

    [[nodiscard]] int64_t Bytes() const { return end - start; }
};

// A file as it lies there. Not copied: the parsed format holds a count that playing threads share.
struct Survey {
    std::string file;
    int64_t fileBytes = 0;
    AudioFormat format;       // what the module makes of the file
    bool isPlayable = false;  // else format.errorMessage says why
    bool formatAccepted = false;
    const Container* container = nullptr;   // null: none that the module reads
    const ContainerRules* rules = nullptr;  // of the container
    std::vector<SurveyedChunk> chunks;      // in file order
    bool hasMoreChunks = false;             // than are listed
    std::optional<Sound> sound;
    std::optional<Ds64> ds64;
    int64_t blockFrames = 0;  // frames of an ADPCM block; 0 for linear sound
    int64_t end = 0;          // behind the last chunk, its pad bytes too where they are there

    [[nodiscard]] bool Is64() const { return format.fileKind == kindRf64 || format.fileKind == kindBw64; }
    [[nodiscard]] const SurveyedChunk* Find(std::string_view id) const;  // the first; null when absent
    [[nodiscard]] const SurveyedChunk& SoundChunk() const { return chunks[sound->chunk]; }
    // Bytes of a frame of linear sound; 0 when it is block-coded or unknown.
    [[nodiscard]] int64_t FrameBytes() const;
    // Frames that lie between the sound's ends; of block-coded sound as its own format counts them.
    [[nodiscard]] int64_t Frames() const;
};

// Throws Failure when the file cannot be opened or read. Reads chunk headers alone, and the sound only where
// its size does not tell its end.
std::unique_ptr<Survey> SurveyFile(const std::string& file, FileReader& reader);
std::unique_ptr<Survey> SurveyFile(const std::string& file);

}  // namespace vantor::wavehost
