#pragma once
// Platform through Qt: modal message boxes, prompts, file and print dialogs.
// Repaint, caption, status text and the viewer are handed to the window that owns it.
#include <functional>

#include "app/Platform.h"

class QProgressDialog;
class QWidget;

class QtPlatform : public Platform {
 public:
  struct WindowHooks {
    std::function<void()> repaint;
    std::function<void(const std::string&)> setCaption;
    std::function<void(const std::string&)> setStatus;
    std::function<void()> showViewer;
    std::function<void()> closeViewer;
    std::function<void()> closeMainWindow;
  };

  QtPlatform(QWidget* parent, WindowHooks hooks) : parent_(parent), hooks_(std::move(hooks)) {}

  void ShowMessage(const std::string& text) override;
  std::optional<std::string> InputQuery(const std::string& caption, const std::string& prompt,
                                        const std::string& defaultText) override;
  std::vector<std::string> OpenFileDialog(const FileDialog& dialog) override;
  std::optional<std::string> SaveFileDialog(const FileDialog& dialog) override;
  std::optional<std::string> SavePictureDialog(const FileDialog& dialog) override;
  bool PrintDialog() override;
  void PrintBitmap(const Bitmap& picture, int zoom) override;
  void Beep() override;
  void Repaint() override { Call(hooks_.repaint); }
  void SetCaption(const std::string& caption) override { Call(hooks_.setCaption, caption); }
  void SetStatusText(const std::string& text) override { Call(hooks_.setStatus, text); }
  void ShowViewer() override { Call(hooks_.showViewer); }
  void CloseViewer() override { Call(hooks_.closeViewer); }
  void CloseMainWindow() override { Call(hooks_.closeMainWindow); }
  void ShowGraphDialog(TQVgraphDlgForm& dialog) override;
  // A small dialog for the pixel size and frame interval an import needs (CalibrationDialog.cpp).
  bool AskCalibration(const std::string& file, CalibrationRequest& request) override;
  // A progress dialog over the window for jobs that run longer than half a second.
  bool Progress(const std::string& what, double fraction, bool cancellable) override;
  bool CanCancel() const override { return true; }

 private:
  template <typename F, typename... Args>
  static void Call(const F& f, const Args&... args) {
    if (f) f(args...);
  }

  QWidget* parent_;
  WindowHooks hooks_;
  bool printerChosen_ = false;
  QProgressDialog* progress_ = nullptr;  // owned by parent_ while a job runs
};
