#include "cli/BatchHelp.h"

#include <cmath>
#include <string_view>

#include "app/AnswerRules.h"
#include "app/MainForm.h"
#include "store/Numbers.h"

namespace {

using Row = CommandRow<TMainForm>;

// The menu a row sits in, as a user finds it.
std::string MenuOf(const Row& row) {
  const std::string_view parent = row.parent;
  if (parent == kBatchOnly) return "batch only";
  if (parent == "Popup") return "pop-up menu";
  if (parent == "Left") return "Left panel menu";
  if (parent == "Right") return "Right panel menu";
  for (const Row& menu : TMainForm::Commands()) {
    if (menu.kind != ItemKind::SubMenu || parent != menu.name) continue;
    std::string caption = menu.caption;
    return caption.substr(0, caption.find('(')) + " menu";
  }
  return std::string(parent);
}

std::string RangeText(const ValueRule& rule) {
  std::string text = rule.integer ? "a whole number" : "a number";
  const bool low = std::isfinite(rule.low), high = std::isfinite(rule.high);
  if (low && high) text += " from " + FormatReal(rule.low) + " to " + FormatReal(rule.high);
  else if (low) text += " from " + FormatReal(rule.low) + " on";
  if (!rule.unit.empty()) text += " (" + rule.unit + ")";
  return text;
}

// "=VALUE", "=FILE", ... for the list; empty when the command asks nothing.
std::string AnswerWord(const Row& row) {
  switch (row.answer) {
    case Answer::None: return "";
    case Answer::Value: return "=VALUE";
    case Answer::OpenFiles: return "=FILE";
    case Answer::SaveFile: return "=FILE";
    case Answer::Picture: return "=PICTURE";
  }
  return "";
}

std::string AnswerDetail(const Row& row) {
  switch (row.answer) {
    case Answer::None: return "asks nothing";
    case Answer::Value: {
      const std::optional<ValueRule> rule = ValueRuleOf(row.name);
      return "=VALUE: " + (rule ? RangeText(*rule) : std::string("a value"));
    }
    case Answer::OpenFiles: return "=FILE: the file to read";
    case Answer::SaveFile: return "=FILE: the file to write";
    case Answer::Picture:
      return "=PICTURE: the picture to write, BMP unless the name ends in .png, .pdf or .svg";
  }
  return "";
}

const char* ChangesText(Changes changes) {
  switch (changes) {
    case Changes::Nothing: return "nothing: it only reads the tracks and settings";
    case Changes::Settings: return "settings, menu choices and per-track flags, not track points";
    case Changes::PairRule: return "how pairs of points are taken";
    case Changes::Points: return "track points (coordinates or point counts)";
  }
  return "";
}

const char* const kUsageHead = R"help(usage: kinetra-batch [FILE ...] [options]

Runs the analysis headless. FILEs are read first: QVI track files as "Open New File(s)"
reads them, TrackMate XML files and CSV/TSV track tables (TrackMate spots, trackpy,
saspt, or any table through --columns) as "Import Tracks" reads them, recognised by their
content. The first replaces the store, the rest are appended. Then the steps run in the
order given, then the outputs are written.

track files:
  --pixel-size UM     µm per pixel, for files with positions in pixels (wins over the file's)
  --frame-interval S  seconds per frame (wins over the file's; for QVI files it sets dT)
  --columns MAP       the columns of another table: track=NAME,frame=NAME,x=NAME,y=NAME
                      [,intensity=NAME][,t=NAME][,unit=px|um|nm]
  --units px|um|nm    the unit of the positions, when the file does not say
  --gaps split|fill   a track with missing frames: split into tracks (default), or fill
                      the frames by linear interpolation
  --intensity NAME    the intensity column or TrackMate spot feature (MEAN_INTENSITY_CH1, ...)

steps:
  --cmd NAME          run the menu command NAME (see the list below)
  --cmd NAME=ANSWER   run it with its prompt or file dialog answered by ANSWER
  --key CODE          a key-down with this virtual key code in the main window
  --stop-on-error     stop at the first step that fails (default: go on, exit 1 at the end)
outputs:
  --table PATH        the per-track table: UTF-8, units in the header, one line per track
  --rows PATH         the numbers behind both panels, columns named by the panels' titles
  --csv               write --table and --rows as CSV instead of tab-separated text
  --notes             print each panel's caption, titles and notes on standard output
  --size WxH          client size of the window for pictures (default 1197x623)
many files:
  --each              run every FILE on its own (in parallel), the same steps for each
  --summary PATH      one CSV row per file: tracks, selected, each panel's headline numbers
  --out-dir DIR       write relative output names inside DIR; with --each, "{}" in an
                      output name or answer stands for the input file's name without
                      its extension (--table {}.tsv --cmd SaveAsBMP={}.png)
  --help [COMMAND]    this text, or one command in detail

Messages the program shows go to standard error as 'message: TEXT'; a step that fails
is also reported there naming the step, and the run goes on with the next step.

exit status:
  0  every step and output succeeded
  1  a step failed: an input file that cannot be read, an output that cannot be
     written, a value out of range, a track that does not exist, memory short
  2  the command line is wrong: an unknown option or command, an answer missing or
     not valid for its prompt (not a number where a number is asked)
)help";

}  // namespace

std::string BatchUsage() {
  std::string text = kUsageHead;
  text += "\nkeys for --key: 37 left, 39 right (intensity threshold -/+ 1), 40 down, 38 up\n"
          "(length threshold -/+ 1), 76 L, 72 H (velocity threshold -/+ 0.05), 73 I, 68 D\n"
          "(Dlat shift +/- half a Dlat bin)\n";
  text += "\ncommands (NAME[=ANSWER]: menu, caption; --help NAME for more):\n";
  for (const Row& row : TMainForm::Commands()) {
    if (!row.Runs()) continue;
    std::string entry = "  " + std::string(row.name) + AnswerWord(row);
    entry.resize(std::max<size_t>(entry.size() + 1, 30), ' ');
    text += entry + MenuOf(row) + ": \"" + row.caption + "\"\n";
  }
  return text;
}

std::string CommandHelp(const std::string& name) {
  for (const Row& row : TMainForm::Commands()) {
    if (!row.Runs() || name != row.name) continue;
    std::string text = name + AnswerWord(row) + "\n  menu: " + MenuOf(row) + ", \"" +
                       row.caption + "\"";
    if (*row.shortcut) text += " (" + std::string(row.shortcut) + ")";
    text += "\n  kind: ";
    text += row.kind == ItemKind::Toggle  ? "a check mark that each run flips"
            : row.kind == ItemKind::Radio ? "one choice of its menu"
                                          : "a command";
    text += "\n  answer: " + AnswerDetail(row);
    text += "\n  may change: " + std::string(ChangesText(row.changes)) + "\n";
    return text;
  }
  return "";
}
