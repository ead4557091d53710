// The frames of an ID3v2 tag (versions 2.2, 2.3 and 2.4), one after the other, as they lie in the tag.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace vantor {

inline constexpr size_t id3HeaderBytes = 10;                  // of a tag
inline constexpr uint32_t syncsafeLimit = uint32_t{1} << 28;  // the first size that four bytes cannot hold

// Four bytes of 7 bits, most significant first; nothing when one has its top bit set.
[[nodiscard]] std::optional<uint32_t> ReadSyncsafe(const uint8_t* bytes);
// `value` is below syncsafeLimit.
void WriteSyncsafe(uint8_t* bytes, uint32_t value);

// Format flags of a frame header.
inline constexpr uint8_t groupingFlag23 = 0x20;
inline constexpr uint8_t groupingFlag24 = 0x40;
inline constexpr uint8_t unsynchronisedFlag24 = 0x02;

struct Id3Frame {
    std::string id;      // as in the tag; the 2.2 ids with a reader of their own as their successors ("TXXX")
    uint8_t status = 0;  // flag bytes, 0 in version 2.2
    uint8_t format = 0;
    // All behind the frame's header, without the zeros that unsynchronisation put in.
    std::span<const uint8_t> body;
    // The body behind its group byte; empty when compressed, encrypted or unsynchronised on its own.
    std::span<const uint8_t> data;
    size_t bodyStart = 0;  // in the tag as stored
    size_t bodyEnd = 0;    // the same; more than the body's size behind the start when zeros were taken out
};

// Walks the frames. The tag stays where it is and outlives the walk.
//
// A tag: offset 0, 3 bytes "ID3"; 3, 1 byte version; 4, 1 byte revision; 5, 1 byte flags (bit 7
// unsynchronised, bit 6 extended header); 6, 4 bytes size behind this header, syncsafe. A frame: id (3 bytes
// in 2.2, else 4), size (3, 4 plain, 4 syncsafe bytes in 2.2, 2.3, 2.4), from 2.3 on status and format flags.
class Id3FrameWalk {
  public:
    // A whole tag, header included; the walk ends with the span. One that is no ID3v2 tag has no frames.
    explicit Id3FrameWalk(std::span<const uint8_t> tag);
    // Frames without a tag header, as chapters hold them.
    Id3FrameWalk(std::span<const uint8_t> frames, int version);

    // False at the padding, at a size below 1 or past the end, and at the end. The frame's bytes are valid
    // until the next call.
    bool Next(Id3Frame& frame);
    [[nodiscard]] int Version() const { return version_; }
    [[nodiscard]] size_t Position() const { return position_; }  // of the next frame in the tag as stored
    // Where the byte at `bodyOffset` of a frame's body lies in the tag as stored.
    [[nodiscard]] size_t StoredPosition(const Id3Frame& frame, size_t bodyOffset) const;

  private:
    // The position behind `count` bytes, not counting the zeros that unsynchronisation put in; the bytes
    // are appended to `plain`. Nothing when the tag ends before.
    std::optional<size_t> Advance(size_t position, size_t count, std::vector<uint8_t>* plain) const;
    bool SkipExtendedHeader();
    bool TakeBody(Id3Frame& frame, size_t size);

    std::span<const uint8_t> tag_;
    size_t position_ = 0;
    int version_ = 0;  // 2, 3 or 4; 0: nothing to walk
    bool unsynchronised_ = false;
    std::vector<uint8_t> header_, plainBody_;  // of the current frame
};

// True when frames fill a tag up to its padding and footer: no byte of it is left that the walk cannot reach.
[[nodiscard]] bool IsWalkedWhole(std::span<const uint8_t> tag);
[[nodiscard]] bool IsUnsynchronised(std::span<const uint8_t> tagHeader);

}  // namespace vantor
