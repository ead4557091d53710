#include "edit/chunk_walk.h"

#include <algorithm>

#include "edit/container.h"
#include "fileio/byte_order.h"
#include "formats/chunk_cursor.h"
#include "formats/fmt_rules.h"
#include "formats/riff_data_size.h"

namespace vantor {

namespace {

using namespace std::string_view_literals;

constexpr uint32_t listTypeBytes = 4;

bool IsList(std::string_view id) {
    return id == "LIST"sv || id == "list"sv;
}

bool IsInfoList(uint32_t bodyBytes, FileReader& reader) {
    uint8_t type[listTypeBytes];
    if (bodyBytes < sizeof type || !reader.ReadExactly(type, sizeof type)) return false;
    const auto text = FourCharacters(type);
    return text == "INFO"sv || text == "info"sv;
}

}  // namespace

std::string_view RiffChunk::Id() const {
    return FourCharacters(header.data());
}

std::string_view SchemeOfChunk(const ChunkHeader& header, FileReader& reader) {
    const auto id = FourCharacters(header.data());
    if (IsList(id)) return IsInfoList(ReadLe32(&header[4]), reader) ? "INFO"sv : std::string_view();
    const auto* scheme = SchemeOfChunkId(id);
    return scheme ? std::string_view(scheme->name) : std::string_view();
}

bool IsReplaceable(std::string_view scheme, Schemes replaced) {
    return std::ranges::find(replaced, scheme) != replaced.end();
}

RiffChunkWalk::RiffChunkWalk(FileReader& reader, bool isRf64, Schemes replaced)
    : reader_(reader), isRf64_(isRf64), replaced_(replaced), fileSize_(reader.Size()) {}

WalkStep RiffChunkWalk::Next(RiffChunk& chunk) {
    if (position_ >= fileSize_) return WalkStep::end;
    if (isAtLeftover_) return WalkStep::leftover;
    if (IsGrowth()) {
        chunk = {.start = position_, .scheme = paddingScheme, .isReplaceable = true, .isCutOff = true};
        chunk.bodyBytes = fileSize_ - chunk.BodyStart();
        position_ = fileSize_;
        return WalkStep::chunk;
    }
    reader_.Seek(position_);
    if (fileSize_ - position_ < chunkHeaderBytes) return WalkStep::leftover;
    if (!reader_.ReadExactly(chunk.header.data(), chunkHeaderBytes)) return WalkStep::refused;
    chunk.start = position_;
    if (isRf64_ && position_ == riffHeaderBytes && !ReadDs64At(chunk.header)) return WalkStep::refused;

    const int64_t claimed = ClaimedBytes(chunk.header, chunk.BodyStart());
    chunk.bodyBytes = std::min(claimed, fileSize_ - chunk.BodyStart());
    chunk.isCutOff = chunk.bodyBytes < claimed;
    chunk.isData = chunk.Id() == "data"sv;
    chunk.lacksPad = false;
    if (chunk.isData && isRf64_ && ds64_.dataSize == 0 &&
        fileSize_ - chunk.BodyStart() > int64_t{sizeInDs64} && ReadLe32(&chunk.header[4]) == sizeInDs64)
        return WalkStep::refused;  // never finished: nobody knows where its audio ends
    if (chunk.isCutOff && !chunk.isData) return WalkStep::leftover;
    // A run of empty chunks counts as one: there may be any number of them.
    if (IsZeroHeader(chunk.header) && SkipZeroHeaders(reader_, chunkHeaderBytes))
        chunk.bodyBytes = reader_.Tell() - chunk.BodyStart();
    chunk.scheme = SchemeOfChunk(chunk.header, reader_);
    chunk.isReplaceable = IsReplaceable(chunk.scheme, replaced_);
    if (IsList(chunk.Id()) && chunk.bodyBytes >= listTypeBytes && reader_.Tell() == chunk.BodyStart())
        return WalkStep::refused;  // a list of unknown type
    if (chunk.Id() == "fmt "sv && static_cast<uint64_t>(chunk.bodyBytes) >= smallestFmtBody)
        formatSeen_ = true;
    chunk.lacksPad = LacksPad(chunk);
    isAtLeftover_ = chunk.lacksPad;
    position_ = chunk.End();
    return WalkStep::chunk;
}

// What is there of the header of a "JUNK" chunk that is not whole, where the size in front says that the file
// ends.
bool RiffChunkWalk::IsGrowth() {
    constexpr std::string_view junk = "JUNK";
    uint8_t header[chunkHeaderBytes] = {}, size[4];
    const int64_t present = std::min(fileSize_ - position_, chunkHeaderBytes);
    reader_.Seek(position_);
    const auto idBytes = static_cast<size_t>(present);
    if (!reader_.ReadExactly(header, present)) return false;
    if (FourCharacters(header).substr(0, idBytes) != junk.substr(0, idBytes)) return false;
    if (position_ + chunkHeaderBytes + ReadLe32(header + 4) <= fileSize_) return false;
    if (!reader_.Seek(riffSizeOffset) || !reader_.ReadExactly(size, sizeof size)) return false;
    const auto end = chunkHeaderBytes + static_cast<int64_t>(isRf64_ ? ds64_.riffSize : ReadLe32(size));
    return end == position_ || end == position_ - 1;  // a pad byte may have been missing
}

bool RiffChunkWalk::IsPlausibleHeader(int64_t offset) {
    uint8_t header[chunkHeaderBytes];
    if (!reader_.Seek(offset) || !reader_.ReadExactly(header, sizeof header)) return false;
    return std::all_of(header, header + 4, [](uint8_t byte) { return byte >= 0x20 && byte < 0x7F; }) &&
           ReadLe32(header + 4) <= fileSize_ - offset - chunkHeaderBytes;
}

bool RiffChunkWalk::LacksPad(const RiffChunk& chunk) {
    return (chunk.bodyBytes & 1) && IsPlausibleHeader(chunk.BodyEnd()) &&
           !IsPlausibleHeader(chunk.BodyEnd() + 1);
}

bool RiffChunkWalk::ReadDs64At(const ChunkHeader& header) {
    return FourCharacters(header.data()) == "ds64"sv &&
           ReadDs64(reader_, ReadLe32(&header[4]), smallestDs64, ds64_) == Ds64Result::ok;
}

int64_t RiffChunkWalk::ClaimedBytes(const ChunkHeader& header, int64_t bodyStart) const {
    const auto id = FourCharacters(header.data());
    const uint32_t size = ReadLe32(&header[4]);
    if (id == "data"sv)
        return RiffDataBytes(size, isRf64_ ? &ds64_ : nullptr, formatSeen_, bodyStart, fileSize_);
    const uint64_t claimed = isRf64_ ? SizeFromTable(ds64_, id, size) : size;
    return static_cast<int64_t>(std::min<uint64_t>(claimed, INT64_MAX));
}

}  // namespace vantor
