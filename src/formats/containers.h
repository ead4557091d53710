// The containers that are read: how a file of each begins, and who walks its chunks.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "fileio/file_reader.h"
#include "formats/audio_format.h"
#include "formats/container_walk.h"

namespace vantor {

struct Container {
    FileKind kind;
    std::string_view id;  // at the start of the file
    size_t formOffset;
    std::string_view form;
    int64_t firstChunk;  // file offset
    WalkFunction walk;   // from the first chunk on
};

// Told by the start of the file. Null for a file of no known container.
[[nodiscard]] const Container* RecogniseContainer(FileReader& reader);

}  // namespace vantor
