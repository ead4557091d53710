#include "edit/chunk_walk.h"

#include <algorithm>

#include "fileio/byte_order.h"
#include "formats/chunk_cursor.h"
#include "formats/riff_data_size.h"

namespace vantor {

namespace {

using namespace std::string_view_literals;

constexpr uint32_t smallestDs64 = 24;
constexpr uint32_t smallestFormat = 16;
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
    reader_.Seek(position_);
    if (fileSize_ - position_ < chunkHeaderBytes) return WalkStep::leftover;
    if (!reader_.ReadExactly(chunk.header.data(), chunkHeaderBytes)) return WalkStep::refused;
    chunk.start = position_;
    if (isRf64_ && position_ == riffHeaderBytes && !ReadDs64At(chunk.header)) return WalkStep::refused;

    reader_.Seek(chunk.BodyStart());
    const int64_t claimed = ClaimedBytes(chunk.header, chunk.BodyStart());
    chunk.bodyBytes = std::min(claimed, fileSize_ - chunk.BodyStart());
    chunk.isCutOff = chunk.bodyBytes < claimed;
    chunk.isData = chunk.Id() == "data"sv;
    if (chunk.isCutOff && !chunk.isData) return WalkStep::leftover;
    // A run of empty chunks counts as one: there may be any number of them.
    if (IsZeroHeader(chunk.header) && SkipZeroHeaders(reader_, chunkHeaderBytes))
        chunk.bodyBytes = reader_.Tell() - chunk.BodyStart();
    chunk.scheme = SchemeOfChunk(chunk.header, reader_);
    chunk.isReplaceable = IsReplaceable(chunk.scheme, replaced_);
    if (IsList(chunk.Id()) && chunk.bodyBytes >= listTypeBytes && reader_.Tell() == chunk.BodyStart())
        return WalkStep::refused;  // a list of unknown type
    if (chunk.Id() == "fmt "sv && chunk.bodyBytes >= smallestFormat) formatSeen_ = true;
    position_ = chunk.End();
    return WalkStep::chunk;
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
