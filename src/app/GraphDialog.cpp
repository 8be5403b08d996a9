#include "app/GraphDialog.h"

#include <charconv>
#include <cmath>

#include "app/Platform.h"
#include "plot/TQVgraph.h"
#include "store/Numbers.h"

namespace {

bool ValidAxis(int axis) { return axis >= AxisX && axis <= AxisY1; }
bool ValidField(int axis, int field) { return ValidAxis(axis) && field >= FirstVal && field <= TickDist; }

// The wording differs from edit to edit; it is kept as the users know it.
constexpr const char* kErrorTexts[3][3] = {
    {"Error: first X val is bigger or equal to last X val",
     "Error: last X val is smaller or equal to first X val", nullptr},
    {"Error: first left Y val is bigger or equal to last Y val",
     "Error: last left Y val is smaller or equal to first Y val", nullptr},
    {"Error: first right Y val is bigger or equal to last Y val",
     "Error: last right Y val is smaller or equal to first Y val", nullptr},
};
constexpr const char* kTickTexts[3][3] = {
    {"Number of X ticks was reduced to 200", "Number of X ticks was reduced to 200",
     "Number of X ticks was reduced to 200"},
    {"Number of left Y ticks was reduced to 200", "Number of ticks on left Y was reduced to 200",
     "Number of left Y ticks was reduced to 200"},
    {"Number of right Y ticks was reduced to 200", "Number of ticks on right Y was reduced to 200",
     "Number of ticks on right Y axis was reduced to 200"},
};

// At most this many ticks over an axis: a denser tick distance is widened to range / 200.
constexpr double kMaxTicks = 200;
constexpr double kMinTickFraction = 0.005;

bool IsBlank(char c) { return c == ' ' || c == '\t'; }

// A combo text as an integer, 0 (never taken) when it is not one.
int ComboInteger(const std::string& text) { return ParseInteger(text); }

const std::string kNoText;

}  // namespace

bool ParseFloatText(const std::string& text, double& value) {
  const char* p = text.data();
  const char* end = p + text.size();
  while (p < end && IsBlank(*p)) ++p;
  while (end > p && IsBlank(end[-1])) --end;
  if (p < end && *p == '+') {
    ++p;
    if (p < end && (*p == '-' || *p == '+')) return false;
  }
  if (p == end) return false;
  double parsed = 0;
  const auto result = std::from_chars(p, end, parsed, std::chars_format::general);
  if (result.ec != std::errc() || result.ptr != end || !std::isfinite(parsed)) return false;
  value = parsed;
  return true;
}

TQVgraphDlgForm::TQVgraphDlgForm(Platform& platform) : platform_(platform) {}

const char* TQVgraphDlgForm::ErrorText(int axis, int field) {
  return ValidField(axis, field) ? kErrorTexts[axis][field] : nullptr;
}

const char* TQVgraphDlgForm::TickText(int axis, int field) {
  return ValidField(axis, field) ? kTickTexts[axis][field] : nullptr;
}

void TQVgraphDlgForm::AttachGraph(TQVgraph& graph, std::function<void()> repaint) {
  Graph = &graph;
  repaint_ = std::move(repaint);
  for (int axis = AxisX; axis <= AxisY1; ++axis)
    for (int field = FirstVal; field <= TickDist; ++field) LoadAxisText(axis, field);
  FontSizeEdit = {std::to_string(graph.FontSize), false};
  for (int row = 1; row <= kRows; ++row) {
    rowShown_[row] = row == 1 || graph.SeriesCount >= row;
    widthText_[row] = std::to_string(graph.Series[row].PenWidth);
    sizeText_[row] = std::to_string(graph.Series[row].SymbolSize);
  }
}

double* TQVgraphDlgForm::AxisValue(int axis, int field) const {
  if (!Graph || !ValidField(axis, field)) return nullptr;
  TQVgraph& g = *Graph;
  double* values[3][3] = {{&g.FirstXval, &g.LastXval, &g.TickXdist},
                          {&g.FirstY0val, &g.LastY0val, &g.TickY0dist},
                          {&g.FirstY1val, &g.LastY1val, &g.TickY1dist}};
  return values[axis][field];
}

