#include "wavehost/values/keys.h"

#include <algorithm>
#include <cctype>
#include <numeric>

#include "metadata/key_table.h"
#include "metadata/xmp_marker.h"
#include "wavehost/values/known_keys.h"
#include "wavehost/values/numbers.h"

namespace vantor::wavehost {

namespace {

constexpr std::string_view dateField = "DATE";  // the same as YEAR

const SchemeNames* SchemeOf(std::string_view key) {
    const auto schemes = KnownNames();
    const auto found = std::ranges::find_if(
        schemes, [&](const SchemeNames& scheme) { return key.starts_with(scheme.prefix); });
    return found == schemes.end() ? nullptr : &*found;
}

// Repeated fields are numbered: "IXML:TRACK_LIST:TRACK:NAME:2", "ID3:TIT2:002".
std::string_view WithoutNumber(std::string_view name) {
    const size_t colon = name.rfind(':');
    return colon != name.npos && UnsignedOf(name.substr(colon + 1)) ? name.substr(0, colon) : name;
}

// The usage of a timer: an event, and a blank, its start, its end or a number (AES46).
bool IsTimer(std::string_view usage) {
    constexpr std::string_view events[] = {"MRK", "SEG", "AUD", "INT", "OUT", "SEC", "TER", "EOD", "FAD"};
    if (usage.size() < 3 || usage.size() > 4) return false;
    const bool isEvent = std::ranges::find(events, usage.substr(0, 3)) != std::end(events);
    return isEvent && (usage.size() == 3 || std::string_view(" se0123456789").find(usage[3]) != usage.npos);
}

bool IsXmpMarker(std::string_view name) {
    const auto number = name.starts_with("MARK") ? UnsignedOf(name.substr(4)) : std::nullopt;
    return number && *number < xmpMarkerLimit && XmpMarkerKey(static_cast<int>(*number)).ends_with(name);
}

bool IsNameOf(const SchemeNames& scheme, std::string_view name) {
    const bool isOpen = std::ranges::any_of(scheme.openParts, [&](std::string_view part) {
        return name.starts_with(part) && name.size() > part.size();
    });
    if (isOpen || std::ranges::find(scheme.names, WithoutNumber(name)) != scheme.names.end()) return true;
    return scheme.prefix == "CART:" ? IsTimer(name) : scheme.prefix == "XMP:" && IsXmpMarker(name);
}

std::string LowerCase(std::string_view text) {
    std::string lower(text);
    std::ranges::transform(lower, lower.begin(), [](unsigned char c) { return std::tolower(c); });
    return lower;
}

// Letters to put in, take out, replace or swap with their neighbour, to make one text of the other.
size_t Distance(std::string_view left, std::string_view right) {
    std::vector<size_t> before, above(right.size() + 1), row(right.size() + 1);
    std::iota(above.begin(), above.end(), size_t{0});
    for (size_t i = 0; i < left.size(); ++i) {
        row[0] = i + 1;
        for (size_t j = 0; j < right.size(); ++j) {
            row[j + 1] = std::min({row[j] + 1, above[j + 1] + 1, above[j] + (left[i] != right[j])});
            if (i > 0 && j > 0 && left[i] == right[j - 1] && left[i - 1] == right[j])
                row[j + 1] = std::min(row[j + 1], before[j - 1] + 1);
        }
        before = above;
        above = row;
    }
    return above.back();
}

// The known key that is spelt most alike, without regard to case; empty when none is near. Of a name without
// a scheme ("DESCRIPTION") one under any scheme will do.
std::string Nearest(std::string_view key) {
    const std::string wanted = LowerCase(key);
    std::string nearest;
    size_t least = std::max<size_t>(2, wanted.size() / 4) + 1;
    const auto consider = [&](const std::string& candidate, std::string_view spelling) {
        const size_t distance = Distance(wanted, LowerCase(spelling));
        if (distance >= least) return;
        least = distance;
        nearest = candidate;
    };
    for (const std::string& field : CommonFields())
        consider(field, field);
    for (const SchemeNames& scheme : KnownNames())
        for (const std::string_view name : scheme.names)
            consider(std::string(scheme.prefix).append(name), std::string(scheme.prefix).append(name));
    if (!nearest.empty() || key.find(':') != key.npos) return nearest;
    for (const SchemeNames& scheme : KnownNames())
        for (const std::string_view name : scheme.names)
            consider(std::string(scheme.prefix).append(name), name);
    return nearest;
}

}  // namespace

std::span<const std::string> CommonFields() {
    static const std::vector<std::string> fields = [] {
        std::vector<std::string> names;
        for (int i = 0; const char* name = CommonField(i); ++i)
            names.emplace_back(name);
        return names;
    }();
    return fields;
}

bool IsCommonField(std::string_view key) {
    return key == dateField || key == positionField ||
           std::ranges::find(CommonFields(), key) != CommonFields().end();
}

std::vector<std::string> AllSchemeKeysOf(const std::string& key) {
    if (HasSchemePrefix(key) || key == positionField) return {key};
    std::vector<std::string> keys;
    char schemeKey[schemeKeyBytes];
    for (int i = 0; SchemeKeyFor(key.c_str(), i, schemeKey, sizeof schemeKey); ++i)
        keys.emplace_back(schemeKey);
    return keys;
}

std::vector<std::string> SchemeKeysOf(const std::string& key) {
    std::vector<std::string> keys = AllSchemeKeysOf(key);
    if (keys.size() > 1) std::erase_if(keys, [](const std::string& one) { return !IsCarried(one); });
    return keys;
}

bool IsCarried(std::string_view key) {
    return SchemeOf(key) != nullptr;
}

bool IsDescriptionOnly(std::string_view key) {
    constexpr std::string_view kinds[] = {"ID3:APIC", "ID3:CHAP", "ID3:CTOC", "ID3:PRIV"};
    return std::ranges::any_of(kinds, [&](std::string_view kind) { return key.starts_with(kind); });
}

bool IsKnown(std::string_view key) {
    const SchemeNames* scheme = SchemeOf(key);
    return scheme ? IsNameOf(*scheme, key.substr(scheme->prefix.size())) : IsCommonField(key);
}

std::string KeyObjection(std::string_view key) {
    if (IsKnown(key)) return {};
    const std::string quoted = "'" + std::string(key) + "'";
    if (key.starts_with("ACID:")) return quoted + " is set through BPM or KEY, in files of loops";
    if (!IsCarried(key) && HasSchemePrefix(key)) return "no edit of a WAV file writes " + quoted;
    const std::string nearest = Nearest(key);
    if (!nearest.empty()) return "no scheme knows the key " + quoted + "; the nearest is " + nearest;
    const bool isName = key.find(':') == key.npos;
    return "no scheme knows the key " + quoted +
           (isName ? "; a field of your own is IXML:USER:" + std::string(key) : std::string());
}

}  // namespace vantor::wavehost
