// Tick spacing, tick labels, tick bounds and the range repair of the chart.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "GraphTestSupport.h"
#include "plot/Ticks.h"

namespace {
const double kInf = std::numeric_limits<double>::infinity();
const double kNaN = std::numeric_limits<double>::quiet_NaN();
}  // namespace

TEST(GraphTicks, NiceTickDistanceFollowsOneTwoFive) {
  EXPECT_NEAR(NiceTickDistance(100, 5), 20, 1e-12);
  EXPECT_NEAR(NiceTickDistance(100, 10), 5, 1e-12);
  EXPECT_NEAR(NiceTickDistance(1, 5), 0.2, 1e-15);
  EXPECT_NEAR(NiceTickDistance(0.3, 5), 0.05, 1e-15);
  EXPECT_NEAR(NiceTickDistance(40, 8), 5, 1e-12);         // d = 5 = 5p
  EXPECT_NEAR(NiceTickDistance(2.5, 1), 2, 1e-12);        // d in [1.5p, 3p) gives 2p
  // Ranges far below the starting decade give 5 x 1e-17.
  EXPECT_NEAR(NiceTickDistance(1e-19, 1), 5e-17, 1e-30);
  for (double range : {0.0, 100.0, -3.0, kNaN, kInf}) EXPECT_EQ(NiceTickDistance(range, 0), 1.0);
  // Absurd input must come back at all.
  EXPECT_TRUE(std::isfinite(NiceTickDistance(kInf, 5)));
  EXPECT_TRUE(std::isfinite(NiceTickDistance(kNaN, 5)));
  EXPECT_TRUE(std::isfinite(NiceTickDistance(1e308, 1e-300)));
}

TEST(GraphTicks, LabelDecimalsFollowTheValue) {
  EXPECT_EQ(FormatTickLabel(0.12345), "0.123");
  EXPECT_EQ(FormatTickLabel(-0.05), "-0.05");
  EXPECT_EQ(FormatTickLabel(123.7), "123");
  EXPECT_EQ(FormatTickLabel(-123.7), "-123");
  EXPECT_EQ(FormatTickLabel(15.06), "15");
  EXPECT_EQ(FormatTickLabel(99.99), "99.9");
  EXPECT_EQ(FormatTickLabel(5.678), "5.67");
  EXPECT_EQ(FormatTickLabel(0.25), "0.25");
  EXPECT_EQ(FormatTickLabel(2.0), "2");
  EXPECT_EQ(FormatTickLabel(0.00001), "0");
  EXPECT_EQ(FormatTickLabel(0.01234), "0.0123");
  EXPECT_EQ(FormatTickLabel(1e12), "1000000000000");
  EXPECT_EQ(FormatTickLabel(1e30), "9223372036854775807");
  EXPECT_EQ(FormatTickLabel(-kInf), "-9223372036854775808");
  EXPECT_EQ(FormatTickLabel(kNaN), "nan");
}

TEST(GraphTicks, TickBoundsLieOnMultiplesPastTheRange) {
  GraphFixture f;
  TQVgraph& g = f.graph;
  struct Case {
    double first, last, tick, tickFirst, tickLast;
  } cases[] = {
      {5, 9.5, 1, 6, 10},      // the first tick lies strictly above a positive first value
      {-5, 10, 1, -4, 10},     // and in (first, first + tick] below zero
      {0, 10, 1, 0, 10},       // a first value of 0 gives 0
      {-10, -3.5, 1, -9, -4},  // a negative last: subtract while above it
      {0.25, 0.75, 0.5, 0.5, 1},
  };
  for (const Case& c : cases) {
    g.FirstXval = g.FirstY0val = c.first;
    g.LastXval = g.LastY0val = c.last;
    g.TickXdist = g.TickY0dist = c.tick;
    g.CalcLayout();
    EXPECT_EQ(g.XTickFirst, c.tickFirst) << c.first;
    EXPECT_EQ(g.XTickLast, c.tickLast) << c.last;
    EXPECT_EQ(g.Y0TickFirst, c.tickFirst) << c.first;
    EXPECT_EQ(g.Y0TickLast, c.tickLast) << c.last;
  }
  // The repeated addition is kept: eight steps of 0.1 make 0.7999999999999999, not 0.8.
  g.FirstXval = 0.75;
  g.LastXval = 1;
  g.TickXdist = 0.1;
  g.CalcLayout();
  EXPECT_EQ(g.XTickFirst, 0.7999999999999999);

  // The right-axis bounds only while a shown series uses that axis, from the first layout on.
  g.FirstY1val = 3;
  g.LastY1val = 7;
  g.TickY1dist = 2;
  g.Series[1].RightAxis = true;
  g.CalcLayout();
  EXPECT_FALSE(g.HasRightAxis);
  EXPECT_EQ(g.Y1TickFirst, 0);
  EXPECT_EQ(g.Y1TickLast, 0);
  g.Series[1].Show = true;
  g.CalcLayout();
  EXPECT_TRUE(g.HasRightAxis);
  EXPECT_EQ(g.Y1TickFirst, 4);
  EXPECT_EQ(g.Y1TickLast, 8);
}

