// An edit in place of a file, from a ready image.
#pragma once

#include <string>
#include <vector>

#include "edit/in_place.h"
#include "tests/support/chunk_list.h"

namespace vantor::test {

inline constexpr ReadParameters smallReads = {.mode = 1, .blockBytes = 8192, .blockCount = 4};

inline std::vector<std::string_view> Replaced(const Bytes& image) {
    std::vector<std::string_view> schemes(tagSchemes.begin(), tagSchemes.end());
    if (Ids(RiffFile(image)) == "acid") schemes.emplace_back("ACID");
    return schemes;
}

inline bool EditInPlace(const std::string& path, const Bytes& image, bool isRf64 = false) {
    std::optional<InPlacePlan> plan;
    {
        FileReader reader(path, smallReads);
        plan = PlanInPlace(reader, {image, {}, Replaced(image)}, isRf64);
    }
    if (!plan) return false;
    FileWriter writer(path.c_str(), {.mode = 0, .openExisting = true, .mustExist = true});
    return writer.IsOpen() && UpdateInPlace(writer, *plan) == InPlaceResult::done;
}

}  // namespace vantor::test
