#include "wavehost/edits/tag_values.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <set>

#include "wavehost/facts/messages.h"
#include "wavehost/tables/tag_table.h"
#include "wavehost/values/keys.h"
#include "wavehost/values/numbers.h"
#include "wavehost/values/position_keys.h"

namespace vantor::wavehost {

namespace {

std::string Quoted(const std::string& value) {
    return '"' + value + '"';
}

// Letters and digits alone: writers make others of the rest.
std::string Letters(std::string_view key) {
    std::string letters(key);
    std::erase_if(letters, [](unsigned char c) { return c < 0x80 && !std::isalnum(c); });
    return letters;
}

// Before its version 2.4 a tag has three frames for a date.
constexpr const char* dateKey = "ID3:TDRC";
constexpr std::array dateParts = {"ID3:TYER", "ID3:TDAT", "ID3:TIME"};

// The key under which a value was stored in place of the one that was asked for: "IXML:USER:My_Field" for
// "IXML:USER:My Field", "ID3:COMM" for "ID3:COMM:eng". Empty when there is none.
std::string RenamedKey(const Assignment& wish, const Metadata& after) {
    const auto* year = dateParts.front();
    if (wish.key == dateKey && ValueUnder(after, year) == wish.value.substr(0, 4)) return year;
    const std::string wanted = Letters(wish.key);
    const auto found = std::ranges::find_if(after, [&](const auto& pair) {
        const std::string letters = Letters(pair.first);
        return pair.second == wish.value && pair.first != wish.key &&
               (letters == wanted || wanted.starts_with(letters));
    });
    return found == after.end() ? "" : found->first;
}

bool IsSameValue(const std::string& key, const std::string& wanted, const std::string& stored) {
    if (wanted == stored || IsDescriptionOnly(key)) return true;
    const auto left = DecimalOf(wanted), right = DecimalOf(stored);
    return left && right && *left == *right;
}

class Comparing {
  public:
    Comparing(const Metadata& before, const Metadata& after, double sampleRate)
        : before_(before), after_(after), sampleRate_(sampleRate) {}

    void Answer(const Assignment& wish) {
        const auto keys = SchemeKeysOf(wish.key);
        named_.insert(keys.begin(), keys.end());
        if (std::ranges::find(keys, dateKey) != keys.end()) named_.insert(dateParts.begin(), dateParts.end());
        if (wish.key == positionField)
            for (const PositionKey& key : positionKeys)
                named_.insert(key.key);
        KeyChange change{wish.key, ValueIn(before_, wish.key, sampleRate_),
                         ValueIn(after_, wish.key, sampleRate_)};
        const bool canGo = wish.key != positionField;  // no position reads as 0
        if (wish.value.empty() && !change.after.empty() && canGo)
            result_.shortfalls.push_back(wish.key + " was not removed");
        if (!wish.value.empty() && change.after.empty()) FindRenamed(wish, change);
        if (!wish.value.empty() && !change.after.empty() && !IsSameValue(wish.key, wish.value, change.after))
            result_.notes.push_back(wish.key + " was stored as " + Quoted(change.after));
        result_.asked.push_back(std::move(change));
    }

    // What differs and was not named; both lists are sorted by key.
    void FindBesides(bool replacesAll) {
        std::set<std::string> keys;
        for (const Metadata* tags : {&before_, &after_})
            for (const auto& [key, value] : *tags)
                keys.insert(key);
        for (const std::string& key : keys) {
            const std::string before = ValueUnder(before_, key), after = ValueUnder(after_, key);
            const bool isWish = named_.contains(key) || (replacesAll && after.empty());
            if (!isWish && !IsSameCell(key, after, before)) result_.besides.push_back({key, before, after});
        }
    }

    Comparison Result() { return std::move(result_); }

  private:
    void FindRenamed(const Assignment& wish, KeyChange& change) {
        const std::string renamed = RenamedKey(wish, after_);
        if (renamed.empty()) {
            result_.shortfalls.push_back(wish.key + " was not stored");
            return;
        }
        named_.insert(renamed);
        result_.notes.push_back(wish.key + " is stored under " + renamed);
        change.before = ValueUnder(before_, renamed);
        change.after = wish.value;
    }

    const Metadata& before_;
    const Metadata& after_;
    double sampleRate_;
    std::set<std::string> named_;
    Comparison result_;
};

}  // namespace

std::string ValueUnder(const Metadata& tags, const std::string& key) {
    const auto found = std::ranges::lower_bound(tags, key, {}, &Metadata::value_type::first);
    return found != tags.end() && found->first == key ? found->second : "";
}

std::string ValueIn(const Metadata& tags, const std::string& key, double sampleRate) {
    if (key == positionField) {
        const auto frames = UnsignedOf(ValueUnder(tags, timeReferenceKey));
        return NumberText(
            frames && sampleRate > 0 ? std::round(static_cast<double>(*frames) * 1000 / sampleRate) : 0);
    }
    for (const std::string& schemeKey : AllSchemeKeysOf(key))
        if (std::string value = ValueUnder(tags, schemeKey); !value.empty()) return value;
    return ValueUnder(tags, key);
}

Comparison Compare(const Assignments& wishes, const Metadata& before, const Metadata& after,
                   double sampleRate, bool replacesAll) {
    Comparing comparing(before, after, sampleRate);
    for (const Assignment& wish : wishes)
        comparing.Answer(wish);
    comparing.FindBesides(replacesAll);
    return comparing.Result();
}

}  // namespace vantor::wavehost
