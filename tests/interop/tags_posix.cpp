// Tags that independent tools write are read as they were written; tags that the module writes are shown by
// them.

#include <algorithm>
#include <sstream>

#include "tests/interop/independent_tools.h"
#include "tests/support/chunk_list.h"

namespace vantor::test {
namespace {

const std::string cyrillic = "\u041F\u0451\u0442\u0440 \u0418\u043B\u044C\u0438\u0447";
const std::string kanji = "\u6F22\u5B57 \u304B\u306A";
const std::string emoji = "\U0001F3A7 a & b < c > \"d\" 'e'";
const std::string french = "\u00E9t\u00E9";

void ExpectTags(const Tags& wanted, const Tags& shown, const std::string& what) {
    for (const auto& [key, value] : wanted) {
        const auto found = shown.find(key);
        EXPECT_EQ(found == shown.end() ? "nothing" : found->second, value) << what << ": " << key;
    }
}

// The lines "name=value" of a tool's output.
Tags ShownBy(const std::string& command, const std::string& path) {
    Tags tags;
    std::istringstream lines(OutputOf(command + " '" + path + "'"));
    for (std::string line; std::getline(lines, line);)
        tags[line.substr(0, line.find('='))] = line.substr(line.find('=') + 1);
    return tags;
}

class InteropTags : public ::testing::Test {
  protected:
    FakeHost host;
    TempFolder folder;
};

TEST_F(InteropTags, OfFfmpegAreRead) {
    const std::string command = "ffmpeg -y -f lavfi -i sine=duration=0.1 -metadata title='" + kanji +
                                "' -metadata artist='" + cyrillic + "' -metadata album='" + french +
                                "' -metadata genre=Rock -metadata comment=Said ";
    const auto wave = folder.Path("tagged.wav"), aiff = folder.Path("tagged.aif");
    Generate(wave, command + "-metadata description=Told -metadata time_reference=12345 -write_bext 1 %s");
    ExpectTags({{"INFO:INAM", kanji},
                {"INFO:IART", cyrillic},
                {"INFO:IPRD", french},
                {"INFO:IGNR", "Rock"},
                {"BWF:Description", "Told"},
                {"BWF:TimeReference", "12345"}},
               TagsOf(wave), "wave");
    for (const std::string version : {"3", "4"}) {
        Generate(aiff, command + "-write_id3v2 1 -id3v2_version " + version + " %s");
        ExpectTags({{"ID3:TIT2", kanji},
                    {"ID3:TPE1", cyrillic},
                    {"ID3:TALB", french},
                    {"ID3:TCON", "Rock"},
                    {"ID3:TXXX:comment", "Said"}},
                   TagsOf(aiff), "AIFF, ID3v2." + version);
    }
}

const Fields edit = {"TITLE=" + kanji,         "ARTIST=" + cyrillic,
                     "ALBUM=" + emoji,         "GENRE=" + french,
                     "COMMENT=" + emoji,       "DESC=" + cyrillic,
                     "DATE=2023-11-12",        "PREFPOS=100000",
                     "BWF:Originator=Edited",  "CART:SEG1=99",
                     "CART:URL=http://x",      "IXML:USER:Mood=" + emoji,
                     "AXML:ISRC=USS1Z9900001", "XMP:MARK000=1000:2000:" + emoji};

void ExpectLibsndfileShowsChunks(const std::string& path) {
    SF_INFO info{};
    const auto file = OpenWithLibsndfile(path, SFM_READ, info);
    SF_BROADCAST_INFO bext{};
    ASSERT_EQ(sf_command(file.get(), SFC_GET_BROADCAST_INFO, &bext, sizeof bext), SF_TRUE) << path;
    EXPECT_EQ(std::string(bext.description), cyrillic);
    EXPECT_EQ(std::string(bext.originator), "Edited");
    EXPECT_EQ(std::string(bext.origination_date, 10), "2023-11-12");
    EXPECT_EQ(bext.time_reference_low, 4410000u);
    SF_CART_INFO cart{};
    ASSERT_EQ(sf_command(file.get(), SFC_GET_CART_INFO, &cart, sizeof cart), SF_TRUE) << path;
    EXPECT_EQ(std::string(cart.title), kanji);
    EXPECT_EQ(std::string(cart.post_timers[0].usage, 4), "SEG1");
    EXPECT_EQ(cart.post_timers[0].value, 99);
    EXPECT_EQ(std::string(cart.url), "http://x");
}

void ExpectToolsShow(const std::string& path) {
    ExpectTags(
        {{"TAG:title", kanji}, {"TAG:artist", cyrillic}, {"TAG:genre", french}, {"TAG:comment", emoji}},
        ShownBy("ffprobe -v error -show_entries format_tags -of default=nw=1", path), path + ", ffprobe");
    ExpectTags({{"-RIFF:Title", kanji},
                {"-RIFF:Comment", emoji},
                {"-RIFF:Description", cyrillic},
                {"-ID3v2_4:Title", kanji},
                {"-ID3v2_4:Artist", cyrillic},
                {"-ID3v2_4:Album", emoji},
                {"-ID3v2_4:Genre", french},
                {"-ID3v2_4:Comment", emoji},
                {"-ID3v2_4:Subtitle", cyrillic},
                {"-XMP-dc:Title", kanji},
                {"-XMP-xmpDM:Artist", cyrillic},
                {"-XMP-xmpDM:LogComment", emoji}},
               ShownBy("exiftool -args -G1 -a -charset RIFF=UTF8", path), path + ", ExifTool");
}

// What a strict parser finds in the document that a chunk holds.
std::string XPath(const std::string& path, std::string_view chunkId, const std::string& expression) {
    Bytes document = Find(ReadWholeFile(path), chunkId)->body;
    document.erase(std::find(document.begin(), document.end(), 0), document.end());
    WriteWholeFile(path + ".xml", document);
    return OutputOf("xmllint --xpath \"normalize-space(" + expression + ")\" '" + path + ".xml' 2>&1");
}

TEST_F(InteropTags, OfTheModuleAreShownByEveryReader) {
    const std::pair<std::string, std::string> files[] = {
        {"rf64.wav", "-rf64 always -c:a pcm_f32le"},
        {"ima.wav", "-c:a adpcm_ima_wav"},
        {"bext.wav", "-metadata title=Before -write_bext 1 -c:a pcm_s24le"},
    };
    for (const auto& [name, options] : files) {
        const auto edited = folder.Path(name), copy = folder.Path("copy-" + name);
        Generate(edited, "ffmpeg -y -f lavfi -i sine=duration=0.1 " + options + " %s");
        const auto samples = DecodeByLibsndfile(edited).samples;
        ASSERT_EQ(RequestWrite(*OpenSource(edited), copy, edit, mergeTags), 2) << name;
        ASSERT_EQ(RequestWrite(*OpenSource(edited), copy, {}, mergeTags | neverInPlace), 1) << name;
        for (const auto& file : {edited, copy}) {
            ExpectLibsndfileShowsChunks(file);
            ExpectToolsShow(file);
            EXPECT_TRUE(DecodeByLibsndfile(file).samples == samples) << file;
        }
    }
    const auto path = folder.Path("bext.wav");
    EXPECT_EQ(XPath(path, "iXML", "/BWFXML/USER/Mood"), emoji + "\n");
    EXPECT_EQ(XPath(path, "iXML", "/BWFXML/BWF/BWF_DESCRIPTION"), cyrillic + "\n");
    EXPECT_EQ(XPath(path, "_PMX", "//*[local-name()='name']"), emoji + "\n");
    EXPECT_EQ(XPath(path, "axml", "//*[@formatLabel='ISRC']"), "ISRC:USS1Z9900001\n");
}

}  // namespace
}  // namespace vantor::test
