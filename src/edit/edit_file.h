// An edit of a file's tags in one direction: from the wish to what the tags become, their chunks, a plan and
// the bytes, in the file itself or in a copy.
#pragma once

#include <functional>
#include <optional>
#include <string>

#include "edit/document.h"
#include "formats/audio_format.h"
#include "metadata/metadata_store.h"
#include "vantor_wave/host_interface.h"

namespace vantor {

struct EditRequest {
    std::string fileName;  // UTF-8
    std::string target;    // of a copy
    MetadataStore changes;
    std::optional<Document> document = {};  // to be put in; then `changes` are none
    int32_t flags = 0;                      // WriteFlags
    // Closes the handles that the caller holds on a file that is about to be written, or has been. Not empty.
    std::function<void(const std::string& fileName)> forget;
};

// The file is read anew, whatever is known of it.
[[nodiscard]] WriteAnswer EditFile(const EditRequest& request);

}  // namespace vantor
