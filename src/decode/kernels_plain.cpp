#include <bit>
#include <cstring>

#include "decode/kernels.h"
#include "decode/ulaw_table.h"
#include "fileio/byte_order.h"

namespace vantor {

namespace {

double Unsigned8(const uint8_t* stored) {
    return (*stored - 128) * scale8;
}
double Signed8(const uint8_t* stored) {
    return static_cast<int8_t>(*stored) * scale8;
}
double Signed16Little(const uint8_t* stored) {
    return static_cast<int16_t>(ReadLe16(stored)) * scale16;
}
double Signed16Big(const uint8_t* stored) {
    return static_cast<int16_t>(ReadBe16(stored)) * scale16;
}
// Three bytes in the upper end of a word: their sign is the word's, their value its 256th part.
double Signed24(uint8_t low, uint8_t middle, uint8_t high) {
    const auto word = static_cast<uint32_t>(low) << 8 | static_cast<uint32_t>(middle) << 16 |
                      static_cast<uint32_t>(high) << 24;
    return static_cast<int32_t>(word) * scale32;
}
double Signed24Little(const uint8_t* stored) {
    return Signed24(stored[0], stored[1], stored[2]);
}
double Signed24Big(const uint8_t* stored) {
    return Signed24(stored[2], stored[1], stored[0]);
}
double Signed32Little(const uint8_t* stored) {
    return static_cast<int32_t>(ReadLe32(stored)) * scale32;
}
double Signed32Big(const uint8_t* stored) {
    return static_cast<int32_t>(ReadBe32(stored)) * scale32;
}
// Zeros and denormals by their digits: a thread may have the processor take denormals for zero.
double Widened(uint32_t single) {
    constexpr uint32_t exponentBits = 0x7F800000;
    constexpr uint32_t digitBits = 0x007FFFFF;
    if (single & exponentBits) return std::bit_cast<float>(single);
    const double magnitude = (single & digitBits) * 0x1p-149;
    return single >> 31 ? -magnitude : magnitude;
}
double Float32Little(const uint8_t* stored) {
    return Widened(ReadLe32(stored));
}
double Float32Big(const uint8_t* stored) {
    return Widened(ReadBe32(stored));
}

template <double (*value)(const uint8_t*), int bytes>
void Convert(const uint8_t* stored, double* samples, int64_t count) {
    for (int64_t i = 0; i < count; ++i)
        samples[i] = value(stored + i * bytes);
}

// 64-bit floats move as integers: no register may touch a signalling NaN.
void ConvertFloat64Little(const uint8_t* stored, double* samples, int64_t count) {
    if constexpr (std::endian::native == std::endian::little) {
        if (count > 0) std::memcpy(samples, stored, static_cast<size_t>(count) * sizeof(double));
    } else {
        for (int64_t i = 0; i < count; ++i) {
            const uint64_t word = ReadLe64(stored + 8 * i);
            std::memcpy(samples + i, &word, sizeof word);
        }
    }
}

void ConvertFloat64Big(const uint8_t* stored, double* samples, int64_t count) {
    for (int64_t i = 0; i < count; ++i) {
        const uint64_t word = ReadBe64(stored + 8 * i);
        std::memcpy(samples + i, &word, sizeof word);
    }
}

void ConvertUlaw(const uint8_t* stored, double* samples, int64_t count) {
    for (int64_t i = 0; i < count; ++i)
        samples[i] = ulawTable[stored[i]];
}

constexpr KernelTable kernels = [] {
    KernelTable table;
    table[StoredForm::unsigned8] = Convert<Unsigned8, 1>;
    table[StoredForm::signed8] = Convert<Signed8, 1>;
    table[StoredForm::signed16Little] = Convert<Signed16Little, 2>;
    table[StoredForm::signed16Big] = Convert<Signed16Big, 2>;
    table[StoredForm::signed24Little] = Convert<Signed24Little, 3>;
    table[StoredForm::signed24Big] = Convert<Signed24Big, 3>;
    table[StoredForm::signed32Little] = Convert<Signed32Little, 4>;
    table[StoredForm::signed32Big] = Convert<Signed32Big, 4>;
    table[StoredForm::float32Little] = Convert<Float32Little, 4>;
    table[StoredForm::float32Big] = Convert<Float32Big, 4>;
    table[StoredForm::float64Little] = ConvertFloat64Little;
    table[StoredForm::float64Big] = ConvertFloat64Big;
    table[StoredForm::ulaw] = ConvertUlaw;
    return table;
}();

}  // namespace

const KernelTable& PlainKernels() {
    return kernels;
}

}  // namespace vantor
