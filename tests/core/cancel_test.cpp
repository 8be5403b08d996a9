// A long command cancelled at any of its progress reports leaves the tracks, the per-track
// values, the settings, the menus and both panels as they were, and writes no file.
#include "StoreTestFiles.h"
#include "TrackBuilders.h"
#include "cli/TrackTable.h"
#include "edit/PanelExport.h"

namespace {

// Everything a cancel must put back, as text (frames included).
std::string State(const TMainForm& form) {
  std::string state = TrackTableText(form.Spots, form.DlatUnit, form.TimeUnit, true) +
                      PanelsTableText(form.LeftGraph, form.RightGraph, ',');
  for (const MenuItem& item : form.Menu.Items())
    state += item.caption + (item.checked ? "+" : "-");
  for (const TQVgraph* g : {&form.LeftGraph, &form.RightGraph})
    state += g->Notes[0] + g->XTitle + std::to_string(g->LastXval);
  state += std::to_string(form.S.dT) + std::to_string(form.Registers.FitSlope);
  for (int32_t i = 0; i < form.Spots.NSpots; ++i)
    for (const FrameArray* a : {&form.Spots[i].X, &form.Spots[i].Y, &form.Spots[i].Int})
      state.append(reinterpret_cast<const char*>(a->data()), sizeof(float) * a->size());
  return state;
}

}  // namespace

TEST(CancelledCommands, LeaveEverythingAsItWas) {
  PopulationPlan plan;
  plan.seed = 21, plan.tracks = 1100, plan.points = 24, plan.pairs = 10;
  const std::string file = SimulatedFile("cancel.qvi", plan);
  const std::string out = TempPath("cancelled-output.txt");
  const char* commands[] = {"MatchTracks",   "RunningMed5", "RunningAverage3", "SaveXYIntData",
                            "SaveMSDdT",     "SaveTracksCSV", "R_ShowJumpDistr"};
  for (const char* command : commands) {
    for (int at = 1; at <= 3; ++at) {
      SCOPED_TRACE(std::string(command) + " cancelled at report " + std::to_string(at));
      FakePlatform platform;
      TMainForm form(platform);
      form.LoadQVIFile(file, true);
      form.Format2016 = true;  // Fit Tracks Together runs on 2016-layout files only
      form.S.JumpResamples = 4;
      const std::string before = State(form);
      std::filesystem::remove(out);
      platform.saveAnswers = {out};
      platform.messages.clear();
      platform.cancelAtReport = at;
      ASSERT_TRUE(form.RunCommand(command));
      ASSERT_TRUE(at > 1 || platform.progressReports >= 1) << "no progress reported";
      if (platform.progressReports < at) break;  // it ended before that report
      EXPECT_EQ(platform.messages.back(), "Cancelled");
      EXPECT_TRUE(State(form) == before);
      EXPECT_FALSE(std::filesystem::exists(out));
    }
  }
}
