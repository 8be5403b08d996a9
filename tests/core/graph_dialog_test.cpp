// The graph settings dialog's rules, driven as the Qt dialog drives them.
#include "RecordingCanvas.h"
#include "TrackBuilders.h"
#include "app/GraphDialog.h"

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

// The fixture: one such dialog.
struct GraphDialog : ::testing::Test, DialogFixture {};

TEST_F(GraphDialog, AttachLoadsTextsAndShowsRowsUpToSeriesCount) {
  graph.FirstY0val = -0.25, graph.LastY1val = 1e-5, graph.FontSize = 9, graph.SeriesCount = 5;
  graph.Series[3].PenWidth = 6;  // not an item of the list: shown as its text all the same
  dialog.AxisTextChanged(AxisX, FirstVal, "typed");
  dialog.AttachGraph(graph);  // attaching again drops what was typed
  const auto& edit = dialog.AxisEdit;
  EXPECT_EQ((std::vector<std::string>{edit[AxisX][FirstVal].Text, edit[AxisY0][FirstVal].Text,
                                      edit[AxisY1][LastVal].Text, dialog.FontSizeEdit.Text,
                                      dialog.RowWidthText(3)}),
            (std::vector<std::string>{"0", "-0.25", "1e-05", "9", "6"}));
  EXPECT_FALSE(edit[AxisX][FirstVal].Red);
  for (int row = 1; row <= 10; ++row) EXPECT_EQ(dialog.RowShown(row), row <= 5) << row;
  graph.SeriesCount = 0;
  dialog.AttachGraph(graph);
  EXPECT_TRUE(dialog.RowShown(1) && !dialog.RowShown(2) && platform.messages.empty());
}

