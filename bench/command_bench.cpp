#include "CommandBench.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <vector>

#include "BenchPlatform.h"
#include "app/MainForm.h"

namespace {

// Answers every prompt with its default (OK) and every dialog with a file of its kind.
class AnsweringPlatform : public QuietPlatform {
 public:
  std::string openFile, saveFile;
  std::optional<std::string> InputQuery(const std::string&, const std::string&,
                                        const std::string& defaultText) override {
    return defaultText;
  }
  std::vector<std::string> OpenFileDialog(const FileDialog&) override { return {openFile}; }
  std::optional<std::string> SaveFileDialog(const FileDialog&) override { return saveFile; }
  std::optional<std::string> SavePictureDialog(const FileDialog&) override { return saveFile; }
};

}  // namespace

void RunCommandBench(const std::string& qviFile, const std::string& tableFile,
                     const std::string& size, const std::filesystem::path& dir,
                     const std::function<bool(const std::string&)>& wanted) {
  struct Timed {
    std::string name;
    double ms;
  };
  std::vector<Timed> times;
  AnsweringPlatform platform;
  TMainForm form(platform);
  if (!form.Ready()) return;
  platform.saveFile = (dir / "command-output.txt").string();
  for (const CommandRow<TMainForm>& row : TMainForm::Commands()) {
    if (!row.Runs()) continue;
    const std::string name = "command " + std::string(row.name) + " " + size;
    if (!wanted(name)) continue;
    // Every command meets the freshly read file with the default panels.
    form.Menu.SetChecked("L_ShowDlat", true);
    form.Menu.SetChecked("R_ShowMSD", true);
    platform.openFile = qviFile;
    form.RunCommand("OpenNewFile");
    const bool imports = row.answer == Answer::OpenFiles && std::string(row.name) != "OpenNewFile" &&
                         std::string(row.name) != "AddDataFile";
    if (imports) platform.openFile = tableFile;
    // The dual-track commands that need pairs first find them.
    const std::string item = row.name;
    if (item == "LeaveDualsPartsOnly" || item == "DynamicBinding" || item.rfind("SaveGreen", 0) == 0 ||
        item == "SaveTimeBeforeBinding" || item == "SaveBoundTime")
      form.RunCommand("FindDualTracks");
    const auto start = std::chrono::steady_clock::now();
    form.RunCommand(row.name);
    const double ms =
        std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
    times.push_back({name + (imports ? " (a 20000 x 50 table)" : ""), ms});
    std::printf("%s, -, %.1f, -, -\n", times.back().name.c_str(), ms);
    std::fflush(stdout);
    // A toggle flipped back, so that the next command meets the defaults.
    if (row.kind == ItemKind::Toggle) form.Menu.Toggle(row.name);
  }
  std::sort(times.begin(), times.end(), [](const Timed& a, const Timed& b) { return a.ms > b.ms; });
  std::printf("# slowest commands:");
  for (size_t i = 0; i < times.size() && i < 10; ++i)
    std::printf(" %s %.0f ms;", times[i].name.c_str(), times[i].ms);
  std::printf("\n");
  std::fflush(stdout);
}
