// Dual tracks and binding: pairing of simulated and hand-built tracks, the cut and the
// binding filter, the gates, and the four exports byte for byte.
#include <array>
#include <cstddef>
#include <filesystem>

#include "StoreTestFiles.h"
#include "TrackBuilders.h"
#include "edit/DualTracks.h"
#include "sim/SimOutput.h"
#include "sim/Simulator.h"

// Partner, stretch of slot 0, lone frames before/after, frames to binding.
static std::string PairText(const SpotRec& t) {
  return std::to_string(t.Partner) + " " + std::to_string(t.SegStart[0]) + "+" +
         std::to_string(t.SegLen[0]) + " " + std::to_string(t.FramesBefore) + "/" +
         std::to_string(t.FramesAfter) + " " + std::to_string(t.TimeToBind);
}

// An active track standing still at (x, y).
static SpotRec& AddStill(TMainForm& form, int32_t firstFrame, int32_t n, float x, float y = 5.0f) {
  return AddTrack(form, Floats(n, x), Floats(n, y), {}, firstFrame);
}

using DualTracks = FormTest;

TEST_F(DualTracks, FindsSimulatedBindingPairs) {
  form.Format2016 = true;  // the simulator's positions are absolute
  SimRandom random(11);
  // Second member starts later; first member starts later; the joint stretch runs to
  // the end of the overlap (an open run at the end of the search); only 9 joint frames.
  auto pairOf = [&](TrackStart first, int32_t secondFirst, int32_t secondPoints, int32_t joint,
                    int32_t frames) {
    return MakeBindingPair(random, {.first = first, .secondFirstFrame = secondFirst,
                                    .secondPoints = secondPoints, .jointStart = joint,
                                    .jointFrames = frames},
                           form.S.dT);
  };
  const BindingPair a = pairOf({120, 0, 10, 10}, 20, 120, 50, 30);
  const BindingPair b = pairOf({100, 30, 30, 10}, 10, 100, 45, 20);
  const BindingPair c = pairOf({80, 0, 10, 30}, 5, 60, 40, 40);  // clipped at frame 65
  const BindingPair d = pairOf({100, 0, 30, 30}, 0, 100, 40, 9);
  ASSERT_EQ(c.jointFrames, 25);
  const SimTrack lone = MakeBrownianTrack(random, {100, 0, 45, 45}, 0.05, form.S.dT);
  // Index order: the member found first searches. Pair c's second member comes first.
  ASSERT_EQ(AddSimulatedTracks(form.Spots, {a.first, b.first, lone, c.second, d.first, a.second,
                                            b.second, c.first, d.second},
                               nullptr),
            9);
  form.ComputeTrackValuesOf(0, form.Spots.NSpots);
  form.Spots[2].SegStart[3] = 7;  // left over from earlier: every track's stretch is cleared
  form.Spots[2].FramesBefore = 9;
  form.UpdateAnalysis();
  ASSERT_EQ(form.Spots.NSelected, 9);

  ASSERT_TRUE(form.RunCommand("FindDualTracks"));
  EXPECT_EQ(platform.messages, std::vector<std::string>{"3"});
  EXPECT_TRUE(form.DualsFound && ValidMask(form) == "110101110" && form.Spots.NSelected == 6);
  EXPECT_EQ(PairText(form.Spots[2]) + " " + std::to_string(form.Spots[2].SegStart[3]),
            "-1 0+0 0/0 0 0");

  // Expected values from frame numbers: the stretch is the joint frames J .. J+L-1; an
  // open run starts one point early, which also costs a frame before and gives none after.
  struct Expect {
    int searcher, partner;
    const BindingPair& pair;
    bool open;
  };
  for (const Expect& e : {Expect{0, 5, a, false}, Expect{1, 6, b, false}, Expect{3, 7, c, true}}) {
    SCOPED_TRACE(e.searcher);
    const SpotRec& s = form.Spots[e.searcher];
    const SpotRec& p = form.Spots[e.partner];
    const int J = e.pair.jointStart, L = e.pair.jointFrames, early = e.open ? 1 : 0;
    const int endS = s.FirstFrame + s.NPoints, endP = p.FirstFrame + p.NPoints;
    const int before = J - std::max(s.FirstFrame, p.FirstFrame) - early;
    // The offset is remembered only when the stretch closes inside the overlap.
    EXPECT_EQ((std::vector<int>{s.Partner, s.SegStart[0], s.SegLen[0], s.FramesBefore,
                                s.FramesAfter, s.TimeToBind, s.PairOffset}),
              (std::vector<int>{e.partner, J - s.FirstFrame - early, L, before,
                                e.open ? 0 : std::min(endS, endP) - (J + L) - 1,
                                std::abs(p.FirstFrame - s.FirstFrame) / 2 + before,
                                e.open ? 0 : p.FirstFrame - s.FirstFrame}));
    for (int k = 1; k < kMaxSegments; ++k) EXPECT_EQ(s.SegLen[k] + s.SegStart[k], 0);
    EXPECT_EQ(PairText(p), std::to_string(e.searcher) + " 0+0 0/0 0");
  }
  // By hand for pair a: stretch at point 50 of 30 points, 30 lone frames after frame 20,
  // 39 after frame 79 up to the end at 120, and 10 + 30 frames to binding.
  EXPECT_EQ(PairText(form.Spots[0]), "5 50+30 30/39 40");
}

