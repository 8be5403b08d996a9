// Tick spacing, tick labels, tick bounds and the range repair of the chart.
#include <cmath>

#include "GraphTestSupport.h"
#include "plot/Ticks.h"

static const double kInf = INFINITY, kNaN = NAN;

using GraphTicks = GraphTest;

TEST_F(GraphTicks, NiceTickDistanceFollowsOneTwoFive) {
  const struct {
    double range, ticks, expected;
  } cases[] = {{100, 5, 20},     {100, 10, 5}, {1, 5, 0.2}, {0.3, 5, 0.05}, {40, 8, 5},  // d = 5p
               {2.5, 1, 2},         // d in [1.5p, 3p) gives 2p
               {1e-19, 1, 5e-17}};  // ranges far below the starting decade
  for (const auto& c : cases)
    EXPECT_NEAR(NiceTickDistance(c.range, c.ticks), c.expected, 1e-12 * c.expected) << c.range;
  for (double range : {0.0, 100.0, -3.0, kNaN, kInf}) EXPECT_EQ(NiceTickDistance(range, 0), 1.0);
  // Absurd input must come back at all.
  for (auto [range, ticks] : {std::pair{kInf, 5.0}, {kNaN, 5.0}, {1e308, 1e-300}})
    EXPECT_TRUE(std::isfinite(NiceTickDistance(range, ticks))) << range;
}

TEST_F(GraphTicks, LabelDecimalsFollowTheValue) {
  const std::pair<double, const char*> cases[] = {
      {0.12345, "0.123"}, {-0.05, "-0.05"}, {123.7, "123"},    {-123.7, "-123"},
      {15.06, "15"},      {99.99, "99.9"},  {5.678, "5.67"},   {0.25, "0.25"},
      {2.0, "2"},         {0.00001, "0"},   {0.01234, "0.0123"}, {1e12, "1000000000000"},
      {1e30, "9223372036854775807"},        {-kInf, "-9223372036854775808"}, {kNaN, "nan"}};
  for (const auto& [value, text] : cases) EXPECT_EQ(FormatTickLabel(value), text) << value;
}

TEST_F(GraphTicks, TickBoundsLieOnMultiplesPastTheRange) {
  const struct {
    double first, last, tick, tickFirst, tickLast;
  } cases[] = {
      {5, 9.5, 1, 6, 10},      // the first tick lies strictly above a positive first value
      {-5, 10, 1, -4, 10},     // and in (first, first + tick] below zero
      {0, 10, 1, 0, 10},       // a first value of 0 gives 0
      {-10, -3.5, 1, -9, -4},  // a negative last: subtract while above it
      {0.25, 0.75, 0.5, 0.5, 1},
      {1e15, 1e15 + 4, 1, 1e15 + 1, 1e15 + 4},  // far from zero, still next to the range
  };
  for (const auto& c : cases) {
    g.FirstXval = g.FirstY0val = c.first, g.LastXval = g.LastY0val = c.last;
    g.TickXdist = g.TickY0dist = c.tick;
    g.CalcLayout();
    EXPECT_EQ((std::vector<double>{g.XTickFirst, g.XTickLast, g.Y0TickFirst, g.Y0TickLast}),
              (std::vector<double>{c.tickFirst, c.tickLast, c.tickFirst, c.tickLast}))
        << c.first;
  }
  // The repeated addition is kept: eight steps of 0.1 make 0.7999999999999999, not 0.8.
  g.FirstXval = 0.75, g.LastXval = 1, g.TickXdist = 0.1;
  g.CalcLayout();
  EXPECT_EQ(g.XTickFirst, 0.7999999999999999);

  // The right-axis bounds only while a shown series uses that axis.
  g.FirstY1val = 3, g.LastY1val = 7, g.TickY1dist = 2, g.Series[1].RightAxis = true;
  g.CalcLayout();
  EXPECT_TRUE(!g.HasRightAxis && g.Y1TickFirst == 0 && g.Y1TickLast == 0);
  g.Series[1].Show = true;
  g.CalcLayout();
  EXPECT_TRUE(g.HasRightAxis && g.Y1TickFirst == 4 && g.Y1TickLast == 8);
}

TEST_F(GraphTicks, CheckRangesRepairsAndSkipsTheDraw) {
  EXPECT_TRUE(g.CheckRanges());
  g.FirstXval = g.LastXval = 5, g.FirstY1val = 2, g.LastY1val = 1, g.TickY0dist = 0;
  g.TickXdist = g.FirstY0val = kNaN;  // NaN passes every test
  Draw();
  EXPECT_TRUE(beeps == 1 && Rec().ops.empty());  // the old picture stays
  EXPECT_EQ((std::vector<double>{g.FirstXval, g.LastXval, g.FirstY1val, g.LastY1val, g.TickY0dist}),
            (std::vector<double>{0, 10, 0, 10, 1}));
  EXPECT_TRUE(std::isnan(g.TickXdist) && std::isnan(g.FirstY0val));

  g.TickXdist = 1;  // the next draw goes through
  g.FirstY0val = 0;
  Draw();
  EXPECT_TRUE(beeps == 1 && Rec().FindText("NO DATA"));
}

TEST_F(GraphTicks, AbsurdRangesNeitherHangNorOverflow) {
  g.HasData = g.Series[1].Show = g.Series[2].Show = g.Series[2].RightAxis = true;
  g.Series[2].Style = Bar;
  for (int i = 0; i < 10; ++i) At(1, i) = At(2, i) = 1e30f;
  const struct {
    double first, last, tick;
  } cases[] = {{-1e308, 1e308, 1}, {0, 1e300, 1e-300}, {1e15, 1e15 + 4, 1}, {-kInf, kInf, 1},
               {kNaN, kNaN, kNaN}, {0, 10, -1},        {0, 10, 1e-12},      {-1e9, -1e9 + 1, 1e-9}};
  for (const auto& c : cases) {
    g.FirstXval = g.FirstY0val = g.FirstY1val = c.first;
    g.LastXval = g.LastY0val = g.LastY1val = c.last;
    g.TickXdist = g.TickY0dist = g.TickY1dist = c.tick;
    EXPECT_LE(Draw().ops.size(), 200000u) << c.first << " " << c.last << " " << c.tick;
  }
}
