// Per-track values and fits, checked bit for bit against plain computations written
// here from the description: sums in the stated precision, in frame order.
#include "TrackBuilders.h"
#include "stats/Fits.h"

const float kSentinel = -12345.0f;

// Same value, or both NaN.
static void ExpectSame(double got, double want, const char* what) {
  if (std::isnan(want))
    EXPECT_TRUE(std::isnan(got)) << what;
  else
    EXPECT_EQ(got, want) << what;
}

struct MsdResult {
  std::vector<float> msd, dk;
  double dlat;
};

static MsdResult RefMsd(const float* x, const float* y, int n, float lag, bool independent) {
  const int K = n / 2;
  MsdResult r{std::vector<float>(10000, kSentinel), std::vector<float>(10000, kSentinel), 0};
  for (int k = 1; k < K; ++k) {
    float sum = 0;
    int pairs = 0;
    for (int i = 0; i + k < n; i += independent ? k : 1, ++pairs) {
      const float dx = x[i] - x[i + k], dy = y[i] - y[i + k];
      sum = sum + (dx * dx + dy * dy);
    }
    r.msd[k] = sum / static_cast<float>(pairs);
    const float time = static_cast<float>(k) * lag;
    r.dk[k] = static_cast<float>(static_cast<double>(r.msd[k]) * 0.25 / time);
  }
  double mean = 0;
  for (int k = 2; k < K; ++k) mean += r.dk[k];
  r.dlat = K <= 2 ? std::numeric_limits<double>::quiet_NaN() : mean / (K - 2);
  return r;
}

static double RefVelocity(const SpotRec& t, int s, double dT, double timeScale, bool independent,
                   bool absoluteX) {
  const float T = static_cast<float>(s * dT * timeScale);
  float sum = 0, count = 0;
  for (int i = 0; i < t.NPoints - s - 1; i += independent ? s : 1, count = count + 1) {
    const float dx = t.X[i + s] - t.X[i], dy = t.Y[i + s] - t.Y[i];
    const double d = std::sqrt(static_cast<double>(dx * dx + dy * dy));
    sum = static_cast<float>(absoluteX && dx < 0 ? sum - d / T : sum + d / T);
  }
  return count == 0 ? 0.0 : sum / count;
}

// StepIndex, IntBefore, IntAfter and STest as the drop search leaves them.
static Floats DropOf(const SpotRec& t) {
  return {static_cast<float>(t.StepIndex), t.IntBefore, t.IntAfter, t.STest};
}

static Floats RefDrop(const SpotRec& t, int W) {
  const int n = t.NPoints;
  float best = 0, keptBefore = 0, keptAfter = 0;
  int kept = 1;
  for (int k = W; k < n - W; ++k) {
    float sb = 0, sa = 0;
    for (int i = k - W; i < k; ++i) sb = sb + t.Int[i];
    for (int i = k; i < k + W; ++i) sa = sa + t.Int[i];
    if (sb - sa > best) best = sb - sa, kept = k, keptBefore = sb, keptAfter = sa;
  }
  const float w = static_cast<float>(W);
  const float before = keptBefore / w, after = keptAfter / w, drop = best / w;
  float vb = 0, va = 0;
  for (int i = 0; i < kept; ++i) vb = vb + (t.Int[i] - before) * (t.Int[i] - before);
  vb = vb / static_cast<float>(kept);
  for (int i = kept; i < n; ++i) va = va + (t.Int[i] - after) * (t.Int[i] - after);
  va = va / static_cast<float>(n - kept);
  const float spread = vb + va;
  return {static_cast<float>(kept), before, after, spread > 0 ? drop / sqrtf(spread) : 0.0f};
}

TEST(TrackValues, RandomTracksMatchPlainComputation) {
  std::mt19937 gen(20240611);
  const int lengths[] = {0, 1, 2, 3, 5, 6, 7, 10, 11, 20, 21, 22, 57, 200, 1001};
  const double timeScales[] = {1.0, 0.01666666666};
  const int steps[] = {1, 3, 7, 100};
  static float msd[10000], dk[10000];
  static MsdScratch scratch;
  for (int n : lengths) {
    for (int rep = 0; rep < 3; ++rep) {
      SpotRec t = RandomSpot(gen, n);
      for (double timeScale : timeScales) {
        for (bool independent : {false, true}) {
          Settings s;
          s.TimeScale = timeScale;
          const float lag = static_cast<float>(s.dT * timeScale);
          std::fill(msd, msd + 10000, kSentinel);
          std::fill(dk, dk + 10000, kSentinel);
          const double dlat = CalcTrackMSD(t.X.data(), t.Y.data(), n, lag, dk, msd, independent);
          const MsdResult ref = RefMsd(t.X.data(), t.Y.data(), n, lag, independent);
          ExpectSame(dlat, ref.dlat, "Dlat");
          ASSERT_EQ(std::vector<float>(msd, msd + 10000), ref.msd) << "n " << n;
          ASSERT_EQ(std::vector<float>(dk, dk + 10000), ref.dk) << "n " << n;
          for (int step : steps)
            for (bool absoluteX : {false, true}) {
              s.VelocityStep = step;
              EXPECT_EQ(CalcTrackVelocity(t, s, {independent, absoluteX}),
                        RefVelocity(t, step, s.dT, timeScale, independent, absoluteX))
                  << "n " << n << " step " << step;
            }
          // On load: AverInt, Dlat, AverVel, intensity drop.
          ComputeTrackValues(t, s, {independent, false}, scratch);
          float sum = 0;
          for (int k = 0; k < n; ++k) sum = sum + t.Int[k];
          ExpectSame(t.AverInt, sum / static_cast<float>(n), "AverInt");
          ExpectSame(t.Dlat, static_cast<float>(ref.dlat), "stored Dlat");
          EXPECT_EQ(t.AverVel, static_cast<float>(RefVelocity(t, s.VelocityStep, s.dT, timeScale,
                                                              independent, false)));
          EXPECT_EQ(DropOf(t), RefDrop(t, 10)) << "n " << n;
        }
      }
    }
  }
}