TEST_F(DualTracks, RunAndCandidateRules) {
  // Track 0 at (1.0, 0.5) from its header position; track 1 0.1 um away by its own X only,
  // over the last 10 (or 9) frames of track 0. The run is still open at the end: it starts
  // at the last close index (14) minus 10; 4 - offset 5 frames before, 5 / 2 - 1 to binding.
  for (auto [closeFrames, format2016, result] :
       {std::tuple{10, false, "1 4+10 -1/0 1"}, {9, false, ""}, {10, true, ""}}) {
    SCOPED_TRACE(closeFrames + 100 * format2016);
    FakePlatform platform;
    TMainForm form(platform);
    SpotRec& t0 = AddStill(form, 0, 15, 0.0f, 0.0f);
    t0.PosX = 10, t0.PosY = 5;
    AddStill(form, 15 - closeFrames, closeFrames, 1.1f, 0.5f);
    form.Format2016 = format2016;
    form.UpdateAnalysis();
    form.RunCommand("FindDualTracks");
    EXPECT_EQ(platform.messages, std::vector<std::string>{*result ? "1" : "0"});
    EXPECT_EQ(ValidMask(form), *result ? "11" : "00");
    EXPECT_EQ(*result ? PairText(form.Spots[0]) : "", result);
    EXPECT_TRUE(form.DualsFound && form.Spots.NSelected == (*result ? 2 : 0));
  }
}

TEST_F(DualTracks, OnlyTheFirstRunOfACandidateCounts) {
  // Track 0 meets: an inactive track close all along (not selected, never a candidate), a
  // track close for 5 frames only (leaves nothing), then one close for 12 frames, apart
  // for one, and close again (the first run is the stretch; the second is not counted).
  form.Format2016 = true;
  AddStill(form, 0, 30, 5.0f);
  AddStill(form, 0, 30, 5.0f).Valid = 0;
  Floats briefly(30, 7.0f), twice(30, 5.1f);
  std::fill(briefly.begin(), briefly.begin() + 5, 5.05f);
  twice[0] = twice[1] = twice[14] = 6.0f;
  AddTrack(form, briefly, Floats(30, 5.0f));
  AddTrack(form, twice, Floats(30, 5.0f));
  form.UpdateAnalysis();
  ASSERT_TRUE(form.RunCommand("FindDualTracks"));
  EXPECT_EQ(platform.messages, std::vector<std::string>{"1"});
  EXPECT_EQ(ValidMask(form), "1001");
  EXPECT_EQ(PairText(form.Spots[0]) + " " + std::to_string(form.Spots[0].SegLen[1]),
            "3 2+12 2/15 2 0");  // 30 - 14 - 1 after; the second run not counted
  EXPECT_EQ(PairText(form.Spots[2]), "-1 0+0 0/0 0");

  // Show Fused Tracks opens the viewer on the first selected track of a pair.
  form.CurSpot = 2;
  ASSERT_TRUE(form.RunCommand("ShowFusedTracks"));
  EXPECT_TRUE(form.CurSpot == 0 && platform.viewerShown == 1);
}

