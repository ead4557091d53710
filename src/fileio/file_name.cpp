#include "fileio/file_name.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <utility>

#include "text/text.h"

namespace vantor {

namespace {

constexpr size_t longNameUnits = 256;
constexpr size_t longNameBytes = 256;

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
    auto text = WideText(name);
    if (!text) return false;
    wide = std::move(*text);
    if (wide.size() >= longNameUnits) PrefixLongName(wide);
    return true;
}

bool WantsWideForm(const std::string& name) {
    return name.size() >= longNameBytes || !IsAscii(name);
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
    uint64_t word = 0;
    const auto mix = [&] {
        hash = (hash ^ (word | letterCase)) * multiplier;
        hash ^= hash >> 32;
    };
    for (; name.size() >= sizeof word; name.remove_prefix(sizeof word)) {
        std::memcpy(&word, name.data(), sizeof word);
        mix();
    }
    word = 0;
    std::memcpy(&word, name.data(), name.size());
    mix();
    return static_cast<size_t>(hash);
}

}  // namespace vantor
