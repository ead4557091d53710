// Whether tags that were written say what they should.
#pragma once

#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "metadata/tag_schemes.h"

namespace vantor {

// The entries of one scheme in a form that is the same for the same tags: numbers of repeated fields have no
// gaps, a picture may lie anywhere in the file.
using PlainTags = std::map<std::string, std::vector<std::string>>;
[[nodiscard]] PlainTags PlainTagsOf(std::string_view scheme, const MetadataStore& store);

// What the chunk of a scheme can hold of a change: names that are well-formed, numbers that fit, texts cut to
// their fields. An empty value where nothing of it can be held. `tried` has a blank body and the change.
[[nodiscard]] MetadataStore HeldChange(const TagScheme& scheme, const PatchInput& tried);

}  // namespace vantor
