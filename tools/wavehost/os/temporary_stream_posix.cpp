#include "wavehost/os/failure.h"
#include "wavehost/os/temporary_stream.h"

namespace vantor::wavehost {

Stream TemporaryStream() {
    Stream stream(std::tmpfile());
    if (!stream) throw Failure("no temporary file can be made: " + LastReason());
    return stream;
}

}  // namespace vantor::wavehost
