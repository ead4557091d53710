// A text at a fixed place of a chunk: the shape shared by the broadcast and the cart chunk.
#pragma once

#include <cstddef>

namespace vantor {

// Unused bytes are zero; a text that fills the field has no terminator.
struct TextField {
    const char* key;  // under which the store keeps the text
    size_t offset;    // in the chunk's body
    size_t width;     // bytes
};

}  // namespace vantor