TEST(GraphTicks, CheckRangesRepairsAndSkipsTheDraw) {
  GraphFixture f;
  TQVgraph& g = f.graph;
  EXPECT_TRUE(g.CheckRanges());

  g.FirstXval = 5;
  g.LastXval = 5;
  g.FirstY1val = 2;
  g.LastY1val = 1;
  g.TickY0dist = 0;
  g.TickXdist = kNaN;  // NaN passes every test
  g.FirstY0val = kNaN;
  f.Draw();
  EXPECT_EQ(f.beeps, 1);
  EXPECT_TRUE(f.Rec().ops.empty());  // the old picture stays
  EXPECT_EQ(g.FirstXval, 0);
  EXPECT_EQ(g.LastXval, 10);
  EXPECT_EQ(g.FirstY1val, 0);
  EXPECT_EQ(g.LastY1val, 10);
  EXPECT_EQ(g.TickY0dist, 1.0);
  EXPECT_TRUE(std::isnan(g.TickXdist));
  EXPECT_TRUE(std::isnan(g.FirstY0val));

  // The next draw goes through.
  g.TickXdist = 1;
  g.FirstY0val = 0;
  f.Draw();
  EXPECT_EQ(f.beeps, 1);
  EXPECT_NE(f.Rec().FindText("NO DATA"), nullptr);
}

TEST(GraphTicks, AbsurdRangesNeitherHangNorOverflow) {
  GraphFixture f;
  TQVgraph& g = f.graph;
  g.HasData = true;
  g.Series[1].Show = true;
  g.Series[2].Show = true;
  g.Series[2].Style = Bar;
  g.Series[2].RightAxis = true;
  for (int i = 0; i < 10; ++i) f.At(1, i) = f.At(2, i) = 1e30f;
  struct Case {
    double first, last, tick;
  } cases[] = {{-1e308, 1e308, 1},   {0, 1e300, 1e-300}, {1e15, 1e15 + 4, 1},
               {-kInf, kInf, 1},     {kNaN, kNaN, kNaN}, {0, 10, -1},
               {0, 10, 1e-12},       {-1e9, -1e9 + 1, 1e-9}};
  for (const Case& c : cases) {
    g.FirstXval = g.FirstY0val = g.FirstY1val = c.first;
    g.LastXval = g.LastY0val = g.LastY1val = c.last;
    g.TickXdist = g.TickY0dist = g.TickY1dist = c.tick;
    g.DrawGraph();
    EXPECT_LE(f.Rec().ops.size(), 200000u) << c.first << " " << c.last << " " << c.tick;
    f.Rec().ops.clear();
  }
  // Far from zero the bounds still come out next to the range.
  g.FirstXval = 1e15;
  g.LastXval = 1e15 + 4;
  g.TickXdist = 1;
  g.CalcLayout();
  EXPECT_EQ(g.XTickFirst, 1e15 + 1);
  EXPECT_EQ(g.XTickLast, 1e15 + 4);
}
