#include "properties/properties_window.h"
#include "source/describe_source.h"
#include "source/guarded.h"

namespace vantor {

// The window holds a copy of everything: while it is open the source may be closed, or even deleted.
int32_t PCM_source_wavefile::ShowProperties(void* parentWindow) {
    return Guarded(0, [&] { return ShowPropertiesWindow(DescribeSource(*this), parentWindow); });
}

}  // namespace vantor
