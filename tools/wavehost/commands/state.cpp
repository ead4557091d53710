#include <fstream>

#include "wavehost/commands/commands.h"
#include "wavehost/facts/report.h"
#include "wavehost/files/output_file.h"
#include "wavehost/host/host_services.h"
#include "wavehost/host/project_text.h"
#include "wavehost/os/failure.h"
#include "wavehost/tables/json_output.h"

namespace vantor::wavehost {

namespace {

constexpr int32_t projectPriority = 5;
constexpr const char* blockKeyword = "<SOURCE";

HostPtr<PCM_source> WantedSource(const Module& module, const StateOptions& options) {
    HostPtr<PCM_source> source = OpenSource(module, options.file);
    if (!options.slice) return source;
    HostPtr<PCM_source> slice = SliceSource(*source.Get(), *options.slice);
    if (!slice) throw Failure("has no slice " + std::to_string(*options.slice));
    return slice;
}

std::string SavedBlock(PCM_source& source) {
    ProjectLines lines;
    if (source.WriteState(&lines) < 0) throw Failure("its state cannot be saved");
    std::string block = std::string(blockKeyword) + " " + source.TypeName() + "\n";
    for (const std::string& line : lines.Lines())
        block += "  " + line + "\n";
    return block + ">\n";
}

void WriteText(const std::string& text, const std::string& file) {
    OutputFile output(PathOf(file));
    Stream stream(OpenStream(output.WriteTo(), "wb"));
    if (!stream) throw Failure(file + " cannot be created");
    const bool wrote = std::fwrite(text.data(), 1, text.size(), stream.get()) == text.size();
    if (std::fclose(stream.release()) != 0 || !wrote) throw Failure(file + " cannot be written");
    output.TakePlace();
}

std::vector<std::string> ReadLines(const fs::path& file) {
    std::ifstream stream(file, std::ios::binary);
    if (!stream) throw Failure("cannot be opened");
    std::vector<std::string> lines;
    for (std::string line; std::getline(stream, line);) {
        if (!line.empty() && line.back() == '\r') line.pop_back();
        lines.push_back(std::move(line));
    }
    return lines;
}

HostPtr<PCM_source> Restore(const Module& module, const std::string& stateFile) {
    std::vector<std::string> lines = ReadLines(PathOf(stateFile));
    if (lines.empty()) throw Failure("holds no saved source");
    const std::vector<std::string> first = SplitProjectLine(lines.front());
    if (first.size() < 2 || first[0] != blockKeyword) throw Failure("holds no saved source");
    HostPtr<PCM_source> source(module.sources->CreateByType(first[1].c_str(), projectPriority));
    if (!source) throw Failure("the module has no source of type " + first[1]);

    Host().stateFolder = fs::absolute(PathOf(stateFile)).parent_path();
    const std::string firstLine = lines.front();
    lines.erase(lines.begin());
    ProjectLines context(std::move(lines));
    if (source->ReadState(firstLine.c_str(), &context) != 0)
        throw Failure("the block of the source does not end");
    return source;
}

int ShowRestored(const Module& module, const FileOptions& options) {
    const HostPtr<PCM_source> source = Restore(module, options.file);
    const SourceFacts facts = FactsOf(*source.Get(), source->FileName());
    if (options.json) std::puts(FactsJson({facts}, false).c_str());
    if (!facts.online) throw Failure(facts.file + ": " + facts.infoText);
    if (!options.json) PrintFacts(facts);
    return exitDone;
}

}  // namespace

int RunState(const Module& module, const StateOptions& options) {
    return ForFile(options.file, [&] {
        const HostPtr<PCM_source> source = WantedSource(module, options);
        if (options.output.empty()) {
            std::fputs(SavedBlock(*source.Get()).c_str(), stdout);
            return exitDone;
        }
        Host().stateFolder = fs::absolute(PathOf(options.output)).parent_path();
        WriteText(SavedBlock(*source.Get()), options.output);
        return exitDone;
    });
}

int RunRestore(const Module& module, const FileOptions& options) {
    return ForFile(options.file, [&] { return ShowRestored(module, options); });
}

}  // namespace vantor::wavehost
