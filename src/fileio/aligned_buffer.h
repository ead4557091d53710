// Memory for unbuffered requests: the system wants whole sectors at addresses of whole sectors.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <new>

namespace vantor {

inline constexpr int64_t sectorBytes = 8192;  // a multiple of every sector size in use

constexpr int64_t RoundDownToSector(int64_t bytes) {
    return bytes - bytes % sectorBytes;
}
constexpr int64_t RoundUpToSector(int64_t bytes) {
    return RoundDownToSector(bytes + sectorBytes - 1);
}

struct AlignedDelete {
    void operator()(uint8_t* bytes) const { ::operator delete (bytes, std::align_val_t{sectorBytes}); }
};
using AlignedBuffer = std::unique_ptr<uint8_t[], AlignedDelete>;

// Unset bytes; null when there is no memory.
inline AlignedBuffer NewAlignedBuffer(int64_t bytes) {
    void* const memory =
        ::operator new (static_cast<size_t>(bytes), std::align_val_t{sectorBytes}, std::nothrow);
    return AlignedBuffer(static_cast<uint8_t*>(memory));
}

}  // namespace vantor
