// Frames of an ID3v2.4 tag: made from store entries, and taken over from tags of any version.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "metadata/read/id3_picture.h"

namespace vantor {

using Id3Frames = std::vector<uint8_t>;  // one frame behind the other, at most maxId3FrameBytes

// What fits a tag, with room for one byte of padding.
inline constexpr size_t maxId3FrameBytes = (size_t{1} << 28) - 2;

// Appends a frame; false when its body is empty or it does not fit.
bool AppendId3Frame(Id3Frames& frames, std::string_view id, std::span<const uint8_t> body, uint8_t status = 0,
                    uint8_t format = 0);

// Appends the frame behind a key: `id` is its frame id (of 2.2 to 2.4), `qualifier` what follows it in the
// key without a running number ("deu:description"). False for the frames that a value does not make up:
// pictures, chapters, private data, binary identifiers.
bool AppendValueFrame(Id3Frames& frames, std::string_view id, std::string_view qualifier,
                      std::string_view value);

// Appends an APIC frame; the descriptor's offset and length do not matter.
bool AppendPictureFrame(Id3Frames& frames, const PictureDescriptor& descriptor,
                        std::span<const uint8_t> picture);

}  // namespace vantor
