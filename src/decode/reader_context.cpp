#include "decode/reader_context.h"

#include <utility>

#include "decode/adpcm_decoder.h"

namespace vantor {

ReaderContext::ReaderContext(std::unique_ptr<FileReader> fileReader) : reader(std::move(fileReader)) {}

ReaderContext::~ReaderContext() = default;

void ReleaseMemory(ReaderContext& context) {
    context.reader->ReleaseBuffers();
    // A list of nothing, {}, would leave them their memory.
    context.storedBytes = std::vector<uint8_t>();
    context.convertedSamples = std::vector<double>();
}

}  // namespace vantor
