#include <gtest/gtest.h>

#include <cmath>
#include <memory>

#include "EstimatorTracks.h"
#include "stats/CovarianceEstimator.h"
#include "stats/CramerRao.h"
#include "stats/ThreadPool.h"
#include "stats/TrackValues.h"

namespace {

double RelativeSD(const std::vector<double>& v, double* mean) {
  double m = 0, squares = 0;
  for (double d : v) m += d;
  m /= v.size();
  for (double d : v) squares += (d - m) * (d - m);
  *mean = m;
  return std::sqrt(squares / (v.size() - 1)) / m;
}

}  // namespace

// Pairs of every track counted once, under both rules; the unusable tracks left out; kept
// curves, thread counts and the plain path all give the same bits.
TEST(PooledMsd, PoolsEveryPairTheSameWayOnEveryPath) {
  std::vector<SimTrack> tracks = Diffusing(5, 9);
  const int32_t lengths[] = {1, 2, 3, 7, 12, 40, 200, 200, 31};
  for (int i = 0; i < 9; ++i) tracks[i].NPoints = lengths[i];
  tracks[8].X[4] = NAN;
  std::vector<TrackXY> arrays = Arrays(tracks);
  PooledMsdSettings settings{.lags = 12, .resamples = 64};
  ThreadPool one(1), three(3);

  for (bool independent : {false, true}) {
    settings.independentPairs = independent;
    const PooledMsdResult r = PooledMsd(arrays.data(), 9, 0.03, settings, three);
    EXPECT_EQ(r.tracksUsed, 7);
    for (int32_t k = 1; k <= 12; ++k) {
      double sum = 0;
      int64_t pairs = 0;
      for (int i = 1; i < 8; ++i)
        for (int32_t j = 0; j + k < lengths[i]; j += independent ? k : 1, ++pairs)
          sum += std::pow(double{tracks[i].X[j + k]} - tracks[i].X[j], 2) +
                 std::pow(double{tracks[i].Y[j + k]} - tracks[i].Y[j], 2);
      EXPECT_EQ(r.lags[k - 1].pairs, pairs) << k;
      EXPECT_NEAR(r.lags[k - 1].msd, sum / pairs, 1e-5 * sum / pairs) << k;
    }
    EXPECT_EQ(r.lag1Pairs, 1 + 2 + 6 + 11 + 39 + 199 + 199);

    // Curves kept from CalcTrackMSD, fewer threads, the plain loops: the same bits.
    std::vector<std::unique_ptr<MsdScratch>> curves;
    std::vector<TrackXY> withCurves = arrays;
    for (TrackXY& t : withCurves) {
      curves.push_back(std::make_unique<MsdScratch>());
      CalcTrackMSD(t.x, t.y, t.n, 0.03f, curves.back()->Dk, curves.back()->MSD, independent);
      t.curve = curves.back()->MSD;
    }
    for (const PooledMsdResult& other :
         {PooledMsd(withCurves.data(), 9, 0.03, settings, one),
          PooledMsdReference(arrays.data(), 9, 0.03, settings)}) {
      EXPECT_TRUE(other.D == r.D && other.alpha == r.alpha && other.sigma == r.sigma);
      EXPECT_TRUE(other.dInterval.low == r.dInterval.low &&
                  other.alphaInterval.high == r.alphaInterval.high);
      for (int32_t k = 0; k < 12; ++k)
        EXPECT_TRUE(other.lags[k].interval.low == r.lags[k].interval.low &&
                    other.lags[k].sd == r.lags[k].sd);
    }
  }
  // Nothing usable, or no time unit: NaN estimates, no crash.
  const PooledMsdResult none = PooledMsd(arrays.data(), 1, 0.03, settings, one);
  EXPECT_TRUE(none.tracksUsed == 0 && std::isnan(none.D) && std::isnan(none.dInterval.low));
  EXPECT_FALSE(PooledMsd(arrays.data(), 9, 0, settings, one).error.empty());
}

