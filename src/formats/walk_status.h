// How a step of a walk through a container's chunks ends.
#pragma once

namespace vantor {

// What is wrong with the file, in English; or nothing, and the walk goes on.
class [[nodiscard]] WalkStatus {
  public:
    constexpr WalkStatus() = default;
    // NOLINTNEXTLINE(google-explicit-constructor): a text is a status
    constexpr WalkStatus(const char* problem) : problem_(problem) {}

    [[nodiscard]] constexpr bool IsWrong() const { return problem_ != nullptr; }
    // Null when nothing is wrong.
    [[nodiscard]] constexpr const char* Problem() const { return problem_; }

  private:
    const char* problem_ = nullptr;
};

inline constexpr WalkStatus walkGoesOn;

}  // namespace vantor
