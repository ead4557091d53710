#include "properties/property_list.h"

#include <gtest/gtest.h>

#include <numeric>

#include "tests/support/fake_host.h"
#include "text/fold_case.h"

namespace vantor::test {
namespace {

FileProperties SomeProperties() {
    FileProperties properties;
    properties.rows = {{"Format", "Format", "RIFF WAVE, PCM"},
                       {"Markers", "Marker", "10, Überleitung"},
                       {"Markers", "Marker", "9, Refrain"}};
    AddTag(properties, "BWF:Description", "Night,\nsecond take");
    AddTag(properties, "INFO:INAM", "night");
    return properties;
}

using Rows = std::vector<uint32_t>;

class PropertyList : public ::testing::Test {
  protected:
    FakeHost host;
    FileProperties properties = SomeProperties();

    [[nodiscard]] Rows Filtered(std::string_view filter) const { return ShownRows(properties, filter, {}); }
    [[nodiscard]] Rows Sorted(PropertyColumn column, SortDirection direction) const {
        return ShownRows(properties, "", {column, direction});
    }
};

TEST_F(PropertyList, FilterTakesRowsThatHoldEveryWordInAnyCase) {
    EXPECT_EQ(Filtered(""), (Rows{0, 1, 2, 3, 4}));
    EXPECT_EQ(Filtered("  "), (Rows{0, 1, 2, 3, 4}));
    EXPECT_EQ(Filtered("NIGHT"), (Rows{3, 4}));
    EXPECT_EQ(Filtered("take night"), Rows{3});
    EXPECT_EQ(Filtered("bwf:desc"), Rows{3});
    EXPECT_EQ(Filtered("broadcast"), Rows{3});
    EXPECT_EQ(Filtered("Description: Night"), Rows{3});
    EXPECT_EQ(Filtered("überl"), Rows{1});
    EXPECT_EQ(Filtered("night absent"), Rows{});
    EXPECT_EQ(FoldCase("AZ@[ÀÉŐŹΆΣЖЁḀỾ\xC3"), "az@[àéőźάσжёḁỿ\xC3");
    EXPECT_EQ(FoldCase("×ſ日本\xF0\x9F\x8E\xB5\xE1\xB8"), "×ſ日本\xF0\x9F\x8E\xB5\xE1\xB8");
}

TEST_F(PropertyList, SortsByColumnWithNumbersByValueAndBackToTheFile) {
    EXPECT_EQ(Sorted(PropertyColumn::value, SortDirection::up), (Rows{2, 1, 4, 3, 0}));
    EXPECT_EQ(Sorted(PropertyColumn::label, SortDirection::up), (Rows{3, 0, 4, 1, 2}));
    EXPECT_EQ(Sorted(PropertyColumn::label, SortDirection::down), (Rows{1, 2, 4, 0, 3}));
    ListOrder order;
    order = OrderAfterClick(order, PropertyColumn::group);
    EXPECT_EQ(order.direction, SortDirection::up);
    order = OrderAfterClick(order, PropertyColumn::group);
    EXPECT_EQ(order.direction, SortDirection::down);
    EXPECT_EQ(OrderAfterClick(order, PropertyColumn::group).direction, SortDirection::none);
    EXPECT_EQ(OrderAfterClick(order, PropertyColumn::value).direction, SortDirection::up);
    for (const auto& [left, right] :
         {std::pair("take 9b", "take 10a"), {"a", "a1"}, {"7", "007x"}, {"z", "ä"}}) {
        EXPECT_LT(CompareNaturally(left, right), 0) << left;
        EXPECT_GT(CompareNaturally(right, left), 0) << left;
    }
    EXPECT_EQ(CompareNaturally("take 07", "take 7"), 0);
}

TEST_F(PropertyList, ClipboardHasALineARowInTheListsOrder) {
    EXPECT_EQ(ClipboardText(properties, Rows{1, 4}), "Marker: 10, Überleitung\r\n\r\nINFO:INAM: night\r\n");
    EXPECT_EQ(ClipboardText(properties, Rows{4, 1}), "INFO:INAM: night\r\nMarker: 10, Überleitung\r\n");
    EXPECT_EQ(ClipboardText(properties, Rows{}), "");
    EXPECT_EQ(WithSystemLineBreaks("a\nb\rc\r\nd\n\re"), "a\r\nb\r\nc\r\nd\r\n\r\ne");
    properties.status = "File offline";
    EXPECT_EQ(ClipboardText(properties, Rows{}), "File offline");
}

TEST_F(PropertyList, CellsAreOneLineAndShort) {
    EXPECT_EQ(CellText("a\r\n\tb\x7F"), "a   b ");
    std::string longText = "a";
    for (int i = 0; i < 1000; ++i)
        longText += "ü";
    const std::string cell = CellText(longText);
    EXPECT_LT(cell.size(), 600u);
    EXPECT_EQ(cell, longText.substr(0, cell.size()));
    EXPECT_EQ(cell.size() % 2, 1u) << "no half characters";
}

TEST_F(PropertyList, TypingFindsTheNextLabelAndStartsAgain) {
    const Rows shown = {0, 1, 2, 4};
    EXPECT_EQ(FindByLabel(properties, shown, "mark", 0), 1);
    EXPECT_EQ(FindByLabel(properties, shown, "MARK", 2), 2);
    EXPECT_EQ(FindByLabel(properties, shown, "mark", 3), 1);
    EXPECT_EQ(FindByLabel(properties, shown, "bwf", 0), -1);
    EXPECT_EQ(FindByLabel(properties, {}, "mark", 0), -1);
}

}  // namespace
}  // namespace vantor::test
