// Names of speaker arrangements: CAF channel layout tags and WAVE_FORMAT_EXTENSIBLE speaker masks.
#pragma once

#include <cstdint>
#include <string>

namespace vantor {

// The arrangement's name; null when the pair is unknown or disagrees with itself.
const char* ChannelLayoutName(uint32_t layoutTag, uint32_t mask);

// The name, "unknown layout tag %08X" or "unknown channel mask %08X"; empty when both are 0.
std::string ChannelLayoutText(uint32_t layoutTag, uint32_t mask);

}  // namespace vantor
