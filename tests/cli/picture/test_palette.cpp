#include <gtest/gtest.h>

#include <cmath>
#include <set>
#include <tuple>

#include "picture/palette.h"

namespace radimo::cli {
namespace {

TEST(Palette, EveryNameIsFoundAndUnknownNamesAreNot) {
    EXPECT_EQ(palette_names().size(), 7u);
    for (std::string_view name : palette_names()) {
        const Palette *p = find_palette(name);
        ASSERT_NE(p, nullptr) << name;
        EXPECT_EQ(p->name(), name);
        EXPECT_EQ(p->at(-3.0), p->at(0.0)) << name;
        EXPECT_EQ(p->at(7.0), p->at(1.0)) << name;
        EXPECT_EQ(p->at(std::nan("")), p->at(0.0)) << name;
    }
    EXPECT_EQ(find_palette("iron"), nullptr);
    EXPECT_EQ(find_palette(""), nullptr);
}

TEST(Palette, GreyscaleEnds) {
    constexpr Rgb black{0, 0, 0}, white{255, 255, 255};
    for (auto [name, cold, hot] :
         {std::tuple{"white-hot", black, white}, std::tuple{"black-hot", white, black},
          std::tuple{"grey", black, white}, std::tuple{"ironbow", black, Rgb{255, 250, 210}}}) {
        EXPECT_EQ(find_palette(name)->at(0.0), cold) << name;
        EXPECT_EQ(find_palette(name)->at(1.0), hot) << name;
    }
    EXPECT_EQ(find_palette("grey")->at(0.5), (Rgb{128, 128, 128}));
}

// Lightness must follow temperature in these palettes, with hundreds of distinct steps.
TEST(Palette, LightnessIsMonotonicWithFineSteps) {
    for (auto [name, rising] :
         {std::pair{"ironbow", true}, std::pair{"lava", true}, std::pair{"white-hot", true},
          std::pair{"grey", true}, std::pair{"black-hot", false}}) {
        const Palette &p = *find_palette(name);
        std::set<std::tuple<int, int, int>> distinct;
        double previous = rising ? -1.0 : 2.0;
        for (int i = 0; i < Palette::levels; ++i) {
            const Rgb c = p.at(static_cast<double>(i) / (Palette::levels - 1));
            const double l = oklab_lightness(c);
            EXPECT_TRUE(rising ? l >= previous - 0.004 : l <= previous + 0.004) << name << " level " << i;
            previous = l;
            distinct.insert({c.r, c.g, c.b});
        }
        EXPECT_GE(distinct.size(), 256u) << name;
    }
}

}  // namespace
}  // namespace radimo::cli
