// Everything that is wrong with one file.
#pragma once

#include <utility>

#include "wavehost/care/findings.h"
#include "wavehost/care/folder_checks.h"
#include "wavehost/care/survey.h"

namespace vantor::wavehost {

// One look at a file: the checks read from it and add what they find.
struct Examination {
    const Survey& survey;
    FileReader& reader;
    Findings& findings;

    void Add(Finding finding) { findings.push_back(std::move(finding)); }
    // The bytes of the body, or of its first `most`; fewer when the file cannot be read.
    [[nodiscard]] std::vector<uint8_t> BodyOf(const SurveyedChunk& chunk, int64_t most = largestBody) const;

    static constexpr int64_t largestBody = int64_t{64} << 20;  // looked at; no tag comes near it
};

// Each check is a function of its own.
using Check = void (*)(Examination& examination);

struct ExamineOptions {
    bool audio = false;  // reads the sound as well
};

// In the order of FindingId. Throws Failure when the file cannot be opened or read.
// `summary`, when given, receives what the checks of a folder compare.
Findings ExamineFile(const std::string& file, const ExamineOptions& options = {},
                     FileSummary* summary = nullptr);
Findings ExamineSurvey(const Survey& survey, FileReader& reader, const ExamineOptions& options);

// Why a file cannot be opened, in the system's words.
std::string WhyNotOpened(const std::string& file);

// The checks of this folder; in the file check_<subject>.cpp each.
std::vector<Check> SizeChecks();
std::vector<Check> FormatChecks();
std::vector<Check> ChunkChecks();
std::vector<Check> TagChecks();
void CheckLevels(Examination& examination);  // reads all of the sound

}  // namespace vantor::wavehost
