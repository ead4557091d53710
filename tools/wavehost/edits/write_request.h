// Requests to write tags, made of the module, and what it tells of them.
#pragma once

#include <string>
#include <vector>

#include "wavehost/care/chunk_marks.h"
#include "wavehost/edits/documents.h"
#include "wavehost/os/system.h"
#include "wavehost/values/assignments.h"

namespace vantor::wavehost {

struct WriteReport {
    WriteAnswer answer = writeFailed;
    std::vector<std::string> rebuilt;  // schemes whose chunks could not be changed where they stand
    // Of a request for the answer alone: what would be in the file.
    Metadata tags;
    std::vector<ChunkMark> tagChunks;
};

// `target` receives a complete copy when the file is not updated in place.
WriteReport WriteTags(PCM_source& source, const Assignments& wishes, const fs::path& target, int32_t flags);
WriteReport WriteDocument(PCM_source& source, const DocumentKind& kind, const std::string& document,
                          const fs::path& target, int32_t flags);

}  // namespace vantor::wavehost
