#include <atomic>

#include "platform/file_system.h"

namespace vantor::platform {

namespace {

// Null: the operating system's.
std::atomic<FileSystem*> replacement = nullptr;

}  // namespace

FileSystem& CurrentFileSystem() {
    FileSystem* const current = replacement.load(std::memory_order_acquire);
    return current ? *current : SystemFileSystem();
}

ScopedFileSystem::ScopedFileSystem(FileSystem& fileSystem) : previous_(replacement.exchange(&fileSystem)) {}

ScopedFileSystem::~ScopedFileSystem() {
    replacement.store(previous_, std::memory_order_release);
}

}  // namespace vantor::platform
