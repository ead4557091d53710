#include "wavehost/os/new_file.h"

namespace vantor::wavehost {

// A batch goes from file to file of one folder, and a folder may hold very many.
void SweepUpOnce(const std::filesystem::path& folder) {
    static std::filesystem::path swept;
    if (folder == swept) return;
    SweepUp(folder);
    swept = folder;
}

}  // namespace vantor::wavehost
