// The house: includes point down the floors or stay in their folder, and no two files include each other.

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <map>
#include <regex>
#include <string>
#include <vector>

namespace vantor {
namespace {

namespace fs = std::filesystem;

using Includes = std::map<std::string, std::vector<std::string>>;  // file below src/ -> files it includes

const std::map<std::string, int> floors = {
    {"platform", 1}, {"xml", 1},    {"host", 1},    {"fileio", 2}, {"metadata", 3},
    {"formats", 4},  {"decode", 5}, {"rewrite", 5}, {"source", 6}, {"entry", 7},
};

std::string FolderOf(const std::string& file) {
    return file.substr(0, file.find('/'));
}

Includes ReadIncludes(const fs::path& root) {
    static const std::regex quoted("^\\s*#\\s*include\\s*\"([^\"]+)\"");
    Includes includes;
    for (const auto& entry : fs::recursive_directory_iterator(root)) {
        const auto extension = entry.path().extension();
        if (extension != ".h" && extension != ".cpp") continue;
        auto& found = includes[fs::relative(entry.path(), root).generic_string()];
        std::ifstream file(entry.path());
        std::smatch match;
        for (std::string line; std::getline(file, line);)
            if (std::regex_search(line, match, quoted)) found.push_back(match[1]);
    }
    return includes;
}

// Why the include breaks the house; empty when it does not.
std::string Fault(const std::string& file, const std::string& included) {
    const auto from = floors.find(FolderOf(file));
    const auto to = floors.find(FolderOf(included));
    if (from == floors.end()) return "stands on no floor";
    if (to == floors.end()) return "includes no file of a floor (includes start at src/)";
    if (from->first != to->first && from->second <= to->second) return "includes sideways or up";
    return {};
}

// What is left when file after file that includes nothing left is taken away.
Includes Circles(Includes includes) {
    const auto isFree = [&](const auto& entry) {
        return std::ranges::none_of(entry.second, [&](const auto& file) { return includes.contains(file); });
    };
    for (;;) {
        const auto found = std::ranges::find_if(includes, isFree);
        if (found == includes.end()) return includes;
        includes.erase(found);
    }
}

TEST(Floors, IncludesPointDown) {
    const auto includes = ReadIncludes(fs::path(VANTOR_SOURCE_DIR) / "src");
    ASSERT_GT(includes.size(), 30u);
    for (const auto& [file, list] : includes)
        for (const auto& included : list)
            EXPECT_EQ(Fault(file, included), "") << file << " includes " << included;
    EXPECT_NE(Fault("formats/a.h", "decode/b.h"), "");
    EXPECT_NE(Fault("decode/a.h", "rewrite/b.h"), "");
    EXPECT_NE(Fault("decode/a.h", "b.h"), "");
    EXPECT_EQ(Fault("decode/a.h", "formats/b.h"), "");
}

TEST(Floors, NoTwoFilesIncludeEachOther) {
    EXPECT_EQ(Circles(ReadIncludes(fs::path(VANTOR_SOURCE_DIR) / "src")), Includes());
    const Includes circle = {{"a.h", {"b.h"}}, {"b.h", {"a.h"}}};
    EXPECT_EQ(Circles(circle), circle);
}

// Operating-system headers and switches live behind the seam alone.
TEST(Floors, OnlyThePlatformKnowsTheSystem) {
    static const std::regex system(
        "#\\s*include\\s*<(windows|unistd|fcntl|sys/|process|io)|_WIN32|__linux__");
    const auto root = fs::path(VANTOR_SOURCE_DIR) / "src";
    for (const auto& [file, list] : ReadIncludes(root)) {
        if (FolderOf(file) == "platform" || file == "entry/plugin_entry.h") continue;
        std::ifstream stream(root / file);
        for (std::string line; std::getline(stream, line);)
            EXPECT_FALSE(std::regex_search(line, system)) << file << ": " << line;
    }
}

}  // namespace
}  // namespace vantor
