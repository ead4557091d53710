// The picture of an ID3v2 tag, read and put in as it stands.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

#include "edit/images.h"

namespace vantor {

inline constexpr std::string_view pictureScheme = "ID3:APIC";  // the key of the picture that is meant

// The bytes of a tag's first picture, without the zeros that unsynchronisation put in. Nothing when there is
// none, or when the reader refuses the tag.
[[nodiscard]] std::optional<std::vector<uint8_t>> FirstPictureIn(std::span<const uint8_t> tag);

// All ID3v2 tags of a file with the picture in the one that counts. It keeps the type and the description of
// the picture that it replaces; a new one is a front cover. Nothing when it begins like no picture, or when
// the tag cannot hold it.
[[nodiscard]] std::optional<ChunkImages> ImagesWithPicture(const TagChunks& old,
                                                           std::span<const uint8_t> picture);

}  // namespace vantor
