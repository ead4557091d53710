// What can be wrong with a file: the table of findings, and one finding with what mends it.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace vantor::wavehost {

enum class Severity { error, warning, note };

enum class FindingId {
    unreadable,
    beingWritten,
    unfinished,
    cutOff,
    hiddenSound,
    outgrown,
    dataSize,
    ds64,
    frameCount,
    factCount,
    containerSize,
    chunkCutOff,
    padByte,
    blockAlign,
    byteRate,
    doubledChunk,
    refusedChunk,
    textEncoding,
    dateForm,
    positions,
    trailingBytes,
    partialFrame,
    empty,
    silent,
    clipped,
    mixedRates,
    mixedDepths,
    mixedChannels,
    missingPositions,
    sameAudio,
    count
};

struct FindingKind {
    const char* name;
    Severity severity;
    const char* meaning;
    const char* mend;  // what `repair` does about it; empty: nothing
};
const FindingKind& KindOf(FindingId id);
const char* SeverityName(Severity severity);

// One change to a file. Those of a finding are made one after the other, each on the disk before the next; a
// file that is left between two of them has findings that lead to the same end.
struct Step {
    enum class Kind {
        write,   // `bytes` at `offset`, over what stands there or behind the end
        insert,  // `bytes` before what stands at `offset`, by a complete copy
    };
    Kind kind = Kind::write;
    int64_t offset = 0;
    std::vector<uint8_t> bytes;
};

enum class Mending {
    none,
    certain,
    forced,  // likely right, but the file alone does not tell: only when the person asks for it
};

struct Finding {
    FindingId id = FindingId::unreadable;
    std::string chunk;   // id of the chunk, or of the file's header; empty: the whole file
    int64_t offset = 0;  // in the file
    std::string text;
    Mending mending = Mending::none;
    std::vector<Step> steps{};
};
using Findings = std::vector<Finding>;

// True for findings that make a file wrong, and not only worth a remark.
bool IsWrong(const Findings& findings);

}  // namespace vantor::wavehost
