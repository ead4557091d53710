#include "properties/properties_window.h"

namespace vantor {

// The module brings no toolkit; a host shows the file information text in a window of its own.
int32_t ShowPropertiesWindow(const FileProperties&, void*) {
    return 0;
}

}  // namespace vantor
