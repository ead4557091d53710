#include "tests/formats/container_files.h"

namespace vantor::test {

namespace {

const Bytes info = ByteWriter().Text("INFO").Chunk("INAM", ByteWriter().Text("song"));
const Bytes id3 =
    ByteWriter().Text("ID3").Add({3, 0, 0, 0, 0, 0, 14}).Text("TIT2").Be32(4).Be16(0).U8(0).Text("abc");
const Bytes xmp = ByteWriter().Text(
    "<x:xmpmeta xmlns:x='adobe:ns:meta/'><rdf:RDF xmlns:rdf='http://www.w3.org/1999/02/22-rdf-syntax-ns#'>"
    "<rdf:Description xmlns:dc='http://purl.org/dc/elements/1.1/' dc:title='t'/></rdf:RDF></x:xmpmeta>");
const Bytes ixml = ByteWriter().Text("<?xml version='1.0'?><BWFXML><PROJECT>p</PROJECT></BWFXML>");

// The size of one chunk stands in the table, that of the audio in its own field.
Bytes Rf64Sample() {
    const Bytes table = ByteWriter().Text("zzzz").Le64(5).Text("abcd").Le64(6).Text("abcd").Le64(60);
    const auto r64m = ByteWriter().Le32(1).Le64(24000).Zeros(16).Field("a", 256).Le32(1).Zeros(32);
    const auto adtl = ByteWriter()
                          .Text("adtl")
                          .Chunk("labl", ByteWriter().Le32(1).Text("Verse"))
                          .Chunk("ltxt", ByteWriter().Le32(1).Le32(24000).Zeros(12).Text("x"));
    const auto strc = ByteWriter().Zeros(28).Zeros(8).Le64(600).Zeros(16);
    const auto acid = ByteWriter().Le32(2).Le16(62).Zeros(6).Le32(8).Le16(4).Le16(4).LeFloat(120);
    ByteWriter chunks;
    chunks.Chunk("ds64", Ds64Body(130, 100, table)).Text("abcd").Le32(0xFFFFFFFF).Zeros(6);
    chunks.Chunk("r64m", r64m)
        .Chunk("fmt ", ExtensibleFmt(1, 16, 0x3F))
        .Chunk("fact", ByteWriter().Le32(100))
        .Chunk("bext", ByteWriter().Field("description", 602))
        .Chunk("acid", acid)
        .Chunk("strc", strc)
        .Chunk("chna", ByteWriter().Le16(1).Le16(1))
        .Chunk("data", ByteWriter().Fill(130, 1))
        .Chunk("cue ", ByteWriter().Le32(1).Le32(1).Zeros(16).Le32(24000))
        .Chunk("LIST", adtl)
        .Chunk("LIST", info)
        .Chunk("smpl",
               ByteWriter().Zeros(28).Le32(1).Le32(0).Le32(2).Le32(0).Le32(48000).Le32(72000).Zeros(8))
        .Chunk("DISP", ByteWriter().Le32(1).Text("shown"))
        .Chunk("iXML", ixml)
        .Chunk("_PMX", xmp)
        .Chunk("id3 ", id3)
        .Chunk("abcd", ByteWriter().Zeros(5));
    return RiffFile(chunks, "RF64");
}

Bytes Wave64Sample() {
    const auto cues =
        ByteWriter().Le32(1).Le32(5).Le32(0).Le64(24000).Le64(24000).Le32(4).Le32(0).Le16('A').Le16(0);
    const auto foreign = ByteWriter().Fill(16, 0x42).Le64(24 + 8).Zeros(8);
    return Wave64File(ByteWriter()
                          .Wave64Chunk("abcd", Bytes(5))  // padded by 3
                          .Add(foreign)
                          .Wave64Chunk("fmt ", FmtBody(0x11, 2, 48000, 4, 64))
                          .Wave64Chunk("fact", ByteWriter().Le64(100))
                          .Wave64Chunk("bext", ByteWriter().Field("description", 602))
                          .Wave64Chunk("cue ", cues)
                          .Wave64Chunk("data", ByteWriter().Fill(130, 1))
                          .Wave64Chunk("LIST", info));
}

Bytes AifcSample() {
    const auto basc = ByteWriter().Be32(1).Be32(8).Be16(50).Be16(0).Be16(3).Be16(4).Zeros(68);
    return IffFile("AIFC", ByteWriter()
                               .IffChunk("COMM", CommBody(2, 10, 16, "sowt"))
                               .IffChunk("basc", basc)
                               .IffChunk("trns", ByteWriter().Zeros(100).Be32(0).Be32(1000).Zeros(16 + 23))
                               .IffChunk("SSND", SsndBody(40))
                               .IffChunk("NAME", ByteWriter().Text("one"))
                               .IffChunk("AUTH", ByteWriter().Text("me").U8(0).Text("x"))
                               .IffChunk("(c) ", ByteWriter().Text("2024"))
                               .IffChunk("ANNO", ByteWriter().Text("first"))
                               .IffChunk("ANNO", ByteWriter().Text("last"))
                               .IffChunk("abcd", ByteWriter().Zeros(4))
                               .IffChunk("ID3 ", id3)
                               .IffChunk("APPL", ByteWriter().Text("XMP ").Add(xmp)));
}

Bytes VoiceSample() {
    return IffFile("8SVX", ByteWriter()
                               .IffChunk("COMM", CommBody(2, 10, 16))  // no chunk of this form
                               .IffChunk("NAME", ByteWriter().Text("odd"))
                               .IffChunk("VHDR", ByteWriter().Zeros(12).Be16(8363).U8(1).Zeros(5))
                               .IffChunk("BODY", ByteWriter().Fill(40, 1)));
}

Bytes CafSample() {
    const Bytes mark = CafMark(96000, 1), region = ByteWriter().Add(CafMark(72000, 0)).Add(CafMark(48000, 0));
    const Bytes uuid{0xBE, 0x7A, 0xCF, 0xCB, 0x97, 0xA9, 0x42, 0xE8,
                     0x9C, 0x71, 0x99, 0x94, 0x91, 0xE3, 0xAF, 0xAC};
    return CafFile(ByteWriter()
                       .CafChunk("desc", DescBody({.flags = 2}))
                       .CafChunk("chan", ByteWriter().Be32(0x10000).Be32(3).Be32(0))
                       .CafChunk("free", ByteWriter().Zeros(7))
                       .CafChunk("pakt", ByteWriter().Be64(1).Be64(9).Be32(2).Be32(3))
                       .CafChunk("info", ByteWriter().Be32(1).Text("tempo").U8(0).Text("120").U8(0))
                       .CafChunk("mark", ByteWriter().Be32(0).Be32(1).Add(mark))
                       .CafChunk("regn", ByteWriter().Be32(0).Be32(1).Be32(1).Be32(0).Be32(2).Add(region))
                       .CafChunk("strg", ByteWriter().Be32(1).Be32(1).Be64(0).Text("Verse"))
                       .CafChunk("data", ByteWriter().Zeros(44))
                       .CafChunk("uuid", ByteWriter().Add(uuid).Add(xmp))
                       .CafChunk("abcd", {}));
}

}  // namespace

std::vector<SampleFile> SampleFiles() {
    return {
        {Rf64Sample(),
         "kind 3, int16 little, 6 ch, 48000 Hz, 12 bytes, 10 frames at 1216, valid 16, layout 10000, "
         "mask 3f\nloop 1, beats 8, root 2, slices 0 600\n1@0.5-1 a; 2@1-1.5\n"
         "ADM:numTracks=1\nADM:numUIDs=1\nBWF:Description=description\nBWF:TimeReference=0\n"
         "DISP:CF_TEXT=shown\nID3:TIT2=abc\nINFO:INAM=song\nIXML:PROJECT=p\nXMP:dc/title=t\nabcd=\n",
         "Error reading RF64 ds64 chunk 20\nError reading WAV acid chunk 1104\n"
         "Error reading WAV chunk header 12\nError reading WAV fact chunk 482\n"
         "Error reading WAV fmt chunk 434\nUnknown file header 0\n"},
        {Wave64Sample(),
         "kind 2, ima4 little, 2 ch, 48000 Hz, 64 bytes, 107 frames at 896\n5@0.5-1 A\n"
         "BWF:Description=description\nBWF:TimeReference=0\nINFO:INAM=song\nabcd=\n",
         "Error reading w64 chunk header 40\nError reading w64 fact chunk 168\n"
         "Error reading w64 fmt chunk 128\nUnknown file header 0\n"},
        {AifcSample(),
         "kind 1, int16 little, 2 ch, 44100 Hz, 4 bytes, 10 frames at 308\n"
         "loop 2, beats 8, key 2, meter 304, slices 0 1000\nID3:TIT2=abc\n"
         "IFF:ANNO=last\nIFF:AUTH=me\nIFF:COPY=2024\nIFF:NAME=one\nXMP:dc/title=t\n",
         "Error reading AIFF COMM chunk 20\nError reading AIFF SSND header 300\n"
         "Error reading AIFF chunk header 12\nUnknown file header 0\n"},
        {VoiceSample(), "kind 1, int8 big, 1 ch, 8363 Hz, 1 bytes, 32 frames at 86\n",
         "Error reading 8SVX IFF VHDR chunk 58\nError reading AIFF chunk header 12\nUnknown file header 0\n"},
        {CafSample(),
         "kind 4, int16 little, 2 ch, 48000 Hz, 4 bytes, 10 frames at 342, layout 10000, mask 3, "
         "valid frames 9, priming 2, remainder 3\n1@2 Verse; 2@1-1.5 Verse\n"
         "CAFINFO:tempo=120\nXMP:dc/title=t\nabcd=\nuuid=\n",
         "Error reading CAFF channel layout chunk 64\nError reading CAFF chunk header 12\n"
         "Error reading CAFF desc chunk 20\nError reading CAFF info chunk 143\n"
         "Error reading CAFF mark chunk 169\nError reading CAFF regn chunk 217\n"
         "Error reading CAFF strg chunk 305\nUnknown file header 0\n"}};
}

}  // namespace vantor::test
