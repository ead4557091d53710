// The `cue ` chunk of Wave64 files, laid out unlike that of RIFF.
#include <algorithm>

#include "fileio/byte_order.h"
#include "formats/chunk_cursor.h"
#include "formats/markers.h"
#include "text/text.h"

namespace vantor {

namespace {

constexpr size_t entryBytes = 32;
constexpr uint64_t noLength = ~uint64_t{0};  // a plain marker
constexpr uint32_t replacementCharacter = 0xFFFD;

// UTF-16 units, little-endian, one code point each: halves of surrogate pairs are not joined.
std::string NameFrom(std::span<const uint8_t> units) {
    std::string name;
    for (; units.size() >= 2 && name.size() < longestMarkerName; units = units.subspan(2)) {
        const uint16_t unit = ReadLe16(units.data());
        if (unit == 0) break;
        if (!AppendUtf8(name, unit)) AppendUtf8(name, replacementCharacter);
    }
    return MarkerName(name);
}

// | offset | width | field                                                   |
// |      0 |     4 | id                                                      |
// |      8 |     8 | position in frames                                      |
// |     16 |     8 | length in frames, all ones for a plain marker           |
// |     24 |     4 | bytes of the name that follows the entry                |
Marker MarkerFromEntry(const uint8_t* entry, double sampleRate) {
    Marker marker;
    const uint64_t position = ReadLe64(entry + 8);
    const uint64_t length = ReadLe64(entry + 16);
    marker.id = ReadLittle<int32_t>(entry);
    marker.start = static_cast<double>(static_cast<int64_t>(position)) / sampleRate;
    if (length != noLength) {
        marker.isRegion = true;
        marker.end = static_cast<double>(static_cast<int64_t>(position + length)) / sampleRate;
    }
    return marker;
}

}  // namespace

void ReadWave64Cues(FileReader& reader, uint64_t bodyBytes, double sampleRate, std::vector<Marker>& markers,
                    TextPool& names) {
    if (!(sampleRate > 0)) return;
    BodyReader body(reader, bodyBytes);
    uint8_t entry[entryBytes];
    if (!body.Read(entry, 4)) return;
    std::vector<uint8_t> name;
    // Entries of zeros are void (a sparse file is full of them) and take no memory.
    for (uint32_t left = ReadLe32(entry); left > 0 && body.Read(entry, entryBytes); --left) {
        if (std::all_of(entry, entry + entryBytes, [](uint8_t byte) { return byte == 0; })) continue;
        Marker& marker = markers.emplace_back(MarkerFromEntry(entry, sampleRate));
        const uint32_t nameBytes = ReadLe32(entry + 24);
        if (nameBytes < 1 || nameBytes > body.remaining) continue;
        if (!ReadBody(reader, nameBytes, name)) return;
        body.remaining -= nameBytes;
        marker.name = names.Keep(NameFrom(name));
    }
}

}  // namespace vantor
