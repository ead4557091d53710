// Loads the module as the audio host does, and keeps what its entry registered.
#pragma once

#include <string>

#include "vantor_wave/host_interface.h"
#include "wavehost/os/system.h"

namespace vantor::wavehost {

// What the module registered, as far as the commands use it. The API function is null when it is missing.
struct Module {
    const SourceTypeHandler* sources = nullptr;
    PCM_source* (*createMetadataSource)(const char* fileName) = nullptr;
};

// Where the module is: at `path`; when that is empty, beside the executable, else in the folder where it is
// installed (../lib/vantor_wave), else in the build folder.
fs::path FindModule(const std::string& path);
// Throws Failure when there is none or when it refuses.
Module LoadModule(const fs::path& file);

}  // namespace vantor::wavehost
