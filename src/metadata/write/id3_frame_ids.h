// Frame ids of ID3v2.2 and their successors.
#pragma once

#include <string_view>

namespace vantor {

// The id in version 2.3 and 2.4 of a frame with the same body; a four-character id stays as it is. Empty when
// there is none.
[[nodiscard]] std::string_view FrameId24(std::string_view id);
// The other way; a three-character id stays as it is. "PIC" is among them, whose body differs.
[[nodiscard]] std::string_view FrameId22(std::string_view id);

}  // namespace vantor
