// The keys that tell where a file lies on the timeline.
#pragma once

namespace vantor::wavehost {

// What a key's text counts: samples since midnight, the upper or lower 32 bits of that, or milliseconds.
enum class PositionForm { samples, highHalf, lowHalf, milliseconds };

struct PositionKey {
    const char* key;
    PositionForm form;
};

// Directly before a low half stands its high one. The first is the key that a file gets that has none.
inline constexpr PositionKey positionKeys[] = {
    {"BWF:TimeReference", PositionForm::samples},
    {"ID3:TXXX:TIME_REFERENCE", PositionForm::samples},
    {"IXML:BEXT:BWF_TIME_REFERENCE_HIGH", PositionForm::highHalf},
    {"IXML:BEXT:BWF_TIME_REFERENCE_LOW", PositionForm::lowHalf},
    {"IXML:BWF:BWF_TIME_REFERENCE_HIGH", PositionForm::highHalf},
    {"IXML:BWF:BWF_TIME_REFERENCE_LOW", PositionForm::lowHalf},
    {"IXML:SPEED:TIMESTAMP_SAMPLES_SINCE_MIDNIGHT_HI", PositionForm::highHalf},
    {"IXML:SPEED:TIMESTAMP_SAMPLES_SINCE_MIDNIGHT_LO", PositionForm::lowHalf},
    {"XMP:dm/relativeTimestamp", PositionForm::milliseconds},
};
inline constexpr const char* timeReferenceKey = positionKeys[0].key;

}  // namespace vantor::wavehost
