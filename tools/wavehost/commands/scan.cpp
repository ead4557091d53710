#include <algorithm>

#include "wavehost/commands/commands.h"
#include "wavehost/facts/report.h"
#include "wavehost/files/progress.h"
#include "wavehost/os/failure.h"
#include "wavehost/tables/json_output.h"

namespace vantor::wavehost {

namespace {

struct Findings {
    std::vector<fs::path> files;
    int status = exitDone;
};

// Regular files below a folder, in order of their names; folders that cannot be read are reported. Links to
// folders are not followed, so that no loop catches the walk.
Findings FilesBelow(const fs::path& top) {
    Findings findings;
    std::vector<fs::path> folders{top};
    while (!folders.empty()) {
        const fs::path folder = std::move(folders.back());
        folders.pop_back();
        std::error_code failed, ignored;
        for (fs::directory_iterator entry(folder, failed), end; !failed && entry != end;
             entry.increment(failed)) {
            if (entry->is_directory(ignored) && !entry->is_symlink(ignored)) folders.push_back(entry->path());
            if (entry->is_regular_file(ignored)) findings.files.push_back(entry->path());
        }
        if (!failed) continue;
        ReportFailure(TextOf(folder), failed.message());
        findings.status = exitFailed;
    }
    std::sort(findings.files.begin(), findings.files.end());
    return findings;
}

// The metadata-only source answers for scheme keys alone, so the host looks a field up in the usual places.
std::string FirstOf(const Metadata& metadata, std::initializer_list<std::string_view> keys) {
    for (const std::string_view key : keys) {
        const auto found = std::find_if(metadata.begin(), metadata.end(),
                                        [&](const auto& pair) { return pair.first == key; });
        if (found != metadata.end() && !found->second.empty()) return found->second;
    }
    return "-";
}

void PrintRow(const std::string& file, const Metadata& metadata) {
    const std::string title = FirstOf(
        metadata, {"INFO:INAM", "ID3:TIT2", "CART:Title", "IXML:PROJECT", "XMP:dc/title", "CAFINFO:title"});
    const std::string artist =
        FirstOf(metadata, {"INFO:IART", "ID3:TPE1", "CART:Artist", "XMP:dm/artist", "CAFINFO:artist"});
    PrintLine(file + "\t" + std::to_string(metadata.size()) + " keys\t" + title + "\t" + artist);
}

int Scan(const Module& module, const ScanOptions& options) {
    if (!module.createMetadataSource) throw Failure("the module reads no metadata of its own");
    const Findings findings = FilesBelow(PathOf(options.folder));
    Progress progress("scan " + options.folder);
    double visited = 0;
    for (const fs::path& path : findings.files) {
        const std::string file = TextOf(path);
        const HostPtr<PCM_source> source(module.createMetadataSource(file.c_str()));
        progress.Show(++visited / static_cast<double>(findings.files.size()));
        if (!source) continue;
        const Metadata metadata = MetadataOf(*source.Get());
        if (options.json)
            std::puts(ScanJson(file, metadata).c_str());
        else
            PrintRow(file, metadata);
    }
    return findings.status;
}

}  // namespace

int RunScan(const Module& module, const ScanOptions& options) {
    return ForFile(options.folder, [&] { return Scan(module, options); });
}

}  // namespace vantor::wavehost
