#include "wavehost/care/chunk_probe.h"

#include <algorithm>
#include <array>
#include <vector>

#include "fileio/byte_order.h"
#include "formats/document_chunks.h"

namespace vantor::wavehost {

namespace {

using namespace std::string_view_literals;

constexpr std::string_view riffIds[] = {
    "fmt ", "fact", "data", "LIST", "list", "bext", "iXML", "axml", "_PMX", "cart", "CART", "ID3 ", "id3 ",
    "ID3x", "id3x", "ID3_", "id3_", "cue ", "smpl", "inst", "acid", "strc", "chna", "r64m", "ds64", "DISP",
    "JUNK", "junk", "JUNQ", "junq", "FILR", "filr", "FLLR", "fllr", "PAD_", "pad_", "PAD ", "plst", "PEAK",
    "levl", "link", "umid", "ubxt", "qlty", "mext", "afsp", "MD5 ", "minf", "elm1", "regn", "bwav", "SAUR",
};
constexpr std::string_view iffIds[] = {
    "COMM", "SSND", "FVER", "MARK", "INST", "COMT", "NAME", "AUTH", "(c) ", "ANNO", "APPL", "MIDI", "AESD",
    "SAXL", "PEAK", "ID3 ", "id3 ", "ID3x", "id3x", "basc", "trns", "cate", "FLLR", "VHDR", "BODY", "CHAN",
};
constexpr std::string_view cafIds[] = {
    "desc", "data", "info", "chan", "pakt", "kuki", "mark", "regn", "strg",
    "uuid", "free", "ovvw", "peak", "inst", "midi", "umid", "edct",
};

constexpr ContainerRules riffRules{riffFraming, "data", riffIds};
constexpr ContainerRules wave64Rules{wave64Framing, "data", riffIds};
constexpr ContainerRules iffRules{iffFraming, "SSND", iffIds};
constexpr ContainerRules voiceRules{iffFraming, "BODY", iffIds};
constexpr ContainerRules cafRules{cafFraming, "data", cafIds};

// What the body of a tag begins with, after its chunk's id.
struct TagStart {
    std::string_view id;
    std::string_view body;
};
constexpr TagStart tagStarts[] = {
    {"LIST", "INFO"}, {"LIST", "adtl"}, {"list", "INFO"}, {"iXML", "<"},          {"_PMX", "<"},
    {"axml", "<"},    {"id3 ", "ID3"},  {"ID3 ", "ID3"},  {"APPL", xmpSignature},
};

bool IsText(uint8_t byte) {
    return byte >= 0x20 && byte < 0x7F;
}

// What other programs put behind a file's last chunk.
constexpr std::string_view foreignTags[] = {"TAG", "APETAGEX", "LYRICSBEGIN", "ID3\2", "ID3\3", "ID3\4"};

}  // namespace

const ContainerRules* RulesOf(const Container& container) {
    switch (container.kind) {
        case kindWave:
        case kindRf64:
        case kindBw64:
            return &riffRules;
        case kindWave64:
            return &wave64Rules;
        case kindIff:
            return container.form == "8SVX" ? &voiceRules : &iffRules;
        case kindCaf:
            return &cafRules;
        default:
            return nullptr;
    }
}

bool ChunkProbe::HeaderAt(int64_t position, Chunk& chunk) {
    if (position < 0 || position > fileBytes_ - rules_.HeaderBytes() || !reader_.Seek(position)) return false;
    if (!ReadChunkHeader(reader_, rules_.framing, chunk)) return false;
    const auto header = std::span(chunk.header).first(static_cast<size_t>(rules_.HeaderBytes()));
    if (IsZeroHeader(header)) return true;
    if (rules_.framing.sizeCountsHeader && chunk.sizeField < static_cast<uint64_t>(rules_.HeaderBytes()))
        return false;
    return std::ranges::all_of(header.first(4), IsText);
}

bool ChunkProbe::IsKnown(const Chunk& chunk) const {
    return std::ranges::find(rules_.knownIds, chunk.Id()) != rules_.knownIds.end();
}

bool ChunkProbe::IsZeroFrom(int64_t position) {
    if (position >= fileBytes_ || !reader_.Seek(position)) return false;
    if (!SkipZeroHeaders(reader_, 1)) return false;
    return reader_.Tell() >= fileBytes_;
}

bool ChunkProbe::ReachesEnd(int64_t position) {
    Chunk chunk;
    while (position < fileBytes_) {
        if (--stepsLeft_ < 0 || !HeaderAt(position, chunk)) return false;
        if (chunk.bodyBytes > static_cast<uint64_t>(fileBytes_ - chunk.bodyStart)) return false;
        if (chunk.header[0] == 0 && !SeekPastChunk(reader_, rules_.framing, chunk)) return false;
        position = chunk.header[0] == 0 ? reader_.Tell() : NextChunkPosition(rules_.framing, chunk);
    }
    return true;
}

bool ChunkProbe::ChunksFillFrom(int64_t position) {
    Chunk chunk;
    return HeaderAt(position, chunk) && IsKnown(chunk) && ReachesEnd(position);
}

bool ChunkProbe::KnownChunkFollows(int64_t position) {
    Chunk chunk;
    return position >= fileBytes_ || (HeaderAt(position, chunk) && IsKnown(chunk));
}

bool ChunkProbe::ChunksFollow(int64_t position) {
    if (position >= fileBytes_) return true;
    std::array<uint8_t, 12> start{};
    reader_.Seek(position);
    const auto count = static_cast<size_t>(reader_.Read(start.data(), start.size()));
    const std::string_view text(reinterpret_cast<const char*>(start.data()), count);
    const auto begins = [&](std::string_view id) {
        const size_t common = std::min(id.size(), text.size());
        return text.substr(0, common) == id.substr(0, common);
    };
    if (std::ranges::any_of(rules_.knownIds, begins)) return true;
    if (text.size() >= 3 && std::ranges::any_of(foreignTags, begins)) return true;
    return IsZeroFrom(position) || ReachesEnd(position);
}

bool ChunkProbe::IsCutOffTag(const Chunk& chunk) {
    if (chunk.bodyBytes <= static_cast<uint64_t>(fileBytes_ - chunk.bodyStart)) return false;
    std::array<uint8_t, 4> body{};
    reader_.Seek(chunk.bodyStart);
    const auto count = static_cast<size_t>(reader_.Read(body.data(), body.size()));
    const std::string_view text(reinterpret_cast<const char*>(body.data()), count);
    return std::ranges::any_of(tagStarts, [&](const TagStart& start) {
        return chunk.Id() == start.id && text.starts_with(start.body);
    });
}

bool ChunkProbe::TagsStartAt(int64_t position) {
    Chunk chunk;
    if (!HeaderAt(position, chunk) || !IsKnown(chunk)) return false;
    return IsCutOffTag(chunk) || ReachesEnd(position);
}

std::optional<int64_t> ChunkProbe::FindTags(int64_t from) {
    constexpr size_t blockBytes = 1 << 18, idBytes = 4;
    const auto pair = [](const auto* bytes) { return ReadLe16(reinterpret_cast<const uint8_t*>(bytes)); };
    std::vector<uint8_t> begins(1 << 16);  // an id, of those that two bytes can be
    for (const auto id : rules_.knownIds)
        begins[pair(id.data())] = 1;
    std::vector<uint8_t> block(blockBytes);
    for (int64_t start = from; start + rules_.HeaderBytes() <= fileBytes_;) {
        reader_.Seek(start);
        const auto count = static_cast<size_t>(reader_.Read(block.data(), blockBytes));
        if (count < idBytes) break;
        for (size_t i = 0; i + idBytes <= count; ++i) {
            if (!begins[pair(&block[i])]) continue;
            if (std::ranges::find(rules_.knownIds, FourCharacters(&block[i])) == rules_.knownIds.end())
                continue;
            const int64_t position = start + static_cast<int64_t>(i);
            if (TagsStartAt(position)) return position;
        }
        start += static_cast<int64_t>(count - idBytes + 1);
    }
    return std::nullopt;
}

}  // namespace vantor::wavehost
