#include "wavehost/care/examine.h"

#include <algorithm>
#include <cstdint>
#include <string>

#include "wavehost/os/failure.h"
#include "wavehost/os/folder.h"

namespace vantor::wavehost {

namespace {

void Run(const std::vector<Check>& checks, Examination& examination) {
    for (const Check check : checks)
        check(examination);
}

// A file that does not play is no surprise while something that can be mended keeps it from playing.
void CheckReadable(Examination& e) {
    const auto explains = [](const Finding& finding) {
        return finding.mending != Mending::none &&
               (KindOf(finding.id).severity == Severity::error || finding.id == FindingId::padByte);
    };
    if (e.survey.isPlayable || std::ranges::any_of(e.findings, explains)) return;
    e.Add({FindingId::unreadable, "", 0, e.survey.format.errorMessage.value_or("cannot be played")});
}

}  // namespace

std::vector<uint8_t> Examination::BodyOf(const SurveyedChunk& chunk, int64_t most) const {
    std::vector<uint8_t> body(static_cast<size_t>(std::clamp<int64_t>(chunk.bodyBytes, 0, most)));
    reader.Seek(chunk.bodyStart);
    body.resize(static_cast<size_t>(reader.Read(body.data(), static_cast<int64_t>(body.size()))));
    return body;
}

Findings ExamineSurvey(const Survey& survey, FileReader& reader, const ExamineOptions& options) {
    Findings findings;
    Examination examination{survey, reader, findings};
    if (survey.rules) {
        Run(SizeChecks(), examination);
        Run(FormatChecks(), examination);
        Run(ChunkChecks(), examination);
        Run(TagChecks(), examination);
        if (options.audio) CheckLevels(examination);
    }
    CheckReadable(examination);
    std::ranges::stable_sort(findings, {}, &Finding::id);
    if (reader.HasMissedBytes()) throw Failure("cannot be read");
    return findings;
}

std::string WhyNotOpened(const std::string& file) {
    const std::string reason = WhyUnreadable(PathOf(file));
    return reason.empty() ? "cannot be opened" : reason;
}

Findings ExamineFile(const std::string& file, const ExamineOptions& options, FileSummary* summary) {
    FileReader reader(file, {});
    if (!reader.IsOpen()) throw Failure(WhyNotOpened(file));
    if (reader.IsWriteShared())
        return {{FindingId::beingWritten, "", 0, "another program is writing this file"}};
    const auto survey = SurveyFile(file, reader);
    if (summary) *summary = Summarise(*survey, reader);
    return ExamineSurvey(*survey, reader, options);
}

}  // namespace vantor::wavehost
