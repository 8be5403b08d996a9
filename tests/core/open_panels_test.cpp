// Time courses, correlation, mobility slope, step distribution and M-GaussFit, on
// simulated tracks whose answers are known.
#include <chrono>

#include "TrackBuilders.h"
#include "stats/CorrelationPanels.h"
#include "stats/DistancePanels.h"
#include "stats/MobilitySlopePanel.h"
#include "stats/MultiGaussFit.h"
#include "stats/StepDistributionPanel.h"
#include "stats/TimeCoursePanels.h"
#include "stats/VelocityPanels.h"

// Finite axes the graph draws without repairing them.
static void ExpectDrawable(TQVgraph& g) {
  ExpectFiniteAxes(g);
  EXPECT_TRUE(g.CheckRanges());
}

// Free diffusion of 0.1 µm²/s at frames 0.03 s apart.
static XY Brownian(Noise& noise, int n) { return Walk(noise, n, std::sqrt(2 * 0.1 * 0.03)); }

using OpenPanels = FormTest;

TEST_F(OpenPanels, DistanceCourseGivesDlatAndDwellTime) {
  Noise noise(11);
  // Lengths 10 + Exp(60 frames) at even quantiles: from slot 10 on the tracks present fall
  // as exp(-t / 1.8 s).
  const int N = 1000;
  std::vector<int> lengths;
  for (int i = 0; i < N; ++i) {
    lengths.push_back(10 + static_cast<int>(std::ceil(-60 * std::log((i + 0.5) / N))));
    AddTrack(form, Brownian(noise, lengths.back()));
  }
  form.Menu.SetChecked("Time0", true);
  form.RunCommand("R_ShowRMSD");
  TQVgraph& g = form.RightGraph;
  const std::string& note = g.Notes[0];
  EXPECT_EQ(g.XTitle, "Time (s)");
  EXPECT_NEAR(NoteNumber(note, "Tau="), 1.8, 1.8 * 0.05) << note;
  EXPECT_NEAR(NoteNumber(note, ", offRate="), 1 / NoteNumber(note, "Tau="), 0.002) << note;
  EXPECT_NEAR(NoteNumber(note, ",Fitted Dlat="), 0.1, 0.015) << note;
  EXPECT_NEAR(form.Registers.FitSlope / 4, 0.1, 0.015);
  // Tracks present and the mean squared distance, counted here directly.
  for (int slot : {0, 10, 50, 150}) {
    int present = 0;
    double squares = 0;
    for (int i = 0; i < N; ++i) {
      if (lengths[i] <= slot) continue;
      const SpotRec& t = form.Spots[i];
      const float dx = t.X[slot] - t.X[0], dy = t.Y[slot] - t.Y[0];
      ++present, squares += dx * dx + dy * dy;
    }
    EXPECT_EQ(g.Row(3)[slot], present) << slot;
    EXPECT_NEAR(g.Row(1)[slot], squares / present, 1e-6 * (1 + squares / present));
    EXPECT_FLOAT_EQ(g.Row(0)[slot], static_cast<float>(slot * 0.03));
  }
  ExpectDrawable(g);
}

TEST_F(OpenPanels, TimeZeroAlignsTracksAtTheirStart) {
  // Tracks moving along X at 0.2, 0.4 and 0.6 µm/s from frames 100, 105 and 120.
  const int starts[] = {100, 105, 120};
  for (int k = 0; k < 3; ++k)
    AddTrack(form, Ramp(20, 0.006 * (k + 1), 1), Floats(20, 1), {}, starts[k]);
  form.RunCommand("R_ShowVelocityTime");
  TQVgraph& g = form.RightGraph;
  // Velocities over 3 frames exist for frames 0 .. 15 of each track: frame 100 has the
  // first track only, frame 120 the last step of the second.
  EXPECT_FLOAT_EQ(g.Row(0)[0], static_cast<float>(100 * 0.03));
  for (auto [slot, tracks, speed] :
       {std::tuple{0, 1, 0.2}, {5, 2, 0.3}, {20, 2, 0.5}, {21, 1, 0.6}}) {
    EXPECT_EQ(g.Row(3)[slot], tracks) << slot;
    EXPECT_NEAR(g.Row(1)[slot], speed, 1e-4) << slot;
  }
  EXPECT_EQ(g.DataEnd, 36);
  EXPECT_NEAR(NoteNumber(g.Notes[0], "AverVel="), 0.4, 0.0011);
  EXPECT_NE(g.Notes[0].find("µm/s, VelStep=3"), std::string::npos);

  form.Menu.SetChecked("Time0", true);
  form.UpdateAnalysis();
  EXPECT_TRUE(g.Row(0)[0] == 0 && g.Row(3)[0] == 3 && g.DataEnd == 16);
  EXPECT_NEAR(g.Row(1)[0], 0.4, 1e-4);
  ExpectDrawable(g);
}

