#include "fileio/file_name.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

namespace vantor {

namespace {

constexpr size_t longNameUnits = 256;
constexpr size_t scannedBytes = 256;

// Continuation bytes that a lead byte asks for; -1 when it leads nothing.
int FollowingBytes(uint8_t lead) {
    if (lead < 0xC2 || lead > 0xF4) return -1;
    return lead < 0xE0 ? 1 : lead < 0xF0 ? 2 : 3;
}

bool IsContinuation(uint8_t byte) {
    return (byte & 0xC0) == 0x80;
}

bool HasSequenceAt(const std::string& name, size_t start) {
    const int following = FollowingBytes(static_cast<uint8_t>(name[start]));
    if (following < 0 || name.size() - start <= static_cast<size_t>(following)) return false;
    return std::all_of(name.begin() + static_cast<std::ptrdiff_t>(start) + 1,
                       name.begin() + static_cast<std::ptrdiff_t>(start) + 1 + following,
                       [](char c) { return IsContinuation(static_cast<uint8_t>(c)); });
}

// Strict: no overlong forms, no surrogates, nothing above U+10FFFF.
bool ToUtf16(const std::string& name, std::u16string& wide) {
    wide.reserve(name.size());
    for (size_t i = 0; i < name.size();) {
        const auto lead = static_cast<uint8_t>(name[i]);
        if (lead < 0x80) {
            wide += static_cast<char16_t>(lead);
            ++i;
            continue;
        }
        if (!HasSequenceAt(name, i)) return false;
        const int following = FollowingBytes(lead);
        uint32_t code = lead & (0x3Fu >> following);
        for (int k = 1; k <= following; ++k)
            code = code << 6 | (static_cast<uint8_t>(name[i + static_cast<size_t>(k)]) & 0x3Fu);
        constexpr uint32_t smallest[] = {0, 0x80, 0x800, 0x10000};
        if (code < smallest[following] || code > 0x10FFFF || (code >= 0xD800 && code <= 0xDFFF)) return false;
        if (code >= 0x10000) {
            wide += static_cast<char16_t>(0xD800 + ((code - 0x10000) >> 10));
            wide += static_cast<char16_t>(0xDC00 + ((code - 0x10000) & 0x3FF));
        } else {
            wide += static_cast<char16_t>(code);
        }
        i += static_cast<size_t>(following) + 1;
    }
    return true;
}

// Lifts the system's limit on long names, for names of the two forms that it knows. Behind the prefix the
// system no longer takes "/" for "\".
void PrefixLongName(std::u16string& wide) {
    size_t prefixUnits = 0;
    if (wide[1] == u':') {
        wide.insert(0, u"\\\\?\\");
        prefixUnits = 4;
    } else if (wide.starts_with(u"\\\\")) {
        wide.replace(0, 2, u"\\\\?\\UNC\\");
        prefixUnits = 8;
    } else {
        return;
    }
    std::replace(wide.begin() + static_cast<std::ptrdiff_t>(prefixUnits), wide.end(), u'/', u'\\');
}

bool IsAscii(const std::string& name) {
    return std::all_of(name.begin(), name.end(), [](char c) { return static_cast<uint8_t>(c) < 0x80; });
}

// Bytes at the start that are equal, eight at a time: most names of a table lie in the same folders.
size_t EqualWordsBytes(std::string_view left, std::string_view right) {
    size_t bytes = 0;
    uint64_t leftWord = 0;
    uint64_t rightWord = 0;
    for (; bytes + sizeof leftWord <= std::min(left.size(), right.size()); bytes += sizeof leftWord) {
        std::memcpy(&leftWord, left.data() + bytes, sizeof leftWord);
        std::memcpy(&rightWord, right.data() + bytes, sizeof rightWord);
        if (leftWord != rightWord) break;
    }
    return bytes;
}

int Folded(char c) {
    return c >= 'A' && c <= 'Z' ? c - 'A' + 'a' : static_cast<uint8_t>(c);
}

}  // namespace

bool WideFileName(const std::string& name, std::u16string& wide) {
    wide.clear();
    if (!ToUtf16(name, wide)) return false;
    if (wide.size() >= longNameUnits) PrefixLongName(wide);
    return true;
}

bool WantsWideForm(const std::string& name) {
    if (name.size() >= scannedBytes) return true;
    if (IsAscii(name)) return false;
    for (size_t i = 0; i < name.size(); ++i)
        if (HasSequenceAt(name, i)) return true;
    return false;
}

std::unique_ptr<platform::File> OpenFile(const std::string& name, const platform::OpenOptions& options) {
    auto& fileSystem = platform::CurrentFileSystem();
    std::unique_ptr<platform::File> file;
    std::u16string wide;
    if (WideFileName(name, wide) && fileSystem.OpenWide(wide, options, file) == platform::OpenResult::opened)
        return file;
    if (fileSystem.OpenNarrow(name, options, file) == platform::OpenResult::opened) return file;
    return nullptr;
}

bool RemoveFile(const std::string& name) {
    auto& fileSystem = platform::CurrentFileSystem();
    std::u16string wide;
    if (!IsAscii(name) && WideFileName(name, wide)) return fileSystem.RemoveWide(wide);
    return fileSystem.RemoveNarrow(name);
}

int CompareFileNames(std::string_view left, std::string_view right) {
    size_t place = EqualWordsBytes(left, right);
    const size_t shorter = std::min(left.size(), right.size());
    while (place < shorter && Folded(left[place]) == Folded(right[place]))
        ++place;
    const auto at = [place](std::string_view name) { return place < name.size() ? Folded(name[place]) : 0; };
    return at(left) - at(right);
}

size_t HashOfFileName(std::string_view name) {
    constexpr uint64_t letterCase =
        0x2020202020202020;  // the bit in which a letter differs from its other case
    constexpr uint64_t multiplier = 0x9E3779B97F4A7C15;
    uint64_t hash = name.size();
    while (!name.empty()) {
        uint64_t word = 0;
        const size_t bytes = std::min(name.size(), sizeof word);
        std::memcpy(&word, name.data(), bytes);
        hash = (hash ^ (word | letterCase)) * multiplier;
        hash ^= hash >> 32;
        name.remove_prefix(bytes);
    }
    return static_cast<size_t>(hash);
}

}  // namespace vantor
