#include <algorithm>
#include <cmath>

#include "wavehost/commands/meta.h"
#include "wavehost/commands/rehearsal.h"
#include "wavehost/facts/report.h"
#include "wavehost/files/output_file.h"
#include "wavehost/host/host_services.h"
#include "wavehost/os/failure.h"

namespace vantor::wavehost {

namespace {

constexpr int32_t writeRequest = 0x20008;
constexpr intptr_t mergeFlag = 1, neverInPlaceFlag = 2;

struct MetaSetOptions {
    std::string file;
    std::vector<std::string> assignments;  // KEY=VALUE
    std::string output;                    // empty: the file itself
    bool replaceAll = false;
    bool dryRun = false;
};

struct Change {
    std::string key;
    std::string wanted;
    std::string before;
    std::string after;
};

std::vector<Change> ChangesOf(const std::vector<std::string>& assignments) {
    std::vector<Change> changes;
    for (const std::string& text : assignments) {
        const size_t equals = text.find('=');
        changes.push_back({text.substr(0, equals), text.substr(equals + 1), "", ""});
    }
    return changes;
}

std::string Quoted(const std::string& value) {
    return value.empty() ? "(none)" : '"' + value + '"';
}

void Print(const std::string& file, const std::string& result, const std::vector<Change>& changes) {
    PrintLine(file + ": " + result);
    for (const Change& change : changes)
        PrintLine("  " + change.key + ": " + Quoted(change.before) + " -> " + Quoted(change.after));
}

// What must not change while tags are written.
struct AudioShape {
    int32_t channels;
    double sampleRate;
    double lengthSeconds;
    bool operator==(const AudioShape&) const = default;
};

AudioShape ShapeOf(PCM_source& source) {
    return {source.ChannelCount(), source.SampleRate(), source.LengthSeconds()};
}

// Asks the module to write. `target` receives a complete copy when the file is not updated in place.
Outcome Write(PCM_source& source, const std::vector<Change>& changes, const fs::path& target,
              intptr_t flags) {
    std::vector<MetadataPair> pairs;
    for (const Change& change : changes)
        pairs.push_back({change.key.c_str(), change.wanted.c_str()});
    pairs.push_back({nullptr, nullptr});
    std::string name = TextOf(target);
    return static_cast<Outcome>(
        source.ExtendedCall(writeRequest, name.data(), pairs.data(), reinterpret_cast<void*>(flags)));
}

// Reads the new values back. Throws Failure when the file is not what it was but for its tags.
void Verify(const Module& module, const fs::path& file, const AudioShape& shape,
            std::vector<Change>& changes) {
    const HostPtr<PCM_source> source = OpenSource(module, TextOf(file));
    if (!(ShapeOf(*source.Get()) == shape)) throw Failure("the written file does not hold the same audio");
    for (Change& change : changes)
        change.after = ValueOf(*source.Get(), change.key);
}

std::vector<double> NextSamples(PCM_source& source, const AudioShape& shape, int64_t startFrame) {
    constexpr int32_t samplesARead = 1 << 18;
    const int32_t blockFrames = std::max(samplesARead / shape.channels, 1);
    std::vector<double> samples(static_cast<size_t>(blockFrames) * static_cast<size_t>(shape.channels));
    TransferBlock block{};
    block.startSeconds = static_cast<double>(startFrame) / shape.sampleRate;
    block.sampleRate = shape.sampleRate;
    block.channels = shape.channels;
    block.frames = blockFrames;
    block.samples = samples.data();
    source.ReadSamples(&block);
    samples.resize(static_cast<size_t>(block.framesProduced) * static_cast<size_t>(shape.channels));
    return samples;
}

bool IsSameAudio(const Module& module, const fs::path& left, const fs::path& right) {
    const HostPtr<PCM_source> leftSource = OpenSource(module, TextOf(left));
    const HostPtr<PCM_source> rightSource = OpenSource(module, TextOf(right));
    const auto shape = ShapeOf(*leftSource.Get());
    if (!(ShapeOf(*rightSource.Get()) == shape)) return false;
    for (int64_t frame = 0;;) {
        const auto samples = NextSamples(*leftSource.Get(), shape, frame);
        if (samples != NextSamples(*rightSource.Get(), shape, frame)) return false;
        if (samples.empty()) return true;
        frame += std::ssize(samples) / shape.channels;
    }
}

// True when a value under a scheme's own key is another than the one asked for: cut to its field's width,
// brought into the field's form, or replaced by a common field given with it. A picture is told by a
// description of it.
bool IsStoredOtherwise(const Change& change) {
    return change.key.find(':') != std::string::npos && !change.key.starts_with("ID3:APIC") &&
           change.wanted != change.after;
}

// A key that the format does not carry stays away, or one that another scheme also holds stays.
int CheckAnswered(const std::string& file, const std::vector<Change>& changes) {
    int status = exitDone;
    for (const Change& change : changes) {
        if (change.wanted.empty() == change.after.empty()) {
            if (IsStoredOtherwise(change))
                ReportFailure(file, change.key + " was stored as " + Quoted(change.after));
            continue;
        }
        ReportFailure(file, change.key + (change.after.empty() ? " was not stored" : " was not removed"));
        status = exitFailed;
    }
    return status;
}

std::string Refusal(const fs::path& file) {
    if (!TakesMetadata(file)) return "metadata is written into WAV, RF64 and BW64 files alone";
    const int32_t failure = Host().writeFailure;
    if (failure == 0) return "the metadata could not be written";
    return failure == diskFull ? "cannot be written: the disk is full" : "cannot be written to the disk";
}

bool IsWritable(const fs::path& file) {
    return Stream(OpenStream(file, "r+b")) != nullptr;
}

struct Edit {
    const Module& module;
    const MetaSetOptions& options;
    std::vector<Change> changes;
    AudioShape shape{};

