#include "edit/byte_transfer.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <vector>

#include "edit/chunk_walk.h"
#include "fileio/byte_order.h"

namespace vantor {

namespace {

constexpr int64_t copyPieceBytes = 32768;
constexpr int64_t lastZeros = 8;
constexpr int64_t zeroPieceBytes = 8192;
constexpr int64_t longestFiller = 0x40000000;  // a remainder up to here is one chunk
constexpr int64_t longFillerPiece = 0x3FFFFFE0;

// Calls `take(bytes done, bytes of the piece)` until `count` are done or one is refused.
template <typename Take>
bool InPieces(int64_t count, int64_t pieceBytes, Take take) {
    for (int64_t done = 0; done < count; done += pieceBytes)
        if (!take(done, std::min(count - done, pieceBytes))) return false;
    return true;
}

}  // namespace

bool FileSink::Put(const uint8_t* bytes, int64_t count) {
    return InPieces(count, INT32_MAX, [&](int64_t done, int64_t piece) {
        const int32_t written = writer_.Write(bytes + done, static_cast<int32_t>(piece));
        bytesWritten_ += written;
        return written == piece;
    });
}

bool ComparingSink::Put(const uint8_t* bytes, int64_t count) {
    return InPieces(count, copyPieceBytes, [&](int64_t done, int64_t piece) {
        const uint8_t* present = nullptr;
        return reader_.Borrow(&present, piece, scratch_) == piece &&
               std::memcmp(present, bytes + done, static_cast<size_t>(piece)) == 0;
    });
}

bool WriteAt(ByteSink& sink, int64_t position, const uint8_t* bytes, int64_t count) {
    return sink.MoveTo(position) && sink.Put(bytes, count);
}

bool CopyBytes(FileReader& reader, ByteSink& sink, int64_t count) {
    std::vector<uint8_t> scratch;
    return InPieces(count, copyPieceBytes, [&](int64_t, int64_t piece) {
        const uint8_t* bytes = nullptr;
        return reader.Borrow(&bytes, piece, scratch) == piece && sink.Put(bytes, piece);
    });
}

bool WriteZeros(ByteSink& sink, int64_t count) {
    static constexpr std::array<uint8_t, zeroPieceBytes> zeros{};
    return InPieces(count, zeroPieceBytes,
                    [&](int64_t, int64_t piece) { return sink.Put(zeros.data(), piece); });
}

std::array<uint8_t, 8> JunkHeader(int64_t length) {
    ChunkHeader header = {'J', 'U', 'N', 'K'};
    WriteLe32(&header[4], static_cast<uint32_t>(length - chunkHeaderBytes));
    return header;
}

bool WriteJunkHeader(ByteSink& sink, int64_t offset, int64_t length) {
    const auto header = JunkHeader(length);
    return WriteAt(sink, offset, header.data(), chunkHeaderBytes);
}

// The start of a body comes last: a mark may stand there. From the last chunk to the first, whose header
// covers all until then.
bool FillWithJunk(ByteSink& sink, int64_t offset, int64_t length) {
    const auto fill = [&](int64_t start, int64_t piece) {
        const int64_t body = piece - chunkHeaderBytes, last = std::min(body, lastZeros);
        return WriteJunkHeader(sink, start, piece) && sink.MoveTo(start + chunkHeaderBytes + last) &&
               WriteZeros(sink, body - last) && sink.MoveTo(start + chunkHeaderBytes) &&
               WriteZeros(sink, last);
    };
    const int64_t longOnes =
        length <= longestFiller ? 0 : (length - longestFiller + longFillerPiece - 1) / longFillerPiece;
    const int64_t last = longOnes * longFillerPiece;
    if (!fill(offset + last, length - last)) return false;
    for (int64_t start = last; start > 0; start -= longFillerPiece)
        if (!fill(offset + start - longFillerPiece, longFillerPiece)) return false;
    return true;
}

}  // namespace vantor