TEST_F(DualTracks, CutAndBindingFilters) {
  form.DualsFound = true;
  SpotRec& cut = AddTrack(form, {10, 11, 12, 13, 14, 15, 16, 17}, {}, {0, 1, 2, 3, 4, 5, 6, 7}, 100);
  cut.SegStart[0] = 2, cut.SegLen[0] = 3;
  AddTrack(form, {1, 2, 3});  // no stretch: removed
  // An open run from the first point starts at -1: the missing point repeats the first.
  SpotRec& early = AddTrack(form, {1, 2, 3, 4}, {}, {1, 2, 3, 4}, 50);
  early.SegStart[0] = -1, early.SegLen[0] = 4;
  ASSERT_TRUE(form.RunCommand("LeaveDualsPartsOnly"));
  EXPECT_TRUE(ValidMask(form) == "101" && cut.NPoints == 3 && cut.FirstFrame == 102);
  EXPECT_EQ(Frames(cut.Int, 3), (Floats{2, 3, 4}));
  EXPECT_EQ(Frames(cut.X, 3), (Floats{12, 13, 14}));
  EXPECT_TRUE(Frames(early.Int, 4) == (Floats{1, 1, 2, 3}) && early.FirstFrame == 49);
  // Again with the stale stretch: points 2..4 of the cut track's array, past its new end.
  ASSERT_TRUE(form.RunCommand("LeaveDualsPartsOnly"));
  EXPECT_EQ(Frames(cut.Int, 3), (Floats{4, 3, 4}));
  EXPECT_TRUE(cut.FirstFrame == 104 && platform.messages.empty());

  // Dynamic binding: 3 and 3 lone frames keep the searcher and bring its partner back; 3 and
  // 2 drop both; an inactive searcher stays out and does not revive its partner.
  form.Spots.NSpots = 0;
  for (int k = 0; k < 6; ++k) AddTrack(form, {1, 2, 3});
  for (auto [s, p, before, after] : {std::array{0, 1, 3, 3}, {2, 3, 3, 2}, {4, 5, 5, 5}}) {
    SpotRec& t = form.Spots[s];
    t.Partner = p, form.Spots[p].Partner = s;
    t.SegLen[0] = 10, t.FramesBefore = before, t.FramesAfter = after;
  }
  form.Spots[4].Valid = 0;
  ASSERT_TRUE(form.RunCommand("DynamicBinding"));
  EXPECT_EQ(ValidMask(form), "110000");
  EXPECT_EQ((std::vector<int32_t>{form.Spots[0].SegLen[0], form.Spots[2].SegLen[0],
                                  form.Spots[4].SegLen[0]}),
            (std::vector<int32_t>{10, 0, 10}));
}

