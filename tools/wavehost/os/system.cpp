#include "wavehost/os/system.h"

namespace vantor::wavehost {

fs::path PathOf(std::string_view utf8) {
    return fs::path(std::u8string(utf8.begin(), utf8.end()));
}

std::string TextOf(const fs::path& path) {
    const std::u8string text = path.u8string();
    return {text.begin(), text.end()};
}

}  // namespace vantor::wavehost
