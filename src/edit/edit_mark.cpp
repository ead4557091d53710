#include "edit/edit_mark.h"

#include <algorithm>
#include <cstring>

#include "fileio/byte_order.h"

namespace vantor {

namespace {

constexpr std::string_view magic = "VWEDIT01";
constexpr int64_t pieceBytes = 32768;

// FNV-1a, 64 bits.
constexpr uint64_t emptySum = 0xCBF29CE484222325;
uint64_t Summed(uint64_t sum, std::span<const uint8_t> bytes) {
    for (const uint8_t byte : bytes)
        sum = (sum ^ byte) * 0x100000001B3;
    return sum;
}

std::optional<EditMark> ReadMark(FileReader& reader, const RiffChunk& chunk) {
    uint8_t bytes[editMarkBytes];
    if (chunk.Id() != "JUNK" || chunk.bodyBytes < editMarkBytes || !reader.Seek(chunk.BodyStart()) ||
        !reader.ReadExactly(bytes, sizeof bytes) || std::memcmp(bytes, magic.data(), magic.size()) != 0)
        return std::nullopt;
    return EditMark{ReadLe32(bytes + 8), ReadLe32(bytes + 12), ReadLe64(bytes + 16)};
}

bool IsImageAt(FileReader& reader, int64_t offset, const EditMark& mark) {
    if (mark.imageBytes == 0 || mark.imageBytes > reader.Size() - offset || !reader.Seek(offset))
        return false;
    uint64_t sum = emptySum;
    std::vector<uint8_t> scratch;
    for (int64_t left = mark.imageBytes; left > 0;) {
        const uint8_t* bytes = nullptr;
        const int64_t piece = std::min(left, pieceBytes);
        if (reader.Borrow(&bytes, piece, scratch) != piece) return false;
        sum = Summed(sum, {bytes, static_cast<size_t>(piece)});
        left -= piece;
    }
    return sum == mark.checksum;
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

EditMark MarkOf(std::span<const uint8_t> image, Schemes schemes) {
    return {SchemeBits(schemes), std::ssize(image), Summed(emptySum, image)};
}

std::array<uint8_t, editMarkBytes> BytesOf(const EditMark& mark) {
    std::array<uint8_t, editMarkBytes> bytes{};
    std::ranges::copy(magic, bytes.begin());
    WriteLe32(&bytes[8], mark.schemes);
    WriteLe32(&bytes[12], static_cast<uint32_t>(mark.imageBytes));
    WriteLe64(&bytes[16], mark.checksum);
    return bytes;
}

std::optional<ShownCopy> FindShownCopy(FileReader& reader, bool isRf64) {
    RiffChunkWalk walk(reader, isRf64, {});
    RiffChunk chunk;
    while (walk.Next(chunk) == WalkStep::chunk)
        if (const auto mark = ReadMark(reader, chunk); mark && IsImageAt(reader, chunk.End(), *mark))
            return ShownCopy{*mark, chunk.start, chunk.End()};
    return std::nullopt;
}

}  // namespace vantor
