// One edit of one file's tags: looked at, asked for, and read back.
#pragma once

#include <functional>
#include <string>

#include "wavehost/edits/documents.h"
#include "wavehost/edits/tag_values.h"

namespace vantor::wavehost {

struct EditWays {
    std::string output;         // the complete file goes there; empty: the file itself is edited
    bool replaceAll = false;    // tags that are not named go
    bool rebuild = false;       // chunks are built anew from their keys
    bool dryRun = false;        // nothing is written anywhere
    bool preserveTime = false;  // the file keeps its time of last change
    bool force = false;         // objections are passed over
    bool trustsValues = false;  // those that come from a file are not looked at
};

enum class Fate { unchanged, updatedInPlace, rewritten };

struct EditResult {
    Fate fate = Fate::unchanged;
    Comparison told;
};

// What is wished of a file, from what it is and has.
using WishesOf = std::function<Assignments(PCM_source& source, const Metadata& tags)>;

// Throws Failure with the reason when nothing was written.
EditResult EditTags(const Module& module, const std::string& file, const WishesOf& wishesOf,
                    const EditWays& ways);

// Puts a document into the file as it stands, in place of the one that is there. What its keys become counts
// as asked for.
EditResult EmbedDocument(const Module& module, const std::string& file, const DocumentKind& kind,
                         const std::string& document, const EditWays& ways);

}  // namespace vantor::wavehost
