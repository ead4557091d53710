// The version of module and tool, from the build.
#pragma once

namespace vantor::wavehost {

extern const char* const productVersion;  // "1.0.0"

}  // namespace vantor::wavehost
