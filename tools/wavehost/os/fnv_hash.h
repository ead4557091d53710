// A hash by which things are told apart that nobody forges: FNV-1a of 64 bits.
#pragma once

#include <cstdint>
#include <type_traits>

namespace vantor::wavehost {

inline constexpr uint64_t fnvStart = 0xCBF29CE484222325;

// The hash with more behind what it is of: bytes, or the units of a wide text.
template <typename Units>
constexpr uint64_t FnvHash(const Units& units, uint64_t hash = fnvStart) {
    for (const auto unit : units)
        hash = (hash ^ static_cast<std::make_unsigned_t<std::remove_const_t<decltype(unit)>>>(unit)) *
               0x100000001B3;
    return hash;
}

}  // namespace vantor::wavehost
