#include "decode/sample_conversion.h"

#include <gtest/gtest.h>

#include <array>
#include <bit>
#include <cmath>
#include <memory>

#if defined(__x86_64__)
#include <xmmintrin.h>
#endif

#include "decode/kernels.h"
#include "decode/ulaw_table.h"
#include "tests/decode/decode_support.h"

namespace vantor::test {
namespace {

double ConvertOne(const StoredCoding& coding, const Bytes& stored) {
    double sample = 99;
    ConverterFor(coding)(stored.data(), &sample, 1);
    return sample;
}

constexpr StoredCoding Integer(int32_t bits, bool bigEndian = false, int32_t kind = kindWave) {
    return {encodingInteger, bits, kind, bigEndian};
}

TEST(SampleConversion, FullScaleIsExact) {
    const struct {
        StoredCoding coding;
        Bytes stored;
        double value;
    } cases[] = {
        {Integer(8), {0x00}, -1.0},
        {Integer(8), {0xFF}, 0.9921875},
        {Integer(8, true, kindIff), {0x80}, -1.0},
        {Integer(8, false, kindCaf), {0x7F}, 0.9921875},
        {Integer(8, false, kindWave64), {0x00}, -1.0},
        {Integer(16), {0x00, 0x80}, -1.0},
        {Integer(16, true), {0x80, 0x01}, -0.999969482421875},
        {Integer(24), {0x00, 0x00, 0x80}, -1.0},
        {Integer(24, true), {0xFF, 0xFF, 0xFF}, -1.0 / 8388608},
        {Integer(20), {0xFF, 0xFF, 0x7F}, 0.99999988079071044921875},
        {Integer(20, true), {0x00, 0x00, 0x0F}, 15.0 / 8388608},
        {Integer(32), {0x00, 0x00, 0x00, 0x80}, -1.0},
        {Integer(32), {0x01, 0x00, 0x00, 0x00}, 4.656612873077393e-10},
        {Integer(32, true), {0x7F, 0xFF, 0xFF, 0xFF}, 2147483647.0 / 2147483648.0},
        {{encodingFloat, 32, kindWave, false}, ByteWriter().LeFloat(1.5f), 1.5},
        {{encodingFloat, 32, kindIff, true}, ByteWriter().BeFloat(-1e-40f), -static_cast<double>(1e-40f)},
        {{encodingFloat, 64, kindWave, false}, ByteWriter().LeDouble(-7.25e300), -7.25e300},
        {{encodingFloat, 64, kindIff, true}, ByteWriter().BeDouble(1.0 / 3), 1.0 / 3},
        {{encodingUlaw, 8, kindWave, false}, {0x80}, 0.995849609375},
        {{encodingUlaw, 8, kindCaf, true}, {0x80}, 0.995849609375},
    };
    for (const auto& c : cases)
        EXPECT_EQ(ConvertOne(c.coding, c.stored), c.value)
            << c.coding.bitsPerSample << " bits, wanted " << c.value;
}

TEST(SampleConversion, OtherFormatsHaveNoConverter) {
    for (const StoredCoding& coding : {Integer(64), Integer(12), StoredCoding{encodingImaAdpcm, 4, kindWave},
                                       StoredCoding{encodingFloat, 16, kindWave}, StoredCoding{}})
        EXPECT_EQ(ConverterFor(coding), nullptr);
}

// Eight segments of 16 steps, each twice as high as the one below it; negative codes lie 4 lower.
TEST(SampleConversion, UlawFollowsTheSegments) {
    for (int code = 0; code < 128; ++code) {
        const int step = 15 - code % 16, segment = 7 - code / 16;
        const int magnitude = ((8 * step + 136) << segment) - 136;
        EXPECT_EQ(ulawTable[static_cast<size_t>(code + 128)], magnitude / 32768.0) << code;
        EXPECT_EQ(ulawTable[static_cast<size_t>(code)], -(magnitude + 4) / 32768.0) << code;
    }
    EXPECT_FALSE(std::signbit(ulawTable[255]));
}

constexpr std::array<int, storedForms> formBytes = {1, 1, 2, 2, 3, 3, 4, 4, 4, 4, 8, 8, 1};

// Converts from and to memory that holds nothing else, off every boundary: the sanitizer sees a byte read too
// many.
std::vector<uint64_t> Bits(ConvertSamples convert, const Bytes& stored, size_t shift, int64_t count,
                           int bytes) {
    Bytes from(shift);
    from.insert(from.end(), stored.begin(), stored.begin() + count * bytes);
    from.shrink_to_fit();
    const auto samples = std::make_unique<double[]>(static_cast<size_t>(count));
    convert(from.data() + shift, samples.get(), count);
    std::vector<uint64_t> bits;
    for (int64_t i = 0; i < count; ++i)
        bits.push_back(std::bit_cast<uint64_t>(samples[static_cast<size_t>(i)]));
    return bits;
}

// Takes denormals for zero while it lives, as audio threads do.
class DenormalsAreZero {
#if defined(__x86_64__)
  public:
    DenormalsAreZero() {
        _mm_setcsr(mode_ | 0x8040);
    }
    ~DenormalsAreZero() {
        EXPECT_EQ(_mm_getcsr() & 0x8040, 0x8040u);
        _mm_setcsr(mode_);
    }

  private:
    uint32_t mode_ = _mm_getcsr();
#endif
};

TEST(SampleConversion, EveryInstructionSetAndThreadGivesTheSameBits) {
    // Singles among which are signalling NaNs, infinities and denormals of either byte order; every code;
    // noise.
    Bytes stored = ByteWriter().Le32(0x7F800001).Le32(0xFFA12345).Be32(0x7F800001).Be32(0x7FC00001);
    stored = ByteWriter().Add(stored).Le32(0x7F800000).Be32(0xFF800000).Le32(1).Be32(1).Le32(0x807FFFFF);
    stored = ByteWriter().Add(stored).Be32(0x807FFFFF).Le32(0x80000000);
    for (int code = 0; code < 256; ++code)
        stored.push_back(static_cast<uint8_t>(code));
    stored = ByteWriter().Add(stored).Add(Noise(8192));
    for (size_t i = 0; i < storedForms; ++i)
        for (const int64_t count : {0, 1, 2, 3, 4, 5, 7, 8, 9, 15, 16, 17, 31, 33, 1001})
            for (const size_t shift : {0u, 1u, 3u}) {
                const auto form = static_cast<StoredForm>(i);
                const auto convert = [&](const KernelTable& kernels) {
                    return Bits(kernels[form], stored, shift, count, formBytes[i]);
                };
                const auto plain = convert(PlainKernels());
                EXPECT_EQ(convert(Sse2Kernels()), plain) << i;
                const DenormalsAreZero scope;
                EXPECT_EQ(convert(PlainKernels()), plain) << i;
                EXPECT_EQ(convert(Sse2Kernels()), plain) << i;
                if (BestInstructionSet() == InstructionSet::avx2) {
                    EXPECT_EQ(convert(Avx2Kernels()), plain) << i;
                }
            }
}

}  // namespace
}  // namespace vantor::test
