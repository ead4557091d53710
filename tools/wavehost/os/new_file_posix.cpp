#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <cerrno>
#include <utility>
#include <vector>

#include "wavehost/os/edit_lock.h"
#include "wavehost/os/new_file.h"
#include "wavehost/os/system.h"
#include "wavehost/os/temporary_name.h"
#include "wavehost/os/waiting.h"

namespace vantor::wavehost {

namespace {

class Descriptor {
  public:
    explicit Descriptor(int number) : number_(number) {}
    ~Descriptor() {
        if (number_ >= 0) close(number_);
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    [[nodiscard]] int Number() const { return number_; }

  private:
    int number_;
};

fs::path PathOfDescriptor(int descriptor) {
    return "/proc/self/fd/" + std::to_string(descriptor);
}

// Open for reading alone: whoever has a file open for writing counts as recording it.
int OpenUnnamed(const fs::path& folder) {
    const Descriptor made(open(folder.c_str(), O_TMPFILE | O_RDWR | O_CLOEXEC, 0666));
    return made.Number() < 0 ? -1 : open(PathOfDescriptor(made.Number()).c_str(), O_RDONLY | O_CLOEXEC);
}

// Its owner holds a lock on it for as long as it lives.
int OpenNamed(const fs::path& path) {
    const int descriptor = open(path.c_str(), O_RDONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    if (descriptor >= 0) flock(descriptor, LOCK_EX | LOCK_NB);
    return descriptor;
}

void CopyAttributes(int from, int to) {
    const ssize_t bytes = flistxattr(from, nullptr, 0);
    if (bytes <= 0) return;
    std::string names(static_cast<size_t>(bytes), '\0');
    const ssize_t listed = flistxattr(from, names.data(), names.size());
    std::vector<char> value;
    for (ssize_t at = 0; at < listed;
         at += static_cast<ssize_t>(std::string_view(&names[static_cast<size_t>(at)]).size()) + 1) {
        const char* const name = &names[static_cast<size_t>(at)];
        const ssize_t size = fgetxattr(from, name, nullptr, 0);
        if (size < 0) continue;
        value.resize(static_cast<size_t>(size) + 1);
        const ssize_t got = fgetxattr(from, name, value.data(), value.size());
        // One that only the system may set stays away.
        if (got >= 0) [[maybe_unused]]
            const int set = fsetxattr(to, name, value.data(), static_cast<size_t>(got), 0);
    }
}

// What stands in the file's place until now, locked: no host of the module edits it while its name goes.
class OldFile {
  public:
    OldFile(const fs::path& target, TargetLock lock)
        : file_(open(target.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY)) {
        if (file_.Number() < 0) return;
        if (lock == TargetLock::toBeTaken)
            WaitUntil(TextOf(target),
                      [&] { return flock(file_.Number(), LOCK_EX | LOCK_NB) == 0 || errno != EWOULDBLOCK; });
        if (IsBeingRecorded(target)) throw Failure("is being recorded by another program");
    }

    void GiveAllTo(int successor) const {
        struct stat old {};
        if (file_.Number() < 0 || fstat(file_.Number(), &old) != 0) return;
        // The owner first: changing it takes special permission bits away. Only root may give files away.
        [[maybe_unused]] const int owned = fchown(successor, old.st_uid, old.st_gid);
        [[maybe_unused]] const int moded = fchmod(successor, old.st_mode & 07777);
        CopyAttributes(file_.Number(), successor);
    }

  private:
    Descriptor file_;
};

}  // namespace

bool HasOtherNames(const fs::path& file) {
    std::error_code failed;
    return fs::hard_link_count(file, failed) > 1 && !failed;
}

void SweepUp(const fs::path& folder) {
    std::error_code failed;
    for (const auto& entry : fs::directory_iterator(folder, failed)) {
        if (!IsTemporaryName(entry.path().filename().native())) continue;
        const Descriptor left(open(entry.path().c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK));
        struct stat status {};
        if (left.Number() >= 0 && fstat(left.Number(), &status) == 0 && S_ISREG(status.st_mode) &&
            flock(left.Number(), LOCK_EX | LOCK_NB) == 0)
            unlink(entry.path().c_str());
    }
}

NewFile::NewFile(const fs::path& folder) : folder_(folder.empty() ? fs::path(".") : folder) {
    SweepUpOnce(folder_);
    descriptor_ = OpenUnnamed(folder_);
    if (descriptor_ >= 0) {
        path_ = PathOfDescriptor(descriptor_);
        return;
    }
    path_ = name_ = folder_ / TemporaryName();
    descriptor_ = OpenNamed(path_);
    if (descriptor_ < 0) name_.clear();  // whoever opens it learns why
}

NewFile::~NewFile() {
    if (!name_.empty()) unlink(name_.c_str());
    if (descriptor_ >= 0) close(descriptor_);
}

void NewFile::TakePlaceOf(const fs::path& target, TargetLock lock) {
    if (descriptor_ < 0) throw Failure("cannot be created");
    const OldFile old(target, lock);
    old.GiveAllTo(descriptor_);
    if (fsync(descriptor_) != 0) throw Failure("cannot be written to the disk");
    if (name_.empty()) {
        const fs::path name = folder_ / TemporaryName();
        if (linkat(AT_FDCWD, path_.c_str(), AT_FDCWD, name.c_str(), AT_SYMLINK_FOLLOW) != 0)
            throw Failure("cannot be replaced: " + LastReason());
        name_ = name;
    }
    if (rename(name_.c_str(), target.c_str()) != 0) throw Failure("cannot be replaced: " + LastReason());
    name_.clear();
    SyncFile(folder_);
}

}  // namespace vantor::wavehost
