#include "wavehost/edits/position_wishes.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "wavehost/edits/tag_values.h"
#include "wavehost/values/numbers.h"
#include "wavehost/values/position_keys.h"

namespace vantor::wavehost {

namespace {

std::string Text(PositionForm form, uint64_t samples, double sampleRate) {
    char milliseconds[32];
    switch (form) {
        case PositionForm::samples:
            return std::to_string(samples);
        case PositionForm::highHalf:
            return std::to_string(samples >> 32);
        case PositionForm::lowHalf:
            return std::to_string(samples & UINT32_MAX);
        case PositionForm::milliseconds:
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
    const auto* known = std::ranges::find(positionKeys, key, &PositionKey::key);
    const bool isPosition = known != std::end(positionKeys) && known->form == PositionForm::samples;
    return isPosition || (key.starts_with(timers) && key.size() <= timers.size() + 4 && key != "CART:URL");
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
    for (const PositionKey* key = std::begin(positionKeys); key != std::end(positionKeys); ++key) {
        if (key->form != PositionForm::lowHalf) continue;
        Assignment* high = Find(wishes, (key - 1)->key);
        Assignment* low = Find(wishes, key->key);
        const uint64_t samples = Scaled(Half(high) << 32 | Half(low), fromRate, toRate);
        if (low) low->value = Text(PositionForm::lowHalf, samples, toRate);
        if (high) high->value = Text(PositionForm::highHalf, samples, toRate);
    }
    return wishes;
}

}  // namespace vantor::wavehost
