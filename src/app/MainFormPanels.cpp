// The recomputation pass and the commands that choose what the panels show.
#include <algorithm>

#include "app/MainForm.h"
#include "app/PanelTable.h"
#include "plot/Ticks.h"
#include "stats/ThreadPool.h"
#include "store/Numbers.h"

namespace {

struct ClassChoice {
  const char* item;
  const char* menu;
  const char* caption;
};

const ClassChoice kClassChoices[] = {
    {"ShowAll", "LenSet", "LenSet(All)"},
    {"ShowShort", "LenSet", "LenSet(Short)"},
    {"ShowLong", "LenSet", "LenSet(Long)"},
    {"All_Int", "intThreshold", "Intens(All)"},
    {"WeakInt", "intThreshold", "Intens(Weak)"},
    {"BrightInt", "intThreshold", "Intens(Bright)"},
    {"SelectAllDlat", "DlatSetting", "DlatSet(All)"},
    {"SelectLowDlat", "DlatSetting", "DlatSet(Low)"},
    {"SelectHighDlat", "DlatSetting", "DlatSet(High)"},
    {"AllVelocities", "VelSet", "VelSet(All)"},
    {"LowVelocities", "VelSet", "VelSet(Low)"},
    {"HighVelocities", "VelSet", "VelSet(High)"},
};

}  // namespace

AnalysisContext TMainForm::MakeAnalysisContext() {
  AnalysisFlags flags;
  flags.ShowFreq = Menu.Checked("ShowFreq");
  flags.AutoScaling = Menu.Checked("AutoScaling");
  flags.Time0 = Menu.Checked("Time0");
  flags.TimeMinutes = Menu.Checked("TimeMinutes");
  flags.UseTimeWindow = Menu.Checked("UseTimeWindow");
  flags.Rules = CurrentPairRules();
  AnalysisContext context{Spots,
                          S,
                          flags,
                          TimeUnit,
                          DlatUnit,
                          Registers,
                          WorkRows.get(),
                          [this](const std::string& text) { platform_.ShowError(text); },
                          [this](const std::string& text) { platform_.ShowMessage(text); },
                          [this] { platform_.CloseMainWindow(); }};
  if (!PlainAnalysis) {
    context.Curves = MsdCurves && MsdCurves->Ready() ? MsdCurves.get() : nullptr;
    context.Pool = &ThreadPool::Shared();
  }
  return context;
}

void TMainForm::RunPanel(std::string_view item, TQVgraph& graph, const LineSink* instVelExport) {
  const PanelChoice* choice = FindPanelChoice(item);
  if (!choice) return;
  AnalysisContext context = MakeAnalysisContext();
  context.InstVelExport = instVelExport;
  for (SeriesRec& series : graph.Series) series.Name.clear();  // only a panel that names them
  context.KeepGoing = JobCheck();
  PanelResults results = choice->analysis(context, graph);
  Registers.Record(results);
  if (&graph == &LeftGraph) LeftHeadlines = std::move(results.Headlines);
  if (&graph == &RightGraph) RightHeadlines = std::move(results.Headlines);
}

void TMainForm::UpdateAnalysis() { RecomputePanels(nullptr); }

