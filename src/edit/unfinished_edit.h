// An edit that was interrupted when its new tags were there: how it goes on.
#pragma once

#include <optional>

#include "edit/in_place_plan.h"

namespace vantor {

struct UnfinishedEdit {
    InPlacePlan plan;
    bool isInPlace = false;  // the new tags are where they belong; only padding is to be cleaned
};
[[nodiscard]] std::optional<UnfinishedEdit> FindUnfinishedEdit(FileReader& reader, bool isRf64);

}  // namespace vantor
