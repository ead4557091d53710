#include <algorithm>

#include "wavehost/commands/batch.h"
#include "wavehost/commands/command_line.h"
#include "wavehost/facts/report.h"
#include "wavehost/os/failure.h"
#include "wavehost/tables/json_output.h"

namespace vantor::wavehost {

namespace {

struct ScanOptions {
    std::string folder;
    bool json = false;
};

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

// Through the metadata-only source where it reads the file, else through the full source.
Metadata Read(const Module& module, const std::string& file) {
    if (module.createMetadataSource) {
        const HostPtr<PCM_source> source(module.createMetadataSource(file.c_str()));
        if (source) return MetadataOf(*source.Get());
    }
    return MetadataOf(*OpenSource(module, file).Get());
}

int ScanFile(const Module& module, const std::string& file, Results& results) {
    Metadata metadata;
    try {
        metadata = Read(module, file);
    } catch (const std::exception&) {
        // A file of another kind is passed over.
        if (IsAudioName(PathOf(file))) throw;
        return exitDone;
    }
    if (results.IsJson())
        results.Add(ScanJson(file, metadata));
    else
        PrintRow(file, metadata);
    return exitDone;
}

int RunScan(Session& session, const ScanOptions& options) {
    const Module& module = ModuleOf(session);
    Results results(options.json ? ResultForm::jsonLines : ResultForm::text);
    const std::vector<ListedFile> files = FilesBelow(PathOf(options.folder), true);
    return RunBatch(session, "scan " + options.folder, files, results,
                    [&](const std::string& file) { return ScanFile(module, file, results); });
}

}  // namespace

void AddScan(CommandLine& line) {
    auto [command, options] =
        AddCommand(line, line.app, "scan", "Metadata of every audio file below a folder", &RunScan);
    command->add_option("DIR", options->folder, "A folder")->required();
    command->add_flag("--json", options->json, "Print one JSON object a line");
}

}  // namespace vantor::wavehost
