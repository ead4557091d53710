#include "edit/edit_mark.h"

#include <algorithm>
#include <utility>

#include "fileio/byte_order.h"

namespace vantor {

namespace {

using EightBytes = std::array<uint8_t, 8>;

constexpr EightBytes copyMark = {'V', 'W', 'E', 'D', 'I', 'T', '0', '2'};
constexpr int64_t longestImage = int64_t{1} << 31;
constexpr int mostMarks = 16;  // of copies that are looked at; an edit leaves a few

bool IsAt(FileReader& reader, int64_t offset, const EightBytes& mark) {
    EightBytes there;
    return reader.Seek(offset) && reader.ReadExactly(there.data(), there.size()) && there == mark;
}

// `end` is that of the mark.
std::optional<CopyMark> ReadCopyMark(FileReader& reader, int64_t end) {
    uint8_t bytes[copyMarkBytes];
    if (!reader.Seek(end - copyMarkBytes) || !reader.ReadExactly(bytes, sizeof bytes)) return std::nullopt;
    CopyMark mark{.schemes = ReadLe32(bytes + 8),
                  .imageBytes = ReadLe32(bytes + 12),
                  .checksum = ReadLe64(bytes + 16),
                  .fileBytes = static_cast<int64_t>(ReadLe64(bytes + 24)),
                  .target = {static_cast<int64_t>(ReadLe64(bytes + 32)), ReadLe32(bytes + 40)},
                  .parts = {}};
    mark.parts.resize(std::min<size_t>(ReadLe32(bytes + 44), mostParts));
    reader.Seek(end - mark.Bytes());
    for (auto& part : mark.parts) {
        if (!reader.ReadExactly(bytes, partMarkBytes)) return std::nullopt;
        part = {static_cast<int64_t>(ReadLe64(bytes)), ReadLe32(bytes + 8)};
    }
    return mark;
}

// Another program that wrote the file since has changed its size, or the copy.
bool IsAsLeft(FileReader& reader, ShownCopy& copy) {
    const auto& mark = copy.mark;
    if (mark.imageBytes == 0 || mark.imageBytes > longestImage ||
        reader.Size() != std::max(mark.fileBytes, copy.start + mark.imageBytes))
        return false;
    copy.image.resize(static_cast<size_t>(mark.imageBytes));
    return reader.Seek(copy.start) && reader.ReadExactly(copy.image.data(), mark.imageBytes) &&
           ChecksumOf(copy.image) == mark.checksum;
}

std::optional<ShownCopy> CopyBehind(FileReader& reader, const RiffChunk& chunk, int& left) {
    if (chunk.bodyBytes < copyMarkBytes || left == 0 || !IsAt(reader, chunk.End() - copyMarkBytes, copyMark))
        return std::nullopt;
    --left;
    auto mark = ReadCopyMark(reader, chunk.End());
    if (!mark) return std::nullopt;
    ShownCopy copy{std::move(*mark), chunk.start, chunk.End(), {}};
    return IsAsLeft(reader, copy) ? std::optional(std::move(copy)) : std::nullopt;
}

}  // namespace

static_assert(tagTable.size() <= 32);

uint32_t SchemeBits(Schemes schemes) {
    uint32_t bits = 0;
    for (const auto scheme : schemes)
        bits |= 1u << (FindScheme(scheme) - tagTable.begin());
    return bits;
}

std::vector<std::string_view> SchemesOf(uint32_t bits) {
    std::vector<std::string_view> schemes;
    for (size_t i = 0; i < tagTable.size(); ++i)
        if (bits >> i & 1) schemes.emplace_back(tagTable[i].name);
    return schemes;
}

// FNV-1a, 64 bits.
uint64_t ChecksumOf(std::span<const uint8_t> image) {
    uint64_t sum = 0xCBF29CE484222325;
    for (const uint8_t byte : image)
        sum = (sum ^ byte) * 0x100000001B3;
    return sum;
}

std::vector<uint8_t> BytesOf(const CopyMark& mark) {
    std::vector<uint8_t> all(static_cast<size_t>(mark.Bytes()));
    uint8_t* bytes = all.data();
    for (const auto& part : mark.parts) {
        WriteLe64(bytes, static_cast<uint64_t>(part.start));
        WriteLe32(bytes + 8, static_cast<uint32_t>(part.bytes));
        bytes += partMarkBytes;
    }
    std::ranges::copy(copyMark, bytes);
    WriteLe32(bytes + 8, mark.schemes);
    WriteLe32(bytes + 12, static_cast<uint32_t>(mark.imageBytes));
    WriteLe64(bytes + 16, mark.checksum);
    WriteLe64(bytes + 24, static_cast<uint64_t>(mark.fileBytes));
    WriteLe64(bytes + 32, static_cast<uint64_t>(mark.target.start));
    WriteLe32(bytes + 40, static_cast<uint32_t>(mark.target.bytes));
    WriteLe32(bytes + 44, static_cast<uint32_t>(mark.parts.size()));
    return all;
}

EditMarks FindMarks(FileReader& reader, bool isRf64) {
    RiffChunkWalk walk(reader, isRf64, {});
    RiffChunk chunk;
    EditMarks marks;
    int left = mostMarks;
    while (walk.Next(chunk) == WalkStep::chunk) {
        if (chunk.Id() != "JUNK") continue;
        if (!marks.copy) marks.copy = CopyBehind(reader, chunk, left);
        if (chunk.bodyBytes >= cleanUpMarkBytes && IsAt(reader, chunk.BodyStart(), cleanUpMark))
            marks.toClean.push_back(chunk.start);
    }
    return marks;
}

}  // namespace vantor
