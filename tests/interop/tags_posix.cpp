// Tags that independent tools write are read as they show them; tags that the module writes are shown by
// them.

#include <aifffile.h>
#include <attachedpictureframe.h>
#include <commentsframe.h>
#include <gtest/gtest.h>
#include <id3v2tag.h>
#include <sndfile.h>
#include <textidentificationframe.h>
#include <unsynchronizedlyricsframe.h>
#include <wavfile.h>

#include <cstdlib>
#include <cstring>
#include <memory>

#include "tests/interop/decoded_file.h"
#include "tests/interop/tag_tools.h"
#include "tests/source/source_support.h"

namespace vantor::test {
namespace {

const std::string cyrillic = "\xD0\x9F\xD1\x91\xD1\x82\xD1\x80 \xD0\x98\xD0\xBB\xD1\x8C\xD0\xB8\xD1\x87";
const std::string kanji = "\xE6\xBC\xA2\xE5\xAD\x97 \xE3\x81\x8B\xE3\x81\xAA";
const std::string emoji = "\xF0\x9F\x8E\xA7 a & b < c > \"d\" 'e'";
const std::string french = "\xC3\xA9t\xC3\xA9";

struct Handle {
    SNDFILE* file;
    ~Handle() { sf_close(file); }
};

void CopyField(char* field, size_t width, const std::string& text) {
    std::memcpy(field, text.data(), std::min(width, text.size()));
}

// Strings, broadcast and cart chunk, as libsndfile writes them.
void WriteWithLibsndfile(const std::string& path, int container) {
    SF_INFO info{};
    info.samplerate = 48000;
    info.channels = 2;
    info.format = container | SF_FORMAT_PCM_24;
    const Handle handle{sf_open(path.c_str(), SFM_WRITE, &info)};
    ASSERT_NE(handle.file, nullptr);
    SF_BROADCAST_INFO bext{};
    CopyField(bext.description, sizeof bext.description, cyrillic);
    CopyField(bext.originator, sizeof bext.originator, "Maker");
    CopyField(bext.originator_reference, sizeof bext.originator_reference, "Ref");
    CopyField(bext.origination_date, sizeof bext.origination_date, "2024-01-05");
    CopyField(bext.origination_time, sizeof bext.origination_time, "07:08:09");
    bext.time_reference_low = 4000;
    bext.time_reference_high = 1;
    bext.version = 1;
    sf_command(handle.file, SFC_SET_BROADCAST_INFO, &bext, sizeof bext);
    SF_CART_INFO cart{};
    CopyField(cart.version, sizeof cart.version, "0101");
    CopyField(cart.title, sizeof cart.title, "Cart title");
    CopyField(cart.cut_id, sizeof cart.cut_id, "4711");
    CopyField(cart.post_timers[0].usage, 4, "SEG1");
    cart.post_timers[0].value = 99;
    CopyField(cart.url, sizeof cart.url, "http://x");
    sf_command(handle.file, SFC_SET_CART_INFO, &cart, sizeof cart);
    sf_set_string(handle.file, SF_STR_TITLE, kanji.c_str());
    sf_set_string(handle.file, SF_STR_ARTIST, emoji.c_str());
    sf_set_string(handle.file, SF_STR_COMMENT, french.c_str());
    std::vector<int> samples(2 * 4801);
    for (size_t i = 0; i < samples.size(); ++i)
        samples[i] = static_cast<int>(i * 2654435761u);
    EXPECT_EQ(sf_writef_int(handle.file, samples.data(), 4801), 4801);
}

void ExpectTags(const Tags& wanted, const Tags& shown, const std::string& what) {
    for (const auto& [key, value] : wanted) {
        const auto found = shown.find(key);
        EXPECT_TRUE(found != shown.end()) << what << ": no " << key;
        if (found != shown.end()) {
            EXPECT_EQ(found->second, value) << what << ": " << key;
        }
    }
}

class InteropTags : public ::testing::Test {
  protected:
    FakeHost host;
    TempFolder folder;
};

TEST_F(InteropTags, OfLibsndfileAreRead) {
    for (const int container : {SF_FORMAT_WAV, SF_FORMAT_WAVEX, SF_FORMAT_RF64}) {
        const auto path = folder.Path("sndfile" + std::to_string(container) + ".wav");
        WriteWithLibsndfile(path, container);
        const auto tags = TagsOf(path);
        ExpectTags({{"INFO:INAM", kanji},
                    {"INFO:IART", emoji},
                    {"INFO:ICMT", french},
                    {"BWF:Description", cyrillic},
                    {"BWF:Originator", "Maker"},
                    {"BWF:OriginatorReference", "Ref"},
                    {"BWF:OriginationDate", "2024-01-05"},
                    {"BWF:OriginationTime", "07:08:09"},
                    {"BWF:TimeReference", "4294971296"}},
                   tags, path);
        if (container != SF_FORMAT_WAV) continue;  // it writes no cart chunk elsewhere
        ExpectTags({{"CART:Title", "Cart title"},
                    {"CART:CutID", "4711"},
                    {"CART:SEG1", "99"},
                    {"CART:URL", "http://x"}},
                   tags, path);
    }
}

TEST_F(InteropTags, OfFfmpegAreReadAsOtherReadersShowThem) {
    const std::string common =
        "ffmpeg -v error -y -f lavfi -i 'sine=frequency=330:duration=0.1' -metadata title='" + kanji +
        "' -metadata artist='" + cyrillic + "' -metadata album='" + french +
        "' -metadata genre=Rock -metadata date=2021 ";
    const auto wave = folder.Path("ffmpeg.wav");
    ASSERT_EQ(
        std::system(
            (common +
             "-metadata description='Said' -metadata originator=Orig -metadata origination_date=2020-02-03"
             " -metadata origination_time=04:05:06 -metadata time_reference=12345 -write_bext 1 '" +
             wave + "'")
                .c_str()),
        0);
    const auto exif = ExiftoolTags(wave);
    ExpectTags({{"INFO:INAM", exif.at("RIFF:Title")},
                {"INFO:IART", exif.at("RIFF:Artist")},
                {"INFO:IPRD", exif.at("RIFF:Product")},
                {"INFO:IGNR", exif.at("RIFF:Genre")},
                {"INFO:ICRD", exif.at("RIFF:DateCreated")},
                {"INFO:ISFT", exif.at("RIFF:Software")},
                {"INFO:INAM", kanji},
                {"BWF:Description", "Said"},
                {"BWF:Originator", "Orig"},
                {"BWF:OriginationDate", "2020-02-03"},
                {"BWF:OriginationTime", "04:05:06"},
                {"BWF:TimeReference", "12345"}},
               TagsOf(wave), "wave");

    for (const auto* version : {"3", "4"}) {
        const auto aiff = folder.Path("ffmpeg.aif");
        ASSERT_EQ(std::system((common + "-metadata comment=Said -write_id3v2 1 -id3v2_version " + version +
                               " '" + aiff + "'")
                                  .c_str()),
                  0);
        const auto frames = TaglibFrames(aiff);
        ExpectTags({{"ID3:TIT2", kanji},
                    {"ID3:TPE1", frames.at("TPE1")},
                    {"ID3:TPE1", cyrillic},
                    {"ID3:TALB", french},
                    {"ID3:TCON", "Rock"},
                    {"ID3:TXXX:comment", "Said"}},
                   TagsOf(aiff), version);
    }
}

void FillId3(TagLib::ID3v2::Tag& tag, TagLib::String::Type encoding) {
    namespace Id3 = TagLib::ID3v2;
    const auto text = [&](const std::string& value) {
        return TagLib::String(encoding == TagLib::String::Latin1 ? french : value, TagLib::String::UTF8);
    };
    const auto add = [&](const char* id, const std::string& value) {
        auto* frame = new Id3::TextIdentificationFrame(id, encoding);
        frame->setText(text(value));
        tag.addFrame(frame);
    };
    add("TIT2", kanji);
    add("TPE1", emoji);
    add("TCON", cyrillic);
    auto* comment = new Id3::CommentsFrame(encoding);
    comment->setLanguage("eng");
    comment->setText(text(cyrillic));
    tag.addFrame(comment);
    auto* lyrics = new Id3::UnsynchronizedLyricsFrame(encoding);
    lyrics->setLanguage("deu");
    lyrics->setText(text(kanji));
    tag.addFrame(lyrics);
    auto* user = new Id3::UserTextIdentificationFrame(encoding);
    user->setDescription("Mood");
    user->setText(text(emoji));
    tag.addFrame(user);
    auto* picture = new Id3::AttachedPictureFrame;
    picture->setMimeType("image/png");
    picture->setType(Id3::AttachedPictureFrame::FrontCover);
    picture->setDescription("Front");
    picture->setPicture(TagLib::ByteVector(std::string(500, '\xFF').c_str(), 500));
    tag.addFrame(picture);
}

template <typename File>
void TagWithTaglib(const std::string& path, TagLib::String::Type encoding, TagLib::ID3v2::Version version);

template <>
void TagWithTaglib<TagLib::RIFF::WAV::File>(const std::string& path, TagLib::String::Type encoding,
                                            TagLib::ID3v2::Version version) {
    TagLib::RIFF::WAV::File file(path.c_str());
    FillId3(*file.ID3v2Tag(), encoding);
    ASSERT_TRUE(file.save(TagLib::RIFF::WAV::File::ID3v2, TagLib::File::StripNone, version));
}

template <>
void TagWithTaglib<TagLib::RIFF::AIFF::File>(const std::string& path, TagLib::String::Type encoding,
                                             TagLib::ID3v2::Version version) {
    TagLib::RIFF::AIFF::File file(path.c_str());
    FillId3(*file.tag(), encoding);
    ASSERT_TRUE(file.save(version));
}

// The bytes that a picture's descriptor names.
std::string PictureBytes(const std::string& path, const std::string& descriptor) {
    const auto number = [&](const char* name) {
        return std::strtoul(descriptor.c_str() + descriptor.find(name) + std::strlen(name), nullptr, 10);
    };
    const Bytes file = ReadWholeFile(path);
    const auto start = file.begin() + static_cast<int64_t>(number("offset:"));
    return {start, start + static_cast<int64_t>(number("length:"))};
}

TEST_F(InteropTags, OfTaglibAreReadInEveryVersionAndEncoding) {
    using TagLib::String;
    for (const auto encoding : {String::Latin1, String::UTF16, String::UTF16BE, String::UTF8})
        for (const auto version : {TagLib::ID3v2::v3, TagLib::ID3v2::v4})
            for (const std::string name : {"taglib.wav", "taglib.aif"}) {
                const auto path = folder.Path(name);
                ASSERT_EQ(
                    std::system(("sox -n -r 8000 -c 1 -b 16 '" + path + "' synth 0.1 sine 300").c_str()), 0);
                if (name.ends_with(".wav"))
                    TagWithTaglib<TagLib::RIFF::WAV::File>(path, encoding, version);
                else
                    TagWithTaglib<TagLib::RIFF::AIFF::File>(path, encoding, version);
                const auto frames = TaglibFrames(path);
                const auto tags = TagsOf(path);
                const auto what =
                    name + ", encoding " + std::to_string(encoding) + ", version " + std::to_string(version);
                ExpectTags({{"ID3:TIT2", frames.at("TIT2")},
                            {"ID3:TPE1", frames.at("TPE1")},
                            {"ID3:TCON", frames.at("TCON")},
                            {"ID3:COMM", frames.at("COMM:eng")},
                            {"ID3:USLT:deu", frames.at("USLT")},
                            {"ID3:TXXX:Mood", frames.at("TXXX:Mood")},
                            {"ID3:TIT2", encoding == String::Latin1 ? french : kanji}},
                           tags, what);
                EXPECT_EQ(PictureBytes(path, tags.at("ID3:APIC")), frames.at("APIC")) << what;
            }
}

const Fields edit = {{"TITLE", kanji},          {"ARTIST", cyrillic},
                     {"ALBUM", emoji},          {"GENRE", french},
                     {"COMMENT", emoji},        {"DESC", cyrillic},
                     {"DATE", "2023-11-12"},    {"BWF:Originator", "Edited"},
                     {"IXML:USER:Mood", emoji}, {"AXML:ISRC", "USS1Z9900001"}};

void ExpectLibsndfileShows(const std::string& path) {
    SF_INFO info{};
    const Handle handle{sf_open(path.c_str(), SFM_READ, &info)};
    ASSERT_NE(handle.file, nullptr) << path;
    const auto string = [&](int type) {
        const char* text = sf_get_string(handle.file, type);
        return std::string(text ? text : "");
    };
    EXPECT_EQ(string(SF_STR_TITLE), kanji);
    EXPECT_EQ(string(SF_STR_ARTIST), cyrillic);
    EXPECT_EQ(string(SF_STR_COMMENT), emoji);
    EXPECT_EQ(string(SF_STR_GENRE), french);
    SF_BROADCAST_INFO bext{};
    ASSERT_EQ(sf_command(handle.file, SFC_GET_BROADCAST_INFO, &bext, sizeof bext), SF_TRUE);
    EXPECT_EQ(std::string(bext.description), cyrillic);
    EXPECT_EQ(std::string(bext.originator), "Edited");
    EXPECT_EQ(std::string(bext.origination_date, 10), "2023-11-12");
    SF_CART_INFO cart{};
    ASSERT_EQ(sf_command(handle.file, SFC_GET_CART_INFO, &cart, sizeof cart), SF_TRUE);
    EXPECT_EQ(std::string(cart.title), kanji);
}

void ExpectReadersShow(const std::string& path, const std::string& what) {
    ExpectLibsndfileShows(path);
    const auto ffprobe = FfprobeTags(path);
    ExpectTags({{"title", kanji}, {"artist", cyrillic}, {"genre", french}, {"comment", emoji}}, ffprobe,
               what + ", ffprobe");
    if (!what.ends_with("rf64.wav"))  // which it does not know
        ExpectTags({{"TIT2", kanji},
                    {"TPE1", cyrillic},
                    {"TALB", emoji},
                    {"TCON", french},
                    {"COMM:eng", emoji},
                    {"TIT3", cyrillic},
                    {"TDRC", "2023-11-12"}},
                   TaglibFrames(path), what + ", TagLib");
    ExpectTags({{"RIFF:Title", kanji},
                {"RIFF:Artist", cyrillic},
                {"RIFF:Comment", emoji},
                {"RIFF:Description", cyrillic},
                {"RIFF:Originator", "Edited"},
                {"XMP-dc:Title", kanji},
                {"XMP-xmpDM:Artist", cyrillic},
                {"XMP-xmpDM:Album", emoji},
                {"XMP-xmpDM:LogComment", emoji}},
               ExiftoolTags(path), what + ", ExifTool");
}

struct ToolFile {
    const char* name;
    const char* command;  // %s is the output; null: libsndfile writes it
    int container;
};
const ToolFile toolFiles[] = {
    {"sndfile.wav", nullptr, SF_FORMAT_WAV},
    {"wavex.wav", nullptr, SF_FORMAT_WAVEX},
    {"rf64.wav", nullptr, SF_FORMAT_RF64},
    {"ffmpeg.wav",
     "ffmpeg -v error -y -f lavfi -i sine=duration=0.1 -metadata title=Before -write_bext 1 -c:a pcm_s24le "
     "%s",
     0},
    {"ffmpeg-rf64.wav", "ffmpeg -v error -y -f lavfi -i sine=duration=0.1 -rf64 always -c:a pcm_f32le %s", 0},
    {"ima.wav", "sox -n -r 48000 -c 2 -e ima-adpcm %s synth 0.1 sine 300", 0},
};

std::string Generate(const TempFolder& folder, const ToolFile& tool) {
    auto path = folder.Path(tool.name);
    if (!tool.command) {
        WriteWithLibsndfile(path, tool.container);
        return path;
    }
    std::string command = tool.command;
    command.replace(command.find("%s"), 2, "'" + path + "'");
    EXPECT_EQ(std::system(command.c_str()), 0) << command;
    return path;
}

TEST_F(InteropTags, OfTheModuleAreShownByEveryReader) {
    for (const auto& tool : toolFiles) {
        const auto path = Generate(folder, tool);
        const auto before = DecodeByLibsndfile(path);
        ASSERT_TRUE(before.opened);
        ASSERT_EQ(RequestWrite(*OpenSource(path), folder.Path("unused"), edit, mergeTags), 2) << tool.name;
        ExpectReadersShow(path, tool.name);
        EXPECT_TRUE(DecodeByLibsndfile(path).samples == before.samples) << tool.name;

        const auto target = folder.Path(std::string("copy-") + tool.name);
        ASSERT_EQ(RequestWrite(*OpenSource(path), target, {}, mergeTags | neverInPlace), 1) << tool.name;
        ExpectReadersShow(target, std::string("copy of ") + tool.name);
        EXPECT_TRUE(DecodeByLibsndfile(target).samples == before.samples) << tool.name;
    }
}

TEST_F(InteropTags, PicturesOfTaglibStayThroughEdits) {
    const auto path = folder.Path("picture.wav");
    ASSERT_EQ(std::system(("sox -n -r 8000 -c 1 -b 16 '" + path + "' synth 0.1 sine 300").c_str()), 0);
    TagWithTaglib<TagLib::RIFF::WAV::File>(path, TagLib::String::UTF16, TagLib::ID3v2::v3);
    ASSERT_EQ(RequestWrite(*OpenSource(path), folder.Path("unused"), {{"TITLE", french}}, mergeTags), 2);
    ExpectTags({{"APIC", std::string(500, '\xFF')}, {"TIT2", french}, {"TXXX:Mood", emoji}, {"USLT", kanji}},
               TaglibFrames(path), "after an edit");
}

// The text of a chunk's document, written to a file of its own.
std::string Extracted(const TempFolder& folder, const Bytes& file, const std::string& id) {
    const auto chunk = std::search(file.begin(), file.end(), id.begin(), id.end());
    EXPECT_TRUE(chunk != file.end()) << id;
    const uint32_t bytes = static_cast<uint32_t>(chunk[4]) | static_cast<uint32_t>(chunk[5]) << 8 |
                           static_cast<uint32_t>(chunk[6]) << 16;
    const std::string text(chunk + 8, chunk + 8 + bytes);
    const auto document = text.substr(0, text.find('\0'));
    return folder.Write(id + ".xml", {document.begin(), document.end()});
}

std::string XPath(const std::string& path, const std::string& expression) {
    const auto shown = OutputOf("xmllint --xpath \"string(" + expression + ")\" '" + path + "'");
    return shown.substr(0, shown.find_last_not_of('\n') + 1);
}

TEST_F(InteropTags, DocumentsOfTheModuleAreWellFormedXml) {
    const auto path = folder.Path("documents.wav");
    WriteWithLibsndfile(path, SF_FORMAT_WAV);
    Fields fields = edit;
    fields.emplace_back("IXML:USER:odd name: 1/2", "\x01control");
    fields.emplace_back("XMP:MARK000", "1000:2000:" + emoji);
    ASSERT_EQ(RequestWrite(*OpenSource(path), folder.Path("unused"), fields, mergeTags), 2);
    const Bytes file = ReadWholeFile(path);
    const auto ixml = Extracted(folder, file, "iXML");
    const auto xmp = Extracted(folder, file, "_PMX");
    const auto axml = Extracted(folder, file, "axml");
    for (const auto& document : {ixml, xmp, axml})
        EXPECT_EQ(OutputOf("xmllint --noout '" + document + "' 2>&1"), "");
    EXPECT_EQ(XPath(ixml, "/BWFXML/USER/Mood"), emoji);
    EXPECT_EQ(XPath(ixml, "/BWFXML/PROJECT"), kanji);
    EXPECT_EQ(XPath(ixml, "/BWFXML/BWF/BWF_DESCRIPTION"), cyrillic);
    EXPECT_EQ(XPath(xmp, "//*[local-name()='title']//*[local-name()='li']"), kanji);
    EXPECT_EQ(XPath(xmp, "//@*[local-name()='album']"), emoji);
    EXPECT_EQ(XPath(xmp, "//*[local-name()='name']"), emoji);
    EXPECT_EQ(XPath(axml, "//*[local-name()='identifier'][@formatLabel='ISRC']"),
              "\n      ISRC:USS1Z9900001\n    ");
}

}  // namespace
}  // namespace vantor::test
