// Loads the module as the audio host does, and keeps what its entry registered.
#pragma once

#include <string>

#include "vantor_wave/host_interface.h"

namespace vantor::wavehost {

// What the module registered, as far as the commands use it. The API function is null when it is missing.
struct Module {
    const SourceTypeHandler* sources = nullptr;
    PCM_source* (*createMetadataSource)(const char* fileName) = nullptr;
};

// Loads the module from `path`; when that is empty, from beside the executable, else from the folder where it
// is installed (../lib/vantor_wave), else from the build folder.
// Throws Failure when there is none or when it refuses.
Module LoadModule(const std::string& path);

}  // namespace vantor::wavehost