void TMainForm::RecomputePanels(const LineSink* instVelExport) {
  LeftHeadlines.clear();
  RightHeadlines.clear();
  if (Menu.Checked("StoppingSpots")) RunStoppingFilter();
  if (Menu.Checked("FastMovingSpots")) RunFastMovingFilter();
  SelectSpots();
  if (Spots.NSelected < 3) {
    TQVgraph& g = RightGraph;
    g.FirstXval = 0;
    g.LastXval = 0.001;
    g.FirstY0val = 0;
    g.LastY0val = 0.001;
    g.FirstY1val = 0;
    g.LastY1val = 1;
    g.TickXdist = NiceTickDistance(g.LastXval - g.FirstXval, 1);
    g.TickY0dist = NiceTickDistance(g.LastY0val - g.FirstY0val, 1);
    g.TickY1dist = NiceTickDistance(g.LastY1val - g.FirstY1val, 1);
    g.Notes[0] = "Too few objects selected";
    platform_.Repaint();
    return;
  }

  std::string summary = std::to_string(Spots.NSelected) + " from (" +
                        std::to_string(Spots.NSpots) + " obj) ";
  if (Menu.CheckedInGroup(MenuGroup::DlatClass) != "SelectAllDlat")
    summary += "Dlat-Thr=" + TruncatedText(S.DlatThresh, 1000.00001, 0.001) + DlatUnit +
               ", ";
  if (Menu.CheckedInGroup(MenuGroup::Intensity) != "All_Int")
    summary += ", Int-Thr=" + FormatReal(S.IntThresh);
  if (Menu.CheckedInGroup(MenuGroup::Length) != "ShowAll")
    summary += ", Len-Thr=" + std::to_string(S.LenThresh);
  if (Menu.CheckedInGroup(MenuGroup::Velocity) != "AllVelocities")
    summary += ", Vel-Thr=" + FormatReal(S.VelThresh);
  LeftGraph.Notes[1] = summary;
  RightGraph.Notes[1] = summary;

  RunPanel(Menu.CheckedInGroup(MenuGroup::LeftPanel), LeftGraph);
  RunPanel(Menu.CheckedInGroup(MenuGroup::RightPanel), RightGraph, instVelExport);
  GraphsReady = true;
  RightGraph.HasData = true;
  platform_.Repaint();
}

void TMainForm::ChoosePanel(std::string_view item) {
  const PanelChoice* choice = FindPanelChoice(item);
  if (!choice) return;
  Menu.SetChecked(item, true);
  Menu.SetCaption(Menu.Item(item).parent, choice->menuCaption);
  UpdateAnalysis();
}

void TMainForm::ChooseClass(std::string_view item) {
  for (const ClassChoice& choice : kClassChoices) {
    if (item != choice.item) continue;
    Menu.SetChecked(item, true);
    Menu.SetCaption(choice.menu, choice.caption);
    UpdateAnalysis();
    return;
  }
}

void TMainForm::ShowFreqClick() {
  Menu.SetCaption("ShowFreq", Menu.Checked("ShowFreq") ? "ShowAbs" : "ShowFreq");
  UpdateAnalysis();
}

void TMainForm::RemeberGraphClick(std::string_view item) {
  const bool right = item == "R_RemeberGraph";
  float* data = right ? RightData.get() : LeftData.get();
  const bool msd = Menu.Checked(right ? "R_ShowMSD" : "L_ShowMSD");
  const float* from = data + (msd ? 2 : 1) * kPanelStride;
  std::copy(from, from + kPanelStride, data + (right ? 5 : 3) * kPanelStride);
}

void TMainForm::IncrDlatLimClick() {
  S.DlatThresh = S.DlatThresh + 0.01;
  UpdateAnalysis();
}

void TMainForm::DecrDlatLimClick() {
  if (!(S.DlatThresh > 0.01)) return;
  S.DlatThresh = S.DlatThresh - 0.01;
  UpdateAnalysis();
}

void TMainForm::NextSpotClick() {
  if (CurSpot < Spots.NSpots) ++CurSpot;
  while (CurSpot < Spots.NSpots && !Spots[CurSpot].Selected) ++CurSpot;
  ShowCurrentSpot();
}

void TMainForm::PrevSpotClick() {
  if (CurSpot > 0) --CurSpot;
  // The backward skip stops at index 1, unlike the forward one.
  while (CurSpot > 1 && !Spots[CurSpot].Selected) --CurSpot;
  ShowCurrentSpot();
}

void TMainForm::ShowCurrentSpot() {
  if (GraphForm) GraphForm->ResetDisplayFlags();
  if (CurSpot < 0 || CurSpot >= Spots.NSpots || !Spots[CurSpot].Selected) return;
  if (GraphForm) GraphForm->ShowSpot(CurSpot);
  platform_.ShowViewer();
}
