// The genres of ID3v1, which ID3v2 content types refer to by number.
#pragma once

#include <string>
#include <string_view>

namespace vantor {

// "17" or "Rock", "RX" or "Remix", "CR" or "Cover": the name behind a reference; empty when it is none.
[[nodiscard]] std::string_view GenreOfReference(std::string_view reference);

// The names in one content type text: leading references in parentheses ("(17)", "(4)Eurodisco",
// "(51)(39)"), a bare reference ("17"), or the text as it is. "((" stands for an opening parenthesis. Several
// names are joined by "; "; a refinement that repeats the name before it is left out.
[[nodiscard]] std::string GenreNames(std::string_view contentType);

// The content type text that GenreNames turns into `names`.
[[nodiscard]] std::string ContentTypeOfNames(std::string_view names);

}  // namespace vantor
