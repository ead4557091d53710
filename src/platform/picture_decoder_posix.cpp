#include "platform/picture_decoder.h"

namespace vantor::platform {

std::optional<Picture> DecodePicture(std::span<const uint8_t>, int32_t, int32_t) {
    return std::nullopt;
}

}  // namespace vantor::platform
