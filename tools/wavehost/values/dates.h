// Dates and times of day as tags write them.
#pragma once

#include <string_view>

namespace vantor::wavehost {

// yyyy-mm-dd, a day of the calendar; the separators are free (EBU Tech 3285).
bool IsBroadcastDate(std::string_view text);
// hh:mm:ss, the separators free, as above; or hh:mm.
bool IsBroadcastTime(std::string_view text);
// yyyy, yyyy-mm, yyyy-mm-dd, and then Thh:mm, Thh:mm:ss with parts of a second, and a time zone (ISO 8601 as
// RIFF, ID3v2.4 and XMP take it).
bool IsIsoDate(std::string_view text);

}  // namespace vantor::wavehost