TEST_F(OpenPanels, IntensityCourseFitsTheBleachingTime) {
  Floats intensity(400);
  for (int j = 0; j < 400; ++j) intensity[j] = static_cast<float>(1000 * std::exp(-j * 0.03 / 2));
  for (int k = 0; k < 4; ++k) AddTrack(form, Floats(400, 1), Floats(400, 1), intensity, 7 * k);
  form.Menu.SetChecked("Time0", true);
  form.RunCommand("R_ShowTimeCourse");
  const TQVgraph& g = form.RightGraph;
  EXPECT_EQ(g.XTitle + " | " + g.Y0Title, "Time (s) | Average Intensity (c/p)");
  EXPECT_EQ(g.Notes[0].rfind("AverDlat=", 0), 0u);
  EXPECT_NEAR(NoteNumber(g.Notes[0], "BleachTau="), 2.0, 0.1) << g.Notes[0];
  EXPECT_TRUE(g.Series[2].Show && std::fabs(g.Row(2)[100] - g.Row(1)[100]) < 10);
}

TEST_F(OpenPanels, CorrelationNotesCoefficientAndCount) {
  for (int k = 0; k < 6; ++k) {
    SpotRec& t = AddTrack(form, Floats(20, 1), Floats(20, 1));
    t.Dlat = static_cast<float>(0.5 - 0.1 * k);  // added in falling order
    t.AverInt = 100 + 400 * t.Dlat, t.AverVel = -t.Dlat;
  }
  form.Spots[5].Dlat = std::nanf("");  // no Dlat: not a point
  form.RunCommand("L_ShowIntMobDistr");
  TQVgraph& g = form.LeftGraph;
  EXPECT_EQ(g.Notes[0] + "|" + g.XTitle, "CorrCoef=1, (5 objects)|Dlat (µm2/s)");
  EXPECT_TRUE(g.Series[1].Style == Circle && g.DataEnd == 5);
  EXPECT_EQ((Floats{g.Row(0)[0], g.Row(1)[0]}), (Floats{0.1f, 140.0f}));  // sorted by X
  ExpectDrawable(g);
  form.RunCommand("L_ShowIntVelDistr");
  // Negative velocities stay in view.
  EXPECT_TRUE(g.Notes[0] == "CorrCoef=-1, (6 objects)" && g.FirstXval < -0.5);
  ExpectDrawable(g);
}

TEST_F(OpenPanels, MobilitySlopeSeparatesDiffusionFromDirectedMotion) {
  // A straight run at constant speed has MSD = (v k)^2: a slope of exactly 2.
  MsdScratch scratch;
  const Floats x = Ramp(200, 0.01), y(200, 0.0f);
  EXPECT_NEAR(TrackMobilitySlope(x.data(), y.data(), 200, 50, false, scratch), 2.0, 1e-3);
  EXPECT_TRUE(std::isnan(TrackMobilitySlope(x.data(), y.data(), 9, 50, false, scratch)));

  Noise noise(3);
  for (int k = 0; k < 60; ++k) AddTrack(form, Brownian(noise, 400));
  form.RunCommand("L_MobilitySlopeDist");
  const std::string& note = form.LeftGraph.Notes[0];
  EXPECT_NEAR(NoteNumber(note, "Aver. Slope="), 1.0, 0.1) << note;
  EXPECT_NE(note.find("(60 objects)"), std::string::npos) << note;
  ExpectDrawable(form.LeftGraph);
  form.Spots.NSpots = 0;  // directed: 0.5 µm/s plus a little diffusion
  for (int k = 0; k < 30; ++k) AddTrack(form, Walk(noise, 300, 0.002, 0.5 * 0.03));
  form.UpdateAnalysis();
  EXPECT_NEAR(NoteNumber(form.LeftGraph.Notes[0], "Aver. Slope="), 2.0, 0.1);
}

