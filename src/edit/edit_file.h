// An edit of a file's tags in one direction: from the wish to what the tags become, their chunks, a plan and
// the bytes, in the file itself or in a copy.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "edit/document.h"
#include "edit/planned_tags.h"
#include "formats/audio_format.h"
#include "metadata/metadata_store.h"
#include "vantor_wave/host_interface.h"

namespace vantor {

struct EditRequest {
    std::string fileName = {};  // UTF-8
    std::string target = {};    // of a copy
    MetadataStore changes = {};
    std::optional<Document> document = {};  // to be put in; then `changes` are none
    int32_t flags = 0;                      // WriteFlags
    // Closes the handles that the caller holds on a file that is about to be written, or has been. Not empty.
    std::function<void(const std::string& fileName)> forget = {};
};

struct EditOutcome {
    WriteAnswer answer = writeFailed;
    std::vector<std::string_view> rebuilt;  // schemes of a lossless edit whose chunks could not be patched
    PlannedTags planned;                    // with writeAnswerAlone
};

// The file is read anew, whatever is known of it.
[[nodiscard]] EditOutcome EditFile(const EditRequest& request);

}  // namespace vantor
