#pragma once
// kinetra-batch as a function of its arguments, so that the tests run it in-process:
// returns the exit status (kExitOk, kExitFailed, kExitCommandLine).
#include <functional>
#include <iosfwd>
#include <string>
#include <vector>

struct BatchStreams {
  std::ostream& out;  // help, notes
  std::ostream& err;  // messages and failures
  bool terminal = false;  // err is a terminal: progress lines are shown
};

// `startToolkit` runs once the command line is known good and work is about to start
// (the program starts Qt's offscreen platform there for pictures).
int RunBatchTool(const std::vector<std::string>& args, BatchStreams streams,
                 const std::function<void()>& startToolkit = {});
