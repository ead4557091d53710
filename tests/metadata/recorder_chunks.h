// Bodies of tag chunks as recorders, stations and editors write them, with much that no key stands for.
#pragma once

#include <string>

#include "fileio/byte_order.h"
#include "metadata/cart_layout.h"
#include "tests/metadata/id3_tag_writer.h"
#include "tests/metadata/store_entries.h"

namespace vantor::test {

using namespace std::string_literals;

inline const std::string recordersIxml = R"(<?xml version="1.0" encoding="UTF-8"?>
<!-- recorded -->
<BWFXML>
	<PROJECT>Moby &amp; Dick</PROJECT>
	<NOTE></NOTE>
	<TAPE/>
	<SCENE unit="no" />
	<SPEED><!-- rate --><NOTE>slow</NOTE><TIMECODE_RATE>25/1</TIMECODE_RATE></SPEED>
	<TRACK_LIST count="3">
		<TRACK><CHANNEL_INDEX>1</CHANNEL_INDEX><NAME a="1">Boom</NAME></TRACK>
		<TRACK><CHANNEL_INDEX>2</CHANNEL_INDEX><NAME/></TRACK>
		<TRACK><CHANNEL_INDEX>3</CHANNEL_INDEX><NAME><![CDATA[Lav <3>]]></NAME></TRACK>
	</TRACK_LIST>
	<MIXED>one<EMPTY/>two</MIXED>
</BWFXML>
)"s + std::string(7, '\0');

inline const std::string editorsXmp = R"(<?xpacket begin=""?>
<x:xmpmeta xmlns:x="adobe:ns:meta/"><r:RDF xmlns:r="http://www.w3.org/1999/02/22-rdf-syntax-ns#">
 <r:Description r:about="" xmlns:dc="http://purl.org/dc/elements/1.1/" xmlns:own="http://own/" own:a="1"
   dc:format='audio/x-&#xE4;'>
  <dc:title><r:Alt><r:li xml:lang="de">Titel</r:li><r:li xml:lang="x-default">Title &#xA;</r:li></r:Alt></dc:title>
  <dc:subject><r:Bag> <r:li>wind; rain</r:li> <r:li own:q="2">sea</r:li> </r:Bag></dc:subject>
  <dc:source r:parseType="Resource"><r:value>tape</r:value><own:q>old</own:q></dc:source>
 </r:Description>
 <r:Description r:about="" xmlns:d="http://ns.adobe.com/xmp/1.0/DynamicMedia/" d:artist="A">
  <d:Tracks><r:Bag><r:li r:parseType="Resource"><d:trackName>T</d:trackName><d:frameRate>f50</d:frameRate>
   <d:markers><r:Seq><r:li r:parseType="Resource"><d:startTime>50</d:startTime><d:comment>c</d:comment></r:li>
    <r:li d:startTime="100" d:name="two"/></r:Seq></d:markers></r:li></r:Bag></d:Tracks>
 </r:Description>
</r:RDF></x:xmpmeta>
<?xpacket end="w"?>old bytes <a>)";

inline Bytes RecorderBext() {
    return ByteWriter()
        .Field("desc\0junk"s, 256)
        .Field("maker", 32)
        .Field("ref", 32)
        .Text("2024:1:05 ")
        .Text("10:11:12")
        .Le64(48000)
        .Le16(1)
        .Fill(64, 0xAB)
        .Zeros(10)
        .Fill(180, 0xCD)
        .Text("A=PCM\r\n");
}

inline Bytes StationCart() {
    Bytes cart =
        ByteWriter().Text("0101").Field("Title", 64).Zeros(cart::fixedBytes - 68).Text("tag text\0\0"s);
    const auto timer = [&](size_t slot, std::string_view usage, int32_t value) {
        uint8_t* const place = &cart[cart::timersOffset + slot * 8];
        std::copy(usage.begin(), usage.end(), place);
        WriteLe32(place + 4, static_cast<uint32_t>(value));
    };
    timer(0, "MRK ", 0);
    timer(1, "SEG1", 100);
    timer(3, "SEG1", 200);
    timer(4, "AUD1", -5);
    WriteLe32(&cart[cart::levelReferenceOffset], static_cast<uint32_t>(-32768));
    cart[800] = 0xEE;
    return cart;
}

inline Bytes OddInfo() {
    return ByteWriter()
        .Text("INFO")
        .Chunk("IART", BytesOf("f\xFCr"))
        .Chunk("ICMT", BytesOf("first\0"s))
        .Chunk("AB\0\0"s, BytesOf("short id\0"s))
        .Chunk("ICMT", BytesOf("second\0\0more"s))
        .Chunk("ICMT", {})
        .Text("rest");
}

inline Bytes RecorderTag(int version, uint8_t flags = 0) {
    const bool is22 = version == 2;
    return Id3TagWriter(version)
        .Text(is22 ? "TT2" : "TIT2", "Title")
        .Frame(is22 ? "COM" : "COMM", BytesOf("\0deu\0Wort"s))
        .Frame(is22 ? "GEO" : "GEOB", BytesOf("\0a\0b\0c\0\xFF\xE0\0"s))
        .Frame(is22 ? "TXX" : "TXXX", BytesOf("\1\xFF\xFEk\0\0\0\xFF\xFEv\0"s))
        .Text(is22 ? "TYE" : "TYER", "1999")
        .Tag(flags);
}

}  // namespace vantor::test
