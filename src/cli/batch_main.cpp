// kinetra-batch: the main window's commands driven from the command line.
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <filesystem>
#include <iostream>
#include <mutex>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "cli/BatchHelp.h"
#include "cli/BatchOptions.h"
#include "cli/BatchRun.h"
#include "cli/BatchSummary.h"
#include "store/AtomicFile.h"

#ifdef KINETRA_WITH_QT
#include "cli/BatchQt.h"
#endif

namespace {

// The input file's name without folder and extension: what "{}" stands for.
std::string Stem(const std::string& file) { return std::filesystem::path(file).stem().string(); }

// Every file on its own, on as many threads as the machine has (each run uses the shared
// worker pool inside as well). Each file's messages are printed together when it ends.
std::vector<BatchResult> RunEach(const BatchOptions& options) {
  const size_t count = options.files.size();
  std::vector<BatchResult> results(count);
  std::atomic<size_t> next{0};
  std::mutex print;
  auto work = [&] {
    for (size_t i = next++; i < count; i = next++) {
      std::ostringstream messages, notes;
      results[i] = RunBatch(options, {options.files[i]}, Stem(options.files[i]), messages, notes);
      std::lock_guard<std::mutex> lock(print);
      std::istringstream lines(messages.str());
      for (std::string line; std::getline(lines, line);)
        std::cerr << options.files[i] << ": " << line << '\n';
      std::cout << notes.str();
    }
  };
  const size_t threads = std::clamp<size_t>(std::thread::hardware_concurrency(), 1, count);
  std::vector<std::thread> pool;
  for (size_t t = 1; t < threads; ++t) {
    try {
      pool.emplace_back(work);
    } catch (const std::system_error&) {
      break;  // the system gives no more threads: this one does the rest
    }
  }
  work();
  for (std::thread& thread : pool) thread.join();
  return results;
}

}  // namespace

int main(int argc, char** argv) {
  std::vector<std::string> args(argv + 1, argv + argc);
  std::string error;
  std::optional<BatchOptions> options = ParseBatchOptions(args, error);
  if (!options) {
    std::cerr << "kinetra-batch: " << error << " (see --help)\n";
    return kExitCommandLine;
  }
  // Help needs neither the track store nor the toolkit.
  if (options->help) {
    if (options->helpCommand.empty()) {
      std::cout << BatchUsage();
      return kExitOk;
    }
    const std::string text = CommandHelp(options->helpCommand);
    if (text.empty()) {
      std::cerr << "kinetra-batch: unknown command '" << options->helpCommand << "'\n";
      return kExitCommandLine;
    }
    std::cout << text;
    return kExitOk;
  }
  // Answers and names are checked before anything runs, so a typo costs no work.
  if (const std::string problem = CheckSteps(*options); !problem.empty()) {
    std::cerr << "kinetra-batch: " << problem << '\n';
    return kExitCommandLine;
  }
  options->progress = isatty(fileno(stderr)) != 0;
#ifdef KINETRA_WITH_QT
  BatchQt qt(argc, argv);
#endif

  std::vector<BatchResult> results;
  if (options->each && !options->files.empty()) {
    results = RunEach(*options);
  } else {
    const std::string stem = options->files.empty() ? "" : Stem(options->files.front());
    results.push_back(RunBatch(*options, options->files, stem, std::cerr, std::cout));
  }
  bool failed = false;
  for (const BatchResult& result : results) failed |= !result.failures.empty();
  if (!options->summaryPath.empty()) {
    const std::string path = OutputPath(options->summaryPath, "summary", options->outDir);
    const FileWriteResult written = WriteFileAtomically(path, SummaryText(results));
    if (!written) {
      std::cerr << "kinetra-batch: failed: " << written.error << '\n';
      failed = true;
    }
  }
  return failed ? kExitFailed : kExitOk;
}
