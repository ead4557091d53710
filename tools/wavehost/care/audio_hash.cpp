#include "wavehost/care/audio_hash.h"

#include <algorithm>
#include <cstdint>
#include <string_view>
#include <utility>
#include <vector>

#include "wavehost/care/examine.h"
#include "wavehost/os/failure.h"

namespace vantor::wavehost {

namespace {

constexpr std::pair<char, char> escapes[] = {{'\\', '\\'}, {'\n', 'n'}, {'\r', 'r'}};

std::string Escaped(std::string_view name) {
    std::string text;
    for (const char c : name) {
        const auto* escape = std::ranges::find(escapes, c, &std::pair<char, char>::first);
        const bool isPlain = escape == std::end(escapes);
        if (!isPlain) text += '\\';
        text += isPlain ? c : escape->second;
    }
    return text;
}

// What follows a backslash and is none of the escapes stands for itself, with it.
std::string Unescaped(std::string_view text) {
    std::string name;
    for (size_t i = 0; i < text.size(); ++i) {
        const char next = text[i] == '\\' && i + 1 < text.size() ? text[i + 1] : '\0';
        const auto* escape = std::ranges::find(escapes, next, &std::pair<char, char>::second);
        const bool isPlain = escape == std::end(escapes);
        name += isPlain ? text[i] : escape->first;
        i += isPlain ? 0 : 1;
    }
    return name;
}

}  // namespace

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

std::string HashLineText(const std::string& hash, const std::string& name) {
    const bool isEscaped = name.find_first_of("\r\n") != name.npos;
    return (isEscaped ? "\\" : "") + hash + "  " + (isEscaped ? Escaped(name) : name) + "\n";
}

bool ParseHashLine(std::string line, HashLine& parsed) {
    constexpr size_t md5Digits = 32, sha256Digits = 64;
    const bool isEscaped = line.starts_with('\\');
    if (isEscaped) line.erase(0, 1);
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
    if (isEscaped) parsed.name = Unescaped(parsed.name);
    parsed.kind = digits == md5Digits ? DigestKind::md5 : DigestKind::sha256;
    return !parsed.name.empty();
}

}  // namespace vantor::wavehost
