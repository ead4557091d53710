#include "wavehost/care/position.h"

#include <optional>

#include "text/text.h"

namespace vantor::wavehost {

namespace {

constexpr double millisecond = 0.001;

// A count of samples in one text.
std::optional<double> Samples(const MetadataStore& store, std::string_view key) {
    const auto text = store.Value(key);
    if (text.empty()) return std::nullopt;
    return static_cast<double>(UnsignedDecimal(text));
}

// A count in two halves of 32 bits.
std::optional<double> Halves(const MetadataStore& store, std::string_view high, std::string_view low) {
    const auto least = Samples(store, low);
    if (!least) return std::nullopt;
    return Samples(store, high).value_or(0) * 4294967296.0 + *least;
}

}  // namespace

std::vector<TaggedPosition> PositionsOf(const AudioFormat& format) {
    const MetadataStore& store = format.metadata;
    std::vector<TaggedPosition> places;
    if (!(format.sampleRate > 0)) return places;
    const auto add = [&](const char* source, std::optional<double> samples, double rate) {
        if (samples && rate > 0) places.push_back({source, *samples / rate, 0.5 / rate});
    };
    add("bext", Samples(store, "BWF:TimeReference"), format.sampleRate);
    add("iXML (BEXT)", Halves(store, "IXML:BEXT:BWF_TIME_REFERENCE_HIGH", "IXML:BEXT:BWF_TIME_REFERENCE_LOW"),
        format.sampleRate);
    const double ixmlRate = DecimalNumber(store.Value("IXML:SPEED:TIMESTAMP_SAMPLE_RATE"));
    add("iXML (SPEED)",
        Halves(store, "IXML:SPEED:TIMESTAMP_SAMPLES_SINCE_MIDNIGHT_HI",
               "IXML:SPEED:TIMESTAMP_SAMPLES_SINCE_MIDNIGHT_LO"),
        ixmlRate > 0 ? ixmlRate : format.sampleRate);
    add("ID3", Samples(store, "ID3:TXXX:TIME_REFERENCE"), format.sampleRate);
    if (const auto text = store.Value("XMP:dm/relativeTimestamp"); !text.empty())
        places.push_back({"XMP", static_cast<double>(UnsignedDecimal(text)) * millisecond, millisecond});
    return places;
}

}  // namespace vantor::wavehost
