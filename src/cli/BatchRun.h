#pragma once
// One batch run: input files read into a fresh main window, the steps run in order, the
// outputs written. kinetra-batch makes one for its files, or one per file with --each.
#include <iosfwd>
#include <string>
#include <vector>

#include "cli/BatchOptions.h"
#include "stats/Analysis.h"

struct BatchResult {
  std::string input;  // the files, as the summary names them
  std::vector<std::string> failures;  // each names its step or file
  bool commandLineError = false;      // a step refused before it ran (exit 2)
  int32_t tracks = 0;
  int32_t selected = 0;
  std::vector<PanelResults::Headline> left, right;
};

// Runs `options` over `files`; "{}" in output names and answers becomes `stem`, and
// relative output names are taken inside options.outDir. Messages and failures go to
// `messages`, the notes to `notes`.
BatchResult RunBatch(const BatchOptions& options, const std::vector<std::string>& files,
                     const std::string& stem, std::ostream& messages, std::ostream& notes);

// The checks made before anything runs: every command exists, every answer a command needs
// is given and valid for it. An empty text when the steps are fine.
std::string CheckSteps(const BatchOptions& options);

// An output name as written: "{}" replaced by `stem`, a relative name put inside `outDir`.
std::string OutputPath(const std::string& name, const std::string& stem, const std::string& outDir);
