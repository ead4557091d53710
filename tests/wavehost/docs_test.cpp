// The command lines in the documents are ones that the program takes.

#include <fstream>
#include <regex>
#include <sstream>

#include "tests/support/tree.h"
#include "tests/wavehost/run_wavehost.h"

namespace vantor::test {
namespace {

// "info", "meta set": the command of a line such as "build/native/wavehost meta set take.wav TITLE=x"; empty:
// none.
std::string CommandOf(const std::string& line) {
    static const std::regex pattern(R"(^    (?:\S*/)?wavehost (meta \w+|[a-z]\w*))");
    std::smatch found;
    return std::regex_search(line, found, pattern) ? found[1].str() : "";
}

TEST(DocumentedCommands, AreTaken) {
    int lines = 0;
    for (const char* document : {"/README.md", "/docs/wavehost.md", "/docs/metadata.md"}) {
        std::ifstream file(SourceTree() + document);
        for (std::string line; std::getline(file, line);) {
            const std::string command = CommandOf(line);
            if (command.empty()) continue;
            ++lines;
            std::vector<std::string> words;
            std::istringstream stream(command + " --help");
            for (std::string word; stream >> word;)
                words.push_back(word);
            const HostRun help = RunWavehost(words);
            EXPECT_EQ(help.exitCode, 0) << document << ": " << line;
            static const std::regex option(R"((?:^| )(--?[a-z][a-z-]*))");
            for (std::sregex_iterator i(line.begin(), line.end(), option), end; i != end; ++i)
                EXPECT_NE(help.out.find((*i)[1]), std::string::npos) << document << ": " << line;
        }
    }
    EXPECT_GT(lines, 3);
}

}  // namespace
}  // namespace vantor::test
