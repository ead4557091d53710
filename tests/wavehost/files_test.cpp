// Which files a command works through, and how outputs take their place.
#include <gmock/gmock.h>

#include <filesystem>

#include "tests/support/temp_file.h"
#include "wavehost/files/file_list.h"
#include "wavehost/files/output_file.h"
#include "wavehost/os/failure.h"
#include "wavehost/os/terminal_text.h"

namespace vantor::test {
namespace {

using namespace wavehost;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::ThrowsMessage;

std::vector<std::string> NamesOf(const std::vector<ListedFile>& files) {
    std::vector<std::string> names;
    for (const ListedFile& file : files)
        names.push_back(TextOf(PathOf(file.name).filename()) + (file.obstacle.empty() ? "" : "!"));
    return names;
}

TEST(FileList, TakesNamesAsGivenAndFoldersByTheirAudioFiles) {
    const TempFolder folder;
    fs::create_directories(PathOf(folder.Path("takes/b")));
    fs::create_directories(PathOf(folder.Path("takes/a.wav")));  // a folder, whatever it is called
    for (const char* name : {"takes/c.WAV", "takes/B.aifc", "takes/notes.txt", "takes/._c.WAV",
                             "takes/b/z.caf", "takes/a.wav/1.w64", "last.txt", "takes/wav"})
        folder.Write(name, {1});
    const FileArguments flat{{folder.Path("last.txt"), folder.Path("takes"), folder.Path("none.wav")}, false};
    EXPECT_THAT(NamesOf(ListFiles(flat)), ElementsAre("last.txt", "B.aifc", "c.WAV", "none.wav"));
    const FileArguments deep{{folder.Path("takes")}, true};
    EXPECT_THAT(NamesOf(ListFiles(deep)), ElementsAre("B.aifc", "1.w64", "z.caf", "c.WAV"));
    EXPECT_THAT(NamesOf(FilesBelow(PathOf(folder.Path("none")), true)), ElementsAre("none!"));
}

TEST(FileList, PatternsStandForNames) {
    const struct {
        const char *name, *pattern;
        bool matches;
    } cases[] = {
        {"take1.wav", "*.wav", true},
        {"take1.WAV", "T*.wav", true},
        {"take1.wav", "take?.wav", true},
        {"take.wav", "take?.wav", false},
        {"aXbXc", "a*X*c", true},
        {"aXbXcd", "a*X*c", false},
        {"", "*", true},
        {"abc", "***", true},
        {"abc", "", false},
        {"\xC3\xA4.wav", "\xC3\x84.wav", false},
        {"aaaaaaaaaaaaaaaaaaaaaaaaaaaab", "*a*a*a*a*a*a*a*c", false},
    };
    for (const auto& c : cases)
        EXPECT_EQ(MatchesPattern(c.name, c.pattern), c.matches) << c.name << ' ' << c.pattern;
    const TempFolder folder;
    for (const char* name : {"b1.wav", "a1.wav", "a2.aif"})
        folder.Write(name, {1});
    EXPECT_THAT(ExpandPattern(folder.Path("*1.wav")),
                ElementsAre(TextOf(PathOf(folder.Path("a1.wav")).make_preferred()),
                            TextOf(PathOf(folder.Path("b1.wav")).make_preferred())));
    EXPECT_THAT(ExpandPattern(folder.Path("*.caf")), IsEmpty());
}

// Names that are longer than the 260 characters which Windows takes without a prefix.
TEST(FileList, NamesOfAnyLengthAreFoundAndRead) {
    const TempFolder folder;
    std::string deep = folder.Path("");
    for (int level = 0; level < 8; ++level) {
        deep += (deep.ends_with('/') ? "" : "/") + std::string(60, static_cast<char>('a' + level));
        fs::create_directory(PathOf(deep));
    }
    WriteOutput(deep + "/take.wav", "sound");
    const std::vector<ListedFile> found = ListFiles({{folder.Path("")}, true});
    ASSERT_THAT(NamesOf(found), ElementsAre("take.wav"));
    EXPECT_EQ(found[0].name.find('?'), std::string::npos) << "shown as people write it";
    EXPECT_EQ(WhyUnreadable(PathOf(found[0].name)), "");
    EXPECT_EQ(StatusOf(PathOf(deep)).kind, FileKind::folder);
    EXPECT_EQ(WhyUnreadable(PathOf(deep + "/none.wav")), "no such file");
    fs::remove(PathOf(deep + "/take.wav"));
    for (; deep.size() > folder.Path("").size(); deep.resize(deep.rfind('/')))
        fs::remove(PathOf(deep));
}

TEST(TerminalText, CannotBeSteeredByWhatAFileHolds) {
    EXPECT_EQ(TerminalText("a\tb\r\nc\rd\x1B[2J\x7F\b\xC2\x9B"
                           "1m\xC3\x9B\xC2"),
              "a\tb\r\nc d [2J   1m\xC3\x9B\xC2");
    EXPECT_EQ(TerminalText(std::string_view("a\0b", 3)), "a b");
    EXPECT_EQ(TerminalLine("a\r\nb\tc"), "a  b\tc");
}

TEST(OutputFile, TakesItsPlaceWholeOrNotAtAll) {
    const TempFolder folder;
    const std::string target = folder.Write("out", {'o', 'l', 'd'});
    const auto inFolder = [&] {
        return std::distance(fs::directory_iterator(PathOf(folder.Path(""))), fs::directory_iterator());
    };
    {
        const OutputFile output(PathOf(target));
        const Stream stream = output.Create();
        EXPECT_LE(inFolder(), 2);  // a file without a name is not counted
    }
    EXPECT_EQ(ReadWholeFile(target), std::vector<uint8_t>({'o', 'l', 'd'}));
    WriteOutput(target, "new");
    EXPECT_EQ(ReadWholeFile(target), std::vector<uint8_t>({'n', 'e', 'w'}));
    EXPECT_EQ(inFolder(), 1);
    EXPECT_THAT([&] { WriteOutput(folder.Path("none/out"), "new"); },
                ThrowsMessage<Failure>("cannot be created: no such folder"));
    EXPECT_EQ(WhyUnreadable(PathOf(folder.Path(""))), "is a folder");
}

}  // namespace
}  // namespace vantor::test
