#include "wavehost/care/repair.h"

#include <algorithm>
#include <chrono>
#include <memory>
#include <utility>

#include "fileio/file_lock.h"
#include "wavehost/care/apply_steps.h"
#include "wavehost/care/examine.h"
#include "wavehost/files/output_file.h"
#include "wavehost/os/failure.h"
#include "wavehost/os/system.h"

namespace vantor::wavehost {

namespace {

constexpr std::chrono::seconds longestWait(10);
constexpr size_t mostRounds = 10000;  // a file may have as many doubled chunks as are listed

// One look at the file, by somebody who holds its lock.
struct Look {
    Findings findings;
    platform::FileStatus status;
};

Look LookAt(const std::string& file, const FileLock& lock) {
    FileReader reader(file, {});
    if (!reader.IsOpen()) throw Failure(WhyNotOpened(file));
    if (!lock.IsOf(reader.Status())) throw Failure("was replaced by another program meanwhile");
    if (reader.IsWriteShared()) throw Failure("is being recorded or written: it is not touched");
    return {ExamineSurvey(*SurveyFile(file, reader), reader, {}), reader.Status()};
}

std::unique_ptr<FileLock> Lock(const std::string& file) {
    auto lock = std::make_unique<FileLock>(file, longestWait);
    if (!lock->IsHeld()) {
        const FileReader reader(file, {});
        throw Failure(reader.IsOpen() ? "is being edited by another program" : WhyNotOpened(file));
    }
    return lock;
}

void RefuseProtected(const std::string& file) {
    std::error_code failed;
    const auto mode = fs::status(PathOf(file), failed).permissions();
    constexpr auto writable = fs::perms::owner_write | fs::perms::group_write | fs::perms::others_write;
    if (!failed && (mode & writable) == fs::perms::none)
        throw Failure("is write-protected: --force writes into it");
}

// By a complete copy that takes the file's place.
bool Inserts(const Finding& finding) {
    return !finding.steps.empty() && finding.steps.front().kind == Step::Kind::insert;
}

bool IsSame(const Finding& one, const Finding& other) {
    return one.id == other.id && one.offset == other.offset && one.text == other.text;
}

}  // namespace

bool IsMended(const Finding& finding, const RepairOptions& options) {
    return finding.mending == Mending::certain || (finding.mending == Mending::forced && options.force);
}

Repair RepairFile(const std::string& file, const RepairOptions& options, void (*between)()) {
    Repair repair;
    auto lock = Lock(file);
    for (size_t round = 0; round < mostRounds; ++round) {
        Look look = LookAt(file, *lock);
        const auto next = std::ranges::find_if(
            look.findings, [&](const Finding& finding) { return IsMended(finding, options); });
        if (next == look.findings.end()) {
            repair.left = std::move(look.findings);
            return repair;
        }
        if (!options.force) RefuseProtected(file);
        if (!repair.mended.empty() && IsSame(*next, repair.mended.back()))
            throw Failure(std::string("keeps its fault: ") + KindOf(next->id).name);
        if (!options.force && Inserts(*next)) RefuseOtherNames(PathOf(file));
        between();
        if (ApplySteps(file, look.status, next->steps, lock))
            lock = Lock(file);  // of the file that took its place
        repair.mended.push_back(std::move(*next));
    }
    throw Failure("has more faults than one repair mends; run it again");
}

}  // namespace vantor::wavehost
