// The graph settings dialog's rules, driven as the Qt dialog drives them.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "FakePlatform.h"
#include "RecordingCanvas.h"
#include "app/GraphDialog.h"
#include "app/MainForm.h"

namespace {

struct DialogFixture {
  FakePlatform platform;
  TQVgraph graph;
  TQVgraphDlgForm dialog{platform};
  int repaints = 0;

  DialogFixture() {
    graph.LastXval = 100;  // X 0..100 tick 1; both Y axes 0..10 tick 1
    dialog.AttachGraph(graph, [this] { ++repaints; });
  }
  // Types a text into an axis edit and leaves it.
  void Type(int axis, int field, const std::string& text) {
    dialog.AxisTextChanged(axis, field, text);
    dialog.AxisExit(axis, field);
  }
  std::string LastMessage() const {
    return platform.messages.empty() ? "" : platform.messages.back();
  }
};

}  // namespace

TEST(GraphDialog, AttachLoadsTextsAndShowsRowsUpToSeriesCount) {
  FakePlatform platform;
  TQVgraph graph;
  graph.FirstY0val = -0.25, graph.LastY1val = 1e-5, graph.TickY1dist = 2.5e-6, graph.FontSize = 9;
  graph.SeriesCount = 5;
  graph.Series[3].PenWidth = 6;  // not an item of the list: shown as its text all the same
  TQVgraphDlgForm dialog(platform);
  dialog.AxisTextChanged(AxisX, FirstVal, "typed");
  dialog.AttachGraph(graph);
  EXPECT_EQ(dialog.Graph, &graph);
  const std::vector<std::string> texts = {dialog.AxisEdit[AxisX][FirstVal].Text,
                                          dialog.AxisEdit[AxisX][LastVal].Text,
                                          dialog.AxisEdit[AxisY0][FirstVal].Text,
                                          dialog.AxisEdit[AxisY1][LastVal].Text,
                                          dialog.AxisEdit[AxisY1][TickDist].Text,
                                          dialog.FontSizeEdit.Text,
                                          dialog.RowWidthText(3),
                                          dialog.RowSizeText(3)};
  EXPECT_EQ(texts,
            (std::vector<std::string>{"0", "10", "-0.25", "1e-05", "2.5e-06", "9", "6", "4"}));
  EXPECT_FALSE(dialog.AxisEdit[AxisX][FirstVal].Red);
  for (int row = 1; row <= 10; ++row) EXPECT_EQ(dialog.RowShown(row), row <= 5) << row;
  graph.SeriesCount = 0;
  dialog.AttachGraph(graph);
  EXPECT_TRUE(dialog.RowShown(1));
  EXPECT_FALSE(dialog.RowShown(2));
  EXPECT_TRUE(platform.messages.empty());
}

