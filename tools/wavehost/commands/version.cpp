#include "wavehost/commands/version.h"

namespace vantor::wavehost {

const char* const productVersion = WAVEHOST_VERSION;

}  // namespace vantor::wavehost
