// The chunks of a RIFF WAVE, RF64 or BW64 file as an edit sees them: which it replaces, which it keeps, and
// what follows the last whole one.
#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <string_view>

#include "fileio/file_reader.h"
#include "formats/chunk_cursor.h"
#include "formats/ds64.h"
#include "metadata/tag_schemes.h"

namespace vantor {

using ChunkHeader = std::array<uint8_t, 8>;

// Names as the table of schemes has them, padding among them.
using Schemes = std::span<const std::string_view>;

struct RiffChunk {
    ChunkHeader header{};
    int64_t start = 0;        // of the header
    int64_t bodyBytes = 0;    // really there
    std::string_view scheme;  // whose chunk it is; empty for one that no edit replaces
    bool isReplaceable = false;
    bool isData = false;
    bool isCutOff = false;  // the end of the file comes before the end of its body
    bool lacksPad = false;  // the pad byte of an odd body was left out

    [[nodiscard]] std::string_view Id() const;
    [[nodiscard]] int64_t BodyStart() const { return start + chunkHeaderBytes; }
    [[nodiscard]] int64_t BodyEnd() const { return BodyStart() + bodyBytes; }
    [[nodiscard]] int64_t End() const {
        return BodyEnd() + (lacksPad ? 0 : bodyBytes & 1);
    }  // past the pad byte; at the end of the file one that is not there too
};

// The scheme whose chunk it is, padding too; empty for all else. A list is a chunk of tags when its type,
// read here, is "INFO" or "info". `reader` stands behind the header.
[[nodiscard]] std::string_view SchemeOfChunk(const ChunkHeader& header, FileReader& reader);
// True for what an edit drops: the chunks of the schemes that its image brings, and padding where it is
// named.
[[nodiscard]] bool IsReplaceable(std::string_view scheme, Schemes replaced);

enum class WalkStep {
    chunk,
    end,       // the file ends with its last chunk (whose pad byte may be missing)
    leftover,  // bytes follow that are no whole chunk: garbage, a chunk cut off by the end, or chunks that
               // nobody finds because a pad byte was left out in front
    refused,   // RF64 or BW64 without a usable `ds64`, or a header that is there cannot be read
};

// Steps through the chunks in file order. Audio is stepped over by the rule by which it is played, so that
// its bytes are never taken for chunks; a cut-off `data` chunk is a chunk, and the last. A run of zeros,
// which is empty chunks, is one chunk; so is padding that begins where the container ends and is cut off: an
// edit was growing the file.
class RiffChunkWalk {
  public:
    RiffChunkWalk(FileReader& reader, bool isRf64, Schemes replaced);
    [[nodiscard]] WalkStep Next(RiffChunk& chunk);
    [[nodiscard]] int64_t Position() const { return position_; }  // of the next header, or of the leftover
    [[nodiscard]] int64_t FileSize() const { return fileSize_; }

  private:
    [[nodiscard]] bool IsGrowth();
    [[nodiscard]] bool LacksPad(const RiffChunk& chunk);
    [[nodiscard]] bool IsPlausibleHeader(int64_t offset);
    [[nodiscard]] bool ReadDs64At(const ChunkHeader& header);
    [[nodiscard]] int64_t ClaimedBytes(const ChunkHeader& header, int64_t bodyStart) const;

    FileReader& reader_;
    bool isRf64_;
    Schemes replaced_;
    bool formatSeen_ = false;
    Ds64 ds64_;
    int64_t fileSize_;
    int64_t position_ = riffHeaderBytes;
    bool isAtLeftover_ = false;
};

}  // namespace vantor
