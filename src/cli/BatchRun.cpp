#include "cli/BatchRun.h"

#include <filesystem>
#include <ostream>

#include "app/AnswerRules.h"
#include "app/MainForm.h"
#include "cli/BatchPlatform.h"
#include "cli/PanelText.h"
#include "cli/TrackTable.h"
#include "edit/PanelExport.h"
#include "store/AtomicFile.h"

namespace {

const CommandRow<TMainForm>* RowOf(const std::string& name) {
  return FindCommand(TMainForm::Commands(), name);
}

// The step as it ran: with its answer after "{}" and --out-dir were applied.
std::string StepText(const BatchStep& step, const std::optional<std::string>& answer) {
  if (step.kind == BatchStep::Key) return "--key " + std::to_string(step.key);
  return "--cmd " + step.name + (answer ? "=" + *answer : "");
}

// An answer that names a file the command writes: subject to "{}" and --out-dir.
bool AnswerIsOutput(const BatchStep& step) {
  const CommandRow<TMainForm>* row = RowOf(step.name);
  return row && (row->answer == Answer::SaveFile || row->answer == Answer::Picture);
}

}  // namespace

std::string OutputPath(const std::string& name, const std::string& stem,
                       const std::string& outDir) {
  std::string path = name;
  for (size_t at = path.find("{}"); at != std::string::npos; at = path.find("{}", at + stem.size()))
    path.replace(at, 2, stem);
  if (outDir.empty() || std::filesystem::path(path).is_absolute()) return path;
  return (std::filesystem::path(outDir) / path).string();
}

std::string CheckSteps(const BatchOptions& options) {
  for (const BatchStep& step : options.steps) {
    if (step.kind != BatchStep::Command) continue;
    const CommandRow<TMainForm>* row = RowOf(step.name);
    if (!row) return "unknown command '" + step.name + "' (see --help)";
    if (row->answer != Answer::None && !step.answer)
      return "--cmd " + step.name + " needs an answer: --cmd " + step.name + "=... (see --help " +
             step.name + ")";
    if (row->answer != Answer::Value || !step.answer) continue;
    const std::string problem = ValueAnswerProblem(step.name, *step.answer);
    if (!problem.empty())
      return "--cmd " + step.name + "=" + *step.answer + ": '" + *step.answer + "' is " +
             problem + " (see --help " + step.name + ")";
  }
  if (options.each && options.files.size() > 1) {
    std::vector<std::string> outputs = {options.tablePath, options.rowsPath};
    for (const BatchStep& step : options.steps)
      if (step.answer && AnswerIsOutput(step)) outputs.push_back(*step.answer);
    for (const std::string& name : outputs)
      if (!name.empty() && name.find("{}") == std::string::npos)
        return "with --each every file writes its own outputs: put {} (the input file's name) "
               "in '" + name + "'";
  }
  return "";
}

BatchResult RunBatch(const BatchOptions& options, const std::vector<std::string>& files,
                     const std::string& stem, std::ostream& messages, std::ostream& notes) {
  BatchResult result;
  for (const std::string& file : files) result.input += (result.input.empty() ? "" : " ") + file;
  BatchPlatform platform(messages);
  platform.EnableProgress(options.progress);
  TMainForm form(platform);
  if (!form.Ready()) {
    result.failures.push_back("memory for the track store");
    return result;
  }
  form.FormResize(options.width, options.height, form.StatusBarHeight);
  platform.SetRepaint([&form] { form.RenderPanels(); });

  // Every failure the platform counted since the last look, named by what was running.
  size_t reported = 0;
  auto failed = [&](const std::string& what) {
    const size_t before = reported;
    for (; reported < platform.failures().size(); ++reported) {
      const std::string& text = platform.failures()[reported];
      // A text that already names the file needs no second name.
      result.failures.push_back(text.rfind(what, 0) == 0 ? text : what + ": " + text);
      messages << "kinetra-batch: failed: " << result.failures.back() << '\n';
    }
    return reported > before && options.stopOnError;
  };

  ImportOptions& import = form.ImportSettings;
  import.pixelSizeUm = options.pixelSizeUm;
  import.frameIntervalS = options.frameIntervalS;
  import.columns = options.columns;
  import.intensity = options.intensity;
  import.gaps = options.fillGaps ? GapRule::Fill : GapRule::Split;
  import.positionUnit = options.positionUnit == "px"   ? LengthUnit::Pixel
                        : options.positionUnit == "um" ? LengthUnit::Micrometre
                        : options.positionUnit == "nm" ? LengthUnit::Nanometre
                                                       : LengthUnit::Unknown;
  // A frame interval given here holds for every file read, QVI files too.
  if (options.frameIntervalS > 0) form.SetFrameInterval(options.frameIntervalS);
  bool stopped = false;
  for (size_t i = 0; i < files.size() && !stopped; ++i) {
    form.OpenTrackFiles({files[i]}, i == 0);
    stopped = failed(files[i]);
  }
  for (const BatchStep& step : options.steps) {
    if (stopped || platform.closed()) break;
    if (step.kind == BatchStep::Key) {
      form.KeyDown(step.key);
      continue;
    }
    std::optional<std::string> answer = step.answer;
    if (answer && AnswerIsOutput(step)) answer = OutputPath(*answer, stem, options.outDir);
    platform.SetAnswer(answer);
    form.RunCommand(step.name);
    platform.SetAnswer(std::nullopt);
    stopped = failed(StepText(step, answer));
  }
  if (stopped) return result;

  const char separator = options.csv ? ',' : '\t';
  auto write = [&](const std::string& name, const std::string& text) {
    if (name.empty()) return;
    const std::string path = OutputPath(name, stem, options.outDir);
    const FileWriteResult written = WriteFileAtomically(path, text);
    if (!written) platform.AddFailure(written.error);
    failed(path);
  };
  write(options.tablePath, TrackTableText(form.Spots, form.DlatUnit, form.TimeUnit, options.csv));
  write(options.rowsPath, PanelsTableText(form.LeftGraph, form.RightGraph, separator));
  if (options.notes) {
    WritePanelNotes(notes, "left", form.LeftGraph);
    WritePanelNotes(notes, "right", form.RightGraph);
  }
  result.tracks = form.Spots.NSpots;
  result.selected = form.Spots.NSelected;
  result.left = form.LeftHeadlines;
  result.right = form.RightHeadlines;
  return result;
}
