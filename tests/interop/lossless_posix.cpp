// Lossless edits of files that independent programs have written: no byte changes that no key names, and all
// of those programs show the new values and the old.
#include <taglib/tpropertymap.h>
#include <taglib/wavfile.h>

#include <chrono>
#include <filesystem>
#include <set>
#include <sstream>

#include "metadata/key_table.h"
#include "tests/interop/independent_tools.h"
#include "tests/source/lossless_support.h"

namespace vantor::test {
namespace {

namespace fs = std::filesystem;

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
for key in sorted(tags or []):
    print(key, tags.version[1], tags[key].data if key[:4] in ('APIC', 'GEOB') else tags[key])
)";

std::string ShownByTagLib(const std::string& path) {
    TagLib::RIFF::WAV::File file(path.c_str());
    std::string shown;
    for (const auto& [name, values] : file.ID3v2Tag()->properties())
        shown += name.to8Bit(true) + "=" + values.toString("; ").to8Bit(true) + "\n";
    for (const auto& [name, value] : file.InfoTag()->fieldListMap())
        shown += std::string(name.data(), name.size()) + "=" + value.to8Bit(true) + "\n";
    return shown;
}

void TagByTagLib(const std::string& path) {
    TagLib::RIFF::WAV::File file(path.c_str());
    TagLib::PropertyMap tags;
    tags.insert("TITLE", TagLib::String("Lied", TagLib::String::UTF8));
    tags.insert("BPM", TagLib::String("120"));
    tags.insert("MOOD", TagLib::String("d\u00FCster", TagLib::String::UTF8));
    file.setProperties(tags);
    EXPECT_TRUE(file.save());
}

bool IsOfTheSize(const std::string& line) {
    return line.starts_with("File size") || line.starts_with("Overall bit rate") ||
           line.starts_with("Stream size") || line.starts_with("-Composite:Duration") ||
           line.starts_with("-RIFF:RIFFSize64") || line.starts_with("-File:ID3Size");
}

class InteropLossless : public ::testing::Test {
  protected:
    InteropLossless() {
        WriteWholeFile(folder.Path("tag.py"), BytesOf(std::string(tagging)));
        WriteWholeFile(folder.Path("show.py"), BytesOf(std::string(showing)));
    }
    void WriteAll() {
        const std::string sine = "ffmpeg -y -f lavfi -i sine=duration=0.1 -metadata title=Old ";
        Generate(Add("ffmpeg"), sine +
                                    "-write_bext 1 -metadata description=Told"
                                    " -metadata coding_history=A=PCM %s");
        Generate(Add("long"), sine + "-rf64 always -metadata artist=Me %s");
        fs::copy_file(path["ffmpeg"], Add("mutagen"));
        Generate(path["mutagen"], "/usr/bin/python3 '" + folder.Path("tag.py") + "' %s");
        Generate(Add("sox"), "sox -n -r 48000 -b 24 %s synth 0.1 sine 440");
        fs::copy_file(path["sox"], Add("taglib"));
        TagByTagLib(path["taglib"]);
        WritePacket(Add("exiftool"));
    }
    // ExifTool writes no WAV files.
    void WritePacket(const std::string& file) {
        const auto packet = folder.Path("packet.xmp");
        Generate(packet,
                 "exiftool -XMP-dc:Title=Titel -XMP-dc:Title-de=Lied -XMP-dc:Subject=sea"
                 " -XMP-xmp:Rating=4 -XMP-xmpDM:Artist=Her -o %s");
        Bytes wave = ReadWholeFile(path["sox"]);
        wave = ByteWriter().Add(wave).Chunk("_PMX", ReadWholeFile(packet));
        WriteLe32(&wave[4], static_cast<uint32_t>(wave.size() - 8));
        WriteWholeFile(file, wave);
    }
    std::string& Add(const std::string& name) { return path[name] = folder.Path(name + ".wav"); }
    intptr_t Edit(const std::string& file, const Fields& fields) {
        return RequestWrite(*OpenSource(file), folder.Path("copy"), fields, lossless);
    }
    // What each program shows, line by line; what the size of a file makes up is left out.
    std::map<std::string, std::set<std::string>> Shown(const std::string& file) {
        const std::pair<std::string, std::string> outputs[] = {
            {"ffprobe",
             OutputOf("ffprobe -v error -show_entries format_tags -of default=nw=1 '" + file + "'")},
            {"ExifTool", OutputOf("exiftool -args -G1 -a -charset RIFF=UTF8 --System:all '" + file + "'")},
            {"MediaInfo", OutputOf("mediainfo '" + file + "'")},
            {"mutagen", OutputOf("/usr/bin/python3 '" + folder.Path("show.py") + "' '" + file + "' 2>&1")},
            {"TagLib", ShownByTagLib(file)},
        };
        std::map<std::string, std::set<std::string>> shown;
        for (const auto& [program, output] : outputs) {
            std::istringstream lines(output);
            for (std::string line; std::getline(lines, line);)
                if (!IsOfTheSize(line) && !line.ends_with('=')) shown[program].insert(line);
        }
        return shown;
    }

