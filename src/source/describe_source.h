// What a properties window shows of a wave source.
#pragma once

#include "properties/file_properties.h"
#include "source/wave_source.h"

namespace vantor {

// The facts of the file information text with the place on the timeline and the slices, then every tag. Of a
// source that is not open or cannot be played: its status.
[[nodiscard]] FileProperties DescribeSource(PCM_source_wavefile& source);

}  // namespace vantor
