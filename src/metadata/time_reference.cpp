#include <algorithm>
#include <cmath>

#include "metadata/key_table.h"
#include "text/text.h"

namespace vantor {

namespace {

constexpr const char* bwfKey = "BWF:TimeReference";
constexpr const char* id3Key = "ID3:TXXX:TIME_REFERENCE";
constexpr const char* ixmlHighKey = "IXML:BEXT:BWF_TIME_REFERENCE_HIGH";
constexpr const char* ixmlLowKey = "IXML:BEXT:BWF_TIME_REFERENCE_LOW";
constexpr const char* vorbisKey = "VORBIS:TIME_REFERENCE";
constexpr const char* xmpKey = "XMP:dm/relativeTimestamp";

constexpr const char* allKeys[] = {bwfKey, id3Key, ixmlHighKey, ixmlLowKey, vorbisKey, xmpKey};
constexpr const char* frameKeys[] = {bwfKey, id3Key, vorbisKey};

// A whole number of milliseconds with leading zeros to at least nine digits.
std::string MillisecondText(double milliseconds) {
    constexpr size_t leastDigits = 9;
    auto text = FixedText(milliseconds, 0);
    if (text.size() < leastDigits) text.insert(0, leastDigits - text.size(), '0');
    return text;
}

// A signed decimal, blanks before it allowed, modulo 2^32; 0 when there is none.
uint32_t HalfWord(std::string_view text) {
    text.remove_prefix(std::min(text.find_first_not_of(" \t\r\n"), text.size()));
    const bool negative = text.starts_with('-');
    if (negative) text.remove_prefix(1);
    const auto value =
        static_cast<uint32_t>(UnsignedDecimal(text.substr(0, text.find_first_not_of("0123456789"))));
    return negative ? 0u - value : value;
}

}  // namespace

void SetTimeReference(MetadataStore& store, double seconds, double sampleRate) {
    for (const auto* key : allKeys)
        store.Remove(key);
    if (!(seconds > 0 && sampleRate >= 2)) return;
    const auto frames = FixedText(std::floor(seconds * sampleRate), 0);
    for (const auto* key : frameKeys)
        store.Set(key, frames);
    store.Set(xmpKey, MillisecondText(std::floor(seconds * 1000)));
}

double ReadTimeReference(const MetadataStore* store, double sampleRate) {
    if (!store) return -1.0;
    if (sampleRate > 0) {
        for (const auto* key : frameKeys)
            if (const auto frames = store->Value(key); !frames.empty())
                return static_cast<double>(UnsignedDecimal(frames)) / sampleRate;
        if (const auto low = store->Value(ixmlLowKey); !low.empty()) {
            const auto frames = uint64_t{HalfWord(store->Value(ixmlHighKey))} << 32 | HalfWord(low);
            return static_cast<double>(static_cast<int64_t>(frames)) / sampleRate;
        }
    }
    const auto milliseconds = store->Value(xmpKey);
    return milliseconds.empty() ? -1.0 : static_cast<double>(UnsignedDecimal(milliseconds)) / 1000.0;
}

bool NamesTimeReference(const MetadataStore& store) {
    return std::ranges::any_of(allKeys, [&](const char* key) { return store.Has(key); });
}

bool HoldsPositionInDocument(const MetadataStore& store) {
    const auto isSaid = [&](const char* key) { return !store.Value(key).empty(); };
    return isSaid(ixmlLowKey) && std::ranges::none_of(frameKeys, isSaid);
}

}  // namespace vantor
