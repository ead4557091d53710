#include "wavehost/edits/carried_tags.h"

#include <algorithm>
#include <cmath>

#include "wavehost/edits/position_wishes.h"
#include "wavehost/edits/tag_values.h"
#include "wavehost/values/keys.h"

namespace vantor::wavehost {

namespace {

void AddForeignFields(PCM_source& source, const Metadata& tags, Assignments& values) {
    for (const std::string& field : CommonFields()) {
        const auto keys = AllSchemeKeysOf(field);
        const bool isForeign = std::ranges::none_of(
            keys, [&](const std::string& key) { return IsCarried(key) && !ValueUnder(tags, key).empty(); });
        const std::string value = ValueOf(source, field);
        if (isForeign && !value.empty()) values.push_back({field, value});
    }
}

// Changes what is there, and adds nothing.
void Replace(Assignments& wishes, const std::string& key, const std::string& value) {
    const auto found = std::ranges::find(wishes, key, &Assignment::key);
    if (found != wishes.end()) found->value = value;
}

}  // namespace

CarriedTags TagsToCarry(PCM_source& source) {
    CarriedTags carried;
    const Metadata tags = MetadataOf(source);
    for (const auto& [key, value] : tags)
        if (IsDescriptionOnly(key))
            carried.leftOut.push_back(key);
        else if (IsCarried(key))
            carried.values.push_back({key, value});
    AddForeignFields(source, tags, carried.values);
    return carried;
}

Assignments TagsOfStretch(PCM_source& source, const CarriedTags& tags, double startSeconds, double sampleRate,
                          int32_t bitDepth) {
    Assignments wishes = AtRate(tags.values, source.SampleRate(), sampleRate);
    const double position = source.PlacementPosition();
    if (position >= 0) {
        const auto samples = static_cast<uint64_t>(std::llround((position + startSeconds) * sampleRate));
        for (const Assignment& wish : PositionWishes(samples, sampleRate, MetadataOf(source)))
            Replace(wishes, wish.key, wish.value);
    }
    const std::string rate = std::to_string(std::llround(sampleRate));
    Replace(wishes, "IXML:SPEED:FILE_SAMPLE_RATE", rate);
    Replace(wishes, "IXML:SPEED:TIMESTAMP_SAMPLE_RATE", rate);
    Replace(wishes, "IXML:SPEED:AUDIO_BIT_DEPTH", std::to_string(bitDepth));
    return wishes;
}

}  // namespace vantor::wavehost
