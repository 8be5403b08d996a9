#pragma once
// The graph settings dialog "QVgraph Settings" without a window system: the state of its
// controls and what each control does to the attached graph. The Qt dialog mirrors this
// object and forwards every user event to it; tests drive it directly.
//
// There is no copy of the settings: every accepted change is written straight into the
// graph. Axis and font-size edits hold typed text that is taken only on Enter or on
// leaving the edit; until then the text is shown red.
#include <functional>
#include <string>

#include "plot/Color.h"

class Platform;
class TQVgraph;

// The three axes of the "Axis" page and the three edits of each.
enum GraphAxis : int { AxisX = 0, AxisY0 = 1, AxisY1 = 2 };
enum AxisEditField : int { FirstVal = 0, LastVal = 1, TickDist = 2 };

// Texts of the dialog's controls.
namespace GraphDialogTexts {
inline constexpr const char* kCaption = "QVgraph Settings";
inline constexpr const char* kAxisPage = "Axis";
inline constexpr const char* kGraphsPage = "Graphs";
inline constexpr const char* kAxisGroups[3] = {"X axis (in its units)", "left Y ax (in its units)",
                                               "right Y ax (in its un.)"};
inline constexpr const char* kEditLabels[3] = {"first val", "last val", "tick dist"};
inline constexpr const char* kTickLine = "Tick Line";
inline constexpr const char* kTickLineItems[4] = {"None", "Solid", "Dashed", "Dotted"};
inline constexpr const char* kPanelColor = "Panel ";
inline constexpr const char* kNotesColor = "Notes";
inline constexpr const char* kFontSize = "Font Size";
inline constexpr const char* kHeaderTop =
    "N  Show    Graph       Right     Line/figure           Line         Figure  ";
inline constexpr const char* kHeaderBottom =
    "Type        Y axis        Color               Width         Size";
// Item index = series style.
inline constexpr const char* kStyleItems[7] = {"Line",      "Circle", "Cross",    "LineCircle",
                                               "LineCross", "Bar",    "Variation"};
inline constexpr const char* kWidthItems[9] = {"1", "2", "3", "4", "5", "7", "10", "15", "20"};
inline constexpr const char* kSizeItems[9] = {"2", "4", "6", "8", "10", "15", "20", "25", "30"};
inline constexpr const char* kInvalidFontSize = "Invalid Font Size";
}  // namespace GraphDialogTexts

class TQVgraphDlgForm {
 public:
  static constexpr int kRows = 10;  // series rows of the "Graphs" page, numbered 1 to 10

  struct EditState {
    std::string Text;
    bool Red = false;  // typed but not taken yet
  };

  explicit TQVgraphDlgForm(Platform& platform);

  // Remembers the graph and loads every control from it. `repaint` is what the owner
  // does after the graph's own Paint so the change shows (e.g. repaint its window).
  void AttachGraph(TQVgraph& graph, std::function<void()> repaint = {});

  // The graph being edited (not owned); null before the first attach.
  TQVgraph* Graph = nullptr;

  // --- the "Axis" page
  EditState AxisEdit[3][3];  // [GraphAxis][AxisEditField]
  EditState FontSizeEdit;

  void AxisTextChanged(int axis, int field, const std::string& text);
  void AxisKeyEnter(int axis, int field);
  void AxisKeyEsc(int axis, int field);
  void AxisExit(int axis, int field);

  void FontSizeTextChanged(const std::string& text);
  void FontSizeKeyEnter();
  void FontSizeKeyEsc();
  void FontSizeExit();

  void TickLineClick(int axis, int index);
  void AxisColorChange(int axis, TColor color);
  void PanelColorChange(TColor color);
  void NotesColorChange(TColor color);

  // Current values of the graph for the controls (0 without a graph).
  int TickType(int axis) const;
  TColor AxisColor(int axis) const;
  TColor PanelColor() const;
  TColor NotesColor() const;

  // --- the "Graphs" page, rows 1 to kRows
  // Row 1 is always shown; row k > 1 only when the attached graph had SeriesCount >= k.
  bool RowShown(int row) const;
  bool RowShow(int row) const;
  bool RowRightAxis(int row) const;
  int RowStyle(int row) const;
  TColor RowColor(int row) const;
  const std::string& RowWidthText(int row) const;
  const std::string& RowSizeText(int row) const;

  void ShowClick(int row, bool checked);
  void StyleChange(int row, int index);
  void RightAxisClick(int row, bool checked);
  void SeriesColorChange(int row, TColor color);
  // The combo text as an integer; taken only when 0 < value < 51.
  void WidthChange(int row, const std::string& text);
  void SizeChange(int row, const std::string& text);

  // The error and tick texts of each axis edit, as the dialog shows them.
  static const char* ErrorText(int axis, int field);
  static const char* TickText(int axis, int field);

 private:
  double* AxisValue(int axis, int field) const;
  void LoadAxisText(int axis, int field);
  void TakeAxisValue(int axis, int field);
  void TakeFontSize();
  void Repaint();
  bool ValidRow(int row) const { return Graph && row >= 1 && row <= kRows; }

  Platform& platform_;
  std::function<void()> repaint_;
  bool rowShown_[kRows + 1] = {};
  std::string widthText_[kRows + 1];
  std::string sizeText_[kRows + 1];
};

// The platform's general floating-point conversion of an edit text: blanks around the
// number and a leading '+' allowed, nothing else; false for anything that is not a finite
// number.
bool ParseFloatText(const std::string& text, double& value);
