// Documents that are the whole body of a chunk of their own: iXML, axml, XMP. Read and put in as they stand.
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
    std::string scheme;  // "IXML", "AXML", "XMP"
    std::vector<uint8_t> bytes;
};

// The body of the first chunk of the scheme, up to 1 GiB; empty when there is none, or when it cannot be
// read.
[[nodiscard]] std::vector<uint8_t> ReadDocument(FileReader& file, bool isRf64, std::string_view scheme);

// The document's chunk, in place of all chunks of its scheme. Nothing when it is none that the scheme's own
// reader takes.
[[nodiscard]] std::optional<ChunkImages> ImagesOf(const Document& document);

}  // namespace vantor
