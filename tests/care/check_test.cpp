#include <filesystem>

#include "tests/care/care_support.h"
#include "tests/formats/container_files.h"
#include "tests/support/temp_file.h"
#include "tests/support/tree.h"
#include "wavehost/care/folder_checks.h"

namespace vantor::test {
namespace {

namespace fs = std::filesystem;
using namespace wavehost;

std::vector<fs::path> BrokenSamples() {
    std::vector<fs::path> files;
    for (const auto& entry : fs::directory_iterator(SourceTree() + "/samples/broken"))
        files.push_back(entry.path());
    return files;
}

std::string FirstPart(const fs::path& file) {
    const std::string name = file.filename().string();
    return name.substr(0, name.find('.'));
}

// A broken sample is called by its finding. Whatever can be mended is mended, once and for all, and the sound
// is what it was.
TEST(Check, FindsTheFaultOfEveryBrokenSampleAndRepairMendsIt) {
    std::string seen;
    for (const auto& file : BrokenSamples()) {
        SCOPED_TRACE(file);
        const Bytes broken = ReadWholeFile(file.string());
        EXPECT_NE(Names(FindingsOf(broken, {.audio = true})).find(FirstPart(file) + " "), std::string::npos)
            << Names(FindingsOf(broken, {.audio = true}));
        seen += FirstPart(file) + " ";
        if (FirstPart(file) == "pad-byte") continue;  // takes a copy; see below
        const Bytes mended = Repaired(broken, {.force = true});
        EXPECT_EQ(Repaired(mended, {.force = true}), mended);
        for (const Finding& left : FindingsOf(mended))
            EXPECT_EQ(left.mending, Mending::none) << KindOf(left.id).name;
    }
    // Those that take several files, another program, or 4 GiB have tests of their own.
    for (int id = 0; id < static_cast<int>(FindingId::mixedRates); ++id) {
        const std::string name = KindOf(static_cast<FindingId>(id)).name;
        if (name != "being-written" && name != "outgrown") {
            EXPECT_NE(seen.find(name + " "), std::string::npos) << "no broken sample shows " << name;
        }
    }
}

TEST(Check, HasNothingToSayOfSoundFiles) {
    for (const auto& entry : fs::directory_iterator(SourceTree() + "/samples"))
        if (entry.is_regular_file() && entry.path().extension() != ".md" &&
            entry.path().extension() != ".txt") {
            EXPECT_EQ(Names(FindingsOf(ReadWholeFile(entry.path().string()), {.audio = true})), "")
                << entry.path();
        }
    for (const auto& file : SoundFiles(500))
        EXPECT_EQ(Names(FindingsOf(file.bytes)), "") << file.name;
}

// What is left behind the sound is sound that a size hides when it can be: a frame at least.
TEST(Check, TakesLessThanAFrameForNoSound) {
    const Bytes file = WaveFile(pcmFmt);
    const auto frameBytes = pcmFmt[12];  // block alignment
    for (size_t more = 1; more <= frameBytes; ++more) {
        const auto found = Names(FindingsOf(ByteWriter().Add(file).Add(Bytes(more, 'x'))));
        EXPECT_EQ(found.starts_with("hidden-sound "), more == frameBytes) << found;
        EXPECT_EQ(found == "trailing-bytes ", more < frameBytes) << found;
    }
}

TEST(Check, TellsLineAndColumnOfWhatTheXmlParserRefuses) {
    const Bytes ixml = ByteWriter().Text("<?xml version=\"1.0\"?>\n<BWFXML>\n  <SCENE>1</SCEN>\n</BWFXML>");
    const auto findings = FindingsOf(WaveFile(pcmFmt, ByteWriter().Chunk("iXML", ixml)));
    ASSERT_EQ(Names(findings), "refused-chunk ");
    EXPECT_EQ(findings[0].text.substr(0, 18), "line 3, column 17:") << findings[0].text;
    EXPECT_EQ(findings[0].offset, 36);
}

// In the order of Hz, bits and channels; the third file holds the sound of the first.
TEST(Check, ComparesTheFilesOfAFolder) {
    const TempFolder folder;
    const Bytes mono = FmtBody(1, 1, 48000, 16);
    const auto bext = ByteWriter().Chunk("bext", Bytes(602));
    folder.Write("a.wav", WaveFile(pcmFmt));
    folder.Write("b.wav", WaveFile(mono, bext));
    folder.Write("c.wav", WaveFile(pcmFmt, ByteWriter().Chunk("JUNK", Bytes(8))));
    FolderTally tally;
    for (const char* name : {"a.wav", "b.wav", "c.wav"}) {
        FileSummary summary;
        (void)ExamineFile(folder.Path(name), {}, &summary);
        tally.Add(folder.Path(name), summary);
    }
    const auto found = tally.Findings();
    ASSERT_EQ(found.size(), 1u);
    EXPECT_EQ(Names(found[0].findings), "mixed-rates mixed-channels missing-positions same-audio ");
    EXPECT_EQ(found[0].findings[0].text, "44100 Hz: 2 files (a.wav, ...); 48000 Hz: 1 file (b.wav)");
    EXPECT_EQ(found[0].findings[3].text, "c.wav holds the sound of a.wav");
}

// Sizes and counts from strangers lead nowhere: every byte of a file set to what hurts most.
TEST(Check, EndsWhateverTheBytesSay) {
    for (const auto& file : SoundFiles(40))
        for (size_t place = 0; place < file.bytes.size(); ++place)
            for (const int value : {0, 1, 0x7F, 0x80, 0xFF}) {
                Bytes bytes = file.bytes;
                bytes[place] = static_cast<uint8_t>(value);
                EXPECT_NO_THROW((void)FindingsOf(bytes, {.audio = true})) << file.name << " " << place;
            }
}

}  // namespace
}  // namespace vantor::test
