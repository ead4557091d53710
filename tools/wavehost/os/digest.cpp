#include "wavehost/os/digest.h"

namespace vantor::wavehost {

std::string HexText(const unsigned char* bytes, size_t count) {
    constexpr char digits[] = "0123456789abcdef";
    std::string text;
    for (size_t i = 0; i < count; ++i) {
        text += digits[bytes[i] >> 4];
        text += digits[bytes[i] & 15];
    }
    return text;
}

}  // namespace vantor::wavehost
