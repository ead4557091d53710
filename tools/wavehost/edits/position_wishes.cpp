#include "wavehost/edits/position_wishes.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "wavehost/edits/tag_values.h"
#include "wavehost/values/numbers.h"

namespace vantor::wavehost {

namespace {

enum class Form { samples, highHalf, lowHalf, milliseconds };

struct PositionKey {
    const char* key;
    Form form;
};

constexpr PositionKey positionKeys[] = {
    {"BWF:TimeReference", Form::samples},
    {"ID3:TXXX:TIME_REFERENCE", Form::samples},
    {"IXML:BEXT:BWF_TIME_REFERENCE_HIGH", Form::highHalf},
    {"IXML:BEXT:BWF_TIME_REFERENCE_LOW", Form::lowHalf},
    {"IXML:BWF:BWF_TIME_REFERENCE_HIGH", Form::highHalf},
    {"IXML:BWF:BWF_TIME_REFERENCE_LOW", Form::lowHalf},
    {"IXML:SPEED:TIMESTAMP_SAMPLES_SINCE_MIDNIGHT_HI", Form::highHalf},
    {"IXML:SPEED:TIMESTAMP_SAMPLES_SINCE_MIDNIGHT_LO", Form::lowHalf},
    {"XMP:dm/relativeTimestamp", Form::milliseconds},
};

// Low halves with their high ones.
constexpr std::pair<const char*, const char*> halves[] = {
    {"IXML:BEXT:BWF_TIME_REFERENCE_LOW", "IXML:BEXT:BWF_TIME_REFERENCE_HIGH"},
    {"IXML:BWF:BWF_TIME_REFERENCE_LOW", "IXML:BWF:BWF_TIME_REFERENCE_HIGH"},
    {"IXML:SPEED:TIMESTAMP_SAMPLES_SINCE_MIDNIGHT_LO", "IXML:SPEED:TIMESTAMP_SAMPLES_SINCE_MIDNIGHT_HI"},
};

std::string Text(Form form, uint64_t samples, double sampleRate) {
    char milliseconds[32];
    switch (form) {
        case Form::samples:
            return std::to_string(samples);
        case Form::highHalf:
            return std::to_string(samples >> 32);
        case Form::lowHalf:
            return std::to_string(samples & UINT32_MAX);
        case Form::milliseconds:
            // Nine digits, as the field is written elsewhere.
            std::snprintf(milliseconds, sizeof milliseconds, "%09.0f",
                          std::floor(static_cast<double>(samples) * 1000 / sampleRate));
    }
    return milliseconds;
}

uint64_t Scaled(uint64_t samples, double fromRate, double toRate) {
    return static_cast<uint64_t>(std::llround(static_cast<double>(samples) * (toRate / fromRate)));
}

Assignment* Find(Assignments& wishes, std::string_view key) {
    const auto found = std::ranges::find(wishes, key, &Assignment::key);
    return found == wishes.end() ? nullptr : &*found;
}

// Recorders write the halves with or without a sign.
uint64_t Half(const Assignment* wish) {
    if (!wish) return 0;
    const bool isNegative = wish->value.starts_with('-');
    const uint64_t number = UnsignedOf(std::string_view(wish->value).substr(isNegative ? 1 : 0)).value_or(0);
    return (isNegative ? 0 - number : number) & UINT32_MAX;
}

// A timer of `cart`: four characters, and a number of samples.
bool CountsSamples(std::string_view key) {
    constexpr std::string_view timers = "CART:";
    return key == "BWF:TimeReference" || key == "ID3:TXXX:TIME_REFERENCE" ||
           (key.starts_with(timers) && key.size() <= timers.size() + 4 && key != "CART:URL");
}

}  // namespace

Assignments PositionWishes(uint64_t samples, double sampleRate, const Metadata& tags) {
    Assignments wishes;
    for (const auto& [key, form] : positionKeys)
        if (wishes.empty() || !ValueUnder(tags, key).empty())
            wishes.push_back({key, Text(form, samples, sampleRate)});
    return wishes;
}

Assignments AtRate(Assignments wishes, double fromRate, double toRate) {
    if (fromRate == toRate || !(fromRate > 0)) return wishes;
    for (Assignment& wish : wishes)
        if (const auto samples = UnsignedOf(wish.value); samples && CountsSamples(wish.key))
            wish.value = std::to_string(Scaled(*samples, fromRate, toRate));
    for (const auto& [lowKey, highKey] : halves) {
        Assignment* low = Find(wishes, lowKey);
        Assignment* high = Find(wishes, highKey);
        const uint64_t samples = Scaled(Half(high) << 32 | Half(low), fromRate, toRate);
        if (low) low->value = Text(Form::lowHalf, samples, toRate);
        if (high) high->value = Text(Form::highHalf, samples, toRate);
    }
    return wishes;
}

}  // namespace vantor::wavehost
