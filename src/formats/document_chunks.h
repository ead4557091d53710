// Documents (iXML, axml, XMP) and ID3v2 tags as they stand in Wave64, IFF and CAF files.
#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

#include "fileio/file_reader.h"

namespace vantor {

// BE7ACFCB-97A9-42E8-9C71-999491E3AFAC (XMP Specification, part 3): the type of a CAF chunk that holds XMP.
inline constexpr uint8_t xmpUuid[] = {0xBE, 0x7A, 0xCF, 0xCB, 0x97, 0xA9, 0x42, 0xE8,
                                      0x9C, 0x71, 0x99, 0x94, 0x91, 0xE3, 0xAF, 0xAC};
// The application (an `APPL` chunk's first four bytes, AIFF 1.3) whose chunk holds XMP.
inline constexpr std::string_view xmpSignature = "XMP ";

struct DocumentPlace {
    int64_t start;  // file offset
    int64_t bytes;
};
// Those of a scheme ("XMP", "ID3") that the file holds whole, in file order. None for other kinds of files.
[[nodiscard]] std::vector<DocumentPlace> FindDocuments(FileReader& reader, std::string_view scheme);

}  // namespace vantor
