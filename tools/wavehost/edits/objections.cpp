#include "wavehost/edits/objections.h"

#include <limits>

#include "wavehost/edits/tag_values.h"
#include "wavehost/os/failure.h"
#include "wavehost/values/dates.h"
#include "wavehost/values/keys.h"
#include "wavehost/values/value_checks.h"

namespace vantor::wavehost {

namespace {

constexpr const char* broadcastDate = "BWF:OriginationDate";

// The date of `bext` is a whole day or none: a year alone would take the day away.
std::string DateObjection(const Assignment& wish, const Metadata& tags) {
    const bool isDate = wish.key == "DATE" || wish.key == "YEAR";
    const std::string date = ValueUnder(tags, broadcastDate);
    if (!isDate || wish.value.empty() || date.empty() || IsBroadcastDate(wish.value)) return {};
    return std::string(broadcastDate) + " cannot hold it and would lose " + date;
}

std::string ObjectionTo(const Assignment& wish, const Metadata& tags, double sampleRate) {
    if (!IsCarried(wish.key) || ValueUnder(tags, wish.key).empty())
        if (std::string reason = KeyObjection(wish.key); !reason.empty()) return reason;
    std::string reason = ValueObjection(wish.key, wish.value, sampleRate);
    if (reason.empty()) reason = DateObjection(wish, tags);
    return reason.empty() ? reason : wish.key + "=" + wish.value + ": " + reason;
}

void Refuse(const std::string& reasons) {
    if (!reasons.empty()) throw Failure(reasons + " (--force writes it all the same)");
}

void Append(std::string& reasons, const std::string& reason) {
    if (!reason.empty()) reasons += (reasons.empty() ? "" : "; ") + reason;
}

}  // namespace

void CheckWishes(const Assignments& wishes) {
    constexpr double anyRate = std::numeric_limits<double>::max();
    std::string reasons;
    for (const Assignment& wish : wishes) {
        const bool hasScheme = IsCarried(wish.key);
        Append(reasons, ObjectionTo(wish, hasScheme ? Metadata{{wish.key, "x"}} : Metadata(), anyRate));
    }
    Refuse(reasons);
}

void CheckWishes(const Assignments& wishes, const Metadata& tags, double sampleRate) {
    std::string reasons;
    for (const Assignment& wish : wishes)
        Append(reasons, ObjectionTo(wish, tags, sampleRate));
    Refuse(reasons);
}

}  // namespace vantor::wavehost
