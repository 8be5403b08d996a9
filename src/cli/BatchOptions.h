#pragma once
// The batch tool's command line.
#include <optional>
#include <string>
#include <vector>

struct BatchStep {
  enum Kind { Command, Key } kind = Command;
  std::string name;                   // menu command's component name
  std::optional<std::string> answer;  // its prompt or dialog answer
  int key = 0;                        // virtual key code
};

struct BatchOptions {
  std::vector<std::string> files;  // opened first, as "Open New File(s)"
  std::vector<BatchStep> steps;    // in command-line order
  std::string tablePath;
  std::string rowsPath;
  std::string summaryPath;
  std::string outDir;  // relative output names are taken inside it
  bool notes = false;
  bool csv = false;           // tables as CSV instead of tab-separated text
  bool each = false;          // every file on its own, the same steps for each
  bool stopOnError = false;
  bool progress = false;      // progress lines on standard error (a terminal)
  bool help = false;
  std::string helpCommand;    // --help COMMAND
  // How track files other than QVI are read (see --help).
  double pixelSizeUm = 0;      // --pixel-size; 0: the file's
  double frameIntervalS = 0;   // --frame-interval; 0: the file's (or dT for QVI files)
  std::string columns;         // --columns track=NAME,frame=NAME,...
  std::string positionUnit;    // --units px|um|nm
  bool fillGaps = false;       // --gaps fill
  std::string intensity;       // --intensity NAME
  int width = 1197;
  int height = 623;
};

// Parses argv; on a malformed line returns nullopt and sets `error`.
std::optional<BatchOptions> ParseBatchOptions(const std::vector<std::string>& args,
                                              std::string& error);

// Exit statuses.
inline constexpr int kExitOk = 0;
inline constexpr int kExitFailed = 1;       // a step failed: a file, an output, a value
inline constexpr int kExitCommandLine = 2;  // the command line itself is wrong
