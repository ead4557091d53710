#include "wavehost/care/audio_hash.h"

#include <algorithm>
#include <vector>

#include "wavehost/care/examine.h"
#include "wavehost/os/failure.h"

namespace vantor::wavehost {

std::string HashAudio(const std::string& file, DigestKind kind) {
    FileReader reader(file, {.blockBytes = 1 << 18});
    if (!reader.IsOpen()) throw Failure(WhyNotOpened(file));
    const auto survey = SurveyFile(file, reader);
    if (!survey->sound) throw Failure(survey->format.errorMessage.value_or("has no sound"));
    Digest digest(kind);
    std::vector<uint8_t> scratch;
    reader.Seek(survey->sound->start);
    for (int64_t left = survey->sound->Bytes(); left > 0;) {
        const uint8_t* bytes = nullptr;
        const int64_t count = reader.Borrow(&bytes, std::min<int64_t>(left, 1 << 18), scratch);
        if (count < 1) throw Failure("cannot be read");
        digest.Add(bytes, static_cast<size_t>(count));
        left -= count;
    }
    return digest.Finish();
}

bool ParseHashLine(const std::string& line, HashLine& parsed) {
    constexpr size_t md5Digits = 32, sha256Digits = 64;
    const size_t digits = line.find_first_not_of("0123456789abcdefABCDEF");
    if (digits != md5Digits && digits != sha256Digits) return false;
    // A blank or, for binary files, an asterisk marks the second place.
    if (line.size() < digits + 3 || line[digits] != ' ' ||
        (line[digits + 1] != ' ' && line[digits + 1] != '*'))
        return false;
    parsed.hash = line.substr(0, digits);
    std::ranges::transform(parsed.hash, parsed.hash.begin(), [](char c) {
        return c >= 'A' && c <= 'F' ? static_cast<char>(c - 'A' + 'a') : c;
    });
    parsed.name = line.substr(digits + 2);
    while (parsed.name.ends_with('\r'))
        parsed.name.pop_back();
    parsed.kind = digits == md5Digits ? DigestKind::md5 : DigestKind::sha256;
    return !parsed.name.empty();
}

}  // namespace vantor::wavehost
