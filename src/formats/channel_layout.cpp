#include "formats/channel_layout.h"

#include <cstdio>

#include "formats/audio_format.h"

namespace vantor {

namespace {

constexpr uint32_t familyMask = 0xFFFF0000u;  // the low half of a tag is its channel count

bool Matches(const ChannelLayoutInfo& row, uint32_t layoutTag, uint32_t mask) {
    if (row.mask != 0) return row.mask == mask;
    if (row.channels == anyChannelCount) return (row.layoutTag & familyMask) == (layoutTag & familyMask);
    return row.layoutTag == layoutTag;
}

std::string HexText(const char* format, uint32_t value) {
    char text[48];
    std::snprintf(text, sizeof text, format, value);
    return text;
}

}  // namespace

const char* ChannelLayoutName(uint32_t layoutTag, uint32_t mask) {
    if ((layoutTag == layoutFromMask) != (mask != 0)) return nullptr;
    for (const auto& row : channelLayouts)
        if (Matches(row, layoutTag, mask)) return row.name;
    return nullptr;
}

std::string ChannelLayoutText(uint32_t layoutTag, uint32_t mask) {
    if (layoutTag == 0 && mask == 0) return {};
    if (const char* name = ChannelLayoutName(layoutTag, mask)) return name;
    return mask == 0 ? HexText("unknown layout tag %08X", layoutTag)
                     : HexText("unknown channel mask %08X", mask);
}

}  // namespace vantor
