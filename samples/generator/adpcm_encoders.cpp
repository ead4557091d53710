#include "samples/generator/adpcm_encoders.h"

#include <algorithm>
#include <array>
#include <cstdlib>

#include "samples/generator/adpcm_tables.h"

namespace vantor::samples {

namespace {

constexpr std::array<std::array<int, 2>, 7> msCoefficients = {
    {{256, 0}, {512, -256}, {0, 0}, {192, 64}, {240, 0}, {460, -208}, {392, -232}}};

int Limit(int value) {
    return std::clamp(value, -32768, 32767);
}

struct ImaState {
    int sample = 0;
    int index = 0;
};

ImaState NextIma(const ImaState& state, int code) {
    const int index = std::clamp(state.index, 0, 88);
    const int step = stepSizes[static_cast<size_t>(index)];
    const int size = step * (code & 7) / 4 + step / 8;
    return {Limit(state.sample + (code & 8 ? -size : size)),
            index + indexAdjustment[static_cast<size_t>(code & 7)]};
}

// The best of the codes 0, `stride`, 2 x `stride` ... below 16.
int BestIma(ImaState& state, int wanted, int stride) {
    int best = 0;
    for (int code = 0; code < 16; code += stride)
        if (std::abs(NextIma(state, code).sample - wanted) < std::abs(NextIma(state, best).sample - wanted))
            best = code;
    state = NextIma(state, best);
    return best;
}

int SampleAt(const Signal& signal, size_t index) {
    return index < signal.size() ? signal[index] : 0;
}

void Put16(std::vector<uint8_t>& bytes, int value) {
    bytes.push_back(static_cast<uint8_t>(value));
    bytes.push_back(static_cast<uint8_t>(value >> 8));
}

// `codeBits` 4 or 2: the low codes of a byte come first. A two-bit code stands for the upper bits of a
// four-bit one.
std::vector<uint8_t> EncodeImaFamily(const Signal& signal, int blockAlign, int codeBits) {
    const int stride = codeBits == 4 ? 1 : 4;
    std::vector<uint8_t> bytes;
    ImaState state;
    for (size_t at = 0; at < signal.size();) {
        state.sample = SampleAt(signal, at++);
        state.index = std::clamp(state.index, 0, 88);
        Put16(bytes, state.sample);
        Put16(bytes, state.index);
        for (int i = 4; i < blockAlign; ++i) {
            int packed = 0;
            for (int shift = 0; shift < 8; shift += codeBits)
                packed |= BestIma(state, SampleAt(signal, at++), stride) / stride << shift;
            bytes.push_back(static_cast<uint8_t>(packed));
        }
    }
    return bytes;
}

struct MsState {
    std::array<int, 2> coefficients;
    int delta;
    int sample1;
    int sample2;
};

MsState NextMs(const MsState& state, int code) {
    const int step = code < 8 ? code : code - 16;
    const int predicted =
        (state.sample1 * state.coefficients[0] + state.sample2 * state.coefficients[1]) / 256;
    const int delta = std::max(msAdaptation[static_cast<size_t>(code)] * state.delta / 256, 16);
    return {state.coefficients, delta, Limit(predicted + step * state.delta), state.sample1};
}

int BestMs(MsState& state, int wanted) {
    int best = 0;
    for (int code = 1; code < 16; ++code)
        if (std::abs(NextMs(state, code).sample1 - wanted) < std::abs(NextMs(state, best).sample1 - wanted))
            best = code;
    state = NextMs(state, best);
    return best;
}

}  // namespace

std::vector<uint8_t> EncodeIma(const Signal& signal, int blockAlign) {
    return EncodeImaFamily(signal, blockAlign, 4);
}

std::vector<uint8_t> EncodeCAdpcm(const Signal& signal, int blockAlign) {
    return EncodeImaFamily(signal, blockAlign, 2);
}

std::vector<uint8_t> EncodeMs(const Signal& signal, int blockAlign) {
    constexpr int predictor = 1;
    std::vector<uint8_t> bytes;
    MsState state{msCoefficients[predictor], 16, 0, 0};
    for (size_t at = 0; at < signal.size();) {
        state.sample2 = SampleAt(signal, at++);
        state.sample1 = SampleAt(signal, at++);
        bytes.push_back(predictor);
        Put16(bytes, state.delta);
        Put16(bytes, state.sample1);
        Put16(bytes, state.sample2);
        for (int i = 7; i < blockAlign; ++i) {
            const int high = BestMs(state, SampleAt(signal, at++));
            bytes.push_back(static_cast<uint8_t>(high << 4 | BestMs(state, SampleAt(signal, at++))));
        }
    }
    return bytes;
}

}  // namespace vantor::samples