TEST(PooledMsd, RecoversSimulatedTruth) {
  ThreadPool& pool = ThreadPool::Shared();
  const PooledMsdSettings settings{.resamples = 200};
  std::vector<SimTrack> tracks = Diffusing(11, 500);
  PooledMsdResult r = PooledMsd(Arrays(tracks).data(), 500, 0.03, settings, pool);
  EXPECT_NEAR(r.D, 0.1, 0.002);
  EXPECT_NEAR(r.alpha, 1, 0.03);
  EXPECT_TRUE(r.dInterval.low < r.D && r.D < r.dInterval.high && r.dInterval.high < 0.105);
  EXPECT_TRUE(r.lags[0].interval.low < r.lags[0].msd && r.lags[0].sd > 0);

  tracks = Diffusing(12, 500, 1, 0.03);
  r = PooledMsd(Arrays(tracks).data(), 500, 0.03, settings, pool);
  EXPECT_NEAR(r.D, 0.1, 0.005);
  EXPECT_NEAR(r.sigma, 0.03, 0.003);

  for (double alpha : {0.5, 1.5}) {
    tracks = Diffusing(13, 500, alpha);
    EXPECT_NEAR(PooledMsd(Arrays(tracks).data(), 500, 0.03, settings, pool).alpha, alpha, 0.05);
    EXPECT_EQ(tracks[7].X, Diffusing(13, 500, alpha)[7].X);  // seeded
  }
}

TEST(TrackMobility, CovarianceEstimatorReachesTheCramerRaoLimit) {
  std::vector<double> D, blurredD, variances;
  for (const SimTrack& t : Diffusing(21, 1000))
    D.push_back(EstimateTrackMobility(t.X.data(), t.Y.data(), t.NPoints, 0.03, {}).D);
  double mean;
  const double limit = CramerRaoRelativeSD(200, {.D = 0.1, .lagUnit = 0.03}, false);
  EXPECT_LE(RelativeSD(D, &mean), 1.1 * limit);
  EXPECT_NEAR(mean, 0.1, 0.003);

  // Blurred frames with 30 nm error: R = 1/6 recovers both, R = 0 loses the error.
  const std::vector<SimTrack> blurred = Diffusing(22, 1000, 1, 0.03, true);
  for (double R : {1.0 / 6, 0.0}) {
    blurredD.clear();
    variances.clear();
    for (const SimTrack& t : blurred) {
      const TrackMobility m = EstimateTrackMobility(t.X.data(), t.Y.data(), 200, 0.03, {.blur = R});
      blurredD.push_back(m.D);
      variances.push_back(m.sigma * m.sigma);
    }
    RelativeSD(blurredD, &mean);
    EXPECT_NEAR(mean, 0.1, 0.003);
    RelativeSD(variances, &mean);
    if (R > 0) EXPECT_NEAR(std::sqrt(mean), 0.03, 0.0015);
    else EXPECT_LT(std::sqrt(mean), 0.02);
  }
}