TEST_F(GraphDialog, AxisValuesAreCheckedWithTheirOwnTexts) {
  // 0..100 tick 1, last 1000: 1000 ticks, so the tick becomes 1000 / 200 = 5.
  Type(AxisX, LastVal, "1000");
  EXPECT_TRUE(graph.LastXval == 1000 && graph.TickXdist == 5);
  EXPECT_TRUE(dialog.AxisEdit[AxisX][TickDist].Text == "5" && !dialog.AxisEdit[AxisX][LastVal].Red);
  EXPECT_EQ(LastMessage(), "Number of X ticks was reduced to 200");
  Type(AxisY0, TickDist, "0");  // a tick of 0 on 0..10 becomes 10 / 200
  EXPECT_TRUE(graph.TickY0dist == 0.05 && dialog.AxisEdit[AxisY0][TickDist].Text == "0.05");
  EXPECT_EQ(LastMessage(), "Number of left Y ticks was reduced to 200");

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

TEST_F(GraphDialog, RedTextEnterEscAndBadNumbers) {
  dialog.AxisTextChanged(AxisY0, LastVal, "12");
  // Not taken until Enter or leaving.
  EXPECT_TRUE(dialog.AxisEdit[AxisY0][LastVal].Red && graph.LastY0val == 10);
  dialog.AxisKeyEnter(AxisY0, LastVal);
  EXPECT_TRUE(graph.LastY0val == 12 && !dialog.AxisEdit[AxisY0][LastVal].Red);
  dialog.AxisTextChanged(AxisX, FirstVal, "55");
  dialog.AxisKeyEsc(AxisX, FirstVal);
  EXPECT_EQ(dialog.AxisEdit[AxisX][FirstVal].Text, "0");
  EXPECT_TRUE(graph.FirstXval == 0 && !dialog.AxisEdit[AxisX][FirstVal].Red);

  // A value whose shortest text reads back differently is not nudged by Esc or leaving.
  graph.LastXval = 0.1 + 0.2;
  dialog.AttachGraph(graph);
  dialog.AxisKeyEsc(AxisX, LastVal);
  dialog.AxisExit(AxisX, LastVal);
  EXPECT_TRUE(graph.LastXval == 0.1 + 0.2 && platform.messages.empty());

  for (const char* bad : {"abc", "", "1,5", "nan", "inf", "1e999", "0x10", "+-1", "2 3"}) {
    Type(AxisX, TickDist, bad);
    EXPECT_EQ(LastMessage(), std::string("'") + bad + "' is not a valid floating point value");
    EXPECT_TRUE(dialog.AxisEdit[AxisX][TickDist].Red) << bad;
    EXPECT_EQ(graph.TickXdist, 1) << bad;
  }
}

TEST_F(GraphDialog, FontSizeAcceptsEightToThirty) {
  for (const char* bad : {"31", "7", "-12"}) {
    dialog.FontSizeTextChanged(bad);
    dialog.FontSizeExit();
    EXPECT_EQ(LastMessage(), "Invalid Font Size");
    EXPECT_TRUE(dialog.FontSizeEdit.Text == "12" && graph.FontSize == 12);
  }
  dialog.FontSizeTextChanged("8");
  dialog.FontSizeKeyEnter();
  EXPECT_EQ(graph.FontSize, 8);
  dialog.FontSizeTextChanged("30");
  EXPECT_TRUE(dialog.FontSizeEdit.Red);
  dialog.FontSizeKeyEsc();
  EXPECT_TRUE(dialog.FontSizeEdit.Text == "8" && graph.FontSize == 8);
  dialog.FontSizeTextChanged("x");
  dialog.FontSizeExit();
  EXPECT_EQ(LastMessage(), "'x' is not a valid integer value");
  EXPECT_TRUE(graph.FontSize == 8 && repaints == 0);
}

TEST_F(GraphDialog, SeriesRowsAndColoursWriteThroughAndRepaint) {
  SeriesRec& s = graph.Series[2];
  dialog.ShowClick(2, true);
  dialog.StyleChange(2, Variation);
  dialog.RightAxisClick(2, true);
  dialog.SeriesColorChange(2, 0x123456);
  dialog.WidthChange(2, "15");
  dialog.SizeChange(2, "50");
  EXPECT_TRUE(s.Show && s.RightAxis && s.Style == Variation && s.Color == 0x123456u);
  EXPECT_TRUE(s.PenWidth == 15 && s.SymbolSize == 50 && repaints == 6);
  // Widths and sizes outside 1..50, non-numbers and style 7 are not taken.
  for (const char* bad : {"0", "51", "abc", ""}) {
    dialog.WidthChange(2, bad);
    dialog.SizeChange(2, bad);
    EXPECT_EQ(dialog.RowWidthText(2), bad);
  }
  dialog.StyleChange(2, Marks);
  dialog.ShowClick(11, true);
  EXPECT_TRUE(s.PenWidth == 15 && s.SymbolSize == 50 && s.Style == Variation && repaints == 6);

  dialog.TickLineClick(AxisY1, TickNone);
  dialog.AxisColorChange(AxisY0, 0x00FF00);
  dialog.TickLineClick(AxisX, 4);  // no such item
  EXPECT_TRUE(graph.Y1tickType == TickNone && graph.XtickType == TickSolid);
  EXPECT_TRUE(graph.Y0Color == 0x00FF00u && repaints == 8);

  // Without a graph every control does nothing.
  TQVgraphDlgForm empty(platform);
  empty.AxisTextChanged(AxisX, LastVal, "5");
  empty.AxisExit(AxisX, LastVal);
  empty.FontSizeExit();
  empty.ShowClick(1, true);
  EXPECT_FALSE(empty.RowShown(1));
}

TEST_F(GraphDialog, SetGraphPicksThePanelUnderTheMouse) {
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
  EXPECT_TRUE(seen == &form.LeftGraph && form.LeftGraph.Series[4].Show);

  // The right panel, with a tick distance an analysis left at 0: the dialog's repaint has
  // the graph repair it, which beeps through the platform.
  RecordingBitmap window(1197, 600);
  form.RightGraph.TargetCanvas = &window.GetCanvas(), form.RightGraph.TickY1dist = 0;
  const int repaints = platform.repaints;
  form.MouseX = 598;
  form.RunCommand("SetGraph");
  form.RightGraph.TargetCanvas = nullptr;
  EXPECT_TRUE(seen == &form.RightGraph && platform.graphDialogs == 2 && platform.beeps == 1);
  EXPECT_EQ(form.RightGraph.TickY1dist, 1);
  EXPECT_EQ(platform.repaints, repaints + 2);  // the row change, and the dialog closing
}
