// The bytes of pictures that lie in a file.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "properties/file_properties.h"

namespace vantor {

using PictureBytes = std::vector<uint8_t>;

inline constexpr uint64_t mostPictureBytes = uint64_t{64} << 20;  // of all pictures of a file together

// The bytes of every picture, in order, as the picture's format wants them; none for a picture that is not in
// the file whole or beyond the limit.
[[nodiscard]] std::vector<PictureBytes> ReadPictures(const FileProperties& properties);

// Takes the zeros out again that a tag's unsynchronisation has put behind every 0xFF (ID3v2.3, section 5).
[[nodiscard]] PictureBytes Resynchronised(const PictureBytes& bytes);

struct PictureSize {
    int32_t width = 0;  // pixels; 0 when the picture could not be decoded
    int32_t height = 0;
};

// What stands below a picture: its kind and place among the others, its size, format and description; for one
// that cannot be shown, that.
[[nodiscard]] std::string PictureCaption(const FileProperties& properties, size_t index,
                                         const PictureSize& size);

}  // namespace vantor
