#pragma once
// The platform of the benchmarks: prompts and dialogs cancelled, nothing shown.
#include <optional>
#include <string>
#include <vector>

#include "app/Platform.h"

// Everything the program says goes nowhere: the bench only looks at the results.
class QuietPlatform : public Platform {
 public:
  void ShowMessage(const std::string&) override {}
  std::optional<std::string> InputQuery(const std::string&, const std::string&,
                                        const std::string&) override {
    return std::nullopt;
  }
  std::vector<std::string> OpenFileDialog(const FileDialog&) override { return {}; }
  std::optional<std::string> SaveFileDialog(const FileDialog&) override { return std::nullopt; }
  std::optional<std::string> SavePictureDialog(const FileDialog&) override { return std::nullopt; }
  bool PrintDialog() override { return false; }
  void PrintBitmap(const Bitmap&, int) override {}
  void Beep() override {}
  void Repaint() override {}
  void SetCaption(const std::string&) override {}
  void SetStatusText(const std::string&) override {}
  void ShowViewer() override {}
  void CloseViewer() override {}
  void CloseMainWindow() override {}
  void ShowGraphDialog(TQVgraphDlgForm&) override {}
};
