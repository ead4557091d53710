// The `ds64` chunk of RF64 and BW64 files: sizes that do not fit the 32-bit fields (EBU Tech 3306, ITU-R
// BS.2088).
//
// | offset | width | field                                                  |
// |      0 |     8 | RIFF size                                              |
// |      8 |     8 | data chunk size                                        |
// |     16 |     8 | sample count (for a `fact` of 0xFFFFFFFF)              |
// |     24 |     4 | table entries n                                        |
// |     28 |  12 n | chunk id (4), size (8) of chunks whose size is all ones |
#pragma once

#include <array>
#include <cstdint>
#include <string_view>
#include <vector>

#include "fileio/file_reader.h"

namespace vantor {

struct Ds64 {
    struct Entry {
        std::array<uint8_t, 4> id;
        uint64_t size;
    };
    uint64_t riffSize = 0;
    uint64_t dataSize = 0;
    uint64_t sampleCount = 0;
    std::vector<Entry> table;  // sorted by id; of one id the first counts
};

enum class Ds64Result { ok, tooSmall, shortRead };

inline constexpr uint32_t sizeInDs64 = 0xFFFFFFFFu;
inline constexpr uint32_t ds64FixedBytes = 28;  // in front of the table
inline constexpr uint32_t smallestDs64 = 24;    // up to the sample count: of a file that is opened or edited
inline constexpr uint32_t smallestSizes = 16;   // the sizes alone are enough to find the tags

// `reader` stands at the body, which claims `bodySize` bytes. `smallestBody` bytes at least must be there
// (fields that a shorter body lacks stay 0).
[[nodiscard]] Ds64Result ReadDs64(FileReader& reader, uint32_t bodySize, uint32_t smallestBody, Ds64& ds64);

// The size of a chunk other than `data`: `size`, or when that is sizeInDs64 the first table entry of its id,
// four characters.
[[nodiscard]] uint64_t SizeFromTable(const Ds64& ds64, std::string_view id, uint32_t size);

}  // namespace vantor
