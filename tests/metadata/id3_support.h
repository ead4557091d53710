// ID3v2 tags written down as lists of frames, and what the reader makes of them.
#pragma once

#include <string>
#include <vector>

#include "metadata/read/id3_frames.h"
#include "metadata/read/read_metadata.h"
#include "tests/metadata/id3_tag_writer.h"
#include "tests/metadata/store_entries.h"

namespace vantor::test {

// Every frame as one text: its id, status and format flags (a byte each; none in version 2.2), its body.
using Frames = std::vector<std::string>;

inline Bytes TagOf(int version, const Frames& frames, uint8_t tagFlags = 0) {
    Id3TagWriter tag(version);
    for (const auto& frame : frames) {
        const auto byte = [&](size_t place) { return static_cast<uint8_t>(frame[place]); };
        if (version == 2)
            tag.Frame(frame.substr(0, 3), BytesOf(frame.substr(3)));
        else
            tag.Frame(frame.substr(0, 4), BytesOf(frame.substr(6)), uint16_t(byte(4) << 8 | byte(5)));
    }
    return tag.Tag(tagFlags);
}

inline Frames FramesOf(const Bytes& tag) {
    Frames frames;
    Id3FrameWalk walk(tag);
    for (Id3Frame frame; walk.Next(frame);)
        frames.push_back(frame.id + TextOf(ByteWriter().U8(frame.status).U8(frame.format)) +
                         std::string(frame.body.begin(), frame.body.end()));
    return frames;
}

inline MetadataStore ReadStore(const Bytes& tag, int64_t fileOffset = 1000) {
    MetadataStore store;
    ReadId3Tag(tag, store, fileOffset);
    return store;
}

inline Entries ReadTag(const Bytes& tag, int64_t fileOffset = 1000) {
    return EntriesOf(ReadStore(tag, fileOffset));
}
// A tag with every kind of frame that has a key, and some that have none.
inline Bytes FullTag(int version) {
    using namespace std::string_literals;
    const auto title = TextOf(Id3TagWriter(version).Text("TIT2", std::string(200, 'i')).Body());
    const auto events = "ETCO\0\0\2\2\0\0\0\0\x16\xEE\x6B\x28\0\x17\0\0\0\7"s,
               offsets = std::string(8, '\xFF');
    return TagOf(version, {"TIT2\0\0\0Title"s,
                           "TIT2\0\0\0Second title"s,
                           "TXXX\0\0\0VANTOR\0tags"s,
                           "TXXX\0\0\0\0nameless"s,
                           "TXXX\0\0\0VANTOR:002\0other"s,
                           "TXXX\0\0\0VANTOR\0more tags"s,
                           "COMM\0\0\0XXX\0plain"s,
                           "COMM\0\0\0deu\0Wort"s,
                           "COMM\0\0\0engTune\0 0001"s,
                           "COMM\0\0\0\0\0\0what\0ever"s,
                           "COMM\0\0\0eng cut"s,
                           "USLT\0\0\0eng\0la\nla"s,
                           "WXXX\0\0\0home\0http://a.b/\0junk"s,
                           "UFID\0\0http://id\0abc"s,
                           "UFID\0\0binary\0\1\2"s,
                           "PRIV\0\0maker\0\1\2"s,
                           "PRIV\0\0no end"s,
                           events,
                           events.substr(0, events.size() - 1),
                           "CTOC\0\0toc\0\3\1c1\0"s,
                           "CHAP\0\0c1\0\0\0\0\0\0\0\5\xDC"s + offsets + title,
                           "CHAP\0\0c2\0\0\0\5\xDC\0\0\x23\x28"s + offsets,
                           "WCOM\0\0http://shop"s,
                           "GEOB\0\0\0a/b\0f\0d\0\xFF\0\xFF\xE0"s});
}
inline const Entries fullEntries = Listed(
    "ID3:", "CHAP=2 chapters|CHAP:001=0:1500:" + std::string(200, 'i') +
                "|CHAP:002=1500:9000|COMM=plain|COMM:XXX:what=ever|COMM:deu=Wort|COMM:eng:Tune= 0001"
                "|CTOC=[table of contents data]|ETCO=0:intro start,4000000000:profanity end,7:unknown"
                "|PRIV:maker=[Binary data]|TIT2=Title|TIT2:002=Second title|TXXX:=nameless|TXXX:VANTOR=tags"
                "|TXXX:VANTOR:002=other|TXXX:VANTOR:003=more tags|UFID:binary=[Binary data]"
                "|UFID:http://id=abc|USLT=la\nla|WXXX:home=http://a.b/");

}  // namespace vantor::test
