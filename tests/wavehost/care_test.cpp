// check, repair, hash and rename as a person starts them.
#include <algorithm>
#include <nlohmann/json.hpp>
#include <sstream>

#include "tests/support/tree.h"
#include "tests/wavehost/run_wavehost.h"
#include "wavehost/care/audio_hash.h"

namespace vantor::test {
namespace {

namespace fs = std::filesystem;

class WavehostCare : public Wavehost {
  protected:
    // A take with a scene and a take number, so many frames long.
    std::string Take(const std::string& name, const std::string& scene, const std::string& take,
                     int frames = 100) {
        const std::string ixml = "<BWFXML><SCENE>" + scene + "</SCENE><TAKE>" + take + "</TAKE></BWFXML>";
        return folder.Write(name, PatternWav(frames, 1, ByteWriter().Chunk("iXML", ByteWriter().Text(ixml))));
    }
    [[nodiscard]] bool Exists(const std::string& name) const {
        return fs::exists(fs::u8path(folder.Path(name)));
    }
};

std::vector<nlohmann::json> Lines(const std::string& text) {
    std::vector<nlohmann::json> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);)
        lines.push_back(nlohmann::json::parse(line));
    return lines;
}

TEST_F(WavehostCare, CheckAndRepairTellWhatTheyFoundAndDid) {
    Bytes bytes = PatternWav(100, 1);
    const Bytes whole = bytes;
    std::fill(bytes.begin() + 40, bytes.begin() + 44, uint8_t{0xFF});
    const std::string broken = folder.Write("a.wav", bytes), sound = folder.Write("b.wav", PatternWav(90, 1));

    const auto check = RunWavehost({"check", folder.Path(""), "--json"});
    EXPECT_EQ(check.exitCode, 1);
    const auto lines = Lines(check.out);
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_EQ(lines[0]["findings"][0]["name"], "unfinished");
    EXPECT_EQ(lines[0]["findings"][0]["severity"], "error");
    EXPECT_EQ(lines[0]["findings"][0]["chunk"], "data");
    EXPECT_EQ(lines[0]["findings"][0]["offset"], 36);
    EXPECT_EQ(lines[0]["findings"][0]["mendable"], true);
    EXPECT_TRUE(lines[1]["findings"].empty());

    const auto rehearsed = RunWavehost({"repair", "--dry-run", broken, sound});
    EXPECT_EQ(rehearsed.exitCode, 0);
    EXPECT_NE(rehearsed.out.find("would mend error unfinished"), std::string::npos);
    EXPECT_EQ(ReadWholeFile(broken), bytes);
    EXPECT_EQ(ExitCode({"repair", broken, sound}), 0);
    EXPECT_EQ(ReadWholeFile(broken), whole);
    EXPECT_EQ(ExitCode({"check", broken, sound}), 0);
    EXPECT_EQ(ExitCode({"repair", folder.Path("none.wav")}), 1);
}

// The sound's hash is the same before and after an edit of tags, and one changed byte of the sound is told.
TEST_F(WavehostCare, HashesListsAndVerifies) {
    const std::string one = Take("one.wav", "1", "1"), other = Take("other.wav", "2", "1", 200);
    const auto hashes = RunWavehost({"hash", one, other});
    ASSERT_EQ(hashes.exitCode, 0);
    EXPECT_EQ(hashes.out.substr(32, 2), "  ");
    const std::string list = folder.Write("list.md5", Bytes(hashes.out.begin(), hashes.out.end()));
    EXPECT_EQ(ExitCode({"meta", "set", one, "TITLE=Night"}), 0);
    EXPECT_EQ(ExitCode({"hash", "--verify", list}), 0);
    Bytes changed = ReadWholeFile(other);
    changed[60] ^= 1;
    WriteWholeFile(other, changed);
    fs::remove(fs::u8path(one));
    const auto verified = RunWavehost({"hash", "--verify", list});
    EXPECT_EQ(verified.exitCode, 1);
    EXPECT_NE(verified.out.find("other.wav: FAILED"), std::string::npos);
    EXPECT_NE(verified.err.find("one.wav"), std::string::npos);
    EXPECT_EQ(RunWavehost({"hash", "--sha256", other}).out.find("  "), 64u);
    EXPECT_EQ(ExitCode({"hash"}), 2);
    for (const std::string& none :
         {folder.Path(""), folder.Write("empty.md5", {}), folder.Write("blank.md5", {'\n'})})
        EXPECT_EQ(ExitCode({"hash", "--verify", none}), 1) << none;
}

