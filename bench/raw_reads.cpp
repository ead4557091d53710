#include "bench/raw_reads.h"

#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/uio.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <stdexcept>

namespace vantor::bench {

RawFile::RawFile(const std::string& fileName) : descriptor_(::open(fileName.c_str(), O_RDONLY | O_CLOEXEC)) {
    if (descriptor_ < 0) throw std::runtime_error(fileName + ": cannot be opened");
}

RawFile::~RawFile() {
    ::close(descriptor_);
}

int64_t RawFile::ReadAt(int64_t position, void* bytes, int64_t count) const {
    return ::pread(descriptor_, bytes, static_cast<size_t>(count), position);
}

int64_t RawFile::Size() const {
    struct stat status {};
    return ::fstat(descriptor_, &status) == 0 ? status.st_size : 0;
}

bool DropFromCache(const std::string& fileName) {
    const int descriptor = ::open(fileName.c_str(), O_RDONLY | O_CLOEXEC);
    char byte = 0;
    iovec one{&byte, 1};
    const bool isGone = ::fsync(descriptor) == 0 &&
                        ::posix_fadvise(descriptor, 0, 0, POSIX_FADV_DONTNEED) == 0 &&
                        ::preadv2(descriptor, &one, 1, 0, RWF_NOWAIT) < 0 && errno == EAGAIN;
    // The question itself may have fetched what it asked for.
    ::posix_fadvise(descriptor, 0, 0, POSIX_FADV_DONTNEED);
    ::close(descriptor);
    return isGone;
}

void ReadBytes(const RawFile& file, int64_t pieceBytes, double frameBytes, int32_t frames, int32_t channels) {
    std::vector<char> piece(static_cast<size_t>(pieceBytes));
    std::vector<double> samples(static_cast<size_t>(frames * channels));
    const double blockBytes = frameBytes * frames;
    int64_t position = 0;
    double written = 0;  // of the bytes that were read
    while (const int64_t got = file.ReadAt(position, piece.data(), pieceBytes)) {
        position += got;
        benchmark::DoNotOptimize(piece.data());
        for (; frames > 0 && written < static_cast<double>(position); written += blockBytes) {
            std::memset(samples.data(), 0, samples.size() * sizeof(double));
            benchmark::DoNotOptimize(samples.data());
            benchmark::ClobberMemory();
        }
    }
}

}  // namespace vantor::bench