void TQVgraphDlgForm::LoadAxisText(int axis, int field) {
  if (const double* value = AxisValue(axis, field)) AxisEdit[axis][field] = {FormatReal(*value), false};
}

void TQVgraphDlgForm::AxisTextChanged(int axis, int field, const std::string& text) {
  if (!ValidField(axis, field)) return;
  AxisEdit[axis][field] = {text, true};
}

void TQVgraphDlgForm::AxisKeyEnter(int axis, int field) { TakeAxisValue(axis, field); }

void TQVgraphDlgForm::AxisKeyEsc(int axis, int field) {
  LoadAxisText(axis, field);
  TakeAxisValue(axis, field);
}

void TQVgraphDlgForm::AxisExit(int axis, int field) { TakeAxisValue(axis, field); }

void TQVgraphDlgForm::TakeAxisValue(int axis, int field) {
  double* current = AxisValue(axis, field);
  if (!current) return;
  EditState& edit = AxisEdit[axis][field];
  double v = 0;
  if (!ParseFloatText(edit.Text, v)) {
    // Nothing is taken: the text stays as typed, still red.
    platform_.ShowMessage("'" + edit.Text + "' is not a valid floating point value");
    return;
  }
  edit.Red = false;
  // The edit shows the value in the general form; reading that text back counts as the
  // same value, so Enter, Esc or leaving an untouched edit never nudges the graph.
  double shown = 0;
  if (v == *current || (ParseFloatText(FormatReal(*current), shown) && v == shown)) return;

  double& first = *AxisValue(axis, FirstVal);
  double& last = *AxisValue(axis, LastVal);
  double& tick = *AxisValue(axis, TickDist);
  const char* message = nullptr;
  switch (field) {
    case FirstVal:
      if (v >= last) {
        LoadAxisText(axis, FirstVal);
        platform_.ShowMessage(kErrorTexts[axis][field]);
        return;
      }
      if ((last - v) / tick > kMaxTicks) {
        tick = (last - v) * kMinTickFraction;
        message = kTickTexts[axis][field];
      }
      first = v;
      break;
    case LastVal:
      if (v <= first) {
        LoadAxisText(axis, LastVal);
        platform_.ShowMessage(kErrorTexts[axis][field]);
        return;
      }
      if ((v - first) / tick > kMaxTicks) {
        tick = (v - first) * kMinTickFraction;
        message = kTickTexts[axis][field];
      }
      last = v;
      break;
    default:
      if (v < (last - first) * kMinTickFraction) {
        tick = (last - first) * kMinTickFraction;
        message = kTickTexts[axis][field];
      } else {
        tick = v;
      }
      break;
  }
  // A corrected tick distance shows in its edit at once.
  if (message) {
    LoadAxisText(axis, TickDist);
    platform_.ShowMessage(message);
  }
}

void TQVgraphDlgForm::FontSizeTextChanged(const std::string& text) {
  if (!Graph) return;
  FontSizeEdit = {text, true};
}

void TQVgraphDlgForm::FontSizeKeyEnter() { TakeFontSize(); }

void TQVgraphDlgForm::FontSizeKeyEsc() {
  if (!Graph) return;
  FontSizeEdit = {std::to_string(Graph->FontSize), false};
  TakeFontSize();
}

void TQVgraphDlgForm::FontSizeExit() { TakeFontSize(); }

void TQVgraphDlgForm::TakeFontSize() {
  if (!Graph) return;
  bool ok = false;
  const int value = ParseInteger(FontSizeEdit.Text, &ok);
  if (!ok) {
    platform_.ShowMessage("'" + FontSizeEdit.Text + "' is not a valid integer value");
    return;
  }
  FontSizeEdit.Red = false;
  if (value == Graph->FontSize) return;
  if (value >= 8 && value <= 30) {
    Graph->FontSize = value;
    return;
  }
  FontSizeEdit.Text = std::to_string(Graph->FontSize);
  platform_.ShowMessage(GraphDialogTexts::kInvalidFontSize);
}

