// Puts the chunks of an edit into the file itself. The audio is never written.
//
// Wherever an edit stops, a write or flush that fails included, the audio and the kept chunks are where they
// were, and every tag that old and new have in common is there, the old one or the new. What is on the disk
// when the power goes is what the last flush left, and any part of what was written since.
//
// The new chunks are first written where nobody sees them: into a "JUNK" chunk at the end of the file, or in
// padding that is long enough; padding of several chunks becomes one before, and stays it. One header then
// hides the old tags and shows the new ones, where the old ones stand in one run in front; else the new ones
// are shown first and the old runs hidden one after the other. Only then what the old ones left is
// overwritten: the new chunks go to their final place, hidden until they are whole, and the copy goes. From
// the moment when the new tags show until all is cleaned up, a mark in the padding beside them says so, and
// the next edit finishes this one first.
#pragma once

#include "edit/unfinished_edit.h"
#include "fileio/file_writer.h"

namespace vantor {

enum class InPlaceResult {
    done,        // the file holds the new chunks in their final place, and the disk has it so
    undone,      // it failed, and the file is what it was but for padding
    unfinished,  // it failed, and not all of that could be undone or done: no tag is lost
};
[[nodiscard]] InPlaceResult UpdateInPlace(FileWriter& writer, const InPlacePlan& plan);

// The file becomes what the edit would have left.
[[nodiscard]] bool FinishInPlace(FileWriter& writer, const InPlacePlan& unfinished);

}  // namespace vantor
