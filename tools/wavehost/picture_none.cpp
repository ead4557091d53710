#include "failure.h"
#include "picture.h"

namespace vantor::wavehost {

bool CanDraw() {
    return false;
}

void DrawPicture(const Picture&, const std::string&) {
    throw Failure("this build cannot draw");
}

}  // namespace vantor::wavehost
