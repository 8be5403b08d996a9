#include "cli/BatchTool.h"

#include <algorithm>
#include <atomic>
#include <filesystem>
#include <iostream>
#include <mutex>
#include <sstream>
#include <string>
#include <system_error>
#include <thread>
#include <vector>

#include "cli/BatchHelp.h"
#include "cli/BatchOptions.h"
#include "cli/BatchRun.h"
#include "cli/BatchSummary.h"
#include "store/AtomicFile.h"

namespace {

// The input file's name without folder and extension: what "{}" stands for.
std::string Stem(const std::string& file) { return std::filesystem::path(file).stem().string(); }

// Every file on its own, on as many threads as the machine has (each run uses the shared
// worker pool inside as well). Each file's messages are printed together when it ends.
std::vector<BatchResult> RunEach(const BatchOptions& options, const BatchStreams& streams) {
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
        streams.err << options.files[i] << ": " << line << '\n';
      streams.out << notes.str();
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

int RunBatchTool(const std::vector<std::string>& args, BatchStreams streams,
                 const std::function<void()>& startToolkit) {
  std::string error;
  std::optional<BatchOptions> options = ParseBatchOptions(args, error);
  if (!options) {
    streams.err << "kinetra-batch: " << error << " (see --help)\n";
    return kExitCommandLine;
  }
  // Help needs neither the track store nor the toolkit.
  if (options->help) {
    if (options->helpCommand.empty()) {
      streams.out << BatchUsage();
      return kExitOk;
    }
    const std::string text = CommandHelp(options->helpCommand);
    if (text.empty()) {
      streams.err << "kinetra-batch: unknown command '" << options->helpCommand << "'\n";
      return kExitCommandLine;
    }
    streams.out << text;
    return kExitOk;
  }
  // Answers and names are checked before anything runs, so a typo costs no work.
  if (const std::string problem = CheckSteps(*options); !problem.empty()) {
    streams.err << "kinetra-batch: " << problem << '\n';
    return kExitCommandLine;
  }
  options->progress = streams.terminal;
  if (!options->outDir.empty()) {
    std::error_code made;
    std::filesystem::create_directories(options->outDir, made);
    if (made) {
      streams.err << "kinetra-batch: cannot make the folder " << options->outDir << ": "
                  << made.message() << '\n';
      return kExitFailed;
    }
  }
  if (startToolkit) startToolkit();

  std::vector<BatchResult> results;
  if (options->each && !options->files.empty()) {
    results = RunEach(*options, streams);
  } else {
    const std::string stem = options->files.empty() ? "" : Stem(options->files.front());
    results.push_back(RunBatch(*options, options->files, stem, streams.err, streams.out));
  }
  bool failed = false;
  for (const BatchResult& result : results) failed |= !result.failures.empty();
  if (!options->summaryPath.empty()) {
    const std::string path = OutputPath(options->summaryPath, "summary", options->outDir);
    const FileWriteResult written = WriteFileAtomically(path, SummaryText(results));
    if (!written) {
      streams.err << "kinetra-batch: failed: " << written.error << '\n';
      failed = true;
    }
  }
  return failed ? kExitFailed : kExitOk;
}
