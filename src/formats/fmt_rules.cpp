#include "formats/fmt_rules.h"

#include <algorithm>
#include <cstring>
#include <initializer_list>
#include <span>

#include "fileio/byte_order.h"
#include "formats/adpcm_shape.h"

namespace vantor {

namespace {

constexpr uint16_t tagMpeg = 0x0050;
constexpr uint16_t tagExtensible = 0xFFFE;
constexpr uint64_t largestFmtRead = 64;
constexpr size_t extensibleBytes = 40;
constexpr uint16_t extensibleExtension = 22;
constexpr size_t msAdpcmBytes = 50;

// KSDATAFORMAT_SUBTYPE_... and the ambisonic B-format GUIDs: a 32-bit code, then one of these tails.
constexpr uint8_t mediaTail[] = {0x00, 0x00, 0x10, 0x00, 0x80, 0x00, 0x00, 0xAA, 0x00, 0x38, 0x9B, 0x71};
constexpr uint8_t ambisonicTail[] = {0x21, 0x07, 0xD3, 0x11, 0x86, 0x44, 0xC8, 0xC1, 0xCA, 0x00, 0x00, 0x00};

struct SubFormat {
    uint32_t code;
    const uint8_t (&tail)[12];
    Encoding encoding;
};
constexpr SubFormat subFormats[] = {
    {1, mediaTail, encodingInteger}, {1, ambisonicTail, encodingInteger}, {2, mediaTail, encodingMsAdpcm},
    {3, mediaTail, encodingFloat},   {3, ambisonicTail, encodingFloat},
};

const SubFormat* FindSubFormat(const uint8_t* guid) {
    for (const auto& row : subFormats)
        if (row.code == ReadLe32(guid) && std::memcmp(guid + 4, row.tail, sizeof row.tail) == 0) return &row;
    return nullptr;
}

// | offset | width | field                                                     |
// |      0 |     2 | format tag                                                |
// |      2 |     2 | channels                                                  |
// |      4 |     4 | sample rate                                               |
// |      8 |     4 | average bytes a second (not used)                         |
// |     12 |     2 | block align                                               |
// |     14 |     2 | bits per sample                                           |
// |     16 |     2 | size of the extension                                     |
// |     18 |     2 | extensible: valid bits                                    |
// |     20 |     4 | extensible: speaker mask; MS ADPCM: coefficient pairs (2) |
// |     22 |    28 | MS ADPCM: the pairs, int16 each                           |
// |     24 |    16 | extensible: sub-format GUID                               |
void TakeFields(std::span<const uint8_t> body, AudioFormat& format) {
    format.encoding = ReadLe16(body.data());
    format.channels = ReadLe16(body.data() + 2);
    format.sampleRate = ReadLe32(body.data() + 4);
    format.blockAlign = ReadLe16(body.data() + 12);
    format.bitsPerSample = ReadLe16(body.data() + 14);
    format.validBits = 0;
    format.layoutTag = 0;
    format.channelMask = 0;
}

WalkStatus TakeExtension(std::span<const uint8_t> body, const FmtRules& rules, AudioFormat& format) {
    if (body.size() < extensibleBytes || ReadLe16(body.data() + 16) < extensibleExtension)
        return rules.shortExtension;
    const auto* subFormat = FindSubFormat(body.data() + 24);
    if (!subFormat) return rules.unknownSubFormat;
    format.encoding = subFormat->encoding;
    format.validBits = ReadLe16(body.data() + 18);
    // Speakers are told for integer files alone: in float files the mask is not to be trusted.
    if (rules.keepsSpeakerMask && format.encoding == encodingInteger) {
        format.channelMask = ReadLe32(body.data() + 20);
        if (format.channelMask != 0) format.layoutTag = layoutFromMask;
    }
    return walkGoesOn;
}

WalkStatus TakeTag(std::span<const uint8_t> body, const FmtRules& rules, AudioFormat& format) {
    switch (format.encoding) {
        case encodingInteger:
        case encodingFloat:
        case encodingUlaw:
        case encodingMsAdpcm:
        case encodingImaAdpcm:
        case encodingCAdpcm:
            return walkGoesOn;
        case tagExtensible:
            return TakeExtension(body, rules, format);
        case tagMpeg:
            if (rules.marksMpeg) format.isMpegInWave = true;
            return rules.unknownTag;
        default:
            return rules.unknownTag;
    }
}

void WidenBlockAlign(AudioFormat& format) {
    if (IsAdpcm(format.encoding)) return;
    const int64_t frameBytes = int64_t{format.channels} * format.bitsPerSample / 8;
    format.blockAlign = static_cast<int32_t>(std::max<int64_t>(format.blockAlign, frameBytes));
}

bool IsAnyOf(int32_t value, std::initializer_list<int32_t> list) {
    return std::ranges::find(list, value) != list.end();
}

WalkStatus CheckParameters(const AudioFormat& format, const FmtRules& rules) {
    constexpr int32_t smallestBlock = 7;
    const int32_t bits = format.bitsPerSample;
    const bool wholeBlock = format.blockAlign >= smallestBlock;
    switch (format.encoding) {
        case encodingUlaw:
            return bits == 8 ? nullptr : rules.badUlaw;
        case encodingFloat:
            return IsAnyOf(bits, {32, 64}) ? nullptr : rules.badFloat;
        case encodingInteger:
            return IsAnyOf(bits, {8, 16, 20, 24, 32}) ? nullptr : rules.badInteger;
        case encodingMsAdpcm:
            return wholeBlock && bits == 4 ? nullptr : rules.badMsAdpcm;
        case encodingImaAdpcm:
            return wholeBlock && bits == 4 ? nullptr : rules.badImaAdpcm;
        default:
            return wholeBlock && bits == 2 ? nullptr : rules.badCAdpcm;
    }
}

void TakeCoefficients(std::span<const uint8_t> body, AudioFormat& format) {
    format.msadpcmCoefficients.reset();
    if (format.encoding != encodingMsAdpcm || body.size() < msAdpcmBytes || ReadLe16(body.data() + 20) != 7)
        return;
    auto& coefficients = format.msadpcmCoefficients.emplace();
    for (size_t i = 0; i < coefficients.size(); ++i)
        coefficients[i] = ReadLittle<int16_t>(body.data() + 22 + 2 * i);
}

}  // namespace

WalkStatus ReadFmt(ContainerWalk& walk, uint64_t bodyBytes, const FmtRules& rules) {
    AudioFormat& format = walk.format;
    uint8_t bytes[largestFmtRead];
    const std::span<const uint8_t> body(bytes, static_cast<size_t>(std::min(bodyBytes, largestFmtRead)));
    if (!walk.reader.ReadExactly(bytes, static_cast<int64_t>(body.size()))) return rules.shortRead;
    TakeFields(body, format);
    if (const auto status = TakeTag(body, rules, format); status.IsWrong()) return status;
    if (format.channels < 1) return rules.noChannels;
    WidenBlockAlign(format);
    if (const auto status = CheckParameters(format, rules); status.IsWrong()) return status;
    TakeCoefficients(body, format);
    walk.formatAccepted = true;
    return walkGoesOn;
}

}  // namespace vantor
