#include "wavehost/os/failure.h"
#include "wavehost/picture/picture.h"

namespace vantor::wavehost {

bool CanDraw() {
    return false;
}

void DrawPicture(const Picture&, const std::string&) {
    throw Failure("this build cannot draw");
}

}  // namespace vantor::wavehost
