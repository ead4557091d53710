#include "wavehost/values/name_pattern.h"

#include <algorithm>
#include <utility>

#include "text/text.h"
#include "wavehost/os/failure.h"
#include "wavehost/values/numbers.h"
#include "wavehost/values/shown_text.h"

namespace vantor::wavehost {

namespace {

constexpr std::string_view forbidden = "/\\:*?\"<>|";
constexpr size_t longestName = 255;  // bytes on Linux; less than the 255 units of Windows

// Names that Windows keeps for devices, whatever extension follows.
constexpr std::string_view deviceNames[] = {"CON",  "PRN",  "AUX",  "NUL",  "COM1", "COM2", "COM3", "COM4",
                                            "COM5", "COM6", "COM7", "COM8", "COM9", "LPT1", "LPT2", "LPT3",
                                            "LPT4", "LPT5", "LPT6", "LPT7", "LPT8", "LPT9"};

bool IsForbidden(char character) {
    return static_cast<unsigned char>(character) < 0x20 || character == 0x7F ||
           forbidden.find(character) != forbidden.npos;
}

bool EndsWithIgnoringCase(std::string_view text, std::string_view end) {
    return text.size() > end.size() && EqualIgnoringCase(text.substr(text.size() - end.size()), end);
}

std::string Checked(std::string name, const std::string& extension) {
    // Windows drops dots and blanks at the end.
    while (name.ends_with('.') || name.ends_with(' '))
        name.pop_back();
    if (name.empty()) throw Failure("the pattern gives an empty name");
    const bool isDevice =
        std::ranges::any_of(deviceNames, [stem = std::string_view(name).substr(0, name.find('.'))](
                                             auto device) { return EqualIgnoringCase(stem, device); });
    if (isDevice) name.insert(name.begin(), '_');
    name += extension;
    if (name.size() > longestName) throw Failure("the name would be too long");
    return name;
}

void Add(NamePattern& pattern, std::string text, bool isKey) {
    if (!text.empty()) pattern.push_back({std::move(text), isKey});
}

}  // namespace

std::string CleanNamePart(std::string_view value) {
    std::string clean = ShownText(Trimmed(value));
    std::ranges::replace_if(clean, IsForbidden, '_');
    return clean;
}

NamePattern ParseNamePattern(std::string_view text) {
    NamePattern pattern;
    std::string literal;
    for (size_t i = 0; i < text.size(); ++i) {
        const bool isBrace = text[i] == '{' || text[i] == '}';
        if (isBrace && i + 1 < text.size() && text[i + 1] == text[i]) {
            literal += text[i++];
        } else if (text[i] == '{') {
            const size_t end = text.find('}', i);
            if (end == text.npos || end == i + 1) throw Failure("a '{' of the pattern begins no {KEY}");
            Add(pattern, std::exchange(literal, {}), false);
            Add(pattern, std::string(text.substr(i + 1, end - i - 1)), true);
            i = end;
        } else if (isBrace) {
            throw Failure("a '}' of the pattern ends no {KEY}");
        } else if (IsForbidden(text[i])) {
            throw Failure(std::string("a file name cannot hold the pattern's '") + text[i] + "'");
        } else {
            literal += text[i];
        }
    }
    Add(pattern, std::move(literal), false);
    if (std::ranges::none_of(pattern, &PatternPart::isKey)) throw Failure("the pattern holds no {KEY}");
    return pattern;
}

std::string NameFor(const NamePattern& pattern,
                    const std::function<std::string(const std::string& key)>& valueOf,
                    const std::string& extension) {
    std::string name;
    for (const PatternPart& part : pattern) {
        if (!part.isKey) {
            name += part.text;
            continue;
        }
        const std::string value = CleanNamePart(valueOf(part.text));
        if (value.empty()) throw Failure("has no " + part.text);
        name += value;
    }
    const bool hasExtension =
        !pattern.back().isKey && EndsWithIgnoringCase(name, extension) && !extension.empty();
    if (hasExtension) name.resize(name.size() - extension.size());
    return Checked(std::move(name), extension);
}

}  // namespace vantor::wavehost
