#include "metadata/read/id3_entries.h"

#include <algorithm>
#include <array>
#include <utility>

#include "fileio/byte_order.h"
#include "metadata/read/id3_events.h"
#include "metadata/read/id3_genres.h"
#include "metadata/read/id3_picture.h"
#include "metadata/read/id3_text.h"
#include "text/text.h"

namespace vantor {

namespace {

using Kind = Id3Entry::Kind;

constexpr std::string_view tableOfContents = "[table of contents data]";
constexpr std::string_view unknownLanguage = "XXX";

std::string KeyOf(std::string_view id) {
    return std::string(id3Prefix).append(id);
}

std::string KeyOf(std::string_view id, std::string_view qualifier) {
    return KeyOf(id).append(":").append(qualifier);
}

Id3Entry ValueEntry(std::string key, std::string value) {
    if (value.empty()) return {Kind::Nothing, {}, {}, {}, {}};
    return {Kind::Value, {}, std::move(key), std::move(value), {}};
}

std::string Unchanged(std::string text) {
    return text;
}

Id3Entry ReadText(const Id3Frame& frame) {
    Id3TextCursor cursor(frame.data);
    if (!cursor.TakeEncoding()) return {};
    const bool isGenre = frame.id == "TCON";
    return ValueEntry(KeyOf(frame.id),
                      isGenre ? cursor.TakeAllTexts(GenreNames) : cursor.TakeAllTexts(Unchanged));
}

// TXXX: encoding, description and its terminator, text.
Id3Entry ReadUserText(const Id3Frame& frame) {
    Id3TextCursor cursor(frame.data);
    if (!cursor.TakeEncoding()) return {};
    const auto description = cursor.TakeTerminatedText();
    if (!description) return {};
    return ValueEntry(KeyOf(frame.id, *description), cursor.TakeAllTexts(Unchanged));
}

// WXXX: encoding, description and its terminator, URL.
Id3Entry ReadUserUrl(const Id3Frame& frame) {
    Id3TextCursor cursor(frame.data);
    if (!cursor.TakeEncoding()) return {};
    const auto description = cursor.TakeTerminatedText();
    if (!description) return {};
    return ValueEntry(KeyOf(frame.id, *description), Utf8OrLatin1(UpToNul(cursor.Rest())));
}

// COMM and USLT: encoding, language (3 bytes, ISO 639-2), description and its terminator, text.
// `anyLanguage`: without a description it has the plain key.
Id3Entry ReadLanguageText(const Id3Frame& frame, bool anyLanguage) {
    Id3TextCursor cursor(frame.data);
    if (!cursor.TakeEncoding()) return {};
    const auto code = cursor.TakeBytes(3);
    const auto description = code ? cursor.TakeTerminatedText() : std::nullopt;
    if (!description) return {};
    const std::string_view stored(reinterpret_cast<const char*>(code->data()), code->size());
    const std::string_view language = IsLanguageCode(stored) ? stored : unknownLanguage;
    if (description->empty() && (anyLanguage || IsDefaultLanguage(language)))
        return ValueEntry(KeyOf(frame.id), cursor.TakeText());
    std::string key = KeyOf(frame.id, language);
    if (!description->empty()) key.append(":").append(*description);
    return ValueEntry(std::move(key), cursor.TakeText());
}

bool IsPrintable(std::span<const uint8_t> bytes) {
    const auto isControl = [](uint8_t byte) { return byte < 0x20 || byte == 0x7F; };
    return std::none_of(bytes.begin(), bytes.end(), isControl) &&
           IsValidUtf8({reinterpret_cast<const char*>(bytes.data()), bytes.size()});
}

// UFID: owner and its zero, identifier.
Id3Entry ReadIdentifier(const Id3Frame& frame) {
    Id3TextCursor cursor(frame.data);
    const auto owner = cursor.TakePlainText();
    if (!owner) return {};
    return ValueEntry(KeyOf(frame.id, *owner),
                      std::string(IsPrintable(cursor.Rest()) ? UpToNul(cursor.Rest()) : id3BinaryData));
}

// PRIV: owner and its zero, data.
Id3Entry ReadPrivate(const Id3Frame& frame) {
    Id3TextCursor cursor(frame.data);
    const auto owner = cursor.TakePlainText();
    if (!owner) return {};
    const bool isXmp = *owner == "XMP";
    if (!isXmp && *owner != "IXML") return ValueEntry(KeyOf(frame.id, *owner), std::string(id3BinaryData));
    if (cursor.Rest().empty()) return {Kind::Nothing, {}, {}, {}, {}};
    return {isXmp ? Kind::Xmp : Kind::Ixml, {}, {}, {}, cursor.Rest()};
}

// The title among the frames that a chapter holds.
std::string ChapterTitle(std::span<const uint8_t> frames, int version) {
    Id3FrameWalk walk(frames, version);
    for (Id3Frame frame; walk.Next(frame);)
        if (frame.id == "TIT2") return ReadText(frame).value;
    return {};
}

Id3Entry ReadEvents(const Id3Frame& frame) {
    auto events = EventsText(frame.data);
    return events ? ValueEntry(KeyOf(frame.id), std::move(*events)) : Id3Entry{};
}

}  // namespace

Id3Key SplitId3Key(std::string_view key) {
    key.remove_prefix(id3Prefix.size());
    const size_t colon = key.find(':');
    if (colon == std::string_view::npos) return {key, {}};
    return {key.substr(0, colon), key.substr(colon + 1)};
}

bool IsRunningNumber(std::string_view text) {
    return text.size() >= 3 && text.find_first_not_of("0123456789") == std::string_view::npos;
}

std::string NumberedKey(std::string_view key, size_t number) {
    const std::string digits = std::to_string(number);
    std::string numbered(key);
    numbered.append(":").append(digits.size() < 3 ? 3 - digits.size() : 0, '0').append(digits);
    return numbered;
}

bool IsFrameId(std::string_view id) {
    const auto isAllowed = [](char c) { return (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9'); };
    return (id.size() == 3 || id.size() == 4) && std::all_of(id.begin(), id.end(), isAllowed);
}

bool IsLanguageCode(std::string_view text) {
    const auto isLetter = [](char c) { return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z'); };
    return text.size() == 3 && std::all_of(text.begin(), text.end(), isLetter);
}

bool IsDefaultLanguage(std::string_view language) {
    constexpr std::array<std::string_view, 3> defaults = {"eng", "XXX", "und"};
    return std::any_of(defaults.begin(), defaults.end(),
                       [&](std::string_view known) { return EqualIgnoringCase(language, known); });
}

bool Id3EntryWalk::Next(Id3Frame& frame, Id3Entry& entry) {
    if (!frames_.Next(frame)) return false;
    const bool isReadable =
        !frame.data.empty() && IsFrameId(frame.id) && lastNumbers_.size() < mostId3Entries;
    entry = isReadable ? Read(frame) : Id3Entry{};
    if (entry.kind == Kind::Value) Number(entry);
    return true;
}

Id3Entry Id3EntryWalk::Read(const Id3Frame& frame) {
    const std::string_view id = frame.id;
    if (id == "TXXX") return ReadUserText(frame);
    if (id.starts_with('T')) return ReadText(frame);
    if (id == "COMM") return ReadLanguageText(frame, !lastNumbers_.contains(id3CommentKey));
    if (id == "USLT") return ReadLanguageText(frame, false);
    if (id == "WXXX") return ReadUserUrl(frame);
    if (id == "UFID") return ReadIdentifier(frame);
    if (id == "PRIV") return ReadPrivate(frame);
    if (id == "APIC") return ReadPictureEntry(frame);
    if (id == "CHAP") return ReadChapter(frame);
    if (id == "CTOC") return ValueEntry(KeyOf(id), std::string(tableOfContents));
    if (id == "ETCO") return ReadEvents(frame);
    return {};
}

Id3Entry Id3EntryWalk::ReadPictureEntry(const Id3Frame& frame) const {
    auto picture = ReadPicture(frames_, frame);
    if (!picture) return {};
    const auto position = static_cast<int64_t>(picture->descriptor.offset);
    if (fileOffset_ > INT64_MAX - position || fileOffset_ + position < 1) return {};
    picture->descriptor.offset = static_cast<uint64_t>(fileOffset_ + position);
    return ValueEntry(KeyOf(frame.id), DescriptorText(picture->descriptor));
}

// CHAP: element id and its zero, start and end (4 bytes each, milliseconds, big-endian), start and end offset
// (4 each), frames.
Id3Entry Id3EntryWalk::ReadChapter(const Id3Frame& frame) {
    Id3TextCursor cursor(frame.data);
    const auto element = cursor.TakePlainText();
    const auto times = element ? cursor.TakeBytes(16) : std::nullopt;
    if (!times) return {};
    std::string value =
        std::to_string(ReadBe32(times->data())) + ":" + std::to_string(ReadBe32(times->data() + 4));
    const std::string title = ChapterTitle(cursor.Rest(), frames_.Version());
    if (!title.empty()) value += ":" + title;
    return ValueEntry(NumberedKey(id3ChapterKey, ++chapterCount_), std::move(value));
}

void Id3EntryWalk::Number(Id3Entry& entry) {
    const auto [found, isFirst] = lastNumbers_.try_emplace(entry.base, 1);
    entry.key = entry.base;
    // A description may end like a number: such a key is passed over.
    for (bool isNew = isFirst; !isNew; isNew = lastNumbers_.try_emplace(entry.key, 1).second)
        entry.key = NumberedKey(entry.base, ++found->second);
}

}  // namespace vantor