    FakeHost host;
    TempFolder folder;
    std::map<std::string, std::string> path;
};

struct NewValue {
    std::string key;
    const char* scheme;
    std::string value;
    std::vector<std::string> programs;  // that show it
};
const NewValue newValues[] = {
    {"BWF:Originator", "BWF", "Ton & Co", {"ffprobe", "ExifTool", "MediaInfo"}},
    {"INFO:ISBJ", "INFO", "gr\u00FCn", {"ExifTool", "TagLib"}},
    {"IXML:NOTE", "IXML", "a <note>", {}},
    {"XMP:dc/rights", "XMP", "ours", {"ExifTool"}},
    {"CART:CutID", "CART", "12345", {}},
    {"AXML:ISRC", "AXML", "GBXYZ2400001", {}},
    {"ID3:TXXX:VANTOR", "ID3", "n\u00E4u", {"ExifTool", "mutagen", "TagLib"}},
};

TEST_F(InteropLossless, ChangesNothingElseInFilesOfOtherProgramsAndCanBeTakenBack) {
    WriteAll();
    for (const auto& [program, file] : path)
        for (const auto& [key, scheme, value, programs] : newValues) {
            SCOPED_TRACE(program + ", " + key);
            const auto before = TagsOf(file);
            const auto old = ChunksByScheme(ReadWholeFile(file));
            ASSERT_FALSE(before.contains(key));
            ASSERT_EQ(Edit(file, {key + "=" + value}), 2);
            auto wanted = before;
            wanted[key] = value;
            auto now = TagsOf(file);
            if (!before.contains("BWF:TimeReference")) now.erase("BWF:TimeReference");  // 0
            for (auto* tags : {&wanted, &now})
                std::erase_if(*tags, [](const auto& tag) { return IsPictureKey(tag.first); });
            EXPECT_EQ(now, wanted);
            auto changed = ChunksByScheme(ReadWholeFile(file));
            changed.erase(scheme);
            auto others = old;
            others.erase(scheme);
            EXPECT_EQ(changed, others);
            const auto bytes = ReadWholeFile(file);
            const auto time = fs::file_time_type::clock::now() - std::chrono::hours(24);
            fs::last_write_time(file, time);
            const auto stamp = fs::last_write_time(file);
            ASSERT_EQ(Edit(file, {key + "=" + value}), 2);
            EXPECT_TRUE(ReadWholeFile(file) == bytes && fs::last_write_time(file) == stamp);
            ASSERT_EQ(Edit(file, {key + "="}), 2);
            EXPECT_EQ(ChunksByScheme(ReadWholeFile(file)), old);
        }
}

// Two know no RF64, and one takes no tag in the chunk "ID3 ", as the library writes it, for one.
bool IsBlind(const std::string& reader, const std::string& program, std::string_view scheme) {
    if (program == "long") return reader == "mutagen" || reader == "TagLib";
    return program == "taglib" && reader == "ExifTool" && scheme == "ID3";
}

TEST_F(InteropLossless, EveryReaderShowsTheNewValuesAndTheOld) {
    WriteAll();
    for (const auto& [program, file] : path) {
        const auto before = Shown(file);
        for (const auto& [key, scheme, value, programs] : newValues)
            ASSERT_EQ(Edit(file, {key + "=" + value}), 2);
        auto after = Shown(file);
        for (const auto& [reader, lines] : before)
            for (const auto& line : IsBlind(reader, program, "") ? std::set<std::string>() : lines)
                EXPECT_TRUE(after[reader].contains(line)) << program << ", " << reader << " lost: " << line;
        for (const auto& [key, scheme, value, programs] : newValues)
            for (const auto& reader : programs) {
                if (IsBlind(reader, program, scheme)) continue;
                bool isShown = false;
                for (const auto& line : after[reader])
                    isShown = isShown || line.find(value) != line.npos;
                EXPECT_TRUE(isShown) << program << ", " << reader << ": " << key;
            }
    }
}

}  // namespace
}  // namespace vantor::test
