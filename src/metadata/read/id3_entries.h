// The store entries behind the frames of an ID3v2 tag: the one place that knows which frame has which key.
// The reader stores them; the builder asks the same walk which frames of an old tag the store stands for.
//
// clang-format off
// Frame           Key                                        Value
// T***            ID3:TIT2                                   text; several texts of a frame joined by "; "
// TCON            ID3:TCON                                   genre names, joined by "; "
// TXXX            ID3:TXXX:description                       text
// WXXX            ID3:WXXX:description                       URL
// COMM, USLT      ID3:COMM                                   text, when the description is empty and the
//                                                            language English, unknown or undetermined; the
//                                                            first comment without one whatever its language
//                 ID3:COMM:deu, ID3:COMM:eng:description     text of any other
// UFID            ID3:UFID:owner                             identifier, "[Binary data]" unless it is text
// PRIV            ID3:PRIV:owner                             "[Binary data]"
// APIC            ID3:APIC                                   picture descriptor (id3_picture.h)
// CHAP            ID3:CHAP:001, 002 ...                      start:end in milliseconds, then :title
//                 ID3:CHAP                                   "3 chapters", once for all
// CTOC            ID3:CTOC                                   "[table of contents data]"
// ETCO            ID3:ETCO                                   events (id3_events.h)
// clang-format on
//
// The first frame of a key has the plain key. Later ones have a colon and a running number from 002 on, at
// least three digits. All other frames, and those compressed, encrypted or unsynchronised on their own, have
// no key, nor has any behind the first 65,536 entries.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <span>
#include <string>
#include <string_view>

#include "metadata/read/id3_frames.h"

namespace vantor {

inline constexpr std::string_view id3Prefix = "ID3:";
inline constexpr std::string_view id3ChapterKey = "ID3:CHAP";
inline constexpr const char* id3CommentKey = "ID3:COMM";
inline constexpr std::string_view id3BinaryData = "[Binary data]";

// Of one tag: far more than any tag in use has, and little enough for a tag made of nothing but tiny frames.
inline constexpr size_t mostId3Entries = 65536;

struct Id3Entry {
    enum class Kind {
        Value,    // key and value
        Xmp,      // an XMP packet in `document`
        Ixml,     // an iXML document there
        Nothing,  // a frame of a known kind that says nothing
        Foreign,  // no place in the store
    };
    Kind kind = Kind::Foreign;
    std::string key;   // of this frame, with its running number
    std::string base;  // the same without the number
    std::string value;
    std::span<const uint8_t> document;  // valid as long as the frame's data
};

class Id3EntryWalk {
  public:
    // `fileOffset`: where the tag lies in its file, for the picture descriptors.
    Id3EntryWalk(std::span<const uint8_t> tag, int64_t fileOffset) : frames_(tag), fileOffset_(fileOffset) {}

    // The next frame and what the store holds for it. False at the end of the tag.
    bool Next(Id3Frame& frame, Id3Entry& entry);
    [[nodiscard]] const Id3FrameWalk& Frames() const { return frames_; }
    [[nodiscard]] size_t ChapterCount() const { return chapterCount_; }

  private:
    [[nodiscard]] Id3Entry Read(const Id3Frame& frame);
    [[nodiscard]] Id3Entry ReadPictureEntry(const Id3Frame& frame) const;
    [[nodiscard]] Id3Entry ReadChapter(const Id3Frame& frame);
    // Gives the entry a key of its own.
    void Number(Id3Entry& entry);

    Id3FrameWalk frames_;
    int64_t fileOffset_;
    size_t chapterCount_ = 0;
    std::map<std::string, size_t> lastNumbers_;  // of every key given out
};

struct Id3Key {
    std::string_view frameId;
    std::string_view qualifier;  // all behind it; empty: none
};
// Of a key that begins with id3Prefix.
[[nodiscard]] Id3Key SplitId3Key(std::string_view key);
// At least three digits, as NumberedKey appends them.
[[nodiscard]] bool IsRunningNumber(std::string_view text);
// "key:002".
[[nodiscard]] std::string NumberedKey(std::string_view key, size_t number);
// A frame id of version 2.3 and 2.4: four capital letters or digits. Three are one of version 2.2.
[[nodiscard]] bool IsFrameId(std::string_view id);
// Three letters, as ISO 639-2 has them.
[[nodiscard]] bool IsLanguageCode(std::string_view text);
// True for the languages that "ID3:COMM" leaves out: English, unknown, undetermined.
[[nodiscard]] bool IsDefaultLanguage(std::string_view language);

}  // namespace vantor
