// Puts new metadata chunks into a RIFF WAVE, RF64 or BW64 file: in place, or as a complete copy. The audio is
// never rewritten in place and is copied byte for byte.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "edit/chunk_walk.h"
#include "fileio/file_reader.h"
#include "fileio/file_writer.h"

namespace vantor {

// True when the file now holds the new metadata. `reader` is open on the file and stands anywhere; it is
// closed (reset) before the file is opened for writing. `isRf64`: RF64 or BW64. `replaced`: the schemes whose
// chunks make way for the image; those of others stay where they are.
[[nodiscard]] bool RewriteInPlace(const std::string& fileName, std::unique_ptr<FileReader> reader,
                                  const std::vector<uint8_t>& image, bool isRf64, Schemes replaced);

// Writes the complete file to `targetName`, of the same container kind (0 RIFF WAVE, 3 RF64, 5 BW64): the
// main image after "fmt ", the tail image at the end. True when every write wrote all its bytes; a partly
// written target stays.
[[nodiscard]] bool WriteCopy(FileReader& reader, const std::string& targetName,
                             const std::vector<uint8_t>& mainImage, const std::vector<uint8_t>& tailImage,
                             int32_t fileKind, Schemes replaced);

// The file as it is, byte for byte.
[[nodiscard]] bool WriteSameBytes(FileReader& reader, const std::string& targetName);

}  // namespace vantor
