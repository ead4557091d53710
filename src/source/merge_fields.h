// Merges what the host asks for into the tags that a file has.
#pragma once

#include "metadata/metadata_store.h"

namespace vantor {

// The new values win, empty ones remove. A key of a scheme is taken under its own name, any other as a common
// field; a new picture takes the place of all that there were.
void MergeFields(MetadataStore& store, const MetadataStore& changes, double sampleRate);

}  // namespace vantor
