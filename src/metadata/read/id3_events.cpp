#include "metadata/read/id3_events.h"

#include <algorithm>
#include <charconv>
#include <iterator>

#include "fileio/byte_order.h"

namespace vantor {

namespace {

constexpr uint8_t milliseconds = 2;
constexpr size_t eventBytes = 5;
constexpr uint8_t freeType = 0xE0;

constexpr std::string_view eventNames[] = {
    "padding",         "end of initial silence",
    "intro start",     "main part start",
    "outro start",     "outro end",
    "verse start",     "refrain start",
    "interlude start", "theme start",
    "variation start", "key change",
    "time change",     "momentary unwanted noise",
    "sustained noise", "sustained noise end",
    "intro end",       "main part end",
    "verse end",       "refrain end",
    "theme end",       "profanity",
    "profanity end",
};

std::string_view NameOfType(uint8_t type) {
    return type < std::size(eventNames) ? eventNames[type] : "unknown";
}

std::optional<uint8_t> TypeOfName(std::string_view name) {
    const auto* const found = std::find(std::begin(eventNames), std::end(eventNames), name);
    if (found != std::end(eventNames)) return static_cast<uint8_t>(found - std::begin(eventNames));
    if (name == "unknown") return freeType;
    return std::nullopt;
}

// Appends the event that "time:name" stands for.
bool AppendEvent(std::vector<uint8_t>& data, std::string_view event) {
    uint32_t time = 0;
    const char* const end = event.data() + event.size();
    const auto read = std::from_chars(event.data(), end, time);
    if (read.ec != std::errc{} || read.ptr == end || *read.ptr != ':') return false;
    const auto type = TypeOfName({read.ptr + 1, static_cast<size_t>(end - read.ptr - 1)});
    if (!type) return false;
    data.push_back(*type);
    data.resize(data.size() + 4);
    WriteBe32(&data[data.size() - 4], time);
    return true;
}

}  // namespace

std::optional<std::string> EventsText(std::span<const uint8_t> data) {
    if (data.empty() || (data.size() - 1) % eventBytes != 0 || data[0] != milliseconds) return std::nullopt;
    std::string text;
    for (size_t i = 1; i < data.size(); i += eventBytes) {
        if (i > 1) text += ',';
        text += std::to_string(ReadBe32(&data[i + 1]));
        text += ':';
        text += NameOfType(data[i]);
    }
    return text;
}

std::optional<std::vector<uint8_t>> EventsData(std::string_view text) {
    std::vector<uint8_t> data = {milliseconds};
    for (;;) {
        const size_t comma = text.find(',');
        if (!AppendEvent(data, text.substr(0, comma))) return std::nullopt;
        if (comma == std::string_view::npos) return data;
        text.remove_prefix(comma + 1);
    }
}

}  // namespace vantor
