// The events of an ID3v2 event timing frame ("ETCO") as one text: "0:intro start,12500:verse start".
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace vantor {

// The frame's data: time-stamp format (1 byte, 2: milliseconds), then for each event its type (1) and time
// (4, big-endian). Nothing when the format is another or an event is cut off.
[[nodiscard]] std::optional<std::string> EventsText(std::span<const uint8_t> data);
// The frame's data behind such a text; nothing when it is none. Events called "unknown" get the first type
// that is free for any use.
[[nodiscard]] std::optional<std::vector<uint8_t>> EventsData(std::string_view text);

}  // namespace vantor
