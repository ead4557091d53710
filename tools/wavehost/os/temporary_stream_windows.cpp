#include "wavehost/os/failure.h"
#include "wavehost/os/temporary_name.h"
#include "wavehost/os/temporary_stream.h"

namespace vantor::wavehost {

Stream TemporaryStream() {
    const std::string name = TemporaryName();
    // T: kept in memory while there is room; D: goes when it is closed.
    Stream stream(OpenStream(fs::temp_directory_path() / name, "w+bTD"));
    if (!stream) throw Failure("no temporary file can be made: " + LastReason());
    return stream;
}

}  // namespace vantor::wavehost