TEST_F(DualTracks, GatesCancelAndUnwritableFiles) {
  form.Format2016 = true;
  // Close at points 4..19 of 30: 4 lone frames before, 9 after.
  Floats partnerX(30, 6.0f);
  std::fill(partnerX.begin() + 4, partnerX.begin() + 20, 5.1f);
  AddStill(form, 0, 30, 5.0f);
  AddTrack(form, partnerX, Floats(30, 5.0f));
  AddStill(form, 0, 30, 9.0f);
  form.UpdateAnalysis();

  const char* exports[] = {"SaveTimeBeforeBinding", "SaveBoundTime", "SaveGreenBindingSpots",
                           "SaveGreenSplittingSpots"};
  ASSERT_TRUE(form.RunCommand("LeaveDualsPartsOnly"));
  ASSERT_TRUE(form.RunCommand("DynamicBinding"));
  for (const char* name : exports) ASSERT_TRUE(form.RunCommand(name));
  const std::string exportGate = "Click 'dual tracks' in 'Actions' first";
  EXPECT_EQ(platform.messages, (std::vector<std::string>{"Do 'Find Dual Tracks' first",
                                                         "Do \"Find Dual Tracks\" first",
                                                         exportGate, exportGate, exportGate,
                                                         exportGate}));
  EXPECT_TRUE(platform.dialogs.empty() && ValidMask(form) == "111" && form.Spots[0].NPoints == 30);

  ASSERT_TRUE(form.RunCommand("FindDualTracks"));
  ASSERT_EQ(platform.messages.back(), "1");
  ASSERT_EQ(PairText(form.Spots[0]), "1 4+16 4/9 4");
  ASSERT_EQ(ValidMask(form) + SelectedMask(form), "110110");
  platform.messages.clear();

  // Cancelled, not openable, not writable: nothing changes. Only the full disk is said
  // (it shows only at the close, naming the file); the time exports then put the flags back.
  const std::string missing = TempPath("no-such-dir/x.txt");
  const bool haveFull = std::filesystem::exists("/dev/full");
  for (const char* name : exports) {
    SCOPED_TRACE(name);
    platform.dialogs.clear();
    platform.saveAnswers = {std::nullopt, missing};
    if (haveFull) platform.saveAnswers.push_back("/dev/full");
    const int repaints = platform.repaints;
    for (size_t k = 0; k < (haveFull ? 3u : 2u); ++k) ASSERT_TRUE(form.RunCommand(name));
    EXPECT_EQ(ValidMask(form) + SelectedMask(form), "110110");
    EXPECT_EQ(platform.repaints, repaints);
    ASSERT_FALSE(platform.dialogs.empty());
    const FileDialog& dialog = platform.dialogs[0];
    EXPECT_EQ(dialog.title + "|" + dialog.filter + "|" + dialog.defaultExt,
              "Save Distributions as TXT|Data as TXT (for Excel) |*.txt|txt");
    EXPECT_TRUE(dialog.promptOverwrite);
  }
  EXPECT_FALSE(std::filesystem::exists(missing));
  EXPECT_EQ(platform.messages.size(), haveFull ? std::size(exports) : 0u);
  for (const std::string& message : platform.messages)
    EXPECT_EQ(message.rfind("Can not write /dev/full: ", 0), 0u) << message;
}

TEST_F(DualTracks, TimeExportsByteForByte) {
  // A hand-built store after pairing, with every field the exports read set directly:
  //   0: searcher of 1, 11 frames to binding, stretch 20 (before 4, after 6)
  //   2: partner of 3, which is the searcher of the pair (the lower index is handled first)
  //   4: searcher of 5, before 2 (no time before binding), after 3, stretch 7
  // dT 0.03: 11 frames are 0.32999999999999996 s, truncated to 0.329; 20 and 7 frames
  // come to 600 and 210 ms exactly.
  const std::pair<const char*, std::string> cases[] = {
      {"SaveTimeBeforeBinding", "\n0.329\t57\t0.0\t57\t0\t0.0\t0.0\t10.0\t10.0\t123\t45\n"},
      {"SaveBoundTime",
       "\n0.6\t57\t0.0\t57\t0\t0.0\t0.0\t10.0\t10.0\t123\t45\n"
       "0.21\t100\t0.0\t100\t0\t0.0\t0.0\t10.0\t10.0\t-7\t8\n"},
  };
  for (const auto& [command, text] : cases) {
    SCOPED_TRACE(command);
    FakePlatform platform;
    TMainForm form(platform);
    form.DualsFound = true;
    const struct {
      int partner, segLen, before, after, toBind;
      float averInt;
      int posX, posY;
    } fields[] = {{1, 20, 4, 6, 11, 57.9f, 123, 45}, {0, 0, 0, 0, 0, 80, 1, 1},
                  {3, 0, 0, 0, 0, 80, 1, 1},         {2, 10, 5, 5, 9, 80, 1, 1},
                  {5, 7, 2, 3, 5, 100.2f, -7, 8},    {4, 0, 0, 0, 0, 80, 1, 1}};
    for (const auto& f : fields) {
      SpotRec& t = AddTrack(form, {1, 2, 3});
      t.Partner = f.partner, t.SegLen[0] = f.segLen, t.FramesBefore = f.before;
      t.FramesAfter = f.after, t.TimeToBind = f.toBind, t.AverInt = f.averInt;
      t.PosX = f.posX, t.PosY = f.posY;
    }
    form.UpdateAnalysis();
    ASSERT_EQ(ValidMask(form), "111111");
    const std::string path = TempPath(std::string(command) + ".txt");
    platform.saveAnswers = {path};
    const int repaints = platform.repaints;
    ASSERT_TRUE(form.RunCommand(command));
    EXPECT_EQ(ReadFile(path), text);
    const std::string valid = command == cases[0].first ? "100000" : "100010";
    EXPECT_EQ(ValidMask(form) + SelectedMask(form), valid + valid);
    EXPECT_TRUE(platform.repaints > repaints && platform.messages.empty());  // recomputed
    std::filesystem::remove(path);
  }
}

