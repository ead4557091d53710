#include "properties/window_layout.h"

#include <gtest/gtest.h>

#include <vector>

namespace vantor::test {
namespace {

std::vector<Box> Shown(const WindowLayout& layout) {
    std::vector<Box> shown;
    for (const Box& box :
         {layout.path, layout.filterLabel, layout.filter, layout.list, layout.value, layout.picture,
          layout.caption, layout.previous, layout.next, layout.message, layout.copy, layout.close})
        if (box.width != 0 || box.height != 0) shown.push_back(box);
    return shown;
}

bool Overlap(const Box& left, const Box& right) {
    return left.left < right.left + right.width && right.left < left.left + left.width &&
           left.top < right.top + right.height && right.top < left.top + left.height;
}

void ExpectSound(const LayoutInput& input) {
    SCOPED_TRACE(std::to_string(input.width) + " x " + std::to_string(input.height) + ", line " +
                 std::to_string(input.lineHeight));
    const auto boxes = Shown(LayOutWindow(input));
    for (size_t i = 0; i < boxes.size(); ++i) {
        EXPECT_GE(boxes[i].left, 0);
        EXPECT_GE(boxes[i].top, 0);
        EXPECT_GE(boxes[i].width, input.lineHeight) << i;
        EXPECT_GE(boxes[i].height, input.lineHeight) << i;
        EXPECT_LE(boxes[i].left + boxes[i].width, input.width);
        EXPECT_LE(boxes[i].top + boxes[i].height, input.height);
        for (size_t other = 0; other < i; ++other)
            EXPECT_FALSE(Overlap(boxes[i], boxes[other])) << i << " and " << other;
    }
}

// From the least size on nothing is cut off, for every font and resolution, with pictures and without.
TEST(WindowLayout, EveryPartHasRoomOfItsOwn) {
    for (const int line : {11, 13, 16, 20, 32, 45})
        for (const auto pictures : {PictureShare::none, PictureShare::one, PictureShare::several})
            for (const bool statusOnly : {false, true}) {
                LayoutInput input{0, 0, line, 3 * line, line + 2, line + 6, 9 * line, pictures, statusOnly};
                const InsideSize least = LeastSize(input), first = FirstSize(input);
                EXPECT_GT(first.width, least.width);
                for (const int more : {0, 1, 7, 333, 2000}) {
                    input.width = least.width + more;
                    input.height = least.height + more / 2;
                    ExpectSound(input);
                }
            }
}

TEST(WindowLayout, ListShowsWholeRowsAndTakesMostOfTheRoom) {
    const LayoutInput input{900, 700, 16, 40, 17, 23, 90, PictureShare::one, false};
    const WindowLayout layout = LayOutWindow(input);
    EXPECT_EQ((layout.list.height - input.listExtra) % input.rowHeight, 0);
    EXPECT_GT(layout.list.height, 2 * layout.value.height);
    EXPECT_EQ(layout.list.left, layout.value.left);
    EXPECT_EQ(layout.list.width, layout.value.width);
    EXPECT_EQ(layout.picture.left + layout.picture.width, layout.close.left + layout.close.width);
}

TEST(WindowLayout, SmallerThanTheLeastSizeIsHarmless) {
    for (const int size : {-5, 0, 1, 30, 200})
        for (const Box& box :
             Shown(LayOutWindow({size, size, 16, 40, 17, 23, 90, PictureShare::several, false}))) {
            EXPECT_GE(box.width, 0);
            EXPECT_GE(box.height, 0);
        }
}

TEST(WindowLayout, PicturesFitWithoutGrowing) {
    const Box frame{10, 20, 100, 50};
    const auto fit = [&](int width, int height) {
        const Box box = FitInto(frame, width, height);
        return std::vector<int>{box.left, box.top, box.width, box.height};
    };
    EXPECT_EQ(fit(400, 100), (std::vector<int>{10, 32, 100, 25}));
    EXPECT_EQ(fit(20, 10), (std::vector<int>{50, 40, 20, 10}));
    EXPECT_EQ(fit(1, 60000), (std::vector<int>{59, 20, 1, 50}));
    EXPECT_EQ(fit(0, 7), (std::vector<int>{0, 0, 0, 0}));
}

}  // namespace
}  // namespace vantor::test
