// What a file is, in lines for the user to read.
#pragma once

#include <string>
#include <vector>

#include "formats/audio_format.h"
#include "properties/file_properties.h"

namespace vantor {

// Container and encoding, channels, rate, bits, length, loop information, markers, then every key and value;
// lines end in CRLF. For a file that cannot be played: why.
std::string FileInfoText(const AudioFormat& format, double lengthSeconds);
// Its facts in the same order: container to loop information, then the markers and regions.
std::vector<PropertyRow> FormatRows(const AudioFormat& format, double lengthSeconds);
std::vector<PropertyRow> MarkerRows(const AudioFormat& format);
// Why a file that was opened cannot be played.
std::string UnplayableText(const AudioFormat& format);
// Why there is no format: the file was taken offline, or it cannot be opened.
const char* ClosedStatusText(bool forcedOffline);

}  // namespace vantor