TEST_F(DualTracks, GreenExportsByteForByte) {
  form.DualsFound = true;
  // 0: no stretch slot past 0 (the splitting point starts at 0), nothing before binding;
  // a small negative intensity cuts to "0", not "-0".
  AddTrack(form, Floats(5), {}, {21, 22, 23, 24, -0.004f});
  // 1: binding at point 1, splitting after point 2 (slot 0: 1 + 2).
  SpotRec& g = AddTrack(form, Floats(8), {}, {1.5f, 2.25f, 101.237f, 7, -3.456f, 0, 12, 13});
  g.SegStart[0] = 1, g.SegLen[0] = 2, g.FramesBefore = 3;
  // 2: second half, 3: inactive: never written.
  AddTrack(form, Floats(8)).SecondHalf = 1;
  AddTrack(form, Floats(8)).Valid = 0;
  form.Spots[2].FramesBefore = form.Spots[3].FramesBefore = 5;
  // 4: no slot past 0 again: splits where track 1 did; two lone frames are not enough
  // to bind. 5: binds at point 30, so its first five points fall before column 0.
  AddTrack(form, Floats(10), {}, Ramp(10, 10)).FramesBefore = 2;
  SpotRec& late = AddTrack(form, Floats(40), {}, Ramp(40, 1));
  late.SegStart[0] = 30, late.SegStart[1] = 35, late.SegLen[1] = 2, late.FramesBefore = 3;
  form.UpdateAnalysis();
  const std::string valid = ValidMask(form);
  const int repaints = platform.repaints;
  const auto Blank = [](int cells) { return Repeat(" \t", cells); };  // empty cells
  std::string lateRow;
  for (int k = 5; k < 40; ++k) lateRow += std::to_string(k) + "\t";
  const std::string binding = "\n" + Blank(24) + "1.5\t2.25\t101.23\t7\t-3.45\t0\t12\t13\t" +
                              Blank(18) + "\n" + lateRow + Blank(15) + "\n";
  // Track 5 splits after point 36 (the last slot with a start past 0): 3 points remain
  // after it, too few to be written.
  const std::string splitting = "\n" + Blank(25) + "21\t22\t23\t24\t0\t" + Blank(20) + "\n" +
                                Blank(22) + "1.5\t2.25\t101.23\t7\t-3.45\t0\t12\t13\t" +
                                Blank(20) + "\n" + Blank(22) +
                                "0\t10\t20\t30\t40\t50\t60\t70\t80\t90\t" + Blank(18) + "\n";
  const std::string bindingPath = TempPath("green-binding.txt");
  const std::string splittingPath = TempPath("green-splitting.txt");
  platform.saveAnswers = {bindingPath, splittingPath};
  ASSERT_TRUE(form.RunCommand("SaveGreenBindingSpots"));
  ASSERT_TRUE(form.RunCommand("SaveGreenSplittingSpots"));
  EXPECT_EQ(ReadFile(bindingPath), binding);
  EXPECT_EQ(ReadFile(splittingPath), splitting);
  // Read only: no recomputation.
  EXPECT_TRUE(ValidMask(form) == valid && platform.repaints == repaints && platform.messages.empty());
  std::filesystem::remove(bindingPath);
  std::filesystem::remove(splittingPath);
}

