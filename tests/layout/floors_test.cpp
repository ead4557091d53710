// The house: includes point down the floors or stay in their folder, and no two files include each other.

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <map>
#include <regex>
#include <string>
#include <vector>

#include "tests/support/tree.h"

namespace vantor {
namespace {

namespace fs = std::filesystem;

using Includes = std::map<std::string, std::vector<std::string>>;  // file below src/ -> files it includes

using Floors = std::map<std::string, int>;

const Floors moduleFloors = {
    {"vantor_wave", 0}, {"platform", 1}, {"xml", 1},     {"text", 0},   {"host", 1},
    {"fileio", 2},      {"metadata", 3}, {"formats", 4}, {"decode", 5}, {"edit", 5},
    {"properties", 5},  {"source", 6},   {"entry", 7},
};

// The tool's own house, below tools/.
const Floors toolFloors = {
    {"vantor_wave", 0},    {"wavehost/os", 1},     {"wavehost/files", 2},  {"wavehost/host", 2},
    {"wavehost/facts", 3}, {"wavehost/values", 3}, {"wavehost/tables", 4}, {"wavehost/picture", 4},
    {"wavehost/care", 4},  {"wavehost/report", 5}, {"wavehost/edits", 5},  {"wavehost/commands", 6},
    {"wavehost", 7},
};

// A folder of src/ with its sub-folders is a room, and so is each one of tools/wavehost/.
std::string RoomOf(const std::string& file) {
    return file.substr(0, file.starts_with("wavehost/") ? file.rfind('/') : file.find('/'));
}

// What looks into files itself stands on the module's floors up to the containers, and what knows the keys of
// tags on their tables.
bool ReachesIntoModule(const std::string& room, const std::string& included) {
    const auto to = moduleFloors.find(included);
    if (to == moduleFloors.end()) return false;
    return (room == "wavehost/care" && to->second <= 4) || (room == "wavehost/values" && to->second <= 3);
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
    const auto& floors = file.starts_with("wavehost/") ? toolFloors : moduleFloors;
    const auto from = floors.find(RoomOf(file));
    const auto to = floors.find(RoomOf(included));
    if (from == floors.end()) return "stands on no floor";
    if (ReachesIntoModule(from->first, RoomOf(included))) return {};
    if (to == floors.end()) return "includes no file of a floor (includes start at the root of the floors)";
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
    for (const char* root : {"include", "src", "tools"}) {
        const auto includes = ReadIncludes(fs::path(SourceTree()) / root);
        ASSERT_FALSE(includes.empty());
        for (const auto& [file, list] : includes)
            for (const auto& included : list)
                EXPECT_EQ(Fault(file, included), "") << file << " includes " << included;
    }
    EXPECT_NE(Fault("formats/a.h", "decode/b.h"), "");
    EXPECT_NE(Fault("decode/a.h", "edit/b.h"), "");
    EXPECT_NE(Fault("decode/a.h", "b.h"), "");
    EXPECT_EQ(Fault("decode/a.h", "formats/b.h"), "");
    EXPECT_NE(Fault("wavehost/os/a.h", "wavehost/files/b.h"), "");
    EXPECT_NE(Fault("wavehost/facts/a.h", "formats/b.h"), "");
    EXPECT_EQ(Fault("wavehost/care/a.h", "formats/b.h"), "");
}

TEST(Floors, NoTwoFilesIncludeEachOther) {
    for (const char* root : {"src", "tools"})
        EXPECT_EQ(Circles(ReadIncludes(fs::path(SourceTree()) / root)), Includes());
    const Includes circle = {{"a.h", {"b.h"}}, {"b.h", {"a.h"}}};
    EXPECT_EQ(Circles(circle), circle);
}

// Operating-system headers and switches live behind the seam alone, but for the one window.
TEST(Floors, OnlyThePlatformKnowsTheSystem) {
    static const std::regex system(
        "#\\s*include\\s*<(windows|commctrl|objbase|wincodec|unistd|fcntl|sys/|process|io)|_WIN32|__linux__");
    const auto root = fs::path(SourceTree()) / "src";
    for (const auto& [file, list] : ReadIncludes(root)) {
        if (RoomOf(file) == "platform" || file == "entry/plugin_entry.h" ||
            file == "properties/properties_window_windows.cpp" || file.starts_with("properties/window/"))
            continue;
        std::ifstream stream(root / file);
        for (std::string line; std::getline(stream, line);)
            EXPECT_FALSE(std::regex_search(line, system)) << file << ": " << line;
    }
}

std::string TextOf(const fs::path& file) {
    std::ifstream stream(file);
    return {std::istreambuf_iterator<char>(stream), {}};
}

// No test run links the fuzz targets by themselves.
TEST(Floors, FuzzTargetsStandWithoutTheTestLibrary) {
    const auto root = fs::path(SourceTree());
    const std::string list = TextOf(root / "fuzz/CMakeLists.txt");
    static const std::regex support("support\\}/(\\w+)\\.cpp");
    int files = 0;
    for (auto found = std::sregex_iterator(list.begin(), list.end(), support);
         found != std::sregex_iterator(); ++found)
        for (const char* extension : {".cpp", ".h"}) {
            const auto file = root / "tests/support" / ((*found)[1].str() + extension);
            EXPECT_EQ(TextOf(file).find("gtest/"), std::string::npos) << file;
            ++files;
        }
    EXPECT_GE(files, 8);
}

}  // namespace
}  // namespace vantor
