// What a file is, in lines for the user to read.
#pragma once

#include <string>

#include "formats/audio_format.h"

namespace vantor {

// Container and encoding, channels, rate, bits, length, loop information, markers, then every key and value;
// lines end in CRLF. For a file that cannot be played: why.
std::string FileInfoText(const AudioFormat& format, double lengthSeconds);
// Why there is no format: the file was taken offline, or it cannot be opened.
const char* ClosedStatusText(bool forcedOffline);

}  // namespace vantor
