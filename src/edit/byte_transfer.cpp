#include "edit/byte_transfer.h"

#include <algorithm>
#include <array>
#include <vector>

#include "edit/chunk_walk.h"
#include "fileio/byte_order.h"

namespace vantor {

namespace {

constexpr int64_t copyPieceBytes = 32768;
constexpr int64_t zeroPieceBytes = 8192;
constexpr int64_t longestFiller = 0x40000000;  // a remainder up to here is one chunk
constexpr int64_t longFillerPiece = 0x3FFFFFE0;

}  // namespace

bool CopyBytes(FileReader& reader, FileWriter& writer, int64_t count) {
    std::vector<uint8_t> scratch;
    while (count > 0) {
        const uint8_t* bytes = nullptr;
        const int64_t piece = std::min(count, copyPieceBytes);
        if (reader.Borrow(&bytes, piece, scratch) != piece || !WriteBytes(writer, bytes, piece)) return false;
        count -= piece;
    }
    return true;
}

bool WriteBytes(FileWriter& writer, const uint8_t* bytes, int64_t count) {
    while (count > 0) {
        const auto piece = static_cast<int32_t>(std::min<int64_t>(count, INT32_MAX));
        if (writer.Write(bytes, piece) != piece) return false;
        bytes += piece;
        count -= piece;
    }
    return true;
}

bool WriteZeros(FileWriter& writer, int64_t count) {
    static constexpr std::array<uint8_t, zeroPieceBytes> zeros{};
    while (count > 0) {
        const int64_t piece = std::min(count, zeroPieceBytes);
        if (!WriteBytes(writer, zeros.data(), piece)) return false;
        count -= piece;
    }
    return true;
}

bool WriteJunkHeader(int64_t offset, FileWriter& writer, int64_t length) {
    ChunkHeader header = {'J', 'U', 'N', 'K'};
    WriteLe32(&header[4], static_cast<uint32_t>(length - chunkHeaderBytes));
    return writer.Seek(offset) == 0 && WriteBytes(writer, header.data(), chunkHeaderBytes);
}

bool FillWithJunk(int64_t offset, FileWriter& writer, int64_t length) {
    while (length > 0) {
        const int64_t piece = length <= longestFiller ? length : longFillerPiece;
        if (!WriteJunkHeader(offset, writer, piece) || !WriteZeros(writer, piece - chunkHeaderBytes))
            return false;
        offset += piece;
        length -= piece;
    }
    return true;
}

}  // namespace vantor
