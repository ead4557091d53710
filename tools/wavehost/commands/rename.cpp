#include "wavehost/os/rename.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <optional>

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

// File systems that do not tell upper and lower case apart take two such names for one. From the root on, so
// that two ways of writing a name are one.
std::string Folded(const fs::path& path) {
    std::string text = TextOf(PlainPath(path));
    std::ranges::transform(text, text.begin(), [](char c) {
        return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
    });
    return text;
}

// What a run is to do. All is looked at before the first file moves, so that a dry run sees what a real one
// does.
struct Plan {
    std::vector<Renaming> renamings;
    std::map<fs::path, size_t> holders;  // by the names that these files have now
    std::map<std::string, int> wanted;   // how many want a name
    std::vector<bool> leaves;            // which ones give up their names

    // Once each, however often it is named.
    void Add(Renaming renaming) {
        if (!holders.emplace(PlainPath(PathOf(renaming.from)), renamings.size()).second) return;
        ++wanted[Folded(renaming.to)];
        renamings.push_back(std::move(renaming));
        leaves.push_back(false);
    }
    [[nodiscard]] std::optional<size_t> HolderOf(const fs::path& name) const {
        const auto found = holders.find(PlainPath(name));
        return found == holders.end() ? std::nullopt : std::optional(found->second);
    }
};

// Behind each file come those that get its name.
std::vector<size_t> OrderOf(const Plan& plan) {
    std::vector<size_t> order;
    std::vector<bool> isPlaced(plan.renamings.size());
    for (size_t first = 0; first < isPlaced.size(); ++first) {
        std::vector<size_t> chain;
        for (std::optional<size_t> next = first; next && !isPlaced[*next];) {
            isPlaced[*next] = true;
            chain.push_back(*next);
            next = plan.HolderOf(plan.renamings[*next].to);
        }
        order.insert(order.end(), chain.rbegin(), chain.rend());
    }
    return order;
}

// Why the file cannot have its name; empty when it can.
std::string Obstacle(const Renaming& renaming, const Plan& plan) {
    std::error_code failed;
    if (plan.wanted.at(Folded(renaming.to)) > 1)
        return "another file of these would be called " + TextOf(renaming.to.filename()) + " too";
    const auto holder = plan.HolderOf(renaming.to);
    const bool isFree =
        (holder && plan.leaves[*holder]) || !fs::exists(fs::symlink_status(renaming.to, failed));
    const bool isItself = !isFree && fs::equivalent(PathOf(renaming.from), renaming.to, failed) &&
                          Folded(PathOf(renaming.from)) == Folded(renaming.to);
    return isFree || isItself ? "" : TextOf(renaming.to.filename()) + " is there already";
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
    Plan plan;
    const auto add = [&](const std::string& file) {
        plan.Add({file, TargetOf(module, file, pattern)});
        return exitDone;
    };
    int status = RunBatch(session, "rename", ListFiles(options.files), results, add);
    const std::vector<size_t> order = OrderOf(plan);
    std::vector<std::string> obstacles;
    for (const size_t i : order) {
        const Renaming& renaming = plan.renamings[i];
        obstacles.push_back(Obstacle(renaming, plan));
        plan.leaves[i] =
            obstacles.back().empty() && PathOf(renaming.from).filename() != renaming.to.filename();
    }
    for (size_t i = 0; i < order.size(); ++i) {
        CheckInterruption();
        const Renaming& renaming = plan.renamings[order[i]];
        status = std::max(status, ForFile(renaming.from, [&] {
                              if (!obstacles[i].empty()) throw Failure(obstacles[i]);
                              return Carry(renaming, options.dryRun);
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
