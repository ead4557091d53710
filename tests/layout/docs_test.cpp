// What the documents say of the interface and of the commands is what there is.

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <regex>
#include <set>
#include <string>

#include "tests/support/tree.h"

namespace vantor::test {
namespace {

namespace fs = std::filesystem;

std::string Text(const fs::path& file) {
    std::ifstream stream(fs::path(SourceTree()) / file);
    EXPECT_TRUE(stream) << file;
    return {std::istreambuf_iterator<char>(stream), {}};
}

// What the first group of the expression finds, and the second where there is one.
std::map<std::string, std::string> Matches(const std::string& text, const std::string& expression) {
    const std::regex pattern(expression);
    std::map<std::string, std::string> found;
    for (std::sregex_iterator i(text.begin(), text.end(), pattern), end; i != end; ++i)
        found[(*i)[1]] = i->size() > 2 ? (*i)[2].str() : "";
    return found;
}

TEST(Docs, HostGuideKnowsEveryCallAndService) {
    const std::string guide = Text("docs/host-guide.md");
    const auto calls = Matches(Text("include/vantor_wave/extended_calls.h"), R"(\n +(call\w+) = (0x\w+),)");
    EXPECT_GT(calls.size(), 12u);
    std::map<std::string, std::string> byCode;
    for (const auto& [name, code] : calls)
        byCode[code] = name;
    const auto described = Matches(guide, R"(\n\| (0x\w+) \| `(call\w+)` \|)");
    EXPECT_EQ(described, byCode);

    const std::string header = Text("include/vantor_wave/host_services.h");
    const std::string table =
        guide.substr(guide.find("| service |"), guide.find("In C++, `Offer") - guide.find("| service |"));
    std::set<std::string> inHeader, inTable;
    for (const auto& [name, none] : Matches(header, R"-(Service<[^;]*\{\s*"(\w+)"\};)-"))
        inHeader.insert(name);
    for (const auto& [name, none] : Matches(table, R"((?:\n\||,) `(\w+)`)"))
        inTable.insert(name);
    EXPECT_EQ(inHeader.size(), 19u);
    EXPECT_EQ(inTable, inHeader);

    const auto flags = Matches(Text("include/vantor_wave/extended_calls.h"), R"((write\w+) = (1|2|4|8),)");
    EXPECT_EQ(Matches(guide, R"(\n\| [0-3] \| ([1248]) \|)").size(), flags.size());
}

// Files named in links and in back quotes are there.
TEST(Docs, LinksLeadSomewhere) {
    const fs::path tree = SourceTree();
    for (const char* folder : {"", "docs", "samples"})
        for (const auto& entry : fs::directory_iterator(tree / folder)) {
            if (entry.path().extension() != ".md") continue;
            const std::string text = Text(fs::relative(entry.path(), tree));
            for (const auto& [link, none] : Matches(text, R"(\]\(([^)#: ]+)\))"))
                EXPECT_TRUE(fs::exists(tree / folder / link)) << entry.path() << ": " << link;
            for (const auto& [script, none] : Matches(text, R"((scripts/\w+\.sh))"))
                EXPECT_TRUE(fs::exists(tree / script)) << entry.path() << ": " << script;
        }
}

}  // namespace
}  // namespace vantor::test