TEST(HashLists, HoldEveryNameAndAreReadFromOtherTools) {
    using namespace wavehost;
    const std::string hash(32, 'a');
    for (const std::string name : {"take.wav", "two\nlines\r.wav", "back\\slash.wav", "\\n\n", " blank "}) {
        std::string text = HashLineText(hash, name);
        EXPECT_EQ(std::ranges::count(text, '\n'), 1);
        text.pop_back();
        HashLine line;
        ASSERT_TRUE(ParseHashLine(text, line)) << text;
        EXPECT_EQ(line.name, name);
        EXPECT_EQ(line.hash, hash);
    }
    EXPECT_EQ(HashLineText(hash, "C:\\takes\\a.wav"), hash + "  C:\\takes\\a.wav\n");
    HashLine line;
    EXPECT_TRUE(ParseHashLine("\\" + std::string(64, 'A') + " *a\\\\b\\nc.wav\r", line));
    EXPECT_EQ(line.name, "a\\b\nc.wav");
    EXPECT_EQ(line.hash, std::string(64, 'a'));
    EXPECT_EQ(line.kind, DigestKind::sha256);
    for (const std::string& none : {std::string("x"), hash, hash + "  ", hash + "x  a", hash + " a"})
        EXPECT_FALSE(ParseHashLine(none, line)) << none;
}

// Block-coded sound too, and files that an edit writes anew.
TEST_F(WavehostCare, NoEditChangesTheHash) {
    const Bytes ulaw =
        RiffFile(ByteWriter().Chunk("fmt ", FmtBody(7, 1, 8000, 8)).Chunk("data", Bytes(801, 0x55)));
    std::vector<std::string> files = {folder.Write("ulaw.wav", ulaw)};
    for (const char* sample : {"ms-adpcm.wav", "ima-adpcm.wav", "c-adpcm.wav", "rf64.wav", "float32.wav"})
        files.push_back(folder.Write(sample, ReadWholeFile(SourceTree() + "/samples/" + sample)));
    std::vector<std::string> line = {"hash"},
                             edit = {"meta", "set", "--set", "IXML:NOTE=" + std::string(3000, 'x')};
    line.insert(line.end(), files.begin(), files.end());
    edit.insert(edit.end(), files.begin(), files.end());
    const std::string before = RunWavehost(line).out;
    EXPECT_EQ(std::ranges::count(before, '\n'), 6);
    EXPECT_EQ(ExitCode(edit), 0);
    EXPECT_EQ(RunWavehost(line).out, before);
}

// What a killed repair or edit has left goes with the next one in the folder.
TEST_F(WavehostCare, ARepairByACopySweepsUp) {
    const std::string broken =
        folder.Write("take.wav", ReadWholeFile(SourceTree() + "/samples/broken/pad-byte.wav"));
    folder.Write(".vantor-fffffff011112222.tmp", {1, 2, 3});
    folder.Write(".vantor-mine.tmp", {1});
    EXPECT_EQ(ExitCode({"repair", broken}), 0);
    EXPECT_FALSE(Exists(".vantor-fffffff011112222.tmp"));
    EXPECT_TRUE(Exists(".vantor-mine.tmp"));
    EXPECT_EQ(FilesInFolder(), 2u);
}

