// Files that live in memory alone. Put it behind the seam for a test or a fuzz target:
//
//     MemoryFileSystem files;
//     const platform::ScopedFileSystem scope(files);
//     files.Put("song.wav", bytes);
//
// Names are taken as given, the wide form without its characters above 127. For one thread.
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "platform/file_system.h"
#include "tests/support/byte_writer.h"

namespace vantor::test {

class MemoryFileSystem final : public platform::FileSystem {
  public:
    struct Contents {
        Bytes bytes;
        int64_t lastWriteTime = 0;
        uint64_t number = 0;  // no other file has it
    };

    // What changes a file or brings it to the disk.
    struct Change {
        enum Kind { write, cut, flush } kind;
        int64_t offset = 0;
        Bytes bytes{};
        void ApplyTo(Bytes& file) const;
    };
    // While set, all changes are noted there, those that fail as far as they are done.
    std::vector<Change>* trace = nullptr;
    // Counted down by changes; those that find it at 0 fail, half of a write being done: the next one alone,
    // or all that follow, or all writes that follow.
    enum class Failing { once, forGood, writesForGood } failing = Failing::once;
    int changesLeft = -1;
    int thenLeft = -1;  // with Failing::once: so many more until another one fails
    // While set, called with what a file holds that has just been flushed: the disk may keep something else.
    std::function<void(Bytes& bytes)> afterFlush;

    void Put(const std::string& name, Bytes bytes);
    // Null when there is no such file.
    [[nodiscard]] const Bytes* Find(const std::string& name) const;

    [[nodiscard]] platform::OpenResult OpenWide(const std::u16string& name,
                                                const platform::OpenOptions& options,
                                                std::unique_ptr<platform::File>& file) override;
    [[nodiscard]] platform::OpenResult OpenNarrow(const std::string& name,
                                                  const platform::OpenOptions& options,
                                                  std::unique_ptr<platform::File>& file) override;
    [[nodiscard]] bool RemoveWide(const std::u16string& name) override;
    [[nodiscard]] bool RemoveNarrow(const std::string& name) override;

    // True when the change is to fail.
    [[nodiscard]] bool Begin(Change change);

  private:
    std::map<std::string, std::shared_ptr<Contents>> files_;
};

}  // namespace vantor::test
