#include "wavehost/os/rename.h"

#include <algorithm>
#include <cmath>
#include <map>

#include "wavehost/commands/batch.h"
#include "wavehost/commands/command_line.h"
#include "wavehost/facts/messages.h"
#include "wavehost/os/failure.h"
#include "wavehost/os/interruption.h"
#include "wavehost/values/name_pattern.h"
#include "wavehost/values/timecode.h"

namespace vantor::wavehost {

namespace {

struct RenameOptions {
    FileArguments files;
    std::string pattern;
    bool dryRun = false;
};

struct Renaming {
    std::string from;
    fs::path to;
};

// The place on the timeline as HH-MM-SS.mmm.
std::string PositionText(PCM_source& source) {
    const double position = source.PlacementPosition();
    if (position < 0) return "";
    const auto samples = static_cast<uint64_t>(std::llround(position * source.SampleRate()));
    std::string text = ClockText(samples, source.SampleRate());
    std::ranges::replace(text, ':', '-');
    return text;
}

fs::path TargetOf(const Module& module, const std::string& file, const NamePattern& pattern) {
    const fs::path path = PathOf(file);
    const HostPtr<PCM_source> source = OpenSource(module, file);
    const auto valueOf = [&](const std::string& key) {
        if (key == "name") return TextOf(path.stem());
        return key == "position" ? PositionText(*source.Get()) : ValueOf(*source.Get(), key);
    };
    return path.parent_path() / PathOf(NameFor(pattern, valueOf, TextOf(path.extension())));
}

// File systems that do not tell upper and lower case apart take two such names for one.
std::string Folded(const fs::path& path) {
    std::string text = TextOf(path);
    std::ranges::transform(text, text.begin(), [](char c) {
        return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
    });
    return text;
}

// Why the file cannot have its name; empty when it can.
std::string Obstacle(const Renaming& renaming, const std::map<std::string, int>& wanted) {
    std::error_code failed;
    if (wanted.at(Folded(renaming.to)) > 1)
        return "another file of these would be called " + TextOf(renaming.to.filename()) + " too";
    const bool isTaken = fs::exists(fs::symlink_status(renaming.to, failed));
    const bool isItself = isTaken && fs::equivalent(PathOf(renaming.from), renaming.to, failed) &&
                          Folded(PathOf(renaming.from)) == Folded(renaming.to);
    return isTaken && !isItself ? TextOf(renaming.to.filename()) + " is there already" : "";
}

int Carry(const Renaming& renaming, bool dryRun) {
    const fs::path from = PathOf(renaming.from);
    if (from.filename() == renaming.to.filename()) return exitDone;
    std::string error;
    if (!dryRun && !RenameWithoutReplacing(from, renaming.to, error)) throw Failure(error);
    PrintLine(renaming.from + " -> " + TextOf(renaming.to.filename()));
    return exitDone;
}

int RunRename(Session& session, const RenameOptions& options) {
    const Module& module = ModuleOf(session);
    const NamePattern pattern = ParseNamePattern(options.pattern);
    Results results(ResultForm::text);
    std::vector<Renaming> renamings;
    std::map<std::string, int> wanted;
    const auto plan = [&](const std::string& file) {
        renamings.push_back({file, TargetOf(module, file, pattern)});
        ++wanted[Folded(renamings.back().to)];
        return exitDone;
    };
    int status = RunBatch(session, "rename", ListFiles(options.files), results, plan);
    // All are looked at before the first one moves, so that a dry run sees what a real one does.
    std::vector<std::string> obstacles;
    for (const Renaming& renaming : renamings)
        obstacles.push_back(Obstacle(renaming, wanted));
    for (size_t i = 0; i < renamings.size(); ++i) {
        CheckInterruption();
        status = std::max(status, ForFile(renamings[i].from, [&] {
                              if (!obstacles[i].empty()) throw Failure(obstacles[i]);
                              return Carry(renamings[i], options.dryRun);
                          }));
    }
    return status;
}

std::string CheckPattern(const std::string& text) {
    try {
        (void)ParseNamePattern(text);
        return "";
    } catch (const Failure& failure) {
        return failure.what();
    }
}

}  // namespace

void AddRename(CommandLine& line) {
    auto [command, options] =
        AddCommand(line, line.program, "rename", "Name files by their tags", &RunRename);
    AddFiles(command, options->files);
    AddOption(command, "--pattern", &options->pattern,
              "The name without its extension: {KEY} stands for a tag (TITLE, IXML:SCENE), {name} for "
              "the old name, {position} for the place on the timeline",
              {.required = true, .objection = CheckPattern});
    AddFlag(command, "--dry-run", options->dryRun, "Print the new names; rename nothing");
}

}  // namespace vantor::wavehost
