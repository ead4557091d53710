#include <algorithm>
#include <sstream>

#include "wavehost/care/audio_hash.h"
#include "wavehost/commands/batch.h"
#include "wavehost/commands/command_line.h"
#include "wavehost/facts/messages.h"
#include "wavehost/files/whole_file.h"
#include "wavehost/os/failure.h"
#include "wavehost/os/terminal_text.h"

namespace vantor::wavehost {

namespace {

struct HashOptions {
    FileArguments files;
    std::string list;
    bool sha256 = false;
};

int PrintHashes(Session& session, const HashOptions& options) {
    const auto kind = options.sha256 ? DigestKind::sha256 : DigestKind::md5;
    Results results(ResultForm::text);
    return RunBatch(session, "hash", ListFiles(options.files), results, [&](const std::string& file) {
        PutTo(stdout, HashLineText(HashAudio(file, kind), file));
        return exitDone;
    });
}

// Lines that are none are told; what there is to verify, by the names in the list.
int ReadList(const std::string& list, const std::string& content, std::vector<HashLine>& lines) {
    std::istringstream stream(content);
    int status = exitDone;
    size_t number = 0;
    for (std::string text; std::getline(stream, text);) {
        ++number;
        if (number == 1 && text.starts_with("\xEF\xBB\xBF")) text.erase(0, 3);
        HashLine line;
        if (text.empty() || text == "\r") continue;
        if (ParseHashLine(text, line)) {
            lines.push_back(std::move(line));
            continue;
        }
        ReportFailure(list, "line " + std::to_string(number) + " is no hash, two blanks and a name");
        status = exitFailed;
    }
    if (lines.empty()) throw Failure("holds no hashes");
    return status;
}

int Verify(Session& session, const std::string& list) {
    const std::string content = ReadWhole(list);
    std::vector<HashLine> lines;
    int status = exitFailed;
    if (ForFile(list, [&] { return status = ReadList(list, content, lines); }) != exitDone && lines.empty())
        return exitFailed;
    std::vector<ListedFile> files;
    files.reserve(lines.size());
    for (const HashLine& line : lines)
        files.push_back({line.name, ""});
    Results results(ResultForm::text);
    size_t next = 0;
    const int compared = RunBatch(session, "verify", files, results, [&](const std::string& file) {
        const HashLine& line = lines[next++];
        const bool same = HashAudio(file, line.kind) == line.hash;
        PrintLine(file + (same ? ": OK" : ": FAILED"));
        return same ? exitDone : exitFailed;
    });
    return std::max(status, compared);
}

int RunHash(Session& session, const HashOptions& options) {
    if (!options.list.empty()) return Verify(session, options.list);
    if (!options.files.names.empty()) return PrintHashes(session, options);
    ReportFailure("", "hash wants files, or --verify with a list");
    return exitUsage;
}

}  // namespace

void AddHash(CommandLine& line) {
    auto [command, options] = AddCommand(line, line.program, "hash",
                                         "MD5 of the sound alone, which no edit of tags changes", &RunHash);
    AddFiles(command, options->files, filesHelp, {});
    AddFlag(command, "--sha256", options->sha256, "SHA-256 in place of MD5");
    AddOption(command, "--verify", &options->list,
              "Compare the files of such a list with it; - is standard input", {.excludes = "FILE"});
}

}  // namespace vantor::wavehost
