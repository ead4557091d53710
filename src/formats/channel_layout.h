// Names of speaker arrangements: CAF channel layout tags and WAVE_FORMAT_EXTENSIBLE speaker masks.
#pragma once

#include <cstdint>
#include <string>

namespace vantor {

struct ChannelLayoutInfo {
    const char* scope;   // "cw": told by a speaker mask, in CAF and WAV; "c": by a CAF tag only
    int32_t channels;    // or anyChannelCount
    const char* name;    // speakers in file order
    uint32_t layoutTag;  // high half: the layout; low half: its channel count
    uint32_t mask;       // speaker bits, 0 none
};

inline constexpr int32_t anyChannelCount = -1;

// In the order of the lookup. Two rows are never found by it, as they share their tags with earlier rows;
// they are there for those who list the names.
inline constexpr ChannelLayoutInfo channelLayouts[] = {
    {"cw", 2, "L R", 0x10000, 0x3},
    {"cw", 3, "L R C", 0x10000, 0x7},
    {"cw", 4, "L R Lb Rb", 0x10000, 0x33},
    {"cw", 5, "L R C Lb Rb", 0x10000, 0x37},
    {"cw", 6, "L R C LFE Lb Rb", 0x10000, 0x3F},
    {"cw", 6, "L R Lb Rb Ls Rs", 0x10000, 0x633},
    {"cw", 8, "L R C LFE Lb Rb Ls Rs", 0x10000, 0x63F},
    {"c", 2, "Mid-Side", 0x680002, 0},
    {"c", 2, "Binaural", 0x6A0002, 0},
    {"c", 4, "Ambisonic B-Format - W X Y Z", 0x6B0004, 0},
    {"c", 6, "MPEG 5.1A - L R C LFE Lb Rb", 0x790006, 0},
    {"c", 6, "MPEG 5.1B - L R Lb Rb C LFE", 0x7A0006, 0},
    {"c", 6, "MPEG 5.1C - L C R Lb Rb LFE", 0x7B0006, 0},
    {"c", 6, "MPEG 5.1D - C L R Lb Rb LFE", 0x7C0006, 0},
    {"c", 8, "MPEG 7.1A - L R C LFE Lb Rb Lc Rc", 0x7E0008, 0},
    {"c", 8, "MPEG 7.1B - C Lc Rc L R Lb Rb LFE", 0x7F0008, 0},
    {"c", 8, "MPEG 7.1C (SMPTE 7.1) - L R C LFE Ls Rs Lb Rb", 0x800008, 0},
    {"c", 6, "ITU 3.2.1 - L R C LFE Lb Rb", 0x790006, 0},
    {"c", 8, "ITU 3.4.1 - L R C LFE Lb Rb Rls Rrs", 0x800008, 0},
    {"c", anyChannelCount, "HO Ambisonic SN3D", 0xBE0000, 0},
    {"c", anyChannelCount, "HO Ambisonic N3D", 0xBF0000, 0},
    {"c", 8, "Atmos 5.1.2 - L R C LFE Lb Rb Ltm Rtm", 0xC20008, 0},
    {"c", 12, "Atmos 7.1.4 - L R C LFE Lb Rb Rls Rrs Ltf Rtf Ltr Rtr", 0xC0000C, 0},
    {"c", 16, "Atmos 9.1.6 - L R C LFE Lb Rb Rls Rrs Lw Rw Ltf Rtf Ltm Rtm Ltr Rtr", 0xC10010, 0},
};

// The arrangement's name; null when the pair is unknown or disagrees with itself.
const char* ChannelLayoutName(uint32_t layoutTag, uint32_t mask);

// The name, "unknown layout tag %08X" or "unknown channel mask %08X"; empty when both are 0.
std::string ChannelLayoutText(uint32_t layoutTag, uint32_t mask);

}  // namespace vantor
