// Those who edit one file take turns: other wavehosts over the whole of an edit, hosts of the module over
// what the module itself does, for which it has a lock of its own.
#pragma once

#include <filesystem>

namespace vantor::wavehost {

// Some program has the file open for writing. Where the system does not tell us of another user's file: no.
[[nodiscard]] bool IsBeingRecorded(const std::filesystem::path& file);

// While it lives, another wavehost that edits the same file waits. It comes when nobody edits the file;
// whoever has to wait for that says so. Throws Failure after ten seconds and for a file that is being
// recorded, Interrupted when an interruption comes.
class EditLock {
  public:
    explicit EditLock(const std::filesystem::path& file);
    ~EditLock();
    EditLock(const EditLock&) = delete;
    EditLock& operator=(const EditLock&) = delete;

  private:
#if defined(_WIN32)
    void* mutex_ = nullptr;
#else
    int socket_ = -1;
#endif
};

}  // namespace vantor::wavehost
