#include "formats/markers.h"

#include <algorithm>

#include "fileio/byte_order.h"
#include "text/text.h"

namespace vantor {

namespace {

constexpr size_t cueHeaderBytes = 4;
constexpr size_t cueEntryBytes = 24;
constexpr size_t samplerHeaderBytes = 36;
constexpr size_t samplerLoopBytes = 24;
constexpr size_t subChunkHeaderBytes = 8;
constexpr size_t labelTextOffset = 4;    // in `labl` and `note`
constexpr size_t regionTextOffset = 20;  // in `ltxt`

void NameMarker(MarkerTable& table, Marker& marker, std::span<const uint8_t> text, NamePriority priority) {
    if (!text.empty()) table.Name(marker, MarkerName(UpToNul(text)), priority);
}

// | offset | width | field            |
// |      0 |     4 | cue id           |
// |      4 |       | text             |
void ReadLabel(std::span<const uint8_t> data, NamePriority priority, MarkerTable& table) {
    if (data.size() < labelTextOffset) return;
    Marker& marker = table.FindOrCreate(ReadLe32(data.data()));
    NameMarker(table, marker, data.subspan(labelTextOffset), priority);
}

// | offset | width | field                                                |
// |      0 |     4 | cue id                                               |
// |      4 |     4 | length in frames                                     |
// |      8 |    12 | purpose, country, language, dialect, code page: unused |
// |     20 |       | text                                                 |
//
// The region is measured from where its marker stands by now, so a list before its cue points measures from
// 0.
void ReadLabelledText(std::span<const uint8_t> data, double sampleRate, MarkerTable& table) {
    if (!(sampleRate > 0) || data.size() < regionTextOffset) return;
    Marker& marker = table.FindOrCreate(ReadLe32(data.data()));
    if (const uint32_t frames = ReadLe32(data.data() + 4)) {
        marker.isRegion = true;
        marker.end = frames / sampleRate + marker.start;
    }
    NameMarker(table, marker, data.subspan(regionTextOffset), nameFromLtxt);
}

void ReadSubChunk(std::string_view id, std::span<const uint8_t> data, double sampleRate, MarkerTable& table) {
    if (id == "ltxt") ReadLabelledText(data, sampleRate, table);
    if (id == "note") ReadLabel(data, nameFromNote, table);
    if (id == "labl") ReadLabel(data, nameFromLabl, table);
}

}  // namespace

std::string MarkerName(std::string_view text) {
    const auto name = Utf8OrWindows1252(CutAtCharacter(text, longestMarkerName));
    return std::string(CutAtCharacter(name, longestMarkerName));
}

// | offset | width | field                                                             |
// |      0 |     4 | number of points n                                                |
// |      4 |  24 n | id (4), position, chunk id, chunk start, block start: unused (16),|
// |        |       | sample offset (4)                                                 |
void ReadCueList(std::span<const uint8_t> body, double sampleRate, MarkerTable& table) {
    if (!(sampleRate > 0) || body.size() < cueHeaderBytes) return;
    if (body.size() != cueHeaderBytes + uint64_t{cueEntryBytes} * ReadLe32(body.data())) return;
    table.Expect(body.size() / cueEntryBytes);
    for (size_t at = cueHeaderBytes; at < body.size(); at += cueEntryBytes)
        table.FindOrCreate(ReadLe32(&body[at])).start = ReadLe32(&body[at + 20]) / sampleRate;
}

bool ReadAssociatedData(std::span<const uint8_t> listBody, double sampleRate, MarkerTable& table) {
    if (listBody.size() < 4 || FourCharacters(listBody.data()) != "adtl") return false;
    auto rest = listBody.subspan(4);
    while (rest.size() >= subChunkHeaderBytes) {
        const auto id = FourCharacters(rest.data());
        const size_t size = ReadLe32(rest.data() + 4);
        rest = rest.subspan(subChunkHeaderBytes);
        if (size > rest.size()) return false;
        ReadSubChunk(id, rest.first(size), sampleRate, table);
        rest = rest.subspan(std::min(size + (size & 1), rest.size()));
    }
    return true;
}

void ReadAssociatedData(BodyReader list, double sampleRate, MarkerTable& table) {
    table.Expect(static_cast<size_t>(list.remaining) / (subChunkHeaderBytes + labelTextOffset));
    uint8_t header[subChunkHeaderBytes];
    uint8_t data[regionTextOffset + longestMarkerName + 1];  // no name looks at more
    while (list.Read(header, sizeof header)) {
        const uint64_t size = ReadLe32(header + 4);
        const uint64_t taken = std::min<uint64_t>(size, sizeof data);
        if (size > list.remaining || !list.Read(data, taken)) return;
        ReadSubChunk(FourCharacters(header), {data, static_cast<size_t>(taken)}, sampleRate, table);
        const uint64_t unread = std::min(size + (size & 1) - taken, list.remaining);
        if (unread > 0 && !list.Skip(unread)) return;
    }
}

// | offset | width | field                                                                      |
// |     28 |     4 | number of loops n                                                          |
// |     32 |     4 | bytes of sampler data s                                                    |
// |     36 |  24 n | cue id (4), type (4), start (4), end (4), fraction (4), play count (4)     |
// |        |     s | sampler data                                                               |
void ReadSamplerLoops(std::span<const uint8_t> body, double sampleRate, MarkerTable& table) {
    if (!(sampleRate > 0) || body.size() < samplerHeaderBytes) return;
    const uint64_t loopBytes = uint64_t{samplerLoopBytes} * ReadLe32(body.data() + 28);
    const uint64_t samplerBytes = ReadLe32(body.data() + 32);
    if (body.size() != samplerHeaderBytes + loopBytes + samplerBytes) return;
    for (auto loops = body.subspan(samplerHeaderBytes, static_cast<size_t>(loopBytes)); !loops.empty();
         loops = loops.subspan(samplerLoopBytes)) {
        Marker& marker = table.FindOrCreate(ReadLe32(loops.data()));
        marker.isRegion = true;
        marker.start = ReadLe32(loops.data() + 8) / sampleRate;
        marker.end = ReadLe32(loops.data() + 12) / sampleRate;
    }
}

void RemoveVoidMarkers(std::vector<Marker>& markers) {
    std::erase_if(markers, [](const Marker& marker) {
        if (marker.id < 0 || marker.start < 0) return true;
        return marker.start <= 0 && marker.end <= 0 && !marker.name;
    });
    if (markers.capacity() > 4 * markers.size()) markers.shrink_to_fit();
}

}  // namespace vantor
