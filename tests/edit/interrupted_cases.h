// The files and edits that are interrupted, and what is seen of a file afterwards.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "edit/edit_file.h"
#include "tests/support/chunk_list.h"
#include "tests/support/memory_file_system.h"

namespace vantor::test::interrupted {

using Change = MemoryFileSystem::Change;
using Tags = std::map<std::string, std::string>;
using Pairs = std::vector<std::pair<std::string, std::string>>;

inline const std::string name = "edited.wav";

// Chunks of old tags.
Bytes Bext();
Bytes Ixml();
Bytes Info();

struct Layout {
    const char* what;
    Bytes inFront, between, behind;  // of the audio; a kept chunk stands behind `between`
    size_t audioBytes = 1000;
    std::string_view id = "RIFF";
    bool isUnfinished = false;
    Bytes garbage{};
    bool isOneRun = false;  // no tags, or those at the end of the file alone: never a mix
};
std::vector<Layout> Layouts();

struct Edit {
    const char* what;
    Pairs pairs;
    int32_t flags;
};
extern const std::vector<Edit> edits;

struct Seen {
    Tags tags;
    std::vector<ListedChunk> kept;
    int64_t frames = 0, audioStart = 0;
};
// Without numbered keys: those of tags that stand twice.
Seen Look(const Bytes& file);

struct Case {
    const Layout& layout;
    const Edit& edit;
    Bytes before{}, after{};
    Seen old{}, changed{};
    std::vector<Change> trace{};
};
Case CaseOf(const Layout& layout, const Edit& edit);
WriteAnswer RunEdit(MemoryFileSystem& files, const Edit& edit, const std::string& target = "target.wav");

}  // namespace vantor::test::interrupted
