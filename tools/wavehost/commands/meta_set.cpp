#include <algorithm>

#include "wavehost/commands/batch.h"
#include "wavehost/commands/edit_files.h"
#include "wavehost/commands/meta.h"
#include "wavehost/edits/objections.h"
#include "wavehost/edits/position_wishes.h"
#include "wavehost/facts/messages.h"
#include "wavehost/os/failure.h"
#include "wavehost/os/folder.h"
#include "wavehost/values/timecode.h"

namespace vantor::wavehost {

namespace {

struct MetaSetOptions {
    FileArguments files;  // and, without --set, KEY=VALUE behind the first
    std::vector<std::string> set, fromFile;
    std::string position, framesPerSecond;
    EditWays ways;
};

// What is asked of every file.
struct Edit {
    FileArguments files;
    Assignments assignments;
    std::string position;
    const FrameRate* rate = nullptr;  // null: the file's own
};

std::string CheckGiven(const std::string& text) {
    return text.empty() ? "is given without a value" : "";
}

// A shell's empty variable must not make it an edit in place.
std::string CheckOutput(const std::string& name) {
    return name == "-" ? "the complete file needs a name; standard output tells what changed"
                       : CheckGiven(name);
}

// Which of them would win is nothing to guess at.
void CheckTwice(const Assignments& assignments) {
    for (auto one = assignments.begin(); one != assignments.end(); ++one)
        for (auto other = one + 1; other != assignments.end(); ++other)
            if (one->key == other->key && one->value != other->value)
                throw Failure(one->key + " is given two values");
}

bool IsFile(const std::string& name) {
    return name == "-" || StatusOf(PathOf(name)).kind != FileKind::missing;
}

// `meta set FILE KEY=VALUE...`: no option says what to set. With --replace-all nothing need be set at all.
bool IsOldForm(const MetaSetOptions& options) {
    const auto& names = options.files.names;
    const bool namesValues = std::any_of(names.begin() + 1, names.end(),
                                         [](const std::string& name) { return name.find('=') != name.npos; });
    return options.set.empty() && options.fromFile.empty() && options.position.empty() &&
           (namesValues || !options.ways.replaceAll);
}

void TakeOldForm(Edit& edit) {
    std::vector<std::string>& names = edit.files.names;
    for (size_t i = 1; i < names.size(); ++i)
        edit.assignments.push_back(AssignmentOf(names[i]));
    names.resize(1);
    if (edit.assignments.empty()) throw Failure("nothing to set: give --set KEY=VALUE");
}

// Throws Failure for what is no command.
Edit EditOf(const MetaSetOptions& options) {
    Edit edit{options.files, {}, options.position, nullptr};
    if (IsOldForm(options)) TakeOldForm(edit);
    for (const std::string& text : options.set)
        edit.assignments.push_back(AssignmentOf(text));
    for (const std::string& text : options.fromFile)
        edit.assignments.push_back(AssignmentFromFile(text));
    CheckTwice(edit.assignments);
    for (const std::string& name : edit.files.names)
        if (name.find('=') != name.npos && !IsFile(name))
            throw Failure("'" + name + "' is no file; name every value with --set");
    if (!options.framesPerSecond.empty()) edit.rate = FrameRateNamed(options.framesPerSecond);
    if (!options.framesPerSecond.empty() && !edit.rate)
        throw Failure("'" + options.framesPerSecond + "' is no frame rate of timecode");
    // Timecode without a rate is looked at with that of each file.
    if (!edit.position.empty() && (edit.rate || !IsTimecode(edit.position)))
        PositionOf(edit.position, 48000, edit.rate);
    return edit;
}

Assignments WishesFor(const Edit& edit, PCM_source& source, const Metadata& tags) {
    Assignments wishes = edit.assignments;
    if (edit.position.empty()) return wishes;
    const FrameRate* rate = edit.rate;
    if (!rate)
        rate = FrameRateOfIxml(ValueUnder(tags, "IXML:SPEED:TIMECODE_RATE"),
                               ValueUnder(tags, "IXML:SPEED:TIMECODE_FLAG"));
    const double sampleRate = source.SampleRate();
    const Assignments position =
        PositionWishes(PositionOf(edit.position, sampleRate, rate), sampleRate, tags);
    wishes.insert(wishes.end(), position.begin(), position.end());
    return wishes;
}

int Run(Session& session, const MetaSetOptions& options, const Edit& edit) {
    const Module& module = ModuleOf(session);
    if (!options.ways.force) CheckWishes(edit.assignments);
    const std::vector<ListedFile> files = ListFiles(edit.files);
    if (!options.ways.output.empty() && files.size() != 1)
        throw Failure("--output takes one file, and there are " + std::to_string(files.size()));
    const auto wishes = [&](PCM_source& source, const Metadata& tags) {
        return WishesFor(edit, source, tags);
    };
    Results results(ResultForm::text);
    const int status = RunBatch(session, "meta set", files, results, [&](const std::string& file) {
        return EditFile(session, module, file, wishes, options.ways);
    });
    TellDryRun(session, options.ways);
    return status;
}

int RunMetaSet(Session& session, const MetaSetOptions& options) {
    Edit edit;
    try {
        edit = EditOf(options);
    } catch (const Failure& failure) {
        ReportFailure("", failure.what());
        return exitUsage;
    }
    return Run(session, options, edit);
}

}  // namespace

void AddMetaSet(CommandLine& line, Command& meta) {
    auto [command, options] = AddCommand(line, meta, "set", "Write metadata into files", &RunMetaSet);
    AddFiles(command, options->files,
             "Audio files, and folders of them; - reads names from standard input, one a line. Of one\n"
             "file, KEY=VALUE may follow without --set");
    AddOption(command, "--set", &options->set,
              "KEY=VALUE; a common field (TITLE, ARTIST, ALBUM, TRACKNUMBER, YEAR, GENRE, COMMENT,\n"
              "DESC, BPM, KEY) or a scheme key (INFO:INAM, BWF:Description); an empty value removes it");
    AddOption(command, "--from-file", &options->fromFile, "KEY=PATH: the value is what the file holds");
    AddOption(command, "--position", &options->position,
              "Place on the timeline: samples, SECONDSs, HH:MM:SS.mmm or HH:MM:SS:FF",
              {.objection = CheckGiven});
    AddOption(command, "--fps", &options->framesPerSecond,
              "Frames a second of HH:MM:SS:FF: 23.976, 24, 25, 29.97, 29.97df, 30, 30df ...; by\n"
              "default those that the file's iXML names",
              {.objection = CheckGiven});
    AddOption(command, "--output", &options->ways.output,
              "Write the complete file to this name and leave FILE alone", {.objection = CheckOutput});
    AddFlag(command, "--replace-all", options->ways.replaceAll, "Drop all metadata that is not given here");
    AddFlag(command, "--rebuild", options->ways.rebuild,
            "Build the chunks anew from their keys; what has no key goes");
    AddEditWays(command, options->ways);
}

}  // namespace vantor::wavehost