TEST(GraphDialog, AxisValuesAreCheckedWithTheirOwnTexts) {
  DialogFixture f;
  // 0..100 tick 1, last 1000: 1000 ticks, so the tick becomes 1000 / 200 = 5.
  f.Type(AxisX, LastVal, "1000");
  EXPECT_TRUE(f.graph.LastXval == 1000 && f.graph.TickXdist == 5);
  EXPECT_EQ(f.dialog.AxisEdit[AxisX][TickDist].Text, "5");
  EXPECT_FALSE(f.dialog.AxisEdit[AxisX][LastVal].Red);
  EXPECT_EQ(f.LastMessage(), "Number of X ticks was reduced to 200");
  f.Type(AxisY0, TickDist, "0");  // a tick of 0 on 0..10 becomes 10 / 200
  EXPECT_EQ(f.graph.TickY0dist, 0.05);
  EXPECT_EQ(f.dialog.AxisEdit[AxisY0][TickDist].Text, "0.05");
  EXPECT_EQ(f.LastMessage(), "Number of left Y ticks was reduced to 200");

  // Each edit's own texts; the right Y axis is 0..10 tick 1 throughout.
  const struct {
    int field;
    const char* text;
    double first, last, tick;
    const char* message;
  } cases[] = {
      {FirstVal, "10", 0, 10, 1, "Error: first right Y val is bigger or equal to last Y val"},
      {LastVal, "-1", 0, 10, 1, "Error: last right Y val is smaller or equal to first Y val"},
      {FirstVal, "-390", -390, 10, 2, "Number of right Y ticks was reduced to 200"},
      {LastVal, "400", 0, 400, 2, "Number of ticks on right Y was reduced to 200"},
      {TickDist, "0.01", 0, 10, 0.05, "Number of ticks on right Y axis was reduced to 200"},
      // Exactly 200 ticks, and a tick of exactly range / 200, are kept without a message.
      {LastVal, "200", 0, 200, 1, nullptr},
      {TickDist, "0.05", 0, 10, 0.05, nullptr},
      {TickDist, " +2.5e0 ", 0, 10, 2.5, nullptr},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.text);
    DialogFixture g;
    g.Type(AxisY1, c.field, c.text);
    EXPECT_EQ((std::vector<double>{g.graph.FirstY1val, g.graph.LastY1val, g.graph.TickY1dist}),
              (std::vector<double>{c.first, c.last, c.tick}));
    EXPECT_EQ(g.platform.messages,
              c.message ? std::vector<std::string>{c.message} : std::vector<std::string>{});
    // A refused value is put back into its edit.
    if (c.message && c.first == 0 && c.last == 10 && c.tick == 1) {
      EXPECT_EQ(g.dialog.AxisEdit[AxisY1][c.field].Text, c.field == FirstVal ? "0" : "10");
    }
    EXPECT_EQ(g.repaints, 0);  // axis edits do not repaint
  }
  EXPECT_STREQ(TQVgraphDlgForm::ErrorText(AxisX, FirstVal),
               "Error: first X val is bigger or equal to last X val");
  EXPECT_STREQ(TQVgraphDlgForm::ErrorText(AxisY0, LastVal),
               "Error: last left Y val is smaller or equal to first Y val");
  EXPECT_EQ(TQVgraphDlgForm::ErrorText(AxisY0, TickDist), nullptr);
}

TEST(GraphDialog, RedTextEnterEscAndBadNumbers) {
  DialogFixture f;
  f.dialog.AxisTextChanged(AxisY0, LastVal, "12");
  EXPECT_TRUE(f.dialog.AxisEdit[AxisY0][LastVal].Red);
  EXPECT_EQ(f.graph.LastY0val, 10);  // not taken until Enter or leaving
  f.dialog.AxisKeyEnter(AxisY0, LastVal);
  EXPECT_TRUE(f.graph.LastY0val == 12 && !f.dialog.AxisEdit[AxisY0][LastVal].Red);
  f.dialog.AxisTextChanged(AxisX, FirstVal, "55");
  f.dialog.AxisKeyEsc(AxisX, FirstVal);
  EXPECT_EQ(f.dialog.AxisEdit[AxisX][FirstVal].Text, "0");
  EXPECT_TRUE(f.graph.FirstXval == 0 && !f.dialog.AxisEdit[AxisX][FirstVal].Red);

  // A value whose shortest text reads back differently is not nudged by Esc or leaving.
  f.graph.LastXval = 0.1 + 0.2;
  f.dialog.AttachGraph(f.graph);
  f.dialog.AxisKeyEsc(AxisX, LastVal);
  f.dialog.AxisExit(AxisX, LastVal);
  EXPECT_EQ(f.graph.LastXval, 0.1 + 0.2);
  EXPECT_TRUE(f.platform.messages.empty());

  for (const char* bad : {"abc", "", "1,5", "nan", "inf", "1e999", "0x10", "+-1", "2 3"}) {
    f.Type(AxisX, TickDist, bad);
    EXPECT_EQ(f.LastMessage(), std::string("'") + bad + "' is not a valid floating point value");
    EXPECT_TRUE(f.dialog.AxisEdit[AxisX][TickDist].Red) << bad;
    EXPECT_EQ(f.graph.TickXdist, 1) << bad;
  }
}

