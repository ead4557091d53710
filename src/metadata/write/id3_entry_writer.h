// Frames behind store entries, pictures and all.
#pragma once

#include <span>
#include <string_view>

#include "fileio/file_reader.h"
#include "metadata/write/build_chunks.h"
#include "metadata/write/id3_frame_writer.h"

namespace vantor {

struct Id3EntryWriter {
    int version = 4;
    FileReader* file = nullptr;  // that picture descriptors point into; may be null
    std::span<const FileRange> unsynchronised = {};
    std::span<const uint8_t> newPicture = {};  // that a picture descriptor with offset 0 means

    // Appends the frame behind `base`, a key without its running number. A comment that replaces `old` keeps
    // its language and description. False when a value does not make up such a frame.
    bool Append(Id3Frames& frames, std::string_view base, std::string_view value,
                const Id3Frame* old = nullptr) const;
};

}  // namespace vantor
