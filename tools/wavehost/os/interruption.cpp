#include "wavehost/os/interruption.h"

namespace vantor::wavehost {

void CheckInterruption() {
    if (const int status = InterruptionStatus()) throw Interrupted{status};
}

}  // namespace vantor::wavehost
