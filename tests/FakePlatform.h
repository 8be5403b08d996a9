#pragma once
// A scripted Platform for tests: answers are queued in advance, everything the
// program says is recorded.
#include <deque>
#include <functional>
#include <optional>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "app/Platform.h"

class FakePlatform : public Platform {
 public:
  // Answers, consumed in order; an empty queue means "Cancel".
  std::deque<std::optional<std::string>> promptAnswers;
  std::deque<std::vector<std::string>> openAnswers;
  std::deque<std::optional<std::string>> saveAnswers;
  bool printConfirm = false;
  // The calibration dialog's answers (pixel size µm, frame interval s); none: Cancel.
  std::deque<std::pair<double, double>> calibrationAnswers;
  // Cancels a job at its Nth progress report (0: never), and every report after it.
  int cancelAtReport = 0;
  int progressReports = 0;  // reports between the start and the end of a job
  // Plays the user's part while the graph settings dialog is open.
  std::function<void(TQVgraphDlgForm&)> graphDialogScript;

  // What happened.
  std::vector<std::string> messages;
  std::vector<std::string> prompts;  // "caption|prompt|default"
  std::vector<FileDialog> dialogs;
  std::string caption;
  std::string status;
  int repaints = 0;
  int beeps = 0;
  int viewerShown = 0;
  int viewerClosed = 0;
  int printed = 0;
  bool mainClosed = false;
  int graphDialogs = 0;
  std::vector<std::string> calibrationAsked;  // the files

  void ShowMessage(const std::string& text) override { messages.push_back(text); }
  std::optional<std::string> InputQuery(const std::string& c, const std::string& p,
                                        const std::string& d) override {
    prompts.push_back(c + "|" + p + "|" + d);
    return Next(promptAnswers);
  }
  std::vector<std::string> OpenFileDialog(const FileDialog& dialog) override {
    dialogs.push_back(dialog);
    return Next(openAnswers);
  }
  std::optional<std::string> SaveFileDialog(const FileDialog& dialog) override {
    dialogs.push_back(dialog);
    return Next(saveAnswers);
  }
  std::optional<std::string> SavePictureDialog(const FileDialog& dialog) override {
    return SaveFileDialog(dialog);
  }
  bool PrintDialog() override { return printConfirm; }
  void PrintBitmap(const Bitmap&, int) override { ++printed; }
  void Beep() override { ++beeps; }
  void Repaint() override { ++repaints; }
  void SetCaption(const std::string& text) override { caption = text; }
  void SetStatusText(const std::string& text) override { status = text; }
  void ShowViewer() override { ++viewerShown; }
  void CloseViewer() override { ++viewerClosed; }
  void CloseMainWindow() override { mainClosed = true; }
  bool AskCalibration(const std::string& file, CalibrationRequest& request) override;
  bool Progress(const std::string&, double fraction, bool cancellable) override {
    if (fraction <= 0 || fraction >= 1) return true;
    ++progressReports;
    return !(cancellable && cancelAtReport > 0 && progressReports >= cancelAtReport);
  }
  bool CanCancel() const override { return true; }
  void ShowGraphDialog(TQVgraphDlgForm& dialog) override {
    ++graphDialogs;
    if (graphDialogScript) graphDialogScript(dialog);
  }

 private:
  // The next queued answer; an empty one (Cancel) when none is left.
  template <typename Answer>
  static Answer Next(std::deque<Answer>& queue) {
    if (queue.empty()) return {};
    Answer answer = std::move(queue.front());
    queue.pop_front();
    return answer;
  }
};

#include "import/ImportTypes.h"

inline bool FakePlatform::AskCalibration(const std::string& file, CalibrationRequest& request) {
  calibrationAsked.push_back(file);
  if (calibrationAnswers.empty()) return false;
  std::tie(request.pixelSizeUm, request.frameIntervalS) = calibrationAnswers.front();
  calibrationAnswers.pop_front();
  return true;
}
