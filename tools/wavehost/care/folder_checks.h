// What is wrong with the files of a folder beside one another.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "wavehost/care/findings.h"
#include "wavehost/care/survey.h"

namespace vantor::wavehost {

// Of one file, what the checks of a folder compare.
struct FileSummary {
    bool hasSound = false;
    double sampleRate = 0;
    int32_t bits = 0;
    int32_t channels = 0;
    bool hasPosition = false;
    int64_t soundBytes = 0;
    uint64_t fingerprint = 0;  // of the first and the last bytes of the sound
};
FileSummary Summarise(const Survey& survey, FileReader& reader);

struct FolderFindings {
    std::string folder;
    Findings findings;
};

class FolderTally {
  public:
    void Add(const std::string& file, const FileSummary& summary);
    // By folder, in the order of their names. Sounds that may be the same are read to know.
    [[nodiscard]] std::vector<FolderFindings> Findings() const;

  private:
    struct Entry {
        std::string file;
        FileSummary summary;
    };
    std::map<std::string, std::vector<Entry>> folders_;

    static std::string Difference(const std::vector<Entry>& entries, std::string (*text)(const FileSummary&));
    static void AddSameSounds(const std::vector<Entry>& entries, wavehost::Findings& findings);
};

}  // namespace vantor::wavehost
