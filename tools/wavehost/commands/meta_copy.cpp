#include <utility>

#include "wavehost/commands/batch.h"
#include "wavehost/commands/edit_files.h"
#include "wavehost/commands/meta.h"
#include "wavehost/edits/carried_tags.h"
#include "wavehost/edits/position_wishes.h"
#include "wavehost/facts/messages.h"
#include "wavehost/files/output_file.h"
#include "wavehost/os/failure.h"

namespace vantor::wavehost {

namespace {

struct MetaCopyOptions {
    FileArguments files;  // the first is the one to copy from
    std::vector<std::string> keys;
    EditWays ways;
};

struct Tags {
    Assignments values;
    double sampleRate = 0;  // of the file that they come from
};

Tags AllTags(PCM_source& source, const std::string& file) {
    CarriedTags carried = TagsToCarry(source);
    for (const std::string& key : carried.leftOut)
        ReportFailure(file, key + " is not copied; 'meta extract' and 'meta embed' copy pictures");
    return {std::move(carried.values), source.SampleRate()};
}

Tags TagsToCopy(const Module& module, const std::string& file, const std::vector<std::string>& keys) {
    const HostPtr<PCM_source> source = OpenSource(module, file);
    if (keys.empty()) return AllTags(*source.Get(), file);
    Tags found{{}, source->SampleRate()};
    for (const std::string& key : keys) {
        found.values.push_back({key, ValueOf(*source.Get(), key)});
        if (found.values.back().value.empty()) throw Failure("has no " + key);
    }
    return found;
}

int RunMetaCopy(Session& session, const MetaCopyOptions& options) {
    const Module& module = ModuleOf(session);
    FileArguments targets = options.files;
    const std::string from = targets.names.front();
    targets.names.erase(targets.names.begin());
    Tags tags;
    const int read = ForFile(from, [&] {
        tags = TagsToCopy(module, from, options.keys);
        return exitDone;
    });
    if (read != exitDone) return read;
    const auto wishes = [&](PCM_source& source, const Metadata&) {
        return AtRate(tags.values, tags.sampleRate, source.SampleRate());
    };
    EditWays ways = options.ways;
    ways.trustsValues = true;
    Results results(ResultForm::text);
    const int status =
        RunBatch(session, "meta copy", ListFiles(targets), results, [&](const std::string& file) {
            if (IsSameFile(PathOf(from), PathOf(file))) throw Failure("is the file that is copied from");
            return EditFile(session, module, file, wishes, ways);
        });
    TellDryRun(session, ways);
    return status;
}

}  // namespace

void AddMetaCopy(CommandLine& line, Command& meta) {
    auto [command, options] =
        AddCommand(line, meta, "copy", "The tags of one file into others", &RunMetaCopy);
    AddFiles(command, options->files, "The file to copy from, then those that take its tags",
             {.required = true, .leastItems = 2});
    AddOption(command, "--keys", &options->keys, keysHelp, {.delimiter = ','});
    AddEditWays(command, options->ways);
}

}  // namespace vantor::wavehost
