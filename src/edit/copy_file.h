// The copy: every chunk that is kept, byte for byte, with the new ones in between.
#pragma once

#include <string>

#include "edit/images.h"

namespace vantor {

// Writes the complete file to `target`, of the same container kind (0 RIFF WAVE, 3 RF64, 5 BW64): the main
// image after "fmt ", the tail image at the end, each part that has a place there; where nothing is replaced,
// the same bytes. True when the disk holds the copy and it read back as it should be; a partly written target
// stays.
[[nodiscard]] bool WriteCopy(FileReader& source, const std::string& target, const ChunkImages& images,
                             int32_t fileKind);

// Whether WriteCopy would try: the chunks can be followed, and nothing would turn into sound.
[[nodiscard]] bool CanCopy(FileReader& source, const ChunkImages& images, int32_t fileKind);

}  // namespace vantor