TEST(TrackValues, MsdEdgeCases) {
  float msd[16], dk[16];
  // Six points: lags 1 and 2; Dlat is Dk[2] = MSD[2] / (8 lag).
  const float x6[] = {0, 1, 2, 3, 4, 5}, y6[] = {0, 0, 0, 0, 0, 0};
  std::fill(msd, msd + 16, kSentinel);
  std::fill(dk, dk + 16, kSentinel);
  const double dlat = CalcTrackMSD(x6, y6, 6, 0.03f, dk, msd, false);
  EXPECT_EQ((Floats{msd[0], msd[1], msd[2], msd[3], dk[0]}),
            (Floats{kSentinel, 1, 4, kSentinel, kSentinel}));
  EXPECT_FLOAT_EQ(dk[1], 0.25f / 0.03f);
  EXPECT_FLOAT_EQ(dk[2], 4.0f / (8 * 0.03f));
  EXPECT_EQ(dlat, static_cast<double>(dk[2]));

  // Five points: lag 1 only, Dlat NaN. Two points: no lag at all.
  EXPECT_TRUE(std::isnan(CalcTrackMSD(x6, y6, 5, 0.03f, dk, msd, false)));
  std::fill(msd, msd + 16, kSentinel);
  EXPECT_TRUE(std::isnan(CalcTrackMSD(x6, y6, 2, 0.03f, dk, msd, false)) && msd[1] == kSentinel);

  // x = i²: lag 3 over 10 points takes (0,3), (3,6), (6,9) when independent, else seven pairs.
  float x10[10], y10[10] = {};
  for (int i = 0; i < 10; ++i) x10[i] = static_cast<float>(i * i);
  CalcTrackMSD(x10, y10, 10, 0.03f, dk, msd, true);
  EXPECT_EQ(msd[3], (81.0f + 729 + 2025) / 3);
  CalcTrackMSD(x10, y10, 10, 0.03f, dk, msd, false);
  EXPECT_EQ(msd[3], (81.0f + 225 + 441 + 729 + 1089 + 1521 + 2025) / 7);
}

TEST(TrackValues, VelocityEdgeCases) {
  Settings s;
  Floats x;
  for (int i = 0; i < 10; ++i) x.push_back(static_cast<float>(i * i));
  SpotRec t = MakeSpot(x);
  // Steps of (i+3)² - i² = 6i + 9 for i = 0..5 (the pair ending at the last point is never
  // used); independent pairs take i = 0 and 3 only.
  EXPECT_NEAR(CalcTrackVelocity(t, s, {}) * 0.09, 24.0, 1e-4);
  EXPECT_NEAR(CalcTrackVelocity(t, s, {true, false}) * 0.09, 18.0, 1e-4);
  // The largest step, 100: 102 points give one step, 101 none.
  SpotRec longTrack = MakeSpot(Ramp(102, 0.5));
  s.VelocityStep = 100;
  EXPECT_NEAR(CalcTrackVelocity(longTrack, s, {}), 50.0 / 3.0, 1e-4);
  longTrack.NPoints = 101;
  EXPECT_EQ(CalcTrackVelocity(longTrack, s, {}), 0.0);

  // Steadily towards smaller X: the signed speed is the plain speed negated.
  SpotRec leftward = MakeSpot(Ramp(30, -0.25, 10), Floats(30, 1.0f));
  s.VelocityStep = 3;
  const double plain = CalcTrackVelocity(leftward, s, {});
  EXPECT_TRUE(plain > 0 && CalcTrackVelocity(leftward, s, {false, true}) == -plain);
}

