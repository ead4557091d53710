// Moves bytes into a file under rewrite: copies of runs, and padding chunks.
#pragma once

#include <cstdint>

#include "fileio/file_reader.h"
#include "fileio/file_writer.h"

namespace vantor {

// Copies `count` bytes from the reader's position to the writer. False when any are missing on either side.
[[nodiscard]] bool CopyBytes(FileReader& reader, FileWriter& writer, int64_t count);

// Writes all of the bytes at the writer's position.
[[nodiscard]] bool WriteBytes(FileWriter& writer, const uint8_t* bytes, int64_t count);

// Writes `count` zero bytes at the writer's position.
[[nodiscard]] bool WriteZeros(FileWriter& writer, int64_t count);

// Writes the header of a "JUNK" chunk that takes `length` bytes with its header (length >= 8).
[[nodiscard]] bool WriteJunkHeader(int64_t offset, FileWriter& writer, int64_t length);

// Covers `length` bytes (>= 8) from `offset` on with "JUNK" chunks full of zeros.
[[nodiscard]] bool FillWithJunk(int64_t offset, FileWriter& writer, int64_t length);

}  // namespace vantor
