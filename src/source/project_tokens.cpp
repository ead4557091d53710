#include "source/project_tokens.h"

#include <algorithm>
#include <charconv>

#include "text/text.h"

namespace vantor {

std::vector<std::string> ProjectTokens(std::string_view line) {
    constexpr std::string_view separators = " \t\r\n";
    constexpr std::string_view quotes = "\"'`";
    std::vector<std::string> tokens;
    for (size_t start = line.find_first_not_of(separators); start != line.npos;
         start = line.find_first_not_of(separators, start)) {
        const bool quoted = quotes.find(line[start]) != quotes.npos;
        const size_t first = quoted ? start + 1 : start;
        const size_t found = quoted ? line.find(line[start], first) : line.find_first_of(separators, first);
        const size_t end = std::min(found, line.size());
        tokens.emplace_back(line.substr(first, end - first));
        start = std::min(end + (quoted ? 1 : 0), line.size());
    }
    return tokens;
}

int32_t ProjectInteger(std::string_view token) {
    const bool hexadecimal = StartsWithIgnoringCase(token, "0x");
    if (hexadecimal) token.remove_prefix(2);
    int64_t value = 0;
    std::from_chars(token.data(), token.data() + token.size(), value, hexadecimal ? 16 : 10);
    return static_cast<int32_t>(value);
}

}  // namespace vantor
