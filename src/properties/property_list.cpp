#include "properties/property_list.h"

#include <algorithm>
#include <numeric>

#include "text/fold_case.h"
#include "text/text.h"

namespace vantor {

namespace {

constexpr size_t mostCellBytes = 512;  // wider than any screen

std::vector<std::string> Words(std::string_view filter) {
    std::vector<std::string> words(1);
    for (const char character : FoldCase(filter)) {
        if (character != ' ') {
            words.back() += character;
        } else if (!words.back().empty()) {
            words.emplace_back();
        }
    }
    if (words.back().empty()) words.pop_back();
    return words;
}

bool Holds(const PropertyRow& row, const std::vector<std::string>& words) {
    if (words.empty()) return true;
    std::string text = row.group;
    text.append(1, '\n').append(row.label).append(": ").append(row.value);
    text = FoldCase(text);
    return std::ranges::all_of(words, [&](const auto& word) { return text.find(word) != std::string::npos; });
}

void Sort(std::vector<uint32_t>& shown, const FileProperties& properties, const ListOrder& order) {
    std::vector<std::string> texts(properties.rows.size());
    for (const uint32_t row : shown)
        texts[row] = FoldCase(ColumnText(properties.rows[row], order.column));
    const bool isUp = order.direction == SortDirection::up;
    std::ranges::stable_sort(shown, [&](uint32_t left, uint32_t right) {
        return CompareNaturally(texts[isUp ? left : right], texts[isUp ? right : left]) < 0;
    });
}

}  // namespace

ListOrder OrderAfterClick(const ListOrder& order, PropertyColumn clicked) {
    if (order.column != clicked || order.direction == SortDirection::none)
        return {clicked, SortDirection::up};
    return {clicked, order.direction == SortDirection::up ? SortDirection::down : SortDirection::none};
}

std::vector<uint32_t> ShownRows(const FileProperties& properties, std::string_view filter,
                                const ListOrder& order) {
    std::vector<uint32_t> shown(properties.rows.size());
    std::iota(shown.begin(), shown.end(), 0u);
    const auto words = Words(filter);
    std::erase_if(shown, [&](uint32_t row) { return !Holds(properties.rows[row], words); });
    if (order.direction != SortDirection::none) Sort(shown, properties, order);
    return shown;
}

const std::string& ColumnText(const PropertyRow& row, PropertyColumn column) {
    if (column == PropertyColumn::group) return row.group;
    return column == PropertyColumn::label ? row.label : row.value;
}

std::string CellText(std::string_view text) {
    std::string cell(CutAtCharacter(text, mostCellBytes));
    std::ranges::replace_if(
        cell, [](char c) { return static_cast<uint8_t>(c) < 0x20 || c == 0x7F; }, ' ');
    return cell;
}

int FindByLabel(const FileProperties& properties, std::span<const uint32_t> shown, std::string_view prefix,
                size_t start) {
    const std::string wanted = FoldCase(prefix);
    for (size_t step = 0; step < shown.size(); ++step) {
        const size_t place = (start + step) % shown.size();
        if (FoldCase(properties.rows[shown[place]].label).starts_with(wanted)) return static_cast<int>(place);
    }
    return -1;
}

std::string ClipboardText(const FileProperties& properties, std::span<const uint32_t> rows) {
    if (!properties.status.empty()) return properties.status;
    const bool isInFileOrder = std::ranges::is_sorted(rows);
    std::string text;
    bool isBehindFacts = false;
    for (const uint32_t index : rows) {
        const PropertyRow& row = properties.rows[index];
        if (isInFileOrder && isBehindFacts && row.isTag) text += "\r\n";
        isBehindFacts = !row.isTag;
        AppendLine(text, row);
    }
    return text;
}

std::string WithSystemLineBreaks(std::string_view text) {
    std::string broken;
    broken.reserve(text.size());
    for (size_t at = 0; at < text.size(); ++at) {
        const bool isPair = text[at] == '\r' && at + 1 < text.size() && text[at + 1] == '\n';
        if (isPair) ++at;
        if (text[at] == '\r' || text[at] == '\n') {
            broken += "\r\n";
        } else {
            broken += text[at];
        }
    }
    return broken;
}

}  // namespace vantor
