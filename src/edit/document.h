// Documents that stand whole in a file: iXML, axml, XMP, each in a chunk of its own, and the picture of an
// ID3v2 tag. Read and put in as they stand.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "edit/images.h"
#include "fileio/file_reader.h"

namespace vantor {

struct Document {
    std::string scheme;  // "IXML", "AXML", "XMP"; "ID3:APIC", a picture
    std::vector<uint8_t> bytes;
};

// The first document of the scheme, up to 1 GiB, and of pictures the one whose key has no number. Empty when
// there is none, or when it cannot be read.
[[nodiscard]] std::vector<uint8_t> ReadDocument(FileReader& file, const AudioFormat& format,
                                                std::string_view scheme);

// The document's chunk, in place of all chunks of its scheme; for a picture all tags, one of them with the
// picture in place of its first, or behind its other frames, and all else as it was. Nothing when it is none
// that the scheme's own reader takes: a picture begins as its format does (JPEG, PNG, GIF, WebP, TIFF or
// BMP).
[[nodiscard]] std::optional<ChunkImages> ImagesOf(const Document& document, FileReader& file, bool isRf64);

}  // namespace vantor
