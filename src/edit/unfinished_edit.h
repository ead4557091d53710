// An edit that was interrupted when its new tags were there: how it goes on.
#pragma once

#include <optional>

#include "edit/in_place_plan.h"

namespace vantor {

// Its plan, from where its copy was shown; of nothing but padding when only that is to be cleaned.
[[nodiscard]] std::optional<InPlacePlan> FindUnfinishedEdit(FileReader& reader, bool isRf64);

}  // namespace vantor
