// Pulls the entry out of the static floors: without a reference the linker would leave the archive unread.
#include "entry/plugin_entry.h"

namespace {
[[maybe_unused]] const auto entryAnchor = &VantorPluginEntry;
}