TEST_F(OpenPanels, StepDistributionAndMGaussFitFindTheStep) {
  // Motor-like stepping: 8 nm steps along a random line after exponential dwells of
  // 8 frames on average, with 1 nm of position noise.
  Noise noise(2024);
  for (int k = 0; k < 30; ++k) {
    const double angle = 2 * M_PI * noise.Uniform();
    XY t{Floats(300), Floats(300)};
    double along = 0;
    for (int j = 0; j < 300; ++j) {
      if (noise.Uniform() < 1.0 / 8) along += 0.008;
      t.x[j] = static_cast<float>(3 + along * std::cos(angle) + 0.001 * noise.Normal());
      t.y[j] = static_cast<float>(3 + along * std::sin(angle) + 0.001 * noise.Normal());
    }
    AddTrack(form, t);
  }
  form.S.DistanceBin = 1.0;
  form.RunCommand("MGaussFit");  // the step panel is not shown yet
  EXPECT_EQ(platform.messages,
            std::vector<std::string>{"M-GaussFit works on the \"Show Distance AutoCorr\" panel"});

  form.RunCommand("R_ShowStepDistr");
  TQVgraph& g = form.RightGraph;
  // Every pair up to 50 frames apart: per track of 300 points 50 * 250 + (49 + ... + 1).
  const long pairs = 30L * (50 * 250 + 49 * 50 / 2);
  EXPECT_EQ(static_cast<long>(NoteNumber(g.Notes[0], "nm, ")), pairs) << g.Notes[0];
  // The staircase holds each bin twice; only the last filled bin is not drawn.
  double counted = 0;
  for (int i = 0; i < g.DataEnd; i += 2) counted += g.Row(1)[i];
  EXPECT_TRUE(counted <= pairs && counted > 0.999 * pairs) << counted;
  // Bin 8 (8 to 9 nm), counted here in double precision.
  int inBin8 = 0;
  for (int t = 0; t < 30; ++t)
    for (int i = 0; i < 300; ++i)
      for (int j = i + 1; j < 300 && j <= i + 50; ++j) {
        const SpotRec& s = form.Spots[t];
        const double d = 1000 * std::hypot(double(s.X[j]) - s.X[i], double(s.Y[j]) - s.Y[i]);
        inBin8 += d >= 8 && d < 9;
      }
  EXPECT_TRUE(std::fabs(g.Row(1)[16] - inBin8) <= 3 && !g.Series[2].Show) << inBin8;

  form.RunCommand("MGaussFit");
  EXPECT_EQ(platform.messages.size(), 1u);
  EXPECT_NEAR(NoteNumber(g.Notes[0], "Step="), 8.0, 0.8) << g.Notes[0];
  EXPECT_TRUE(NoteNumber(g.Notes[0], "nm, SD=") > 0 && g.Series[2].Show);
  double misfit = 0, total = 0;
  for (int i = 0; i < g.DataEnd; i += 2)
    misfit += std::fabs(g.Row(2)[i] - g.Row(1)[i]), total += g.Row(1)[i];
  EXPECT_LT(misfit, 0.25 * total);  // the drawn fit follows the histogram
  ExpectDrawable(g);
  form.UpdateAnalysis();  // a recomputation drops the fit
  EXPECT_FALSE(g.Series[2].Show);
}