TEST(TrackMobility, ShortStillBrokenAndStraightTracks) {
  const float x[40] = {0, 1, 0}, y[40] = {};
  // Steps +1, -1: mean square 0.5, neighbour product -0.5 per axis.
  const TrackMobility three = EstimateTrackMobility(x, y, 3, 1.0, {});
  EXPECT_DOUBLE_EQ(three.D, 0.5 / 2 - 0.5);
  EXPECT_DOUBLE_EQ(three.sigma, std::sqrt(0.5));
  EXPECT_TRUE(std::isnan(three.alpha) && std::isnan(EstimateTrackMobility(x, y, 2, 1.0, {}).D));
  const TrackMobility still = EstimateTrackMobility(y, y, 40, 1.0, {.blur = 1.0 / 6});
  EXPECT_TRUE(still.D == 0 && still.sigma == 0 && std::isnan(still.alpha));
  const float broken[4] = {0, NAN, 1, 2};
  EXPECT_TRUE(std::isnan(EstimateTrackMobility(broken, y, 4, 1.0, {}).D));

  // Straight motion: MSD = v² k², alpha 2 whether the curve is given or computed.
  float line[40];
  for (int i = 0; i < 40; ++i) line[i] = 0.25f * i;
  MsdScratch curve;
  CalcTrackMSD(line, y, 40, 1.0f, curve.Dk, curve.MSD, true);
  EXPECT_NEAR(EstimateTrackMobility(line, y, 40, 1.0, {.independentPairs = true}).alpha, 2, 1e-6);
  EXPECT_EQ(EstimateTrackMobility(line, y, 40, 1.0, {}, curve.MSD).alpha,
            EstimateTrackMobility(line, y, 40, 1.0, {.independentPairs = true}).alpha);
  EXPECT_TRUE(std::isnan(EstimateTrackMobility(line, y, 11, 1.0, {}).alpha));  // 2 lags
}

// The bound against the Fisher information worked out from the dense covariance matrix.
TEST(CramerRao, MatchesTheDenseFisherInformation) {
  const int N = 7;  // steps of an 8-point track
  const double D = 0.1, t = 0.03, s2 = 0.0004, R = 1.0 / 6;
  double S[N][2 * N] = {}, dD[N][N] = {}, dS[N][N] = {};
  for (int i = 0; i < N; ++i)
    for (int j = 0; j < N; ++j) {
      const int d = std::abs(i - j);
      S[i][j] = d == 0 ? 2 * D * t * (1 - 2 * R) + 2 * s2 : d == 1 ? 2 * R * D * t - s2 : 0;
      dD[i][j] = d == 0 ? 2 * t * (1 - 2 * R) : d == 1 ? 2 * R * t : 0;
      dS[i][j] = d == 0 ? 2 : d == 1 ? -1 : 0;
      S[i][N + j] = i == j;
    }
  for (int c = 0; c < N; ++c)  // Gauss-Jordan: S becomes [I | inverse]
    for (int r = 0; r < N; ++r) {
      const double f = r == c ? 1 / S[c][c] : -S[r][c] / S[c][c];
      for (int j = 0; j < 2 * N; ++j) S[r][j] = r == c ? S[r][j] * f : S[r][j] + f * S[c][j];
    }
  auto trace = [&](double (*A)[N], double (*B)[N]) {  // tr(S⁻¹ A S⁻¹ B)
    double P[N][N] = {}, Q[N][N] = {}, sum = 0;
    for (int i = 0; i < N; ++i)
      for (int j = 0; j < N; ++j)
        for (int k = 0; k < N; ++k) P[i][j] += S[i][N + k] * A[k][j], Q[i][j] += S[i][N + k] * B[k][j];
    for (int i = 0; i < N; ++i)
      for (int j = 0; j < N; ++j) sum += P[i][j] * Q[j][i];
    return sum;  // per axis, halved; two axes double it back
  };
  const double iDD = trace(dD, dD), iDS = trace(dD, dS), iSS = trace(dS, dS);
  const CramerRaoSettings settings{.D = D, .sigma = std::sqrt(s2), .lagUnit = t, .blur = R};
  EXPECT_NEAR(CramerRaoRelativeSD(8, settings, true), std::sqrt(1 / iDD) / D, 1e-9);
  EXPECT_NEAR(CramerRaoRelativeSD(8, settings, false),
              std::sqrt(iSS / (iDD * iSS - iDS * iDS)) / D, 1e-9);
  // Without error, a known error leaves one independent step per variance: 1/sqrt(N).
  EXPECT_NEAR(CramerRaoRelativeSD(200, {}, true), 1 / std::sqrt(199.0), 1e-12);
  EXPECT_NEAR(CramerRaoRelativeSD(200, {}, false), 0.123, 0.001);
  EXPECT_TRUE(std::isnan(CramerRaoRelativeSD(2, {}, false)));
}
