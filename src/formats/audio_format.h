// The one record that describes an opened file, and the driver that fills it. Decoders and sources read only
// this record.
#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "fileio/file_reader.h"
#include "formats/marker.h"
#include "metadata/metadata_store.h"
#include "text/text_pool.h"

namespace vantor {

enum FileKind : int32_t {
    kindUnknown = -1,
    kindWave = 0,
    kindIff = 1,  // AIFF, AIFC, 8SVX
    kindWave64 = 2,
    kindRf64 = 3,
    kindCaf = 4,
    kindBw64 = 5,
};

// Sample encodings by their RIFF format tag; every container maps its own codes onto these.
enum Encoding : int32_t {
    encodingInteger = 1,
    encodingMsAdpcm = 2,
    encodingFloat = 3,
    encodingUlaw = 7,
    encodingImaAdpcm = 0x11,
    encodingCAdpcm = 0xAC0C,
};

inline constexpr uint32_t layoutFromMask = 0x10000;  // layoutTag: channelMask applies

struct AudioFormat {
    int32_t fileKind = kindUnknown;
    bool bigEndian = false;  // sample words stored most significant byte first
    bool lengthCutWhileGrowing =
        false;  // the length was cut to the bytes present while another process writes the file
    bool isMpegInWave = false;  // format tag 0x0050
    int32_t channels = 0;
    double sampleRate = 0;                  // Hz
    std::atomic<int64_t> lengthFrames = 0;  // grows while the file does, under playing threads
    int64_t dataStart = 0;                  // file offset of the first audio byte
    int64_t blockCodedBytes = 0;            // ADPCM: audio bytes from there on; 0 up to the file's end
    int32_t bitsPerSample = 0;              // container size: 8, 16, 20, 24, 32, 64; 4 or 2 for ADPCM
    int32_t validBits = 0;                  // from WAVE_FORMAT_EXTENSIBLE, else 0
    int32_t encoding = encodingInteger;
    uint32_t layoutTag = 0;  // CAF numbering; layoutFromMask; 0 none
    uint32_t channelMask = 0;
    int64_t fileSize = -1;   // when parsed; -1 never
    int32_t blockAlign = 0;  // bytes a frame, a compressed block, or a CAF packet
    float tempo = 0;         // beats a minute, 0 none
    int32_t loopKind = 0;    // 0 none, 1 ACID, 2 Apple Loops
    int32_t beatCount = 0;
    int32_t beatCountAlt = 0;    // from an ACID chunk with flag bit 4
    int32_t rootNoteOffset = 0;  // MIDI note - 60; this and the key of a loop alone
    int32_t hasRootNote = 0;
    int32_t musicalKey = -1;  // pitch class 0..11, -1 unknown
    int32_t meter = 0;        // numerator x 256 + denominator
    int64_t validFrames = 0;  // CAF packet table
    int32_t primingFrames = 0;
    int32_t remainderFrames = 0;
    std::vector<int64_t> slicePoints;  // frames, ascending
    std::vector<Marker> markers;
    TextPool markerNames;  // their texts
    MetadataStore metadata;
    bool isIncomplete = false;  // the parse ended before the file did: there may be more metadata
    std::optional<std::string> errorMessage;  // why the last parse failed
    std::optional<std::array<int16_t, 14>> msadpcmCoefficients;
};

[[nodiscard]] constexpr int32_t WholeBytes(int32_t bits) {
    return (bits + 7) / 8;
}

// Fills a fresh record from an open reader. 0: it describes a playable file; 1: it does not, and
// errorMessage, localised, says why.
int ParseAudioFormat(AudioFormat& format, FileReader& reader);

// Adds a slice position: never closer than 10 ms to the last one, and a 0 in front of a first one further in.
void AddSlicePoint(AudioFormat& format, int64_t frame);

}  // namespace vantor
