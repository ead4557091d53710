// Texts at fixed places of a chunk under construction.
#pragma once

#include <string_view>

#include "metadata/text_field.h"
#include "metadata/write/build_chunks.h"

namespace vantor {

// Fills the field, with zeros behind the text. Too long a text is cut between characters.
void PutField(ChunkBody& body, const TextField& field, std::string_view text);

}  // namespace vantor
