#pragma once
// Platform for the headless batch tool: each command's prompt or file dialog is
// answered by the value given with it on the command line; messages go to stderr.
#include <chrono>
#include <functional>
#include <iosfwd>
#include <utility>
#include <vector>
#include <optional>
#include <string>

#include "app/Platform.h"

class BatchPlatform : public Platform {
 public:
  explicit BatchPlatform(std::ostream& messages) : messages_(messages) {}

  // The answer for the next prompt or dialog of the command about to run; none = Cancel.
  void SetAnswer(std::optional<std::string> answer) { answer_ = std::move(answer); }
  void SetOpenAnswers(std::vector<std::string> paths) { openAnswers_ = std::move(paths); }

  void ShowMessage(const std::string& text) override;
  // Shown like any message, and counted: the run's exit status says a step failed.
  void ShowError(const std::string& text) override;
  void QuietFailure(const std::string& what) override;
  // Failures since the run began, in order.
  const std::vector<std::string>& failures() const { return failures_; }
  void AddFailure(std::string what) { failures_.push_back(std::move(what)); }
  std::optional<std::string> InputQuery(const std::string& caption, const std::string& prompt,
                                        const std::string& defaultText) override;
  std::vector<std::string> OpenFileDialog(const FileDialog& dialog) override;
  std::optional<std::string> SaveFileDialog(const FileDialog& dialog) override;
  std::optional<std::string> SavePictureDialog(const FileDialog& dialog) override;
  // No printer headless: the print dialog is always cancelled.
  bool PrintDialog() override { return false; }
  void PrintBitmap(const Bitmap&, int) override {}
  void Beep() override {}
  // Headless there is no window to invalidate: the panels are drawn at once, so that
  // pictures saved afterwards show them.
  void Repaint() override {
    if (repaint_) repaint_();
  }
  void SetRepaint(std::function<void()> repaint) { repaint_ = std::move(repaint); }
  void SetCaption(const std::string& caption) override { caption_ = caption; }
  void SetStatusText(const std::string& text) override { status_ = text; }
  void ShowViewer() override {}
  void CloseViewer() override {}
  void CloseMainWindow() override { closed_ = true; }
  // No dialogs headless: the graph keeps its settings.
  void ShowGraphDialog(TQVgraphDlgForm&) override {}
  // Long jobs show a percentage on one line of the message stream, rewritten in place;
  // only when enabled (the batch tool enables it when stderr is a terminal).
  bool Progress(const std::string& what, double fraction, bool cancellable) override;
  void EnableProgress(bool on) { progressOn_ = on; }

  const std::string& caption() const { return caption_; }
  const std::string& status() const { return status_; }
  bool closed() const { return closed_; }

 private:
  std::optional<std::string> TakeAnswer();

  std::ostream& messages_;
  std::function<void()> repaint_;
  std::optional<std::string> answer_;
  std::vector<std::string> openAnswers_;
  std::string caption_;
  std::string status_;
  bool closed_ = false;
  std::vector<std::string> failures_;
  bool progressOn_ = false;
  std::chrono::steady_clock::time_point progressStart_;
  int progressShown_ = -1;  // the percentage on the line, -1 = no line yet
};
