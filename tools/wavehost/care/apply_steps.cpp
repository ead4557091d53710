#include "wavehost/care/apply_steps.h"

#include <algorithm>
#include <memory>

#include "fileio/file_name.h"
#include "fileio/file_reader.h"
#include "fileio/file_writer.h"
#include "wavehost/care/examine.h"
#include "wavehost/files/output_file.h"
#include "wavehost/os/failure.h"
#include "wavehost/os/new_file.h"
#include "wavehost/os/system.h"

namespace vantor::wavehost {

namespace {

constexpr int32_t blockBytes = 1 << 20;

void CheckIdentity(const platform::FileStatus& seen, const platform::FileStatus& now) {
    if (!(seen == now)) throw Failure("was changed by another program meanwhile");
}

// Puts what stood there back, as far as the system lets.
void Undo(platform::File& file, int64_t offset, const std::vector<uint8_t>& before) {
    if (!before.empty() && file.SetPosition(offset))
        (void)file.Write(before.data(), static_cast<uint32_t>(before.size()));
    if (file.Size() > offset + static_cast<int64_t>(before.size()) && before.empty() &&
        file.SetPosition(offset))
        (void)file.CutAtPosition();
    (void)file.FlushToDisk();
}

void WriteStep(platform::File& file, const Step& step) {
    const auto count = static_cast<uint32_t>(step.bytes.size());
    std::vector<uint8_t> before(count);
    if (!file.SetPosition(step.offset)) throw Failure("cannot be written");
    before.resize(static_cast<size_t>(std::max<int64_t>(file.Read(before.data(), count), 0)));
    if (!file.SetPosition(step.offset)) throw Failure("cannot be written");
    const auto result = file.Write(step.bytes.data(), count);
    if (result.error == platform::WriteError::none && result.bytes == count && file.FlushToDisk()) return;
    Undo(file, step.offset, before);
    throw Failure(result.error == platform::WriteError::diskFull ? "cannot be written: the disk is full"
                                                                 : "cannot be written");
}

void WriteInto(const std::string& name, const platform::FileStatus& status, std::span<const Step> steps) {
    const auto file = OpenFile(name, {.access = platform::Access::readWrite});
    if (!file) throw Failure("cannot be opened for writing");
    CheckIdentity(status, file->StatusAtOpen());
    for (const Step& step : steps)
        WriteStep(*file, step);
}

// Bytes from one place of a file to another, or from there to the end.
void Copy(FileReader& from, FileWriter& to, int64_t end) {
    std::vector<uint8_t> block(blockBytes);
    while (from.Tell() < end) {
        const auto wanted = std::min<int64_t>(blockBytes, end - from.Tell());
        const auto count = static_cast<int32_t>(from.Read(block.data(), wanted));
        if (count < wanted) throw Failure("cannot be read");
        if (to.Write(block.data(), count) != count) throw Failure("the copy cannot be written");
    }
}

bool AreSame(FileReader& one, FileReader& other, int64_t bytes) {
    std::vector<uint8_t> here(blockBytes), there(blockBytes);
    for (int64_t done = 0; done < bytes;) {
        const auto wanted = std::min<int64_t>(blockBytes, bytes - done);
        if (!one.ReadExactly(here.data(), wanted) || !other.ReadExactly(there.data(), wanted)) return false;
        if (!std::equal(here.begin(), here.begin() + wanted, there.begin())) return false;
        done += wanted;
    }
    return true;
}

void WriteCopy(FileReader& old, const std::string& copy, const Step& step) {
    FileWriter writer(copy.c_str(), {});
    if (!writer.IsOpen()) throw Failure("the copy cannot be made");
    old.Seek(0);
    Copy(old, writer, step.offset);
    const auto count = static_cast<int32_t>(step.bytes.size());
    if (writer.Write(step.bytes.data(), count) != count) throw Failure("the copy cannot be written");
    Copy(old, writer, old.Size());
    if (!writer.FlushToDisk()) throw Failure("the copy cannot be written");
}

void ReadBack(FileReader& old, const std::string& name, const Step& step) {
    FileReader copy(name, {});
    const auto added = static_cast<int64_t>(step.bytes.size());
    old.Seek(0);
    bool isWhole = copy.Size() == old.Size() + added && AreSame(old, copy, step.offset);
    copy.Seek(step.offset + added);
    isWhole = isWhole && AreSame(old, copy, old.Size() - step.offset);
    if (!isWhole) throw Failure("the copy is not what was written");
}

// The file with the bytes in between, complete and read back before it takes the file's place.
void InsertInto(const std::string& name, const platform::FileStatus& status, const Step& step,
                std::unique_ptr<FileLock>& lock) {
    OutputFile output(PathOf(name));
    {
        FileReader old(name, {});
        if (!old.IsOpen()) throw Failure(WhyNotOpened(name));
        CheckIdentity(status, old.Status());
        const std::string copy = TextOf(output.WriteTo());
        WriteCopy(old, copy, step);
        ReadBack(old, copy, step);
    }
    auto now = OpenFile(name, {.shareWrite = true});
    if (!now) throw Failure(WhyNotOpened(name));
    CheckIdentity(status, now->StatusNow());
    now.reset();
    if (!openFilesAreReplaced) lock.reset();
    output.TakePlace(TargetLock::held);
}

}  // namespace

bool ApplySteps(const std::string& file, const platform::FileStatus& status, std::span<const Step> steps,
                std::unique_ptr<FileLock>& lock) {
    const bool inserts = !steps.empty() && steps.front().kind == Step::Kind::insert;
    if (inserts)
        InsertInto(file, status, steps.front(), lock);
    else
        WriteInto(file, status, steps);
    return inserts;
}

}  // namespace vantor::wavehost
