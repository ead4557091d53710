// The patchers: an old chunk and a change, both from the input. What a patcher gives back is read as the
// change says, and as before in all that the change does not name.
#include <algorithm>
#include <string>
#include <vector>

#include "edit/tag_proof.h"
#include "fuzz/world.h"
#include "metadata/read/id3_entries.h"
#include "metadata/write/id3_change.h"

namespace vantor::fuzz {

namespace {

// Keys that a chunk may have or not, beside those that it has.
constexpr std::string_view newKeys[] = {
    "BWF:Description",   "BWF:LoudnessRange",
    "BWF:TimeReference", "CART:Title",
    "CART:AUD1",         "CART:TagText",
    "INFO:INAM",         "INFO:ICMT",
    "ACID:BPM",          "ACID:KEY",
    "ACID:BEATS",        "IXML:NOTE",
    "IXML:A:B",          "IXML:A:B:2",
    "ASWG:project",      "XMP:dc/title",
    "XMP:dc/subject",    "XMP:dm/artist",
    "XMP:MARK000",       "XMP:dc/language",
    "XMP:MARK001",       "ID3:TIT2",
    "ID3:COMM",          "ID3:TXXX:k",
    "ID3:TDRC",          "XMP:dm/relativeTimestamp",
};
constexpr std::string_view values[] = {
    "", "x", "0", "12", "5:6:m", "a; b; c", "\xC3\xA9 <&>\"'", "2024-05-06T07:08"};

MetadataStore ChangeFrom(Choices& choices, const TagScheme& scheme, const MetadataStore& own) {
    std::vector<std::string> keys;
    own.ForEach([&](const MetadataEntry& entry) {
        if (SchemeOfKey(entry.key) == &scheme && keys.size() < 200) keys.push_back(entry.key);
    });
    for (const auto key : newKeys)
        if (SchemeOfKey(key) == &scheme) keys.emplace_back(key);
    MetadataStore change;
    const int count = 1 + choices.OneOf(3);
    for (int i = 0; i < count; ++i) {
        const auto& key = keys[static_cast<size_t>(choices.Byte()) % keys.size()];
        const auto value = values[static_cast<size_t>(choices.Byte()) % std::size(values)];
        if (own.Value(key) != value) change.Set(key, value);
    }
    return change;
}

// The fields that no key of the change belongs to.
PlainTags Unnamed(const TagScheme& scheme, const MetadataStore& entries, const MetadataStore& change) {
    PlainTags tags = PlainTagsOf(scheme.name, entries);
    MetadataStore probe;
    change.ForEach([&](const MetadataEntry& entry) { probe.Set(entry.key, "x"); });
    for (const auto& [base, list] : PlainTagsOf(scheme.name, probe))
        tags.erase(base);
    return tags;
}

bool IsNamed(const Id3Frame& frame, const Id3Entry& entry, const MetadataStore& change) {
    // A text that cannot be read makes way for a new one.
    if (frame.data.empty() && frame.id.starts_with('T'))
        return !change.Value(std::string(id3Prefix).append(frame.id)).empty();
    const bool isChapter = frame.id == "CHAP" && change.Has(id3ChapterKey);
    return isChapter || (entry.kind == Id3Entry::Kind::Value && change.Has(entry.key));
}

// Those of an ID3 tag that no key of the change stands for, byte for byte.
std::vector<std::string> FramesBut(Input tag, const MetadataStore& change) {
    std::vector<std::string> frames;
    Id3EntryWalk walk(tag, 0);
    Id3Entry entry;
    for (Id3Frame frame; walk.Next(frame, entry);) {
        if (IsNamed(frame, entry, change)) continue;
        frames.push_back(frame.id + static_cast<char>(frame.status) + static_cast<char>(frame.format));
        frames.back().append(frame.body.begin(), frame.body.end());
    }
    return frames;
}

// In their order; others may stand between them.
bool HasAll(const std::vector<std::string>& frames, const std::vector<std::string>& wanted) {
    auto next = wanted.begin();
    for (const auto& frame : frames)
        if (next != wanted.end() && frame == *next) ++next;
    return next == wanted.end();
}

void RequireRest(std::string_view name, Input old, Input patched, const MetadataStore& change) {
    const TagScheme& scheme = *FindScheme(name);
    // Languages stand for others. That of a text that goes becomes a property, which holds no such
    // characters.
    constexpr const char* language = "XMP:dc/language";
    const auto isControl = [](char c) { return c >= 0 && c < 0x20; };
    MetadataStore own, now;
    scheme.read(old, own, 1);
    Require(scheme.read(patched, now, 1), "a patched chunk is accepted");
    if (name == "ID3") {
        const auto shaped = Id3ChangeFor(Id3FrameWalk(old).Version(), change, own);
        Require(HasAll(FramesBut(patched, MetadataStore()), FramesBut(old, shaped)), "other frames stay");
    } else if (!change.Has(language) && std::ranges::none_of(own.Value(language), isControl)) {
        Require(Unnamed(scheme, now, change) == Unnamed(scheme, own, change), "what is not named stays");
    }
}

void PatchBody(std::string_view name, Input input) {
    Choices choices(input);
    const TagScheme& scheme = *FindScheme(name);
    MetadataStore own;
    if (!scheme.read(input, own, 1)) return;
    const MetadataStore change = ChangeFrom(choices, scheme, own);
    if (change.Count() == 0) return;
    const auto patched = scheme.patch({input, change});
    if (!patched || patched->empty()) return;
    RequireRest(name, input, *patched, change);
    const auto again = scheme.patch({*patched, change});
    Require(again.has_value(), "a patched chunk is patched again");
}

}  // namespace

void PatchBextBody(Input input) {
    PatchBody("BWF", input);
}
void PatchCartBody(Input input) {
    PatchBody("CART", input);
}
void PatchInfoBody(Input input) {
    PatchBody("INFO", input);
}
void PatchAcidBody(Input input) {
    PatchBody("ACID", input);
}
void PatchIxmlBody(Input input) {
    PatchBody("IXML", input);
}
void PatchXmpBody(Input input) {
    PatchBody("XMP", input);
}
void PatchId3Body(Input input) {
    PatchBody("ID3", input);
}

}  // namespace vantor::fuzz
