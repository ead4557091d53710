// Pulls the entry out of the static floors: without a reference the linker would leave the archive unread.
#include "entry/plugin_entry.h"

namespace {
[[gnu::used]] const auto entryAnchor = &VantorPluginEntry;
}
