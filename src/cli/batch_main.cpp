// kinetra-batch: the main window's commands driven from the command line.
#include <unistd.h>

#include <cstdio>
#include <iostream>
#include <string>
#include <vector>

#include "app/MainForm.h"
#include "cli/BatchOptions.h"
#include "cli/BatchPlatform.h"
#include "cli/PanelText.h"
#include "cli/TrackTable.h"
#include "store/AtomicOStream.h"

#ifdef KINETRA_WITH_QT
#include "cli/BatchQt.h"
#endif

namespace {

// The file is complete or left as it was; a failure is said on standard error.
template <typename Write>
bool WriteFile(const std::string& path, Write write) {
  AtomicOStream out(path);
  if (!out.Open()) {
    std::cerr << "kinetra-batch: cannot write " << path << "\n";
    return false;
  }
  write(out);
  const FileWriteResult result = out.Commit();
  if (!result) std::cerr << "kinetra-batch: " << result.error << "\n";
  return static_cast<bool>(result);
}

}  // namespace

int main(int argc, char** argv) {
#ifdef KINETRA_WITH_QT
  BatchQt qt(argc, argv);
#endif
  std::vector<std::string> args(argv + 1, argv + argc);
  std::string error;
  const auto options = ParseBatchOptions(args, error);

  BatchPlatform platform(std::cerr);
  platform.EnableProgress(isatty(fileno(stderr)) != 0);
  TMainForm form(platform);
  if (!form.Ready()) return 1;
  if (!options) {
    std::cerr << "kinetra-batch: " << error << "\n\n" << BatchUsage(form.CommandNames());
    return 2;
  }
  if (options->help) {
    std::cout << BatchUsage(form.CommandNames());
    return 0;
  }
  // Unknown names are refused before anything runs, so a typo costs no work.
  for (const BatchStep& step : options->steps) {
    if (step.kind == BatchStep::Command && !form.HasCommand(step.name)) {
      std::cerr << "kinetra-batch: unknown command '" << step.name << "' (see --help)\n";
      return 2;
    }
  }

  form.FormResize(options->width, options->height, form.StatusBarHeight);
  platform.SetRepaint([&form] { form.RenderPanels(); });
  if (!options->files.empty()) {
    platform.SetOpenAnswers(options->files);
    form.RunCommand("OpenNewFile");
  }
  for (const BatchStep& step : options->steps) {
    if (platform.closed()) break;
    if (step.kind == BatchStep::Key) {
      form.KeyDown(step.key);
      continue;
    }
    platform.SetAnswer(step.answer);
    form.RunCommand(step.name);
    platform.SetAnswer(std::nullopt);
  }

  bool written = true;
  if (!options->tablePath.empty())
    written &= WriteFile(options->tablePath, [&](std::ostream& out) { WriteTrackTable(out, form.Spots); });
  if (!options->rowsPath.empty())
    written &= WriteFile(options->rowsPath, [&](std::ostream& out) {
      WritePanelRows(out, "left", form.LeftGraph);
      out << '\n';
      WritePanelRows(out, "right", form.RightGraph);
    });
  if (options->notes) {
    WritePanelNotes(std::cout, "left", form.LeftGraph);
    WritePanelNotes(std::cout, "right", form.RightGraph);
  }
  return written ? 0 : 1;
}
