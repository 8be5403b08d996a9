#pragma once
// Every way the program reaches the user goes through this interface: the Qt
// window implements it with dialogs, tests with a script, the batch tool from
// its command line. Commands never talk to a window system directly.
#include <optional>
#include <string>
#include <vector>

class Bitmap;
class TQVgraphDlgForm;
struct CalibrationRequest;

struct FileDialog {
  std::string title;       // empty: the platform's default title
  std::string filter;      // "Description|*.ext"
  std::string defaultExt;  // without the dot
  bool multiSelect = false;
  bool promptOverwrite = false;
};

class Platform {
 public:
  virtual ~Platform() = default;

  virtual void ShowMessage(const std::string& text) = 0;
  // A message that tells the user a command failed: shown as ShowMessage shows it; a
  // batch run also counts it towards its exit status.
  virtual void ShowError(const std::string& text) { ShowMessage(text); }
  // A failure a command is meant to keep quiet about (the window shows nothing), which a
  // batch run must still count; `what` says what failed.
  virtual void QuietFailure(const std::string& /*what*/) {}
  // A modal one-line prompt; nullopt when cancelled.
  virtual std::optional<std::string> InputQuery(const std::string& caption,
                                                const std::string& prompt,
                                                const std::string& defaultText) = 0;
  // Chosen paths in the dialog's order; empty when cancelled.
  virtual std::vector<std::string> OpenFileDialog(const FileDialog& dialog) = 0;
  virtual std::optional<std::string> SaveFileDialog(const FileDialog& dialog) = 0;
  virtual std::optional<std::string> SavePictureDialog(const FileDialog& dialog) = 0;
  // True when the user confirms printing; then PrintBitmap sends the job.
  virtual bool PrintDialog() = 0;
  virtual void PrintBitmap(const Bitmap& picture, int zoom) = 0;

  virtual void Beep() = 0;
  virtual void Repaint() = 0;
  virtual void SetCaption(const std::string& caption) = 0;
  virtual void SetStatusText(const std::string& text) = 0;

  virtual void ShowViewer() = 0;
  virtual void CloseViewer() = 0;
  virtual void CloseMainWindow() = 0;
  // Shows the graph settings dialog modally over the graph attached to it; returns when
  // the user closes it. Every change is already written into the graph by then.
  virtual void ShowGraphDialog(TQVgraphDlgForm& dialog) = 0;

  // One small dialog for what an import of `file` needs and the file does not say (pixel
  // size, frame interval): fills in the request's needed values; false when cancelled.
  virtual bool AskCalibration(const std::string& /*file*/, CalibrationRequest& /*request*/) {
    return false;
  }

  // How far a long job has got: `fraction` 0 when it starts, rising, 1 when it is done.
  // `what` names the job. A platform may show nothing for short jobs. With `cancellable`
  // the user may cancel it (the window shows a Cancel button): false is returned from then
  // on, and the job stops and puts back what it changed.
  virtual bool Progress(const std::string& /*what*/, double /*fraction*/,
                        bool /*cancellable*/ = false) {
    return true;
  }
  // Whether a job can be cancelled here at all (a window can; a batch run cannot).
  virtual bool CanCancel() const { return false; }
};
