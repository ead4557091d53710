#include "wavehost/commands/meta.h"

#include "wavehost/edits/documents.h"

namespace vantor::wavehost {

std::string CheckDocumentKind(const std::string& name) {
    return DocumentKindNamed(name) ? "" : "'" + name + "' is not " + chunkHelp;
}

void AddMeta(CommandLine& line) {
    Command& meta = AddGroup(line.program, "meta", "Read and write metadata");
    AddMetaList(line, meta);
    AddMetaGet(line, meta);
    AddMetaSet(line, meta);
    AddMetaCopy(line, meta);
    AddMetaExport(line, meta);
    AddMetaImport(line, meta);
    AddMetaExtract(line, meta);
    AddMetaEmbed(line, meta);
}

}  // namespace vantor::wavehost
