// Markers and regions of RIFF, RF64, BW64 and Wave64 files: the chunks that hold them, and what holds for all
// markers once a file has been read.
#pragma once

#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

#include "fileio/file_reader.h"
#include "formats/chunk_cursor.h"
#include "formats/marker_table.h"

namespace vantor {

inline constexpr size_t longestMarkerName = 511;  // bytes

// The text as a name: UTF-8, or Windows-1252 where it is none, cut between characters.
[[nodiscard]] std::string MarkerName(std::string_view text);

// The readers are silent: a body whose sizes do not add up is ignored, or read as far as they do. Without a
// sample rate (in Hz) positions cannot become seconds and are ignored.

// A `cue ` body.
void ReadCueList(std::span<const uint8_t> body, double sampleRate, MarkerTable& table);
// The body of a LIST, its type included. False when it is not an associated data list, or a malformed one.
bool ReadAssociatedData(std::span<const uint8_t> listBody, double sampleRate, MarkerTable& table);
// The same of a long list, from behind its type on, which is not held in memory.
void ReadAssociatedData(BodyReader list, double sampleRate, MarkerTable& table);
// A `smpl` body.
void ReadSamplerLoops(std::span<const uint8_t> body, double sampleRate, MarkerTable& table);
// An `r64m` body. Moves, names and adds markers; for use after the walk.
void ReadRf64Markers(std::span<const uint8_t> body, double sampleRate, std::vector<Marker>& markers,
                     TextPool& names);
// A Wave64 `cue ` body of `bodyBytes`, read from the reader's position.
void ReadWave64Cues(FileReader& reader, uint64_t bodyBytes, double sampleRate, std::vector<Marker>& markers,
                    TextPool& names);

// Removes what is no marker: a negative id or start, or nothing but a position at the file's start.
void RemoveVoidMarkers(std::vector<Marker>& markers);

}  // namespace vantor
