// Makes the changes of a finding, one after the other, each on the disk before the next.
#pragma once

#include <memory>
#include <span>
#include <string>

#include "fileio/file_lock.h"
#include "platform/file_system.h"
#include "wavehost/care/findings.h"

namespace vantor::wavehost {

// `status` is of the file that was looked at: another one, or one that changed since, is not touched. True
// when a complete copy took the file's place. Throws Failure; the step that failed is undone where the system
// lets it, those before it stand. `lock` is the file's; it is let go for a copy where the system replaces no
// file that is open.
bool ApplySteps(const std::string& file, const platform::FileStatus& status, std::span<const Step> steps,
                std::unique_ptr<FileLock>& lock);

}  // namespace vantor::wavehost
