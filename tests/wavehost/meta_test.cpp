// The commands that read and write the tags of many files.
#include <gmock/gmock.h>

#include <fstream>
#include <nlohmann/json.hpp>

#include "tests/support/tree.h"
#include "tests/wavehost/run_wavehost.h"

namespace vantor::test {
namespace {

namespace fs = std::filesystem;
using Json = nlohmann::json;
using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::StartsWith;

class WavehostMeta : public Wavehost {
  protected:
    std::string Wav(const std::string& name, const Bytes& chunks = {}) const {
        return folder.Write(name, PatternWav(200, 2, chunks));
    }
    static std::string Value(const std::string& file, const std::string& key) {
        std::string value = RunWavehost({"meta", "get", file, key}).out;
        while (!value.empty() && (value.back() == '\n' || value.back() == '\r'))
            value.pop_back();
        return value;
    }
    void WriteText(const std::string& name, const std::string& text) const {
        folder.Write(name, {text.begin(), text.end()});
    }
    std::string TextOf(const std::string& path) const {
        const Bytes bytes = ReadWholeFile(path);
        return {bytes.begin(), bytes.end()};
    }
};

TEST_F(WavehostMeta, SetsTheTagsOfManyFilesAndTellsEachFate) {
    const std::string a = Wav("a.wav"), b = Wav("b.wav", InfoChunk("IGNR", "Rain"));
    fs::create_directory(folder.Path("deep"));
    const std::string c = fs::path(Wav("deep/c.wav")).make_preferred().string();
    const std::string note = folder.Write("note.txt", {'t', 'w', 'o', '\n', 'l', 'i', 'n', 'e', 's', '\n'});
    const HostRun run =
        RunWavehost({"meta", "set", "-r", folder.Path("none.wav"), folder.Path(""), "--set", "GENRE=Rain",
                     "--set", "IXML:SCENE=12", "--from-file", "IXML:NOTE=" + note});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_THAT(run.err, HasSubstr("none.wav: no such file"));
    for (const std::string& file : {a, b, c}) {
        EXPECT_THAT(run.out, HasSubstr(file + ": updated in place\n  GENRE: "));
        EXPECT_EQ(Value(file, "IXML:SCENE"), "12");
        EXPECT_EQ(Value(file, "IXML:NOTE"), "two\nlines");
    }
    EXPECT_EQ(RunWavehost({"meta", "set", "-q", a, b, "--output", c, "--set", "TITLE=x"}).exitCode, 1);

    const HostRun got = RunWavehost({"meta", "get", "--key", "GENRE", "--key", "TITLE", a, b, "--json"});
    EXPECT_EQ(got.exitCode, 1);  // neither has a title
    EXPECT_THAT(got.err, HasSubstr("b.wav: has no TITLE"));
    const Json values = Json::parse(got.out);
    ASSERT_EQ(values.size(), 2u);
    EXPECT_EQ(values[1], Json({{"file", b}, {"metadata", {{"GENRE", "Rain"}}}}));
    EXPECT_EQ(RunWavehost({"meta", "get", a, "--key", "IXML:SCENE"}).out, a + "\tIXML:SCENE\t12\n");
    EXPECT_EQ(ExitCode({"meta", "get", a}), 2);
    ASSERT_EQ(ExitCode({"meta", "set", "-q", a, "--force", "COMMENT=red\x1B[31m\nline\x7F"}), 0);
    EXPECT_EQ(Value(a, "COMMENT"), "red [31m\nline ");
    EXPECT_THAT(RunWavehost({"meta", "list", a, b}).out,
                AllOf(StartsWith(a + "\n  "), HasSubstr("\n" + b + "\n  ")));
}

TEST_F(WavehostMeta, RefusesSlipsBeforeAnythingIsWritten) {
    const std::string file = Wav("a.wav"), other = Wav("take=2.wav");
    const Bytes before = ReadWholeFile(file);
    const struct {
        std::vector<std::string> arguments;
        int exitCode;
        const char* told;
    } slips[] = {
        {{file, other, "TITLE=x"}, 2, "is a file"},
        {{file, "TITLE=x", "--set", "ARTIST=y"}, 2, "'TITLE=x' is no file"},
        {{file, "--set", "TITLE"}, 2, "is not KEY=VALUE"},
        {{file}, 2, "nothing to set"},
        {{file, "--position", "01:00:00:00", "--fps", "26"}, 2, "no frame rate"},
        {{file, "--position", "noon"}, 2, "is not a number of samples"},
        {{file, "--position", "01:00:00:00"}, 1, "neither --fps nor"},
        {{file, "TITLE=x", "--output", ""}, 2, "given without a value"},
        {{file, "TITLE=x", "--output", "-"}, 2, "needs a name"},
        {{file, "TITLE=x", "--position", ""}, 2, "given without a value"},
        {{file, "--set", "TITLE=x", "--set", "TITLE=y"}, 2, "TITLE is given two values"},
        {{file, "TITEL=x"}, 1, "the nearest is TITLE"},
        {{file, "ixml:NOTE=x"}, 1, "the nearest is IXML:NOTE"},
        {{file, "INFO:IANM=x"}, 1, "the nearest is INFO:INAM"},
        {{file, "BWF:TimeReference=01:00:00:00"}, 1, "is no number of samples"},
        {{file, "BWF:OriginationDate=yesterday"}, 1, "is no date"},
        {{file, "TITLE=good", "BWF:Description=" + std::string(257, 'x')},
         1,
         "takes 257 bytes, and the field 256"},
        {{file, "TITLE=good", "CAFINFO:title=y"}, 1, "no edit of a WAV file writes"},
        {{file, "--from-file", "TITLE=" + folder.Path("none")}, 2, "cannot be read"},
    };
    for (const auto& slip : slips) {
        std::vector<std::string> arguments = {"meta", "set"};
        arguments.insert(arguments.end(), slip.arguments.begin(), slip.arguments.end());
        const HostRun run = RunWavehost(arguments);
        EXPECT_EQ(run.exitCode, slip.exitCode) << slip.told;
        EXPECT_THAT(run.err, HasSubstr(slip.told));
        EXPECT_EQ(run.out, "");
    }
    EXPECT_EQ(ReadWholeFile(file), before);
    EXPECT_EQ(ReadWholeFile(other), before);
    EXPECT_EQ(ExitCode({"meta", "set", file, "--force", "--set", "MOOD=calm"}), 0);
    EXPECT_EQ(Value(file, "ID3:TXXX:MOOD"), "calm");
}

TEST_F(WavehostMeta, RefusesFilesThatTakeNoTags) {
    for (const char* sample : {"aiff.aif", "caf-big.caf", "wave64.w64", "amiga.8svx"}) {
        const std::string file = folder.Write(sample, ReadWholeFile(SourceTree() + "/samples/" + sample));
        const Bytes before = ReadWholeFile(file);
        for (const char* way : {"--preserve-time", "--dry-run", "--force"}) {
            const HostRun run = RunWavehost({"meta", "set", file, "TITLE=x", way});
            EXPECT_EQ(run.exitCode, 1) << sample;
            EXPECT_THAT(run.err, HasSubstr("metadata is written into WAV, RF64 and BW64 files alone"));
        }
        EXPECT_EQ(ReadWholeFile(file), before);
    }
}

TEST_F(WavehostMeta, PlacesAFileOnTheTimeline) {
    const std::string file = Wav("a.wav");
    ASSERT_EQ(ExitCode({"meta", "set", file, "--position", "01:00:00;00", "--fps", "29.97df"}), 0);
    EXPECT_EQ(Value(file, "BWF:TimeReference"), "172799827");
    ASSERT_EQ(ExitCode({"meta", "set", file, "--set", "IXML:SPEED:TIMECODE_RATE=25/1", "--position", "1.5s"}),
              0);
    EXPECT_EQ(Value(file, "BWF:TimeReference"), "72000");
    // A number that only the file's own rate reaches.
    ASSERT_EQ(ExitCode({"meta", "set", file, "--position", "01:00:00:24"}), 0);
    EXPECT_EQ(Value(file, "BWF:TimeReference"), std::to_string(48000 * 3600 + 24 * 1920));
}

TEST_F(WavehostMeta, KeepsTheTimeAndWritesElsewhere) {
    const std::string file = Wav("a.wav"), out = folder.Path("out.wav");
    const auto time = fs::last_write_time(file) - std::chrono::hours(48);
    fs::last_write_time(file, time);
    const Bytes before = ReadWholeFile(file);
    ASSERT_EQ(ExitCode({"meta", "set", file, "TITLE=x", "--output", out, "--preserve-time"}), 0);
    EXPECT_EQ(ReadWholeFile(file), before);
    EXPECT_EQ(fs::last_write_time(out), fs::last_write_time(file));
    ASSERT_EQ(ExitCode({"meta", "set", file, "TITLE=x", "--preserve-time"}), 0);
    EXPECT_NE(ReadWholeFile(file), before);
    EXPECT_EQ(fs::last_write_time(out), fs::last_write_time(file));
    ASSERT_EQ(ExitCode({"meta", "set", file, "TITLE=y"}), 0);
    EXPECT_GT(fs::last_write_time(file), time);
}

TEST_F(WavehostMeta, CopiesTagsBetweenKindsAndRates) {
    const std::string from = Wav("from.wav"), to = Wav("to.wav");
    ASSERT_EQ(ExitCode({"meta", "set", from, "TITLE=Night", "IXML:SCENE=7", "BWF:TimeReference=48000"}), 0);
    Bytes fast = PatternWav(200, 2);
    fast[24] = 0x00, fast[25] = 0x77, fast[26] = 0x01;  // 96,000 Hz
    const std::string twice = folder.Write("twice.wav", fast);
    ASSERT_EQ(ExitCode({"meta", "copy", from, to, twice}), 0);
    EXPECT_EQ(Value(to, "INFO:INAM"), "Night");
    EXPECT_EQ(Value(to, "BWF:TimeReference"), "48000");
    EXPECT_EQ(Value(twice, "BWF:TimeReference"), "96000");
    EXPECT_THAT(RunWavehost({"meta", "copy", from, from}).err, HasSubstr("is the file that is copied from"));

    const std::string only = Wav("only.wav");
    ASSERT_EQ(ExitCode({"meta", "copy", from, only, "--keys", "IXML:SCENE,ARTIST"}), 1);
    ASSERT_EQ(ExitCode({"meta", "copy", from, only, "--keys", "IXML:SCENE"}), 0);
    EXPECT_EQ(Value(only, "IXML:SCENE"), "7");
    EXPECT_EQ(Value(only, "TITLE"), "");

    const std::string iff = folder.Write(
        "song.aif", IffFile("AIFF", ByteWriter()
                                        .IffChunk("COMM", ByteWriter().Be16(1).Be32(2).Be16(16).Add(
                                                              {0x40, 0x0E, 0xBB, 0x80, 0, 0, 0, 0, 0, 0}))
                                        .IffChunk("NAME", {'S', 'o', 'n', 'g'})
                                        .IffChunk("SSND", ByteWriter().Zeros(12))));
    ASSERT_EQ(ExitCode({"meta", "copy", iff, only}), 0);
    EXPECT_EQ(Value(only, "INFO:INAM"), "Song");
}

TEST_F(WavehostMeta, DocumentsGoOutAndInAsTheyStand) {
    const std::string file = Wav("a.wav", InfoChunk("IART", "Me")), document = folder.Path("ixml.xml");
    const std::string text =
        "<?xml version=\"1.0\"?><BWFXML><SCENE a=\"b\">9</SCENE><!-- kept --></BWFXML>\n";
    WriteText("ixml.xml", text);
    EXPECT_THAT(RunWavehost({"meta", "extract", file, "iXML"}).err, HasSubstr("has no iXML"));
    const Bytes before = ReadWholeFile(file);
    const HostRun dry = RunWavehost({"meta", "embed", file, "ixml", document, "--dry-run"});
    EXPECT_EQ(ReadWholeFile(file), before);
    const HostRun run = RunWavehost({"meta", "embed", file, "ixml", document});
    EXPECT_EQ(run.exitCode, 0) << run.err;
    EXPECT_THAT(run.out, StartsWith(dry.out));
    EXPECT_THAT(run.out, HasSubstr("updated in place\n  IXML:SCENE: (none) -> \"9\""));
    EXPECT_EQ(run.err, "");
    EXPECT_EQ(RunWavehost({"meta", "extract", file, "iXML"}).out, text);
    EXPECT_EQ(Value(file, "ARTIST"), "Me");
    EXPECT_THAT(RunWavehost({"meta", "embed", file, "iXML", document}).out, HasSubstr("unchanged"));

    WriteText("broken.xml", "<BWFXML><SCENE>");
    const Bytes embedded = ReadWholeFile(file);
    EXPECT_THAT(RunWavehost({"meta", "embed", file, "iXML", folder.Path("broken.xml")}).err,
                HasSubstr("is not read as iXML"));
    EXPECT_EQ(ExitCode({"meta", "embed", file, "bext", document}), 2);
    EXPECT_EQ(ReadWholeFile(file), embedded);
}

TEST_F(WavehostMeta, APictureGoesInAndOut) {
    const std::string file = Wav("a.wav", InfoChunk("IART", "Me")), out = folder.Path("out");
    Bytes png = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n', 0xFF, 0, 0xFF, 0, 0};
    const std::string picture = folder.Write("cover.png", png);
    EXPECT_THAT(RunWavehost({"meta", "extract", file, "picture"}).err, HasSubstr("has no picture"));
    const HostRun run = RunWavehost({"meta", "embed", file, "picture", picture});
    EXPECT_EQ(run.exitCode, 0) << run.err;
    EXPECT_THAT(run.out, HasSubstr("ID3:APIC: (none) -> \"mime:image/png type:3 "));
    EXPECT_EQ(run.err, "");
    ASSERT_EQ(ExitCode({"meta", "extract", file, "picture", "-o", out}), 0);
    EXPECT_EQ(ReadWholeFile(out), png);
    EXPECT_EQ(Value(file, "ARTIST"), "Me");
    EXPECT_THAT(RunWavehost({"meta", "embed", file, "picture", picture}).out, HasSubstr("unchanged"));
    WriteText("text", "no picture");
    EXPECT_THAT(RunWavehost({"meta", "embed", file, "picture", folder.Path("text")}).err,
                HasSubstr("is not read as picture"));
}

TEST_F(WavehostMeta, ATableGoesOutAndComesBack) {
    const std::string a = Wav("a, b.wav", InfoChunk("ICMT", "one\r\n\"two\"; ")), b = Wav("b.wav");
    ASSERT_EQ(ExitCode({"meta", "set", b, "TITLE=  spaced  ", "BWF:Description=Caf\xC3\xA9", "IXML:NOTE=x"}),
              0);
    const std::string aiff = folder.Write("c.aif", ReadWholeFile(SourceTree() + "/samples/aiff.aif"));
    for (const std::string form : {"--csv", "--json"}) {
        const std::string table = folder.Path("table");
        ASSERT_EQ(ExitCode({"meta", "export", a, b, aiff, form, "-o", table}), 0);
        const std::string text = TextOf(table);
        EXPECT_EQ(RunWavehost({"meta", "export", a, b, aiff, form}).out, text);
        if (form == "--csv") {
            EXPECT_THAT(text, AllOf(StartsWith("FileName,"), HasSubstr("\"one\r\n\"\"two\"\"; \"")));
        }
        std::vector<Bytes> before;
        for (const std::string& file : {a, b, aiff})
            before.push_back(ReadWholeFile(file));
        const HostRun run = RunWavehost({"meta", "import", table});
        EXPECT_EQ(run.exitCode, 0) << run.err;
        EXPECT_EQ(run.out + run.err, "");
        EXPECT_EQ((std::vector{ReadWholeFile(a), ReadWholeFile(b), ReadWholeFile(aiff)}), before);
    }
    WriteText("edit.csv", "\xEF\xBB\xBF\"FileName\";TITLE;IXML:NOTE\n\"" + a + "\";New;\n" +
                              folder.Path("gone.wav") + ";x;y\n" + b + ";  spaced  ;\n");
    const Bytes aBefore = ReadWholeFile(a), bBefore = ReadWholeFile(b);
    const HostRun dry = RunWavehost({"meta", "import", folder.Path("edit.csv"), "--dry-run"});
    EXPECT_EQ(ReadWholeFile(a), aBefore);
    EXPECT_EQ(ReadWholeFile(b), bBefore);
    const HostRun run = RunWavehost({"meta", "import", folder.Path("edit.csv")});
    EXPECT_EQ(run.out, dry.out);
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_THAT(run.err, HasSubstr("gone.wav: no such file"));
    EXPECT_THAT(run.out, AllOf(HasSubstr("TITLE: (none) -> \"New\""), HasSubstr("IXML:NOTE: \"x\" -> (none)"),
                               Not(HasSubstr("spaced"))));
    EXPECT_EQ(Value(a, "INFO:ICMT"), "one\r\n\"two\"; ");
    EXPECT_EQ(Value(b, "IXML:NOTE"), "");

    WriteText("bad.csv", "FileName,TITEL\n" + b + ",x\n");
    EXPECT_THAT(RunWavehost({"meta", "import", folder.Path("bad.csv")}).err,
                HasSubstr("the nearest is TITLE"));
    WriteText("twice.csv", "FileName,TITLE\n" + b + ",x\n" + b + ",y\n");
    EXPECT_THAT(RunWavehost({"meta", "import", folder.Path("twice.csv")}).err,
                HasSubstr("two rows say different things of " + b));
    EXPECT_EQ(Value(b, "TITLE"), "  spaced  ");
    EXPECT_EQ(ExitCode({"meta", "import", folder.Path("none.csv")}), 1);
    EXPECT_EQ(RunWavehost({"meta", "export", "--keys", "TITLE,ARTIST", folder.Path("none.wav"), b}).out,
              "FileName,TITLE,ARTIST\r\n" + b + ",\"  spaced  \",\r\n");
    EXPECT_EQ(Json::parse(RunWavehost({"meta", "export", "--json", folder.Path("none.wav")}).out)[0]["error"],
              "no such file");
}

}  // namespace
}  // namespace vantor::test