    [[nodiscard]] intptr_t Flags() const {
        return (options.replaceAll ? 0 : mergeFlag) | (options.output.empty() ? 0 : neverInPlaceFlag);
    }
    // Opens the file, notes what stands in it, and asks for the write. The source is closed on return: a file
    // that is open cannot be replaced everywhere.
    Outcome Run(const std::string& file, const fs::path& target, intptr_t flags) {
        const HostPtr<PCM_source> source = OpenSource(module, file);
        shape = ShapeOf(*source.Get());
        for (Change& change : changes)
            change.before = ValueOf(*source.Get(), change.key);
        return Write(*source.Get(), changes, target, flags);
    }
};

int Apply(Edit& edit) {
    const MetaSetOptions& options = edit.options;
    const fs::path file = PathOf(options.file);
    const EditLock lock(file);
    OutputFile output(options.output.empty() ? file : PathOf(options.output));
    std::error_code failed;
    const PrivateFiles privately(fs::exists(output.Target(), failed));

    const auto stampOf = [&] {
        return std::pair(fs::file_size(file, failed), fs::last_write_time(file, failed));
    };
    const auto stamp = stampOf();
    const Outcome outcome = edit.Run(options.file, output.WriteTo(), edit.Flags());
    if (outcome == Outcome::inPlace) {
        SyncFile(file);
        Verify(edit.module, file, edit.shape, edit.changes);
        Print(options.file, "updated in place", edit.changes);
    } else if (outcome == Outcome::copied) {
        Verify(edit.module, output.WriteTo(), edit.shape, edit.changes);
        // An update in place that failed half-way has touched the file too; the copy then holds all there is.
        if (stampOf() != stamp && !IsSameAudio(edit.module, file, output.WriteTo()))
            throw Failure("was changed by another program meanwhile; nothing was written");
        output.TakePlace();
        Print(options.file, "rewritten" + (options.output.empty() ? "" : " to " + options.output),
              edit.changes);
    } else {
        throw Failure(Refusal(file));
    }
    return CheckAnswered(options.file, edit.changes);
}

// The same on a copy, which can be written even when the file cannot. Where it is too large to be written
// whole, only whether the new chunks fit is found out, and the values are those asked for.
int Rehearse(Edit& edit) {
    const std::string& file = edit.options.file;
    OpenSource(edit.module, file);  // says why, when it is not a file to edit
    if (!TakesMetadata(PathOf(file))) throw Failure(Refusal(PathOf(file)));
    const Rehearsal rehearsal(PathOf(file));
    const intptr_t flags = edit.Flags() | (IsWritable(PathOf(file)) ? 0 : neverInPlaceFlag);
    const Outcome outcome = rehearsal.Result(edit.Run(TextOf(rehearsal.Copy()), rehearsal.Target(), flags));
    for (Change& change : edit.changes)
        change.after = change.wanted;
    if (outcome == Outcome::failed) throw Failure(Refusal(PathOf(file)));
    if (outcome == Outcome::inPlace) Verify(edit.module, rehearsal.Copy(), edit.shape, edit.changes);
    if (outcome == Outcome::copied && rehearsal.IsWhole())
        Verify(edit.module, rehearsal.Target(), edit.shape, edit.changes);
    const std::string& output = edit.options.output;
    Print(file,
          outcome == Outcome::inPlace ? "updated in place"
                                      : "rewritten" + (output.empty() ? "" : " to " + output),
          edit.changes);
    std::fputs("dry run: nothing was written\n", stderr);
    return CheckAnswered(file, edit.changes);
}

int RunMetaSet(Session& session, const MetaSetOptions& options) {
    const Module& module = ModuleOf(session);
    return ForFile(options.file, [&] {
        Edit edit{module, options, ChangesOf(options.assignments)};
        return options.dryRun ? Rehearse(edit) : Apply(edit);
    });
}

// KEY=VALUE, where the first "=" ends the key.
std::string CheckAssignment(const std::string& text) {
    const size_t equals = text.find('=');
    return equals == std::string::npos || equals == 0 ? "'" + text + "' is not KEY=VALUE" : "";
}

}  // namespace

void AddMetaSet(CommandLine& line, CLI::App& meta) {
    auto [command, options] = AddCommand(line, meta, "set", "Write metadata into a file", &RunMetaSet);
    command->add_option("FILE", options->file, fileHelp)->required();
    command
        ->add_option(
            "KEY=VALUE", options->assignments,
            "Common fields (TITLE, ARTIST, ALBUM, TRACKNUMBER, YEAR, GENRE, COMMENT, DESC, BPM, KEY) or\n"
            "scheme keys (INFO:INAM, BWF:Description); an empty value removes the key")
        ->required()
        ->check(CheckAssignment);
    command->add_option("--output", options->output,
                        "Write the complete file to this name and leave FILE alone");
    command->add_flag("--replace-all", options->replaceAll, "Drop all metadata that is not given here");
    command->add_flag("--dry-run", options->dryRun,
                      "Print what would change, found out on a copy in the temporary folder; write nothing");
}

}  // namespace vantor::wavehost