void TQVgraphDlgForm::TickLineClick(int axis, int index) {
  if (!Graph || !ValidAxis(axis) || index < TickNone || index > TickDotted) return;
  int* types[3] = {&Graph->XtickType, &Graph->Y0tickType, &Graph->Y1tickType};
  *types[axis] = index;
  Repaint();
}

void TQVgraphDlgForm::AxisColorChange(int axis, TColor color) {
  if (!Graph || !ValidAxis(axis)) return;
  TColor* colors[3] = {&Graph->XColor, &Graph->Y0Color, &Graph->Y1Color};
  *colors[axis] = color;
  Repaint();
}

void TQVgraphDlgForm::PanelColorChange(TColor color) {
  if (!Graph) return;
  Graph->PanelColor = color;
  Repaint();
}

void TQVgraphDlgForm::NotesColorChange(TColor color) {
  if (!Graph) return;
  Graph->NotesColor = color;
  Repaint();
}

int TQVgraphDlgForm::TickType(int axis) const {
  if (!Graph || !ValidAxis(axis)) return 0;
  const int types[3] = {Graph->XtickType, Graph->Y0tickType, Graph->Y1tickType};
  return types[axis];
}

TColor TQVgraphDlgForm::AxisColor(int axis) const {
  if (!Graph || !ValidAxis(axis)) return 0;
  const TColor colors[3] = {Graph->XColor, Graph->Y0Color, Graph->Y1Color};
  return colors[axis];
}

TColor TQVgraphDlgForm::PanelColor() const { return Graph ? Graph->PanelColor : 0; }
TColor TQVgraphDlgForm::NotesColor() const { return Graph ? Graph->NotesColor : 0; }

bool TQVgraphDlgForm::RowShown(int row) const { return ValidRow(row) && rowShown_[row]; }
bool TQVgraphDlgForm::RowShow(int row) const { return ValidRow(row) && Graph->Series[row].Show; }
bool TQVgraphDlgForm::RowRightAxis(int row) const {
  return ValidRow(row) && Graph->Series[row].RightAxis;
}
int TQVgraphDlgForm::RowStyle(int row) const { return ValidRow(row) ? Graph->Series[row].Style : 0; }
TColor TQVgraphDlgForm::RowColor(int row) const {
  return ValidRow(row) ? Graph->Series[row].Color : 0;
}
const std::string& TQVgraphDlgForm::RowWidthText(int row) const {
  return ValidRow(row) ? widthText_[row] : kNoText;
}
const std::string& TQVgraphDlgForm::RowSizeText(int row) const {
  return ValidRow(row) ? sizeText_[row] : kNoText;
}

void TQVgraphDlgForm::ShowClick(int row, bool checked) {
  if (!ValidRow(row)) return;
  Graph->Series[row].Show = checked;
  Repaint();
}

void TQVgraphDlgForm::StyleChange(int row, int index) {
  if (!ValidRow(row) || index < Line || index > Variation) return;
  Graph->Series[row].Style = index;
  Repaint();
}

void TQVgraphDlgForm::RightAxisClick(int row, bool checked) {
  if (!ValidRow(row)) return;
  Graph->Series[row].RightAxis = checked;
  Repaint();
}

void TQVgraphDlgForm::SeriesColorChange(int row, TColor color) {
  if (!ValidRow(row)) return;
  Graph->Series[row].Color = color;
  Repaint();
}

void TQVgraphDlgForm::WidthChange(int row, const std::string& text) {
  if (!ValidRow(row)) return;
  widthText_[row] = text;
  const int value = ComboInteger(text);
  if (value <= 0 || value >= 51) return;
  Graph->Series[row].PenWidth = value;
  Repaint();
}

void TQVgraphDlgForm::SizeChange(int row, const std::string& text) {
  if (!ValidRow(row)) return;
  sizeText_[row] = text;
  const int value = ComboInteger(text);
  if (value <= 0 || value >= 51) return;
  Graph->Series[row].SymbolSize = value;
  Repaint();
}

void TQVgraphDlgForm::Repaint() {
  if (!Graph) return;
  Graph->Paint();
  if (repaint_) repaint_();
}
