// What the date and time fields of a broadcast chunk take.
#pragma once

#include <string>
#include <string_view>

namespace vantor::bext {

// yyyy-mm-dd with any separators; empty when it is no date.
[[nodiscard]] std::string_view DateField(std::string_view value);
// hh:mm:ss with any separators, the seconds ":00" when they are missing; empty when it is no time.
[[nodiscard]] std::string TimeField(std::string_view value);

}  // namespace vantor::bext
