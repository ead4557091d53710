#include "wavehost/commands/meta.h"
#include "wavehost/commands/write_result.h"
#include "wavehost/edits/documents.h"
#include "wavehost/facts/messages.h"
#include "wavehost/os/failure.h"

namespace vantor::wavehost {

namespace {

struct MetaExtractOptions {
    std::string file, chunk;
    std::string output = "-";
};

int RunMetaExtract(Session& session, const MetaExtractOptions& options) {
    const Module& module = ModuleOf(session);
    return ForFile(options.file, [&] {
        const HostPtr<PCM_source> source = OpenSource(module, options.file);
        const std::string document = DocumentIn(*source.Get(), *DocumentKindNamed(options.chunk));
        if (document.empty()) throw Failure("has no " + options.chunk);
        return WriteResult(options.output, document);
    });
}

}  // namespace

void AddMetaExtract(CommandLine& line, Command& meta) {
    auto [command, options] =
        AddCommand(line, meta, "extract", "A document or picture as it stands in the file", &RunMetaExtract);
    AddOption(command, "FILE", &options->file, fileHelp, {.required = true});
    AddOption(command, "CHUNK", &options->chunk, chunkHelp,
              {.required = true, .objection = CheckDocumentKind});
    AddOption(command, "-o,--output", &options->output,
              "The file to write; - is standard output (the default)");
}

}  // namespace vantor::wavehost
