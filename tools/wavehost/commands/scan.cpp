#include <algorithm>
#include <exception>
#include <initializer_list>
#include <string_view>

#include "wavehost/commands/batch.h"
#include "wavehost/commands/command_line.h"
#include "wavehost/facts/messages.h"
#include "wavehost/tables/json_output.h"

namespace vantor::wavehost {

namespace {

struct ScanOptions {
    std::string folder;
    bool json = false;
};

// Through the metadata-only source where it reads the file, else through the full source.
Metadata ReadTags(const Module& module, const std::string& file) {
    if (module.createMetadataSource) {
        const HostPtr<PCM_source> source(module.createMetadataSource(file.c_str()));
        if (source) return MetadataOf(*source.Get());
    }
    return MetadataOf(*OpenSource(module, file).Get());
}

// The metadata-only source answers for scheme keys alone, so the host looks a field up in the usual places.
void PrintTags(const std::string& file, const Metadata& metadata) {
    const auto shown = [&](std::initializer_list<std::string_view> keys) {
        const std::string value = FirstValue(metadata, keys);
        return value.empty() ? "-" : value;
    };
    PrintLine(file + "\t" + std::to_string(metadata.size()) + " keys\t" +
              shown({"INFO:INAM", "ID3:TIT2", "CART:Title", "IXML:PROJECT", "XMP:dc/title", "CAFINFO:title",
                     "IFF:NAME"}) +
              "\t" +
              shown({"INFO:IART", "ID3:TPE1", "CART:Artist", "XMP:dm/artist", "CAFINFO:artist", "IFF:AUTH"}));
}

void PrintUnreadable(Results& results, const std::string& file, const std::string& reason) {
    if (results.IsJson())
        results.Add(FailureJson(file, reason));
    else
        PrintLine(file + "\tcannot be read: " + reason);
}

struct Scan {
    const Module& module;
    Results& results;
    size_t unreadable = 0;

    int Visit(const std::string& file) {
        try {
            const Metadata metadata = ReadTags(module, file);
            if (results.IsJson())
                results.Add(ScanJson(file, metadata));
            else
                PrintTags(file, metadata);
        } catch (const std::exception& failure) {
            // A file of another kind is passed over.
            if (!IsAudioName(PathOf(file))) return exitDone;
            PrintUnreadable(results, file, failure.what());
            ++unreadable;
        }
        return exitDone;
    }
};

int RunScan(Session& session, const ScanOptions& options) {
    const ResultForm form = options.json ? ResultForm::jsonLines : ResultForm::text;
    const Module& module = ModuleOf(session, form);
    const fs::path folder = PathOf(options.folder);
    Results results(form);
    const std::string obstacle = WhyNoFolder(folder);
    const auto files =
        obstacle.empty() ? FilesBelow(folder, true) : std::vector<ListedFile>{{options.folder, obstacle}};
    Scan scan{module, results};
    const int exitStatus = RunBatch(session, "scan " + options.folder, files, results,
                                    [&](const std::string& file) { return scan.Visit(file); });
    if (scan.unreadable == 0) return exitStatus;
    ReportFailure(options.folder, std::to_string(scan.unreadable) + " of " + std::to_string(files.size()) +
                                      " files cannot be read");
    return exitFailed;
}

}  // namespace

void AddScan(CommandLine& line) {
    auto [command, options] =
        AddCommand(line, line.program, "scan", "Metadata of every audio file below a folder", &RunScan);
    AddOption(command, "DIR", &options->folder, "A folder", {.required = true});
    AddFlag(command, "--json", options->json, "Print one JSON object a line");
}

}  // namespace vantor::wavehost
