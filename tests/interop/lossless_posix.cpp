// A lossless edit of a file that independent programs have tagged: they show the new values and all of the
// old.

#include <cstdio>

#include "tests/interop/independent_tools.h"
#include "tests/metadata/store_entries.h"
#include "tests/support/chunk_list.h"

namespace vantor::test {
namespace {

std::string LinesOf(const std::string& command) {
    const std::unique_ptr<FILE, int (*)(FILE*)> pipe(popen(command.c_str(), "r"), pclose);
    std::string output;
    for (int character = 0; pipe && (character = std::fgetc(pipe.get())) != EOF;)
        output += static_cast<char>(character);
    return output;
}

constexpr const char* tagging = R"(
import sys
from mutagen.id3 import APIC, COMM, GEOB, TDRC, TIT2
from mutagen.wave import WAVE
wave = WAVE(sys.argv[1])
wave.add_tags()
wave.tags.add(TIT2(encoding=1, text='Gr\u00f6\u00dfe'))
wave.tags.add(COMM(encoding=1, lang='deu', desc='', text='Wort'))
wave.tags.add(APIC(encoding=0, mime='image/png', type=3, desc='c', data=b'picture'))
wave.tags.add(GEOB(encoding=0, mime='a/b', filename='f', desc='d', data=b'object'))
wave.tags.add(TDRC(encoding=0, text='2020-01-02'))
wave.save(v2_version=3)
)";
constexpr const char* showing = R"(
import sys
from mutagen.wave import WAVE
tags = WAVE(sys.argv[1]).tags
print(tags.version, [str(tags[key]) for key in sorted(tags) if key[:4] not in ('APIC', 'GEOB')],
      [tags[key].data for key in sorted(tags) if key[:4] in ('APIC', 'GEOB')])
)";

TEST(InteropLossless, EveryReaderShowsTheNewValuesAndTheOld) {
    FakeHost host;
    TempFolder folder;
    const auto path = folder.Path("tagged.wav"), tag = folder.Path("tag.py"), show = folder.Path("show.py");
    WriteWholeFile(tag, BytesOf(std::string(tagging)));
    WriteWholeFile(show, BytesOf(std::string(showing)));
    Generate(path,
             "ffmpeg -y -f lavfi -i sine=duration=0.1 -metadata title=Old -metadata artist=Me -write_bext 1"
             " -metadata description=Told -metadata coding_history=A=PCM %s");
    Generate(path, "/usr/bin/python3 '" + tag + "' %s");
    const auto before = ReadWholeFile(path);
    ASSERT_EQ(RequestWrite(*OpenSource(path), folder.Path("copy.wav"),
                           {"ID3:TXXX:VANTOR=n\u00E4u", "INFO:ICMT=said", "BWF:Originator=Other"}, 5),
              2);
    EXPECT_EQ(LinesOf("/usr/bin/python3 '" + show + "' '" + path + "'"),
              "(2, 3, 0) ['Wort', '2020-01-02', 'Gr\u00F6\u00DFe', 'n\u00E4u'] [b'picture', b'object']\n");
    const auto shown = LinesOf("ffprobe -v error -show_entries format_tags -of default=nw=1 '" + path + "'") +
                       LinesOf("exiftool -args -G1 -a -charset RIFF=UTF8 '" + path + "'") +
                       LinesOf("mediainfo '" + path + "'");
    for (const std::string line :
         {"TAG:coding_history=A=PCM", "TAG:artist=Me", "TAG:comment=said", "TAG:title=Old",
          "-RIFF:Description=Told", "-RIFF:Originator=Other", "-RIFF:Comment=said",
          "-ID3v2_3:Title=Gr\u00F6\u00DFe", "-ID3v2_3:Comment-deu=Wort",
          "-ID3v2_3:UserDefinedText=(VANTOR) n\u00E4u", ": Gr\u00F6\u00DFe"})
        EXPECT_NE(shown.find(line + "\n"), shown.npos) << line << "\n" << shown;
    EXPECT_EQ(Find(before, "data"), Find(ReadWholeFile(path), "data"));
}

}  // namespace
}  // namespace vantor::test
