#include "wavehost/files/file_list.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <string_view>
#include <utility>

#include "wavehost/os/interruption.h"

namespace vantor::wavehost {

namespace {

char Lower(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

bool HoldsWildcard(std::string_view name) {
    return name.find_first_of("*?") != std::string_view::npos;
}

void AppendBelow(const fs::path& folder, bool recursive, std::vector<ListedFile>& files) {
    CheckInterruption();
    std::string reason;
    for (const FolderEntry& entry : ListFolder(folder, reason)) {
        if (entry.kind == FileKind::file) files.push_back({TextOf(entry.path), ""});
        if (entry.kind == FileKind::folder && recursive && !entry.isLink)
            AppendBelow(entry.path, recursive, files);
        if (entry.kind == FileKind::other && IsAudioName(entry.path))
            files.push_back({TextOf(entry.path), WhyUnreadable(entry.path)});
    }
    if (!reason.empty()) files.push_back({TextOf(folder), reason});
}

void AppendName(const std::string& name, bool recursive, std::vector<ListedFile>& files) {
    const fs::path path = PathOf(name);
    if (StatusOf(path).kind != FileKind::folder) {
        files.push_back({name, ""});
        return;
    }
    const size_t before = files.size();
    for (ListedFile& file : FilesBelow(path, recursive))
        if (!file.obstacle.empty() || IsAudioName(PathOf(file.name))) files.push_back(std::move(file));
    if (files.size() > before) return;
    files.push_back({name, std::string("holds no audio files") +
                               (recursive ? "" : " itself; -r looks into its folders")});
}

void AppendArgument(const std::string& name, bool recursive, std::vector<ListedFile>& files) {
    if (!expandsWildcards || !HoldsWildcard(name.substr(name.starts_with("\\\\?\\") ? 4 : 0)))
        return AppendName(name, recursive, files);
    const std::vector<std::string> found = ExpandPattern(name);
    if (found.empty()) files.push_back({name, "no such file"});
    for (const std::string& one : found)
        AppendName(one, recursive, files);
}

void AppendStandardInput(const FileArguments& arguments, std::vector<ListedFile>& files) {
    MakeBinary(stdin);
    const char end = arguments.nulTerminated ? '\0' : '\n';
    std::string name;
    const auto take = [&] {
        if (!arguments.nulTerminated && name.ends_with('\r')) name.pop_back();
        if (!name.empty()) AppendName(name, arguments.recursive, files);
        name.clear();
    };
    for (int c; (c = std::getc(stdin)) != EOF;) {
        if (c == end)
            take();
        else
            name += static_cast<char>(c);
    }
    CheckInterruption();
    if (std::ferror(stdin)) files.push_back({"standard input", "cannot be read: " + LastReason()});
    take();
}

}  // namespace

std::vector<ListedFile> ListFiles(const FileArguments& arguments) {
    std::vector<ListedFile> files;
    for (const std::string& name : arguments.names) {
        if (name == "-")
            AppendStandardInput(arguments, files);
        else
            AppendArgument(name, arguments.recursive, files);
    }
    return files;
}

std::vector<ListedFile> FilesBelow(const fs::path& folder, bool recursive) {
    std::vector<ListedFile> files;
    AppendBelow(folder, recursive, files);
    return files;
}

std::string WhyNoFolder(const fs::path& path) {
    const FileStatus status = StatusOf(path);
    if (status.kind == FileKind::folder) return {};
    return status.reason.empty() ? "is not a folder" : status.reason;
}

bool IsAudioName(const fs::path& name) {
    static constexpr std::array<std::string_view, 15> extensions = {
        ".wav",  ".wave", ".bwf",  ".rf64", ".bw64", ".w64", ".aif", ".aiff",
        ".aifc", ".caf",  ".caff", ".8svx", ".svx",  ".l",   ".r"};
    if (TextOf(name.filename()).starts_with("._")) return false;
    std::string extension = TextOf(name.extension());
    std::transform(extension.begin(), extension.end(), extension.begin(), Lower);
    return std::find(extensions.begin(), extensions.end(), extension) != extensions.end();
}

bool MatchesPattern(std::string_view name, std::string_view pattern) {
    // Where to go on after a mismatch: behind the last `*`, which then takes one character more.
    size_t star = std::string_view::npos, taken = 0;
    size_t n = 0, p = 0;
    while (n < name.size()) {
        if (p < pattern.size() && pattern[p] == '*') {
            star = p++;
            taken = n;
        } else if (p < pattern.size() && (pattern[p] == '?' || Lower(pattern[p]) == Lower(name[n]))) {
            ++p;
            ++n;
        } else if (star != std::string_view::npos) {
            p = star + 1;
            n = ++taken;
        } else {
            return false;
        }
    }
    return pattern.find_first_not_of('*', p) == std::string_view::npos;
}

std::vector<std::string> ExpandPattern(const std::string& pattern) {
    const fs::path path = PathOf(pattern);
    const std::string last = TextOf(path.filename());
    std::string ignored;
    std::vector<std::string> names;
    for (const FolderEntry& entry : ListFolder(path.has_parent_path() ? path.parent_path() : ".", ignored)) {
        const std::string name = TextOf(entry.path.filename());
        if (MatchesPattern(name, last)) names.push_back(TextOf(path.parent_path() / PathOf(name)));
    }
    return names;
}

}  // namespace vantor::wavehost
