// Frames taken over from an older ID3v2 tag.
#pragma once

#include "metadata/read/id3_frames.h"
#include "metadata/write/id3_frame_writer.h"

namespace vantor {

// Appends a frame of `walk`, with its content as it stands, to the frames of a tag of `version`: its own
// version, where it stays as it is, or 4. Then headers and flags, those of the frames inside chapters too,
// become those of version 2.4, a 2.2 picture gets a MIME type. False for what 2.4 cannot hold: ids that are
// none, "CRM" and "LNK" of 2.2, unknown flags.
bool AppendOldFrame(Id3Frames& frames, int version, const Id3FrameWalk& walk, const Id3Frame& frame);

}  // namespace vantor
