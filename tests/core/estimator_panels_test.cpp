// The panels of the estimators beside Dlat on simulated tracks of known D: their notes in
// the format a script reads, their numbers near the truth, their track counts.
#include <regex>

#include "StoreTestFiles.h"
#include "TrackBuilders.h"

namespace {

using EstimatorPanels = FormTest;

// Brownian tracks of D = 0.1 µm²/s at the default 30 ms, plus `twoPoint` tracks of two
// points (too short for every per-track estimate).
void LoadBrownian(TMainForm& form, int32_t tracks, int32_t points, int32_t twoPoint) {
  PopulationPlan plan;
  plan.seed = 5, plan.tracks = tracks, plan.points = points, plan.D = 0.1;
  std::vector<SimTrack> sim = MakePopulation(plan);
  plan.tracks = twoPoint, plan.points = 2, plan.seed = 6;
  for (SimTrack& t : MakePopulation(plan)) sim.push_back(std::move(t));
  const std::string path = TempPath("estimators.qvi");
  ASSERT_TRUE(WriteSimulatedQvi(path, sim));
  form.LoadQVIFile(path, true);
}

double NumberAfter(const std::string& text, const std::string& label) {
  return std::stod(text.substr(text.find(label) + label.size()));
}

// Runs the panel command and checks the note it wrote against `pattern`; returns the note.
std::string NoteOf(TMainForm& form, const char* command, const TQVgraph& graph,
                   const char* pattern) {
  EXPECT_TRUE(form.RunCommand(command)) << command;
  const std::string& note = graph.Notes[0];
  EXPECT_TRUE(std::regex_match(note, std::regex(pattern))) << note;
  return note;
}

}  // namespace

TEST_F(EstimatorPanels, PooledMsdNoteAndNumbers) {
  LoadBrownian(form, 300, 100, 20);
  form.S.BootstrapResamples = 200;
  // Every track with a pair counts, the two-point ones too: 300 x 99 + 20 x 1 lag-1 pairs.
  const std::string note = NoteOf(form, "R_ShowPooledMSD", form.RightGraph,
                                  "D=[0-9.]+µm2/s \\[[0-9.]+-[0-9.]+\\], "
                                  "alpha=[0-9.]+ \\[[0-9.]+-[0-9.]+\\], "
                                  "sigma=[0-9]+nm \\(320 tracks, 29720 pairs\\)");
  EXPECT_NEAR(NumberAfter(note, "D="), 0.1, 0.005);
  EXPECT_NEAR(NumberAfter(note, "alpha="), 1.0, 0.05);
  EXPECT_EQ(form.Menu.Caption("Right"), "Right-Pooled-MSD");
  EXPECT_EQ(form.RightHeadlines.front().name, "pooled D (µm2/s)");
}

TEST_F(EstimatorPanels, CovarianceDistributionCountsTheTracksItUses) {
  LoadBrownian(form, 300, 100, 20);
  form.S.MotionBlur = 0;  // the simulator's tracks are not blurred
  ASSERT_TRUE(form.RunCommand("AlphaLags"));  // recomputes the per-track values (prompt: OK)
  const std::string note = NoteOf(form, "L_ShowDcveDistr", form.LeftGraph,
                                  "Aver\\. D=[0-9.]+µm2/s, median=[0-9.]+, "
                                  "SD=[0-9.]+ \\(300 used of 320\\)");
  EXPECT_NEAR(NumberAfter(note, "Aver. D="), 0.1, 0.01);
  // A two-point track has no D; a long one has all three values.
  EXPECT_TRUE(std::isnan(form.Spots[310].Dcve) && std::isfinite(form.Spots[0].Alpha) &&
              form.Spots[0].SigmaCve >= 0);
}

TEST_F(EstimatorPanels, JumpPanelNoteOnOneState) {
  LoadBrownian(form, 400, 10, 0);
  form.S.JumpResamples = 0;
  // 4 jumps of lag 1 from each track of 10 points.
  const std::string note = NoteOf(form, "R_ShowJumpDistr", form.RightGraph,
                                  "F1=1\\.00 D1=[0-9.]+µm2/s; sigma=[0-9.]+nm "
                                  "\\(1 state by BIC, 400 tracks, 1600 jumps\\)");
  EXPECT_NEAR(NumberAfter(note, "D1="), 0.1, 0.01);
  EXPECT_TRUE(form.RightGraph.Series[2].Show && !form.RightGraph.Series[4].Show);
}
