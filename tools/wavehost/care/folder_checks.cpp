#include "wavehost/care/folder_checks.h"

#include <algorithm>
#include <span>
#include <tuple>
#include <utility>

#include "wavehost/care/audio_hash.h"
#include "wavehost/care/position.h"
#include "wavehost/os/fnv_hash.h"
#include "wavehost/os/system.h"

namespace vantor::wavehost {

namespace {

constexpr size_t edgeBytes = 4096;

// Equal ones are compared by a real hash.
uint64_t Fingerprint(const Sound& sound, FileReader& reader) {
    uint64_t hash = fnvStart;
    uint8_t edge[edgeBytes];
    for (const int64_t position :
         {sound.start, std::max(sound.start, sound.end - static_cast<int64_t>(edgeBytes))}) {
        reader.Seek(position);
        const int64_t wanted = std::min<int64_t>(edgeBytes, sound.end - position);
        hash = FnvHash(std::span(edge, static_cast<size_t>(reader.Read(edge, wanted))), hash);
    }
    return hash;
}

std::string RateText(const FileSummary& summary) {
    return std::to_string(static_cast<int64_t>(summary.sampleRate)) + " Hz";
}

std::string DepthText(const FileSummary& summary) {
    return std::to_string(summary.bits) + " bits";
}

std::string ChannelText(const FileSummary& summary) {
    return std::to_string(summary.channels) + (summary.channels == 1 ? " channel" : " channels");
}

std::string PositionText(const FileSummary& summary) {
    return summary.hasPosition ? "with a position" : "without one";
}

struct FolderCheck {
    FindingId id;
    std::string (*text)(const FileSummary&);
};
constexpr FolderCheck folderChecks[] = {{FindingId::mixedRates, RateText},
                                        {FindingId::mixedDepths, DepthText},
                                        {FindingId::mixedChannels, ChannelText},
                                        {FindingId::missingPositions, PositionText}};

std::string NameOf(const std::string& file) {
    return TextOf(PathOf(file).filename());
}

}  // namespace

FileSummary Summarise(const Survey& survey, FileReader& reader) {
    FileSummary summary;
    if (!survey.sound || !survey.formatAccepted) return summary;
    summary.hasSound = true;
    summary.sampleRate = survey.format.sampleRate;
    summary.bits = survey.format.bitsPerSample;
    summary.channels = survey.format.channels;
    summary.hasPosition = !PositionsOf(survey.format).empty();
    summary.soundBytes = survey.sound->Bytes();
    if (summary.soundBytes > 0) summary.fingerprint = Fingerprint(*survey.sound, reader);
    return summary;
}

void FolderTally::Add(const std::string& file, const FileSummary& summary) {
    if (!summary.hasSound) return;
    const fs::path folder = PathOf(file).parent_path();
    folders_[folder.empty() ? "." : TextOf(folder)].push_back({file, summary});
}

// "48000 Hz: 12 files; 44100 Hz: 1 file (a.wav)", the most frequent first; empty when all are alike.
std::string FolderTally::Difference(const std::vector<Entry>& entries,
                                    std::string (*text)(const FileSummary&)) {
    struct Group {
        std::string text;
        size_t count;
        std::string example;
    };
    std::vector<Group> groups;
    for (const Entry& entry : entries) {
        const std::string value = text(entry.summary);
        const auto group = std::ranges::find(groups, value, &Group::text);
        if (group != groups.end())
            ++group->count;
        else
            groups.push_back({value, 1, NameOf(entry.file)});
    }
    if (groups.size() < 2) return "";
    std::ranges::stable_sort(groups, std::ranges::greater(), &Group::count);
    std::string line;
    for (const Group& group : groups)
        line += (line.empty() ? "" : "; ") + group.text + ": " + std::to_string(group.count) +
                (group.count == 1 ? " file (" : " files (") + group.example +
                (group.count == 1 ? ")" : ", ...)");
    return line;
}

void FolderTally::AddSameSounds(const std::vector<Entry>& entries, wavehost::Findings& findings) {
    using Likeness = std::tuple<int64_t, uint64_t, int32_t, int32_t>;
    std::map<Likeness, std::vector<const Entry*>> alike;
    for (const Entry& entry : entries)
        if (entry.summary.soundBytes > 0)
            alike[{entry.summary.soundBytes, entry.summary.fingerprint, entry.summary.bits,
                   entry.summary.channels}]
                .push_back(&entry);
    for (const auto& [likeness, candidates] : alike) {
        if (candidates.size() < 2) continue;
        std::map<std::string, std::string> firstOf;  // by hash
        for (const Entry* candidate : candidates) {
            const auto [first, isNew] =
                firstOf.try_emplace(HashAudio(candidate->file, DigestKind::md5), candidate->file);
            if (!isNew)
                findings.push_back(
                    {FindingId::sameAudio, "", 0,
                     NameOf(candidate->file) + " holds the sound of " + NameOf(first->second)});
        }
    }
}

std::vector<FolderFindings> FolderTally::Findings() const {
    std::vector<FolderFindings> all;
    for (const auto& [folder, entries] : folders_) {
        FolderFindings found{folder, {}};
        for (const FolderCheck& check : folderChecks)
            if (const auto text = Difference(entries, check.text); !text.empty())
                found.findings.push_back({check.id, "", 0, text});
        AddSameSounds(entries, found.findings);
        if (!found.findings.empty()) all.push_back(std::move(found));
    }
    return all;
}

}  // namespace vantor::wavehost
