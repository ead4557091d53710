// Where the sound of a file ends: as its size says where that fits the file, else as what lies there tells.
#pragma once

#include "wavehost/care/survey.h"

namespace vantor::wavehost {

// The sound of the chunk that `chunk` heads; survey.chunks does not hold it yet.
Sound LocateSound(const Survey& survey, const Chunk& chunk, FileReader& reader, ChunkProbe& probe);

}  // namespace vantor::wavehost
