// kinetra-batch: the main window's commands driven from the command line.
#include <unistd.h>

#include <cstdio>
#include <iostream>
#include <memory>
#include <string>
#include <vector>

#include "cli/BatchTool.h"

#ifdef KINETRA_WITH_QT
#include "cli/BatchQt.h"
#endif

int main(int argc, char** argv) {
  const std::vector<std::string> args(argv + 1, argv + argc);
#ifdef KINETRA_WITH_QT
  std::unique_ptr<BatchQt> qt;
  const auto startToolkit = [&] { qt = std::make_unique<BatchQt>(argc, argv); };
#else
  const auto startToolkit = [] {};
#endif
  return RunBatchTool(args, {std::cout, std::cerr, isatty(fileno(stderr)) != 0}, startToolkit);
}
