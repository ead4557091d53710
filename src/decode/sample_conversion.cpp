#include "decode/sample_conversion.h"

#include <bit>

#include "decode/kernels.h"
#include "formats/audio_format.h"

namespace vantor {

namespace {

struct Choice {
    int32_t encoding;
    int32_t bits;
    StoredForm little;
    StoredForm big;
};

// 20-bit samples fill three bytes, the low four bits included: they are 24-bit samples.
constexpr Choice choices[] = {
    {encodingInteger, 8, StoredForm::unsigned8, StoredForm::unsigned8},
    {encodingInteger, 16, StoredForm::signed16Little, StoredForm::signed16Big},
    {encodingInteger, 20, StoredForm::signed24Little, StoredForm::signed24Big},
    {encodingInteger, 24, StoredForm::signed24Little, StoredForm::signed24Big},
    {encodingInteger, 32, StoredForm::signed32Little, StoredForm::signed32Big},
    {encodingFloat, 32, StoredForm::float32Little, StoredForm::float32Big},
    {encodingFloat, 64, StoredForm::float64Little, StoredForm::float64Big},
    {encodingUlaw, 8, StoredForm::ulaw, StoredForm::ulaw},
};

const KernelTable& KernelsOf(InstructionSet set) {
    switch (set) {
        case InstructionSet::avx2:
            return Avx2Kernels();
        case InstructionSet::sse2:
            return Sse2Kernels();
        default:
            return PlainKernels();
    }
}

// The IFF family and CAF store 8-bit samples signed, the WAVE family unsigned.
bool StoresSignedBytes(const StoredCoding& coding) {
    return coding.encoding == encodingInteger && coding.bitsPerSample == 8 &&
           (coding.fileKind == kindIff || coding.fileKind == kindCaf);
}

}  // namespace

InstructionSet BestInstructionSet() {
#if defined(__x86_64__)
    return __builtin_cpu_supports("avx2") ? InstructionSet::avx2 : InstructionSet::sse2;
#else
    return InstructionSet::plain;
#endif
}

StoredCoding StoredCodingOf(const AudioFormat& format) {
    return {format.encoding, format.bitsPerSample, format.fileKind, format.bigEndian};
}

bool NeedsNoConversion(const StoredCoding& coding) {
    constexpr bool bigEndian = std::endian::native == std::endian::big;
    return coding.encoding == encodingFloat && coding.bitsPerSample == 64 && coding.bigEndian == bigEndian;
}

ConvertSamples ConverterFor(const StoredCoding& coding, InstructionSet set) {
    const KernelTable& kernels = KernelsOf(set);
    if (StoresSignedBytes(coding)) return kernels[StoredForm::signed8];
    for (const Choice& choice : choices)
        if (choice.encoding == coding.encoding && choice.bits == coding.bitsPerSample)
            return kernels[coding.bigEndian ? choice.big : choice.little];
    return nullptr;
}

}  // namespace vantor