// The grid search against the plain one: every field of every record the same (compared
// as bytes up to the frame arrays), and the same number of pairs, on simulated pairs in
// a crowded field and the mixed preset plus tracks made to test the search's rules.
TEST(DualTracksGrid, SameRecordsAsThePlainSearch) {
  TrackStore base;
  ASSERT_TRUE(base.Allocate());
  PopulationPlan plan;
  plan.seed = 3, plan.tracks = 150, plan.points = 120, plan.pairs = 30, plan.fieldSize = 5;
  AddSimulatedTracks(base, MakePopulation(plan), nullptr);
  const int32_t crowded = base.NSpots;
  plan.seed = 4, plan.mixed = true;
  AddSimulatedTracks(base, MakePopulation(plan), nullptr);
  // Still tracks at (x, y) over frames [first, first + n). A meets B 0.19 away (across a
  // cell border, were the cells narrower than the critical distance), C exactly 0.25
  // away, and E as close as B (the lower index wins); D touches A in one frame; F runs
  // with G but for a NaN; H runs with I but has its first point out of the grid's reach.
  auto still = [&](int32_t first, int32_t n, float x, float y = 5.0f) -> SpotRec& {
    SpotRec& t = AddRaw(base, Floats(n, x), first);
    std::fill(t.Y.data(), t.Y.data() + n, y);
    return t;
  };
  still(-7, 40, 5.035f), still(-7, 40, 5.225f), still(-7, 40, 5.035f, 5.25f);
  still(32, 20, 5.085f), still(-7, 40, 4.845f);
  still(3, 30, 9.0f).X[12] = std::nanf(""), still(3, 30, 9.1f);
  still(0, 30, 12.1f), still(0, 30, 12.0f).X[0] = 1e30f;
  for (int32_t i = 0; i < base.NSpots; ++i) {
    // Some never search nor are found.
    base[i].Selected = (i % 9 != 4 && i != crowded + 5) || i >= base.NSpots - 9;
    base[i].PairOffset = 77;                              // kept where no stretch closes
    base[i].SegStart[2] = 5;
  }

  TrackStore plain, grid;
  ASSERT_TRUE(plain.Allocate() && grid.Allocate());
  Settings s;
  for (const bool format2016 : {true, false})
    for (const auto& [minRun, distance] : {std::pair{10, 0.2}, {1, 0.25}, {4, 0.25}}) {
      SCOPED_TRACE(std::to_string(minRun) + (format2016 ? " 2016" : " old"));
      s.MinNumDataPoints = minRun;
      s.CriticalDistance = distance;
      for (int32_t i = 0; i < base.NSpots; ++i) plain[i] = grid[i] = base[i];
      plain.NSpots = grid.NSpots = base.NSpots;
      const int32_t pairs = FindDualTracksReference(plain, s, format2016);
      EXPECT_EQ(FindDualTracks(grid, s, format2016), pairs);
      EXPECT_GT(pairs, 20);
      for (int32_t i = 0; i < base.NSpots; ++i)
        ASSERT_EQ(std::memcmp(static_cast<const SpotHeader*>(&plain[i]),
                              static_cast<const SpotHeader*>(&grid[i]), sizeof(SpotHeader)),
                  0)
            << i;
      const int32_t a = base.NSpots - 9;
      EXPECT_TRUE(!format2016 || (plain[a].Partner == a + 1 && plain[a + 7].Partner == a + 8));
    }
}
