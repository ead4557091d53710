#include "wavehost/host/project_text.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <exception>
#include <utility>

#include "wavehost/host/host_services.h"

namespace vantor::wavehost {

namespace {

constexpr std::string_view quotes = "\"'`";
constexpr std::string_view blanks = " \t\r\n";
constexpr std::string_view conversionLetters = "diuxXcsfgeEGp%";

// One conversion, such as "%d", "%08.3f" or "%p~".
std::string_view TakeConversion(std::string_view format) {
    const size_t letter = format.find_first_of(conversionLetters, 1);
    if (letter == std::string_view::npos) return {};
    const bool quoted = format[letter] == 'p' && format.substr(letter + 1, 1) == "~";
    return format.substr(0, letter + (quoted ? 2 : 1));
}

template <typename T>
std::string Print(const std::string& conversion, T value) {
    char text[512];
    std::snprintf(text, sizeof text, conversion.c_str(), value);
    return text;
}

std::string PrintArgument(const std::string& conversion, va_list& arguments) {
    const bool wide = conversion.find("ll") != std::string::npos;
    switch (conversion.back()) {
        case '~':
            return QuoteProjectText(va_arg(arguments, const char*));
        case 's':
            return va_arg(arguments, const char*);
        case 'f':
        case 'g':
        case 'e':
        case 'E':
        case 'G':
            return Print(conversion, va_arg(arguments, double));
        case 'p':
            return Print(conversion, va_arg(arguments, void*));
        case '%':
            return "%";
        default:
            return wide ? Print(conversion, va_arg(arguments, long long))
                        : Print(conversion, va_arg(arguments, int));
    }
}

std::string FormatLine(std::string_view format, va_list& arguments) {
    std::string line;
    while (!format.empty()) {
        const size_t percent = std::min(format.find('%'), format.size());
        line += format.substr(0, percent);
        format.remove_prefix(percent);
        if (format.empty()) break;
        const std::string_view conversion = TakeConversion(format);
        if (conversion.empty()) break;
        line += PrintArgument(std::string(conversion), arguments);
        format.remove_prefix(conversion.size());
    }
    return line;
}

}  // namespace

std::string QuoteProjectText(std::string_view text) {
    for (const char quote : quotes)
        if (text.find(quote) == std::string_view::npos) return quote + std::string(text) + quote;
    std::string inner(text);
    std::replace(inner.begin(), inner.end(), '`', '\'');
    return '`' + inner + '`';
}

std::vector<std::string> SplitProjectLine(std::string_view line) {
    std::vector<std::string> tokens;
    for (;;) {
        line.remove_prefix(std::min(line.find_first_not_of(blanks), line.size()));
        if (line.empty()) return tokens;
        const bool quoted = quotes.find(line.front()) != std::string_view::npos;
        const size_t start = quoted ? 1 : 0;
        const size_t end =
            std::min(quoted ? line.find(line.front(), 1) : line.find_first_of(blanks), line.size());
        tokens.emplace_back(line.substr(start, end - start));
        line.remove_prefix(std::min(end + start, line.size()));
    }
}

int32_t ProjectLines::AddLine(const char* format, ...) try {
    va_list arguments;
    va_start(arguments, format);
    std::string line = FormatLine(format, arguments);
    va_end(arguments);
    lines_.push_back(std::move(line));
    return 0;
} catch (const std::exception&) {
    return -1;
}

int32_t ProjectLines::NextLine(char* line, int32_t lineBytes) {
    if (next_ >= lines_.size()) return -1;
    CopyText(lines_[next_++], line, lineBytes);
    return 0;
}

}  // namespace vantor::wavehost
