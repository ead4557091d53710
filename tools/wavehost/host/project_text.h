// A block of lines as a project file holds it, written and read by sources.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "vantor_wave/host_interface.h"

namespace vantor::wavehost {

// Begins the first line of a source's block; the type's name follows, and a line ">" ends the block.
inline constexpr const char* sourceBlockKeyword = "<SOURCE";

// The text between quotes: the first of " ' ` that it does not hold. A text that holds all three is put
// between backquotes, and its own become apostrophes.
std::string QuoteProjectText(std::string_view text);
// The tokens of a line; a token in quotes may hold blanks.
std::vector<std::string> SplitProjectLine(std::string_view line);

// Lines kept in memory. It lives on the stack of its command.
class ProjectLines final : public ProjectContext {
  public:
    ProjectLines() = default;
    explicit ProjectLines(std::vector<std::string> lines) : lines_(std::move(lines)) {}

    void* DeletingDestructor(unsigned) override { return this; }
    int32_t AddLine(const char* format, ...) override;
    int32_t NextLine(char* line, int32_t lineBytes) override;

    [[nodiscard]] const std::vector<std::string>& Lines() const { return lines_; }

  private:
    std::vector<std::string> lines_;
    size_t next_ = 0;
};

}  // namespace vantor::wavehost
