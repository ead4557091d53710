#include "wavehost/files/output_file.h"

#include <random>

#include "wavehost/os/failure.h"

namespace vantor::wavehost {

namespace {

constexpr int longestLinkChain = 40;

// A name that nobody can have laid a link under.
std::string TemporaryName() {
    std::random_device random;
    char name[40];
    std::snprintf(name, sizeof name, ".vantor-%08x%08x.tmp", random(), random());
    return name;
}

bool IsDevice(const fs::path& path) {
    std::error_code failed;
    const fs::file_status status = fs::status(path, failed);
    return fs::exists(status) && !fs::is_regular_file(status) && !fs::is_directory(status);
}

}  // namespace

fs::path FollowLinks(fs::path path) {
    std::error_code failed;
    for (int i = 0; i < longestLinkChain && fs::is_symlink(path, failed); ++i) {
        const fs::path next = fs::read_symlink(path, failed);
        if (failed) break;
        path = path.parent_path() / next;
    }
    return path;
}

bool IsSameFile(const fs::path& one, const fs::path& other) {
    std::error_code failed;
    return fs::equivalent(one, other, failed) && !failed;
}

OutputFile::OutputFile(const fs::path& target) : target_(FollowLinks(fs::absolute(target))) {
    written_ = IsDevice(target_) ? target_ : target_.parent_path() / TemporaryName();
}

OutputFile::~OutputFile() {
    std::error_code ignored;
    if (written_ != target_) fs::remove(written_, ignored);
}

void OutputFile::TakePlace() {
    if (written_ == target_) return;
    if (!SyncFile(written_)) throw Failure("cannot be written to the disk");
    std::string error;
    if (!TakePlaceOf(written_, target_, error)) throw Failure("cannot be replaced: " + error);
    written_ = target_;
}

}  // namespace vantor::wavehost
