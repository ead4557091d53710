#include "wavehost/commands/edit_files.h"
#include "wavehost/commands/meta.h"
#include "wavehost/edits/documents.h"
#include "wavehost/facts/messages.h"
#include "wavehost/files/whole_file.h"
#include "wavehost/os/failure.h"

namespace vantor::wavehost {

namespace {

struct MetaEmbedOptions {
    std::string file, chunk, input;
    EditWays ways;
};

int RunMetaEmbed(Session& session, const MetaEmbedOptions& options) {
    const Module& module = ModuleOf(session);
    return ForFile(options.file, [&] {
        const std::string document = ReadWhole(options.input);
        if (document.empty()) throw Failure(options.input + " is empty");
        const EditResult result =
            EmbedDocument(module, options.file, *DocumentKindNamed(options.chunk), document, options.ways);
        const int status = TellEdit(session, options.file, result, options.ways);
        TellDryRun(session, options.ways);
        return status;
    });
}

}  // namespace

void AddMetaEmbed(CommandLine& line, Command& meta) {
    auto [command, options] =
        AddCommand(line, meta, "embed", "Puts a document into the file as it stands", &RunMetaEmbed);
    AddOption(command, "FILE", &options->file, fileHelp, {.required = true});
    AddOption(command, "CHUNK", &options->chunk, chunkHelp,
              {.required = true, .objection = CheckDocumentKind});
    AddOption(command, "IN", &options->input, "The document; - is standard input", {.required = true});
    AddEditWays(command, options->ways);
}

}  // namespace vantor::wavehost
