// The items of a LIST chunk of type INFO as they stand, for those who change some of them.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "metadata/write/build_chunks.h"

namespace vantor {

inline constexpr size_t infoTypeBytes = 4;

struct InfoItem {
    std::string key;
    std::span<const uint8_t> whole;  // with header and pad byte
    bool hasText = false;            // a reader stores something
};

struct InfoItems {
    std::vector<InfoItem> list;
    std::span<const uint8_t> rest;  // what a reader does not reach
};

// Of a list's body, at least infoTypeBytes long.
[[nodiscard]] InfoItems InfoItemsOf(std::span<const uint8_t> body);
// One list of the items of all; what no reader reaches is left out.
[[nodiscard]] ChunkBody JoinInfoLists(std::span<const ChunkBody> lists);

}  // namespace vantor
