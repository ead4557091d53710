#include "tests/formats/sample_files.h"

namespace vantor::test {

namespace {

const Bytes info = ByteWriter().Text("INFO").Chunk("INAM", ByteWriter().Text("song"));
const Bytes id3 =
    ByteWriter().Text("ID3").Add({3, 0, 0, 0, 0, 0, 14}).Text("TIT2").Be32(4).Be16(0).U8(0).Text("abc");
const Bytes xmp = ByteWriter().Text(
    "<x:xmpmeta xmlns:x='adobe:ns:meta/'><rdf:RDF xmlns:rdf='http://www.w3.org/1999/02/22-rdf-syntax-ns#'>"
    "<rdf:Description xmlns:dc='http://purl.org/dc/elements/1.1/' dc:title='t'/></rdf:RDF></x:xmpmeta>");
const Bytes ixml = ByteWriter().Text("<?xml version='1.0'?><BWFXML><PROJECT>p</PROJECT></BWFXML>");

Bytes MsAdpcmFmt() {
    ByteWriter fmt;
    fmt.Add(FmtBody(2, 2, 44100, 4, 64)).Le16(32).Le16(52).Le16(7);
    return fmt.Zeros(28);
}

ByteWriter WaveChunks(const Bytes& fmt) {
    const auto adtl = ByteWriter()
                          .Text("adtl")
                          .Chunk("labl", ByteWriter().Le32(1).Text("Verse"))
                          .Chunk("ltxt", ByteWriter().Le32(1).Le32(5).Zeros(12).Text("x"));
    const auto strc = ByteWriter().Zeros(28).Zeros(8).Le64(600).Zeros(16);
    const auto acid = ByteWriter().Le32(2).Le16(62).Zeros(6).Le32(8).Le16(4).Le16(4).LeFloat(120);
    return ByteWriter()
        .Chunk("fmt ", fmt)
        .Chunk("fact", ByteWriter().Le32(100))
        .Chunk("bext", ByteWriter().Field("description", 602))
        .Chunk("acid", acid)
        .Chunk("strc", strc)
        .Chunk("chna", ByteWriter().Le16(1).Le16(1))
        .Chunk("data", ByteWriter().Fill(130, 1))
        .Chunk("cue ", ByteWriter().Le32(1).Le32(1).Zeros(16).Le32(9))
        .Chunk("LIST", adtl)
        .Chunk("LIST", info)
        .Chunk("smpl", ByteWriter().Zeros(28).Le32(1).Le32(0).Le32(2).Le32(0).Le32(3).Le32(9).Zeros(8))
        .Chunk("DISP", ByteWriter().Le32(1).Text("shown"))
        .Chunk("iXML", ixml)
        .Chunk("_PMX", xmp)
        .Chunk("id3 ", id3)
        .Chunk("abcd", ByteWriter().Zeros(5));
}

Bytes Rf64File() {
    const auto r64m = ByteWriter().Le32(1).Le64(9).Zeros(16).Field("a", 256).Le32(1).Zeros(32);
    const Bytes extensible =
        ByteWriter()
            .Add(FmtBody(0xFFFE, 2, 48000, 16))
            .Le16(22)
            .Le16(16)
            .Le32(3)
            .Le32(1)
            .Add({0x00, 0x00, 0x10, 0x00, 0x80, 0x00, 0x00, 0xAA, 0x00, 0x38, 0x9B, 0x71});
    const auto ds64 = ByteWriter().Le64(0).Le64(130).Le64(100).Le32(1).Text("LIST").Le64(16);
    return RiffFile(ByteWriter().Chunk("ds64", ds64).Chunk("r64m", r64m).Add(WaveChunks(extensible)), "RF64");
}

Bytes Wave64File() {
    const auto cues = ByteWriter().Le32(1).Le32(5).Le32(0).Le64(9).Le64(5).Le32(4).Le32(0).Le16('A').Le16(0);
    const Bytes chunks = ByteWriter()
                             .Wave64Chunk("fmt ", FmtBody(0x11, 2, 44100, 4, 64))
                             .Wave64Chunk("fact", ByteWriter().Le64(100))
                             .Wave64Chunk("cue ", cues)
                             .Wave64Chunk("data", ByteWriter().Fill(130, 1))
                             .Wave64Chunk("LIST", info)
                             .Wave64Chunk("abcd", ByteWriter().Zeros(5));
    return ByteWriter()
        .Text("riff")
        .Add({0x2E, 0x91, 0xCF, 0x11, 0xA5, 0xD6, 0x28, 0xDB, 0x04, 0xC1, 0x00, 0x00})
        .Le64(chunks.size() + 40)
        .Text("wave")
        .Add({0xF3, 0xAC, 0xD3, 0x11, 0x8C, 0xD1, 0x00, 0xC0, 0x4F, 0x8E, 0xDB, 0x8A})
        .Add(chunks);
}

Bytes IffFile(std::string_view form, const Bytes& chunks) {
    return ByteWriter().Text("FORM").Be32(static_cast<uint32_t>(chunks.size() + 4)).Text(form).Add(chunks);
}

Bytes AifcFile() {
    const auto comm =
        ByteWriter().Be16(2).Be32(10).Be16(16).Be16(0x400E).Be32(0xAC440000).Be32(0).Text("sowt").Be16(0);
    const auto basc = ByteWriter().Be32(1).Be32(8).Be16(50).Be16(0).Be16(3).Be16(4).Zeros(68);
    return IffFile("AIFC", ByteWriter()
                               .IffChunk("COMM", comm)
                               .IffChunk("basc", basc)
                               .IffChunk("trns", ByteWriter().Zeros(100).Be32(0).Be32(1000).Zeros(16))
                               .IffChunk("SSND", ByteWriter().Be64(0).Fill(40, 1))
                               .IffChunk("NAME", ByteWriter().Text("one"))
                               .IffChunk("APPL", ByteWriter().Text("XMP ").Add(xmp))
                               .IffChunk("ID3 ", id3));
}

Bytes VoiceFile() {
    return IffFile("8SVX", ByteWriter()
                               .IffChunk("VHDR", ByteWriter().Zeros(12).Be16(8363).Zeros(6))
                               .IffChunk("BODY", ByteWriter().Fill(40, 1)));
}

Bytes CafFile() {
    const auto desc = ByteWriter().BeDouble(48000).Text("lpcm").Be32(2).Be32(4).Be32(1).Be32(2).Be32(16);
    const auto mark = ByteWriter().Be32(0).Be64(9).Be32(1).Zeros(12);
    const Bytes uuid{0xBE, 0x7A, 0xCF, 0xCB, 0x97, 0xA9, 0x42, 0xE8,
                     0x9C, 0x71, 0x99, 0x94, 0x91, 0xE3, 0xAF, 0xAC};
    return ByteWriter()
        .Text("caff")
        .Be16(1)
        .Be16(0)
        .CafChunk("desc", desc)
        .CafChunk("chan", ByteWriter().Be32(0x10000).Be32(3).Be32(0))
        .CafChunk("pakt", ByteWriter().Be64(1).Be64(9).Be32(2).Be32(3))
        .CafChunk("info", ByteWriter().Be32(1).Text("tempo").U8(0).Text("120").U8(0))
        .CafChunk("data", ByteWriter().Zeros(44))
        .CafChunk("mark", ByteWriter().Be32(0).Be32(1).Add(mark))
        .CafChunk("regn", ByteWriter().Be32(0).Be32(1).Be32(1).Be32(0).Be32(1).Add(mark))
        .CafChunk("strg", ByteWriter().Be32(1).Be32(1).Be64(0).Text("Verse"))
        .CafChunk("uuid", ByteWriter().Add(uuid).Add(xmp))
        .CafChunk("abcd", {});
}

}  // namespace

std::vector<SampleFile> SampleFiles() {
    return {{"wave", RiffFile(WaveChunks(MsAdpcmFmt()))},
            {"rf64", Rf64File()},
            {"wave64", Wave64File()},
            {"aifc", AifcFile()},
            {"8svx", VoiceFile()},
            {"caf", CafFile()}};
}

}  // namespace vantor::test
