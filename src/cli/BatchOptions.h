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
  bool notes = false;
  bool help = false;
  int width = 1197;
  int height = 623;
};

// Parses argv; on a malformed line returns nullopt and sets `error`.
std::optional<BatchOptions> ParseBatchOptions(const std::vector<std::string>& args,
                                              std::string& error);

std::string BatchUsage(const std::vector<std::string>& commandNames);