TEST(GraphDialog, FontSizeAcceptsEightToThirty) {
  DialogFixture f;
  for (const char* bad : {"31", "7", "-12"}) {
    f.dialog.FontSizeTextChanged(bad);
    f.dialog.FontSizeExit();
    EXPECT_EQ(f.LastMessage(), "Invalid Font Size");
    EXPECT_TRUE(f.dialog.FontSizeEdit.Text == "12" && f.graph.FontSize == 12);
  }
  f.dialog.FontSizeTextChanged("8");
  f.dialog.FontSizeKeyEnter();
  EXPECT_EQ(f.graph.FontSize, 8);
  f.dialog.FontSizeTextChanged("30");
  EXPECT_TRUE(f.dialog.FontSizeEdit.Red);
  f.dialog.FontSizeKeyEsc();
  EXPECT_TRUE(f.dialog.FontSizeEdit.Text == "8" && f.graph.FontSize == 8);
  f.dialog.FontSizeTextChanged("x");
  f.dialog.FontSizeExit();
  EXPECT_EQ(f.LastMessage(), "'x' is not a valid integer value");
  EXPECT_EQ(f.graph.FontSize, 8);
  EXPECT_EQ(f.repaints, 0);
}

TEST(GraphDialog, SeriesRowsAndColoursWriteThroughAndRepaint) {
  DialogFixture f;
  SeriesRec& s = f.graph.Series[2];
  f.dialog.ShowClick(2, true);
  f.dialog.StyleChange(2, Variation);
  f.dialog.RightAxisClick(2, true);
  f.dialog.SeriesColorChange(2, 0x123456);
  f.dialog.WidthChange(2, "15");
  f.dialog.SizeChange(2, "50");
  EXPECT_TRUE(s.Show && s.RightAxis && s.Style == Variation && s.Color == 0x123456u);
  EXPECT_TRUE(s.PenWidth == 15 && s.SymbolSize == 50);
  EXPECT_EQ(f.repaints, 6);
  // Widths and sizes outside 1..50, non-numbers and style 7 are not taken.
  for (const char* bad : {"0", "51", "abc", ""}) {
    f.dialog.WidthChange(2, bad);
    f.dialog.SizeChange(2, bad);
    EXPECT_EQ(f.dialog.RowWidthText(2), bad);
  }
  f.dialog.StyleChange(2, Marks);
  f.dialog.ShowClick(11, true);
  EXPECT_TRUE(s.PenWidth == 15 && s.SymbolSize == 50 && s.Style == Variation);
  EXPECT_EQ(f.repaints, 6);

  f.dialog.TickLineClick(AxisY1, TickNone);
  f.dialog.AxisColorChange(AxisY0, 0x00FF00);
  f.dialog.TickLineClick(AxisX, 4);  // no such item
  EXPECT_TRUE(f.graph.Y1tickType == TickNone && f.graph.XtickType == TickSolid);
  EXPECT_EQ(f.graph.Y0Color, 0x00FF00u);
  EXPECT_EQ(f.repaints, 8);

  // Without a graph every control does nothing.
  TQVgraphDlgForm empty(f.platform);
  empty.AxisTextChanged(AxisX, LastVal, "5");
  empty.AxisExit(AxisX, LastVal);
  empty.FontSizeExit();
  empty.ShowClick(1, true);
  EXPECT_FALSE(empty.RowShown(1));
}

TEST(GraphDialog, SetGraphPicksThePanelUnderTheMouse) {
  FakePlatform platform;
  TMainForm form(platform);
  ASSERT_TRUE(form.Ready());
  form.ClientWidth = 1197;  // half: 598
  TQVgraph* seen = nullptr;
  platform.graphDialogScript = [&](TQVgraphDlgForm& dialog) {
    seen = dialog.Graph;
    dialog.ShowClick(4, true);
  };
  form.MouseX = 597;
  ASSERT_TRUE(form.RunCommand("SetGraph"));
  EXPECT_EQ(seen, &form.LeftGraph);
  EXPECT_TRUE(form.LeftGraph.Series[4].Show);

  // The right panel, with a tick distance an analysis left at 0: the dialog's repaint has
  // the graph repair it, which beeps through the platform.
  RecordingBitmap window(1197, 600);
  form.RightGraph.TargetCanvas = &window.GetCanvas(), form.RightGraph.TickY1dist = 0;
  const int repaints = platform.repaints;
  form.MouseX = 598;
  form.RunCommand("SetGraph");
  form.RightGraph.TargetCanvas = nullptr;
  EXPECT_EQ(seen, &form.RightGraph);
  EXPECT_TRUE(platform.graphDialogs == 2 && platform.beeps == 1);
  EXPECT_EQ(form.RightGraph.TickY1dist, 1);
  EXPECT_EQ(platform.repaints, repaints + 2);  // the row change, and the dialog closing
}