TEST(MultiGaussFit, RecoversAnExactHistogram) {
  // Bins integrated exactly from Gaussians at 6.5, 13, ... of width 1.1 and the
  // zero-distance Rayleigh curve of the same width (bin width 0.5): the half step
  // fits as well but must lose.
  const double step = 6.5, width = 1.1, bin = 0.5, s2 = std::sqrt(2.0);
  Floats bins(120, 0.0f);
  for (int i = 0; i < 120; ++i) {
    const double x0 = i * bin, x1 = x0 + bin;
    double sum = 1000.0 * (std::exp(-x0 * x0 / (2 * width * width)) -
                           std::exp(-x1 * x1 / (2 * width * width)));
    for (int k = 1; k < 10; ++k) {
      const double z0 = (x0 - k * step) / width, z1 = (x1 - k * step) / width;
      sum += 1000.0 * std::exp(-0.3 * k) * 0.5 * (std::erfc(-z1 / s2) - std::erfc(-z0 / s2));
    }
    bins[i] = static_cast<float>(sum);
  }
  MultiGaussResult fit;
  ASSERT_TRUE(FitMultiGauss(bins.data(), 120, bin, fit));
  EXPECT_NEAR(fit.Step, step, 1e-3);
  EXPECT_NEAR(fit.Width, width, 1e-3);
  EXPECT_NEAR(fit.Area[2], 1000.0 * std::exp(-0.6), 1.0);
  EXPECT_NEAR(MultiGaussBinValue(fit, 26, bin), bins[26], 0.01);
  // Too little to fit: no result, no crash.
  const float sparse[4] = {5, 0, 1, 0};
  EXPECT_FALSE(FitMultiGauss(sparse, 4, 1.0, fit) || FitMultiGauss(bins.data(), 120, 0.0, fit));
}

// The open panels and the velocity panels on an empty store, one point, a short track and
// one of 10000 points far along in time; then with settings the prompts never allow: a
// zero bin and a zero step with independent pairs would never advance their loops.
TEST_F(OpenPanels, DegenerateStoresAndSettingsStayDrawable) {
  const PanelAnalysis finite[] = {CalcVelDist, CalcInstantVelDist, CalcAngleDist, CalcMaxDistDist};
  const PanelAnalysis drawable[] = {
      CalcDistanceTimeCourse,  CalcVelocityTimeCourse,
      CalcIntensityTimeCourse, CalcIntMobDistr,
      CalcIntVelDistr,         CalcMobilitySlopeDist,
      CalcStepDistr,           [](AnalysisContext& c, TQVgraph& g) {
        StepGaussFit(c, g);
        return PanelResults{};
      }};
  const auto runAll = [&] {
    for (PanelAnalysis analysis : finite) {
      RunAnalysis(form, analysis, form.RightGraph);
      ExpectFiniteAxes(form.RightGraph);
    }
    for (PanelAnalysis analysis : drawable) {
      RunAnalysis(form, analysis, form.RightGraph);
      ExpectDrawable(form.RightGraph);
    }
  };
  Noise noise(5);
  runAll();
  AddTrack(form, Brownian(noise, 1));
  runAll();
  AddTrack(form, Walk(noise, 30, 0.01, 0.03));
  runAll();
  const auto start = std::chrono::steady_clock::now();
  form.Spots.NSpots = 0;
  AddTrack(form, Walk(noise, kMaxPoints, 0.1), 2000000000);  // start near the int limit
  form.S.VelocityBin = 0.0001;                               // so fine that the top bins fill
  runAll();
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(20));
  EXPECT_EQ(form.RightGraph.Notes[0].find("nan"), std::string::npos);
  form.S.VelocityBin = 0, form.S.VelocityStep = 0;
  form.Menu.SetChecked("IndependentPairs", true);
  runAll();
  // Through the menu with too few tracks the command only says so.
  platform.messages.clear();
  form.Menu.SetChecked("R_ShowStepDistr", true);
  form.RunCommand("MGaussFit");
  EXPECT_EQ(platform.messages, std::vector<std::string>{"Too few objects selected"});
}
