#include <random>

#include "wavehost/os/failure.h"
#include "wavehost/os/temporary_stream.h"

namespace vantor::wavehost {

Stream TemporaryStream() {
    std::random_device random;
    char name[40];
    std::snprintf(name, sizeof name, "wavehost-%08x%08x.tmp", random(), random());
    // T: kept in memory while there is room; D: goes when it is closed.
    Stream stream(OpenStream(fs::temp_directory_path() / name, "w+bTD"));
    if (!stream) throw Failure("no temporary file can be made: " + LastReason());
    return stream;
}

}  // namespace vantor::wavehost