TEST(TrackValues, IntensityDropEdgeCases) {
  // 15 frames at 100, then 15 at 40 with the last at 50: the drop starts at frame 15.
  Floats in(30, 100.0f);
  std::fill(in.begin() + 15, in.end(), 40.0f);
  in[29] = 50.0f;
  SpotRec t = MakeSpot(Floats(30), {}, in);
  FindIntensityDrop(t, 10);
  EXPECT_EQ(DropOf(t), (Floats{15, 100, 40, 60.0f / sqrtf(100.0f / 15.0f)}));
  // 2W frames: no candidate; constant intensity: no drop beats 0.
  t.NPoints = 20;
  FindIntensityDrop(t, 10);
  EXPECT_EQ(DropOf(t), (Floats{1, 0, 0, 0}));
  SpotRec flat = MakeSpot(Floats(40), {}, Floats(40, 75.0f));
  FindIntensityDrop(flat, 10);
  EXPECT_EQ(DropOf(flat), (Floats{1, 0, 0, 0}));
}

TEST(Fits, MatchPlainComputation) {
  std::mt19937 gen(7);
  std::uniform_real_distribution<float> value(-50.0f, 50.0f), weight(-1.0f, 6.0f);
  for (int n : {1, 2, 3, 10, 97, 1000}) {
    std::vector<float> x(n), y(n), w(n), fitted(n), refFitted(n);
    for (int i = 0; i < n; ++i) {
      x[i] = value(gen);
      y[i] = 0.3f * x[i] + value(gen) * 0.1f;
      w[i] = i % 5 == 0 ? std::floor(weight(gen)) : weight(gen);  // whole, fractional, <= 0
    }
    // Unweighted: float sums, means divided in long double.
    float sx = 0, sy = 0;
    for (int i = 0; i < n; ++i) sx = sx + x[i], sy = sy + y[i];
    const float mx = static_cast<float>(static_cast<long double>(sx) / n);
    const float my = static_cast<float>(static_cast<long double>(sy) / n);
    float sxy = 0, sxx = 0;
    for (int i = 0; i < n; ++i)
      sxy = sxy + (x[i] - mx) * (y[i] - my), sxx = sxx + (x[i] - mx) * (x[i] - mx);
    const float slope = sxy / sxx;
    float fitSlope = 0;
    const double intercept = LinearFit(x.data(), y.data(), n, fitSlope);
    ExpectSame(fitSlope, slope, "slope");
    ExpectSame(intercept, static_cast<float>(my - slope * mx), "intercept");

    // Weighted: exact weights in the means, repeat counts in the sums of squares.
    double W = 0, swx = 0, swy = 0;
    for (int i = 0; i < n; ++i)
      W += w[i], swx += static_cast<double>(w[i]) * x[i], swy += static_cast<double>(w[i]) * y[i];
    const double wmx = swx / W, wmy = swy / W;
    double wsxy = 0, wsxx = 0;
    for (int i = 0; i < n; ++i)
      for (int j = 0; j < w[i]; ++j)
        wsxy += (x[i] - wmx) * (y[i] - wmy), wsxx += (x[i] - wmx) * (x[i] - wmx);
    const float wslope = static_cast<float>(wsxy / wsxx);
    const float b = static_cast<float>(wmy - wslope * wmx);
    for (int i = 0; i < n; ++i) refFitted[i] = wslope * x[i] + b;
    ExpectSame(WeightedLinearFit(x.data(), y.data(), w.data(), fitted.data(), n, fitSlope), b,
               "weighted intercept");
    ExpectSame(fitSlope, wslope, "weighted slope");
    for (int i = 0; i < n; ++i) ExpectSame(fitted[i], refFitted[i], "fitted");
  }
}

TEST(Fits, HandWorkedCases) {
  float slope = 0;
  const float x[] = {0, 1, 2, 3}, y[] = {1, 3, 5, 7};
  EXPECT_TRUE(LinearFit(x, y, 4, slope) == 1.0 && slope == 2.0f);
  LinearFit(x, y, 0, slope);
  EXPECT_TRUE(std::isnan(slope));

  // Weight 1.5 enters the sums of squares twice, 0.5 once; the means use 1.5 and 0.5.
  // Means 5/6 and 7/6; Sxy = 152/36, Sxx = 76/36: slope 2, intercept -1/2 (the exact
  // weights would have given 93/51).
  const float wx[] = {0, 1, 2}, wy[] = {0, 1, 4}, w[] = {1, 1.5f, 0.5f};
  float fitted[3] = {kSentinel, kSentinel, kSentinel};
  EXPECT_NEAR(WeightedLinearFit(wx, wy, w, fitted, 3, slope), -0.5, 1e-6);
  EXPECT_TRUE(std::fabs(slope - 2) < 1e-6 && std::fabs(fitted[2] - 3.5f) < 1e-5) << slope;

  const float zero[] = {0, 0, 0};
  WeightedLinearFit(wx, wy, zero, fitted, 3, slope);
  EXPECT_TRUE(std::isnan(slope));
  fitted[0] = kSentinel;
  WeightedLinearFit(wx, wy, w, fitted, 0, slope);
  EXPECT_EQ(fitted[0], kSentinel);
}
