#include "wavehost/host/host_services.h"

namespace vantor::wavehost {

namespace {

void Fill(const ReadMode& wanted, int32_t* mode, int32_t* blocks, int32_t* blockBytes) {
    if (mode) *mode = wanted.mode;
    if (blocks) *blocks = wanted.blocks;
    if (blockBytes) *blockBytes = wanted.blockBytes;
}

}  // namespace

void UpdateDiskCounters(int32_t bytesRead, int32_t bytesWritten) {
    if (bytesRead > 0) {
        Host().diskReads += 1;
        Host().bytesRead += bytesRead;
    }
    if (bytesWritten > 0) Host().bytesWritten += bytesWritten;
    if (bytesWritten < 0) Host().writeFailure = bytesWritten;
}

void PreferredReadMode(int32_t* mode, int32_t* blocks, int32_t* blockBytes) {
    Fill(Host().readMode, mode, blocks, blockBytes);
}

void PreferredPeakReadMode(int32_t* mode, int32_t* blocks, int32_t* blockBytes) {
    Fill(Host().peakReadMode, mode, blocks, blockBytes);
}

}  // namespace vantor::wavehost
