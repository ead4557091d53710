// What the passes over the containers' headers have in common, and the passes.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

#include "source/metadata_header_parse.h"

namespace vantor {

// What one pass carries from chunk to chunk.
struct MetadataHeaderPass {
    FileReader& reader;
    MetadataHeader& header;
    std::vector<uint8_t> scratch{};
};

// Each reads the chunks from the first one on. False when the file names no usable format.
[[nodiscard]] bool ParseCafHeader(MetadataHeaderPass& pass);
[[nodiscard]] bool ParseRiffHeader(MetadataHeaderPass& pass, bool is64Bit);

// Where the header behind this one stands: at `next`, or behind a run of empty chunks that begins there.
[[nodiscard]] int64_t NextHeader(FileReader& reader, std::span<const uint8_t> header, int64_t next);

// Sets a tempo from the length in beats, when that is a whole number of 32nds of a beat.
void CompleteTempo(MetadataHeader& header, std::string_view tempoKey, std::string_view beatsKey);

// Reads the first bytes of a body that claims `bodyBytes`; nothing when it is smaller or not all there.
template <size_t count>
std::optional<std::array<uint8_t, count>> ReadStart(FileReader& reader, int64_t bodyBytes) {
    std::array<uint8_t, count> bytes;
    if (bodyBytes < static_cast<int64_t>(count) || !reader.ReadExactly(bytes.data(), count))
        return std::nullopt;
    return bytes;
}

}  // namespace vantor
