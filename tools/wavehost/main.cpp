// wavehost: a reference host on the command line. It loads the module through its exported entry and works
// only through what the entry registered.
#include <CLI/CLI.hpp>
#include <functional>

#include "wavehost/commands/commands.h"
#include "wavehost/facts/report.h"
#include "wavehost/os/system.h"

namespace vantor::wavehost {

namespace {

using Command = std::function<int(const Module&)>;

constexpr const char* fileHelp = "An audio file";
constexpr const char* jsonHelp = "Print JSON and nothing else on standard output";

const std::map<std::string, SampleFormat> sampleFormats{{"f64", SampleFormat::f64},
                                                        {"f32", SampleFormat::f32},
                                                        {"s24", SampleFormat::s24},
                                                        {"s16", SampleFormat::s16}};

// Within bounds; "nan", which is neither too small nor too large, is not.
std::function<std::string(const std::string&)> Between(double least, double most) {
    return [=](const std::string& text) {
        double number = 0;
        const bool read = CLI::detail::lexical_cast(text, number);
        return read && number >= least && number <= most ? std::string() : "'" + text + "' is out of range";
    };
}

constexpr double mostSeconds = 1e9;

// A subcommand whose options live as long as the parser, and which is chosen when it stands on the line.
template <typename Options>
std::pair<CLI::App*, std::shared_ptr<Options>> AddCommand(CLI::App& app, Command& chosen, const char* name,
                                                          const char* help,
                                                          int (*run)(const Module&, const Options&)) {
    auto options = std::make_shared<Options>();
    CLI::App* command = app.add_subcommand(name, help);
    command->callback([&chosen, options, run] {
        chosen = [options, run](const Module& module) { return run(module, *options); };
    });
    return {command, options};
}

void AddInfo(CLI::App& app, Command& chosen) {
    auto [command, options] =
        AddCommand(app, chosen, "info", "Format, length, tags, markers and slices", &RunInfo);
    command->add_option("FILE", options->files, "Audio files")->required();
    command->add_flag("--json", options->json,
                      "Print JSON: one object, or an array of them for several files");
    command->add_flag("--stats", options->stats, "Report what was read from the disk");
}

void AddRender(CLI::App& app, Command& chosen) {
    auto [command, options] =
        AddCommand(app, chosen, "render", "Play a file into a WAV file or into bare samples", &RunRender);
    command->add_option("FILE", options->file, fileHelp)->required();
    command->add_option("-o,--output", options->output, "The file to write; - is standard output")
        ->required();
    command->add_option("--start", options->startSeconds, "Seconds into the file")
        ->check(Between(0, mostSeconds));
    command->add_option("--length", options->lengthSeconds, "Seconds to play; all that is left by default")
        ->check(Between(0, mostSeconds));
    command->add_option("--rate", options->sampleRate, "Sample rate in Hz; the file's own by default")
        ->check(Between(1, 4294967295.0));
    command->add_option("--channels", options->channels, "Channels; the file's own by default")
        ->check(CLI::Range(1, 65535));
    command->add_option("--block", options->blockFrames, "Frames asked for at a time")
        ->check(CLI::Range(1, 1 << 24));
    command->add_option("--format", options->format, "Samples: f64 (exact, the default), f32, s24 or s16")
        ->transform(CLI::CheckedTransformer(sampleFormats));
    command->add_flag("--raw", options->raw, "Samples without a header");
    command->add_flag("--stats", options->stats, "Report what was read from the disk");
}

void AddFileCommand(CLI::App& app, Command& chosen, const char* name, const char* help,
                    int (*run)(const Module&, const FileOptions&)) {
    auto [command, options] = AddCommand(app, chosen, name, help, run);
    command->add_option("FILE", options->file, fileHelp)->required();
    command->add_flag("--json", options->json, jsonHelp);
}

struct MetaGetOptions {
    std::string file;
    std::string key;
};
int RunGet(const Module& module, const MetaGetOptions& options) {
    return RunMetaGet(module, options.file, options.key);
}

// KEY=VALUE, where the first "=" ends the key.
std::string CheckAssignment(const std::string& text) {
    const size_t equals = text.find('=');
    return equals == std::string::npos || equals == 0 ? "'" + text + "' is not KEY=VALUE" : "";
}

void AddMetaSet(CLI::App& meta, Command& chosen) {
    auto [command, options] = AddCommand(meta, chosen, "set", "Write metadata into a file", &RunMetaSet);
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

void AddMeta(CLI::App& app, Command& chosen) {
    CLI::App* meta = app.add_subcommand("meta", "Read and write metadata");
    meta->require_subcommand(1);
    AddFileCommand(*meta, chosen, "list", "Every key and value", &RunMetaList);
    auto [get, options] = AddCommand(*meta, chosen, "get", "One value", &RunGet);
    get->add_option("FILE", options->file, fileHelp)->required();
    get->add_option("KEY", options->key, "A common field (TITLE) or a scheme key (INFO:INAM)")->required();
    AddMetaSet(*meta, chosen);
}

void AddPeaks(CLI::App& app, Command& chosen) {
    auto [command, options] =
        AddCommand(app, chosen, "peaks", "Draw the waveform as a PNG picture", &RunPeaks);
    command->add_option("FILE", options->file, fileHelp)->required();
    command->add_option("--png", options->png, "The picture to write")->required();
    command->add_option("--width", options->width, "Pixels")->check(CLI::Range(100, 32000));
    command->add_option("--height", options->height, "Pixels")->check(CLI::Range(60, 32000));
    command->add_option("--start", options->startSeconds, "Seconds into the file")
        ->check(Between(0, mostSeconds));
    command->add_option("--length", options->lengthSeconds, "Seconds to draw")
        ->check(Between(1e-6, mostSeconds));
}

void AddState(CLI::App& app, Command& chosen) {
    auto [command, options] =
        AddCommand(app, chosen, "state", "The lines that a project keeps of a source", &RunState);
    command->add_option("FILE", options->file, fileHelp)->required();
    command->add_option("--slice", options->slice, "One slice of the file")->check(CLI::NonNegativeNumber);
    command->add_option(
        "-o,--output", options->output,
        "Write them to this file, with names relative to its folder; on standard output names "
        "are absolute");
    auto [restore, restored] =
        AddCommand(app, chosen, "restore", "Make a source from saved lines and show it", &RunRestore);
    restore->add_option("STATEFILE", restored->file, "A file that 'state' wrote")->required();
    restore->add_flag("--json", restored->json, jsonHelp);
}

void AddScan(CLI::App& app, Command& chosen) {
    auto [command, options] =
        AddCommand(app, chosen, "scan", "Metadata of every readable audio file below a folder", &RunScan);
    command->add_option("DIR", options->folder, "A folder")->required();
    command->add_flag("--json", options->json, "Print one JSON object a line");
}

int Run(std::vector<std::string> arguments) {
    CLI::App app("Looks at, plays, tags and draws audio files through the vantor_wave module.", "wavehost");
    app.require_subcommand(1);
    app.fallthrough();
    std::string modulePath;
    Command chosen;
    app.add_option(
        "--module", modulePath,
        "The module to load; by default the one beside this program, else that of the build folder");
    AddInfo(app, chosen);
    AddRender(app, chosen);
    AddMeta(app, chosen);
    AddFileCommand(app, chosen, "markers", "Cue points and regions", &RunMarkers);
    AddFileCommand(app, chosen, "slices", "Slice positions in seconds and beats", &RunSlices);
    AddPeaks(app, chosen);
    AddState(app, chosen);
    AddScan(app, chosen);
    try {
        std::reverse(arguments.begin(), arguments.end());  // the parser takes them from the back
        app.parse(std::move(arguments));
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? exitDone : exitUsage;
    }
    return chosen(LoadModule(modulePath));
}

}  // namespace

}  // namespace vantor::wavehost

int main(int argc, char** argv) {
    using namespace vantor::wavehost;
    try {
        PrepareConsole();
        const int status = Run(CommandArguments(argc, argv));
        if (std::fflush(stdout) == 0 && !std::ferror(stdout)) return status;
        ReportFailure("standard output", "cannot be written");
    } catch (const std::exception& failure) {
        ReportFailure("", failure.what());
    }
    return exitFailed;
}