TEST_F(WavehostCare, RenamesByTagsAndNeverOverwrites) {
    const std::string pattern = "{IXML:SCENE}-T{IXML:TAKE}";
    const std::vector<std::string> files = {Take("a.wav", "1/A", "1"), Take("b.WAV", "2", "1"),
                                            Take("c.wav", "2", "1"), Take("d.wav", "3", ""),
                                            Take("e.wav", "4", "1")};
    Take("4-T1.wav", "9", "9");  // a name that is taken
    std::vector<std::string> line = {"rename", "--pattern", pattern};
    line.insert(line.end(), files.begin(), files.end());
    auto dryLine = line;
    dryLine.push_back("--dry-run");
    const auto dry = RunWavehost(dryLine);
    EXPECT_EQ(FilesInFolder(), 6u);
    EXPECT_TRUE(Exists("a.wav"));
    const auto real = RunWavehost(line);
    EXPECT_EQ(dry.out, real.out);
    EXPECT_EQ(real.exitCode, 1);
    EXPECT_EQ(std::ranges::count(real.out, '\n'), 1);
    EXPECT_TRUE(Exists("1_A-T1.wav"));
    // Those of one name, the one without a take, and the one whose name is taken stay.
    for (const char* name : {"b.WAV", "c.wav", "d.wav", "e.wav", "4-T1.wav"})
        EXPECT_TRUE(Exists(name)) << name;
    EXPECT_EQ(FilesInFolder(), 6u);
    // The position, whichever tag tells it.
    const ByteWriter ixml = ByteWriter().Text(
        "<BWFXML><BEXT><BWF_TIME_REFERENCE_LOW>172800000</BWF_TIME_REFERENCE_LOW>"
        "<BWF_TIME_REFERENCE_HIGH>0</BWF_TIME_REFERENCE_HIGH></BEXT></BWFXML>");
    const std::string placed = folder.Write("p.wav", PatternWav(10, 1, ByteWriter().Chunk("iXML", ixml)));
    EXPECT_EQ(ExitCode({"rename", "--pattern", "at {position}", placed}), 0);
    EXPECT_TRUE(Exists("at 01-00-00.000.wav"));
    EXPECT_EQ(ExitCode({"rename", "--pattern", "{position}", files[1]}), 1);
    EXPECT_EQ(ExitCode({"rename", "--pattern", "take {", files[1]}), 2);
    EXPECT_EQ(ExitCode({"rename", "--pattern", "{name} x", files[1]}), 0);
    EXPECT_TRUE(Exists("b x.WAV"));
}

// A name is free when the file that has it gives it up in the same run.
TEST_F(WavehostCare, RenamesChainsAndNoFileTwice) {
    const std::vector<std::string> files = {Take("1.wav", "2", "1"), Take("2.wav", "3", "1"),
                                            Take("3.wav", "4", "1"), Take("a.wav", "b", "1"),
                                            Take("b.wav", "a", "1"), Take("x.wav", "n", "1", 10)};
    const Bytes first = ReadWholeFile(files[0]), swapped = ReadWholeFile(files[3]);
    std::vector<std::string> line = {"rename", "--pattern", "{IXML:SCENE}", folder.Path("./x.wav")};
    line.insert(line.end(), files.begin(), files.end());
    auto dryLine = line;
    dryLine.push_back("--dry-run");
    const auto dry = RunWavehost(dryLine), real = RunWavehost(line);
    EXPECT_EQ(real.out, dry.out);
    EXPECT_EQ(real.err, dry.err);
    EXPECT_EQ(real.exitCode, 1);  // two that want each other's names stay
    EXPECT_EQ(ReadWholeFile(folder.Path("2.wav")), first);
    EXPECT_EQ(ReadWholeFile(files[3]), swapped);
    EXPECT_TRUE(Exists("3.wav") && Exists("4.wav") && Exists("n.wav") && !Exists("1.wav"));
    EXPECT_EQ(FilesInFolder(), 6u);
    // However the names are written, two files cannot have one.
    const std::string one = Take("one.wav", "z", "1"), other = Take("other.wav", "z", "1");
    const auto refused =
        RunWavehost({"rename", "--pattern", "{IXML:SCENE}", "--dry-run", one, folder.Path("./other.wav")});
    EXPECT_EQ(refused.out, "");
}

// A clap that is one sample in a long take is in the small waveform of its row.
TEST_F(WavehostCare, TheReportDrawsEverySample) {
    constexpr int columns = 160, columnFrames = 25000, column = 80;
    Bytes take = PatternWav(columns * columnFrames, 1);
    std::fill(take.begin() + 44, take.end(), uint8_t{0});
    take[44 + 2 * (column * columnFrames + 5000) + 1] = 0x7F;
    fs::create_directory(folder.Path("day"));
    folder.Write("day/take.wav", take);
    const auto report = RunWavehost({"report", folder.Path("day")});
    EXPECT_EQ(report.exitCode, 0) << report.err;
    EXPECT_NE(report.out.find("M79 16V17M80 0V16M81 16V17"), std::string::npos);
}

}  // namespace
}  // namespace vantor::test
