// The switches of all mutants that one build holds. VANTOR_MUTANT names the one that is on; VANTOR_REACHED
// names a file that receives which test reached which.
#pragma once

#include <atomic>
#include <type_traits>

namespace mutants {

inline constexpr int mostMutants = 1 << 16;
extern std::atomic<bool> reached[mostMutants];

bool IsOn(int id);

// Constants of the compiler stay what they are.
constexpr bool On(int id) {
    return !std::is_constant_evaluated() && IsOn(id);
}

template <typename A, typename B>
constexpr bool Less(int id, const A& a, const B& b) {
    return On(id) ? a <= b : a < b;
}
template <typename A, typename B>
constexpr bool LessEqual(int id, const A& a, const B& b) {
    return On(id) ? a < b : a <= b;
}
template <typename A, typename B>
constexpr bool Greater(int id, const A& a, const B& b) {
    return On(id) ? a >= b : a > b;
}
template <typename A, typename B>
constexpr bool GreaterEqual(int id, const A& a, const B& b) {
    return On(id) ? a > b : a >= b;
}
template <typename A, typename B>
constexpr bool Equal(int id, const A& a, const B& b) {
    return On(id) ? !(a == b) : a == b;
}
template <typename A, typename B>
constexpr bool NotEqual(int id, const A& a, const B& b) {
    return On(id) ? a == b : a != b;
}
template <typename A, typename B>
constexpr auto Add(int id, const A& a, const B& b) {
    return On(id) ? a - b : a + b;
}
template <typename A, typename B>
constexpr auto Subtract(int id, const A& a, const B& b) {
    return On(id) ? a + b : a - b;
}
// Off by one: a limit, a width, an offset.
template <typename A>
constexpr A Limit(int id, const A& a) {
    return On(id) ? static_cast<A>(a + 1) : a;
}

}  // namespace mutants
