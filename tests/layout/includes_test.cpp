// A file includes the standard headers of what it names, or a header of ours that does: none stands on what
// another file happens to bring along.

#include <gtest/gtest.h>

#include <cctype>
#include <filesystem>
#include <fstream>
#include <map>
#include <set>
#include <sstream>
#include <string>

#include "tests/support/tree.h"

namespace vantor {
namespace {

namespace fs = std::filesystem;

const std::map<std::string, std::string> namesOfHeaders = {
    {"algorithm",
     "all_of any_of clamp copy copy_n equal fill find find_if max min none_of ranges remove_if sort "
     "transform"},
    {"array", "array"},
    {"atomic", "atomic atomic_flag memory_order_relaxed"},
    {"bit", "bit_cast bit_width endian has_single_bit popcount"},
    {"charconv", "chars_format from_chars to_chars"},
    {"chrono", "chrono"},
    {"cmath", "ceil floor isfinite isinf isnan llround lround pow round sqrt trunc"},
    {"condition_variable", "condition_variable"},
    {"cstdint", "int8_t int16_t int32_t int64_t uint8_t uint16_t uint32_t uint64_t"},
    {"cstdio", "FILE fclose fflush fopen fprintf fputs fread fwrite snprintf"},
    {"cstring", "memchr memcmp memcpy memmove memset strlen"},
    {"deque", "deque"},
    {"exception", "current_exception exception exception_ptr rethrow_exception"},
    {"filesystem", "filesystem"},
    {"functional", "function"},
    {"initializer_list", "initializer_list"},
    {"iterator", "back_inserter"},
    {"limits", "numeric_limits"},
    {"list", "list"},
    {"map", "map multimap"},
    {"memory", "make_shared make_unique shared_ptr unique_ptr weak_ptr"},
    {"mutex", "call_once lock_guard mutex once_flag recursive_mutex scoped_lock unique_lock"},
    {"new", "bad_alloc nothrow"},
    {"numbers", "numbers"},
    {"numeric", "accumulate iota"},
    {"optional", "nullopt optional"},
    {"set", "multiset set"},
    {"span", "as_bytes span"},
    {"stdexcept", "logic_error runtime_error"},
    {"string", "string to_string u16string wstring"},
    {"string_view", "string_view u16string_view wstring_view"},
    {"thread", "jthread this_thread thread"},
    {"tuple", "tie tuple"},
    {"unordered_map", "unordered_map"},
    {"unordered_set", "unordered_set"},
    {"utility", "exchange forward move pair swap"},
    {"variant", "variant visit"},
};

std::map<std::string, std::string> HeadersOfNames() {
    std::map<std::string, std::string> headers;
    for (const auto& [header, names] : namesOfHeaders) {
        std::istringstream list(names);
        for (std::string name; list >> name;)
            headers[header == "cstdint" ? name : "std::" + name] = header;
    }
    return headers;
}

struct File {
    std::set<std::string> includes;
    std::set<std::string> names;  // the words of its code, with the "std::" in front of them
};

// Words of a line, without those of texts and comments.
void CollectNames(const std::string& line, std::set<std::string>& names) {
    const auto isWord = [](char character) {
        return std::isalnum(static_cast<unsigned char>(character)) || character == '_';
    };
    for (size_t at = 0; at < line.size(); ++at) {
        if (line.compare(at, 2, "//") == 0) return;
        if (line[at] == '"')
            while (++at < line.size() && line[at] != '"')
                at += line[at] == '\\';
        if (at >= line.size() || !isWord(line[at])) continue;
        size_t end = at;
        while (end < line.size() && isWord(line[end]))
            ++end;
        const bool isStandard = at >= 5 && line.compare(at - 5, 5, "std::") == 0;
        names.insert((isStandard ? "std::" : "") + line.substr(at, end - at));
        at = end - 1;
    }
}

File Read(const fs::path& path) {
    static const std::string include = "#include ";
    File file;
    std::ifstream stream(path);
    for (std::string line; std::getline(stream, line);) {
        if (line.starts_with(include))
            file.includes.insert(line.substr(
                include.size() + 1, line.find_first_of(">\"", include.size() + 1) - (include.size() + 1)));
        else
            CollectNames(line, file.names);
    }
    return file;
}

std::map<std::string, File> ReadTree() {
    std::map<std::string, File> files;
    for (const char* root : {"include", "src", "tools"}) {
        const auto folder = fs::path(SourceTree()) / root;
        for (const auto& entry : fs::recursive_directory_iterator(folder))
            if (entry.path().extension() == ".h" || entry.path().extension() == ".cpp")
                files[fs::relative(entry.path(), folder).generic_string()] = Read(entry.path());
    }
    return files;
}

TEST(Includes, BringWhatAFileNames) {
    const auto files = ReadTree();
    const auto headers = HeadersOfNames();
    ASSERT_GT(files.size(), 400u);
    for (const auto& [path, file] : files) {
        std::set<std::string> brought = file.includes;
        if (brought.contains("stdint.h")) continue;  // for C too
        for (const auto& name : file.includes)
            if (const auto included = files.find(name); included != files.end())
                brought.insert(included->second.includes.begin(), included->second.includes.end());
        std::set<std::string> missing;
        for (const auto& name : file.names)
            if (const auto header = headers.find(name);
                header != headers.end() && !brought.contains(header->second))
                missing.insert(header->second + " (" + name + ")");
        EXPECT_EQ(missing, std::set<std::string>()) << path;
    }
}

}  // namespace
}  // namespace vantor
