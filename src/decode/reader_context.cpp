#include "decode/reader_context.h"

#include "decode/adpcm_decoder.h"

namespace vantor {

ReaderContext::ReaderContext(std::unique_ptr<FileReader> fileReader) : reader(std::move(fileReader)) {}

ReaderContext::~ReaderContext() = default;

void ReleaseMemory(ReaderContext& context) {
    context.reader->ReleaseBuffers();
    context.storedBytes = {};
    context.convertedSamples = {};
}

}  // namespace vantor
