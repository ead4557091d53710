#include "wavehost/files/output_file.h"

#include <utility>

#include "wavehost/os/failure.h"
#include "wavehost/os/terminal_text.h"

namespace vantor::wavehost {

namespace {

constexpr int longestLinkChain = 40;

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

void RefuseOtherNames(const fs::path& file) {
    if (HasOtherNames(file))
        throw Failure(
            "has other names (hard links), which would keep the old file; --force replaces this one");
}

OutputFile::OutputFile(const fs::path& target) : target_(FollowLinks(AbsolutePath(target))) {
    std::error_code failed;
    if (target.empty()) throw Failure("no name is given for the output");
    if (fs::is_directory(target_, failed)) throw Failure("the output is a folder");
    if (!IsDevice(target_)) written_ = std::make_unique<NewFile>(target_.parent_path());
}

Stream OutputFile::Create() const {
    Stream stream(OpenStream(WriteTo(), "wb"));
    if (stream) return stream;
    const std::string reason = LastReason();
    throw Failure("cannot be created: " + (reason == "no such file" ? "no such folder" : reason));
}

void OutputFile::TakePlace(TargetLock lock) {
    if (written_) written_->TakePlaceOf(target_, lock);
    written_.reset();
}

void FinishStream(Stream stream) {
    const std::string reason = WhyNotWritten(stream.get());
    if (!reason.empty()) throw Failure(reason);
    if (std::fclose(stream.release()) != 0) throw Failure("cannot be written: " + LastReason());
}

void WriteOutput(const std::string& target, std::string_view content) try {
    if (target == "-") {
        PutAll(stdout, content);
        const std::string reason = WhyNotWritten(stdout);
        if (!reason.empty()) throw Failure(reason);
        return;
    }
    OutputFile file(PathOf(target));
    Stream stream = file.Create();
    PutAll(stream.get(), content);
    FinishStream(std::move(stream));
    file.TakePlace();
} catch (const OutputLost& lost) {
    throw Failure(lost.reason);
}

}  // namespace vantor::wavehost
