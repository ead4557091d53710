// A whole file decoded to doubles: by the module and by libsndfile.
#pragma once

#include <string>
#include <vector>

namespace vantor::test {

struct DecodedFile {
    bool opened = false;
    int channels = 0;
    double sampleRate = 0;
    int bitDepth = 0;
    std::vector<double> samples;  // interleaved

    [[nodiscard]] size_t Frames() const {
        return channels ? samples.size() / static_cast<size_t>(channels) : 0;
    }
};

// Through a wave source, in requests of `blockFrames`.
DecodedFile DecodeByModule(const std::string& path, int blockFrames = 4096);
DecodedFile DecodeByLibsndfile(const std::string& path);

// Root mean square of the difference over the frames that both have.
double RmsDifference(const DecodedFile& left, const DecodedFile& right);

}  // namespace vantor::test
