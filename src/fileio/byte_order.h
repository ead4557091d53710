// Numbers in bytes, both byte orders: the only place where file bytes become integers and the other way
// round.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

namespace vantor {

template <typename T>
constexpr T ReadLittle(const uint8_t* bytes) {
    T value = 0;
    for (size_t i = 0; i < sizeof(T); ++i)
        value = static_cast<T>(value | static_cast<T>(static_cast<T>(bytes[i]) << (8 * i)));
    return value;
}

template <typename T>
constexpr T ReadBig(const uint8_t* bytes) {
    T value = 0;
    for (size_t i = 0; i < sizeof(T); ++i)
        value = static_cast<T>(value | static_cast<T>(static_cast<T>(bytes[sizeof(T) - 1 - i]) << (8 * i)));
    return value;
}

template <typename T>
constexpr void WriteLittle(uint8_t* bytes, T value) {
    for (size_t i = 0; i < sizeof(T); ++i)
        bytes[i] = static_cast<uint8_t>(value >> (8 * i));
}

template <typename T>
constexpr void WriteBig(uint8_t* bytes, T value) {
    for (size_t i = 0; i < sizeof(T); ++i)
        bytes[sizeof(T) - 1 - i] = static_cast<uint8_t>(value >> (8 * i));
}

constexpr uint16_t ReadLe16(const uint8_t* bytes) {
    return ReadLittle<uint16_t>(bytes);
}
constexpr uint32_t ReadLe32(const uint8_t* bytes) {
    return ReadLittle<uint32_t>(bytes);
}
constexpr uint64_t ReadLe64(const uint8_t* bytes) {
    return ReadLittle<uint64_t>(bytes);
}
constexpr uint16_t ReadBe16(const uint8_t* bytes) {
    return ReadBig<uint16_t>(bytes);
}
constexpr uint32_t ReadBe32(const uint8_t* bytes) {
    return ReadBig<uint32_t>(bytes);
}
constexpr uint64_t ReadBe64(const uint8_t* bytes) {
    return ReadBig<uint64_t>(bytes);
}
constexpr float ReadLeFloat(const uint8_t* bytes) {
    return std::bit_cast<float>(ReadLe32(bytes));
}
constexpr double ReadBeDouble(const uint8_t* bytes) {
    return std::bit_cast<double>(ReadBe64(bytes));
}

constexpr void WriteLe16(uint8_t* bytes, uint16_t value) {
    WriteLittle(bytes, value);
}
constexpr void WriteLe32(uint8_t* bytes, uint32_t value) {
    WriteLittle(bytes, value);
}
constexpr void WriteLe64(uint8_t* bytes, uint64_t value) {
    WriteLittle(bytes, value);
}
constexpr void WriteBe16(uint8_t* bytes, uint16_t value) {
    WriteBig(bytes, value);
}
constexpr void WriteBe32(uint8_t* bytes, uint32_t value) {
    WriteBig(bytes, value);
}
constexpr void WriteBe64(uint8_t* bytes, uint64_t value) {
    WriteBig(bytes, value);
}

// The four characters at `bytes`, for comparison with "data" and its like.
inline std::string_view FourCharacters(const uint8_t* bytes) {
    return {reinterpret_cast<const char*>(bytes), 4};
}

}  // namespace vantor
