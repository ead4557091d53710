#include "wavehost/tables/json_output.h"

#include <cmath>
#include <nlohmann/json.hpp>

#include "wavehost/tables/placement.h"
#include "wavehost/values/shown_text.h"

namespace vantor::wavehost {

namespace {

using Json = nlohmann::ordered_json;

std::string Print(const Json& json, int indent = 2) {
    return json.dump(indent, ' ', false, Json::error_handler_t::replace);
}

// Whole rates without a fraction, as people write them.
Json Rate(double rate) {
    const bool whole = rate == std::floor(rate) && std::fabs(rate) < 1e15;
    return whole ? Json(static_cast<int64_t>(rate)) : Json(rate);
}

Json Of(const Metadata& metadata) {
    Json::object_t object;
    // The keys of a store are unique: no search for each among all before it.
    auto& entries = static_cast<Json::object_t::Container&>(object);
    for (const auto& [key, value] : metadata)
        entries.emplace_back(ShownText(key), ShownText(value));
    return object;
}

Json Of(const std::vector<MarkerFact>& markers) {
    Json array = Json::array();
    for (const MarkerFact& marker : markers)
        array.push_back({{"id", marker.id},
                         {"start", marker.startSeconds},
                         {"end", marker.endSeconds},
                         {"is_region", marker.isRegion},
                         {"name", marker.name}});
    return array;
}

Json Of(const std::vector<SliceFact>& slices) {
    Json array = Json::array();
    for (const SliceFact& slice : slices)
        array.push_back({{"index", slice.index},
                         {"start_seconds", slice.startSeconds},
                         {"position_beats", slice.positionBeats}});
    return array;
}

// Null for what the file does not have.
void AddPlacement(Json& json, const SourceFacts& facts) {
    const auto placement = PlacementOf(facts.positionSeconds, facts.sampleRate, facts.metadata);
    const bool hasRate = placement && placement->rate;
    json["position_seconds"] = placement ? Json(facts.positionSeconds) : Json();
    json["position_samples"] = placement ? Json(placement->samples) : Json();
    json["frame_rate"] = hasRate ? Json(placement->rate->name) : Json();
    json["timecode"] = hasRate ? Json(placement->timecode) : Json();
}

Json Of(const SourceFacts& facts) {
    Json json = {{"file", facts.file},
                 {"online", facts.online},
                 {"type", facts.type},
                 {"channels", facts.channels},
                 {"sample_rate", Rate(facts.sampleRate)},
                 {"length_seconds", facts.lengthSeconds},
                 {"bit_depth", facts.bitDepth}};
    AddPlacement(json, facts);
    json["info_text"] = facts.infoText;
    if (!facts.online) json["error"] = facts.infoText;
    json["metadata"] = Of(facts.metadata);
    json["markers"] = Of(facts.markers);
    json["slices"] = Of(facts.slices);
    return json;
}

}  // namespace

std::string FactsJson(const SourceFacts& facts) {
    return Print(Of(facts));
}

std::string MetadataJson(const std::string& file, const Metadata& metadata) {
    return Print({{"file", file}, {"metadata", Of(metadata)}});
}

std::string MarkersJson(const std::string& file, const std::vector<MarkerFact>& markers) {
    return Print({{"file", file}, {"markers", Of(markers)}});
}

std::string SlicesJson(const std::string& file, const std::vector<SliceFact>& slices) {
    return Print({{"file", file}, {"slices", Of(slices)}});
}

std::string FailureJson(const std::string& file, const std::string& message) {
    return Print({{"file", file}, {"error", message}}, -1);
}

std::string ScanJson(const std::string& file, const Metadata& metadata) {
    return Print({{"file", file}, {"metadata", Of(metadata)}}, -1);
}

}  // namespace vantor::wavehost
