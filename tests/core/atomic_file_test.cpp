// Files written whole or not at all: a file-size limit and a full device make every writer
// fail part-way; the target, the folder and the store must be as they were.
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <filesystem>
#include <iterator>

#include "RecordingCanvas.h"
#include "StoreTestFiles.h"
#include "TrackBuilders.h"
#include "app/SaveDialogs.h"
#include "edit/DualTracks.h"
#include "plot/Picture.h"
#include "store/QviWriter.h"

namespace fs = std::filesystem;

namespace {

// Files may grow to `bytes` while this lives; writing past that fails with EFBIG instead of
// ending the process.
struct FileSizeLimit {
  explicit FileSizeLimit(rlim_t bytes) : previous(signal(SIGXFSZ, SIG_IGN)) {
    getrlimit(RLIMIT_FSIZE, &old);
    rlimit limit{bytes, old.rlim_max};
    setrlimit(RLIMIT_FSIZE, &limit);
  }
  ~FileSizeLimit() { setrlimit(RLIMIT_FSIZE, &old), signal(SIGXFSZ, previous); }
  rlimit old{};
  void (*previous)(int);
};

// Entries of a folder: a temporary left behind would be one more.
long FolderSize(const std::string& folder) {
  return std::distance(fs::directory_iterator(folder), fs::directory_iterator());
}

}  // namespace

using AtomicFiles = FormTest;

TEST_F(AtomicFiles, CutWritesLeaveTargetFolderAndStoreAsTheyWereWholeOnesReplace) {
  const std::string folder = TempPath("atomic");
  fs::remove_all(folder);
  fs::create_directory(folder);
  const std::string target = folder + "/old.txt", absent = folder + "/new.txt";
  WriteFile("atomic/old.txt", "old");

  // A pair, so that the binding-time export has lines to write and flags to change.
  form.Format2016 = true;
  Floats partnerX(30, 6.0f);
  std::fill(partnerX.begin() + 4, partnerX.begin() + 20, 5.1f);
  AddTrack(form, Floats(30, 5.0f), Floats(30, 5.0f));
  AddTrack(form, partnerX, Floats(30, 5.0f));
  form.UpdateAnalysis();
  ASSERT_TRUE(form.RunCommand("FindDualTracks"));
  const std::string flags = ValidMask(form) + SelectedMask(form);
  RecordingBitmap bitmap(40, 40);
  platform.messages.clear();
  {
    const FileSizeLimit limit(16);
    for (const std::string& path : {target, absent}) {
      SCOPED_TRACE(path);
      std::vector<FileWriteResult> results;
      results.push_back(WriteFileAtomically(path, std::string(100, 'x')));
      AtomicOStream stream(path);
      ASSERT_TRUE(stream.Open());
      stream << std::string(5000, 'y');
      results.push_back(stream.Commit());
      results.push_back(WriteSelectedTracks(path, form.Spots, true));
      results.push_back(WriteBmp24(bitmap, path));
      results.push_back(SaveGreenSpots(form.Spots, GreenAlignment::Binding, path));
      results.push_back(SaveBindingTimes(form.Spots, form.S, BindingTime::Bound, path));
      for (const FileWriteResult& result : results)
        EXPECT_TRUE(result.status == FileWriteResult::NotWritten &&
                    result.error == "Can not write " + path + ": File too large")
            << result.error;
      EXPECT_EQ(ValidMask(form) + SelectedMask(form), flags);
      EXPECT_EQ(FolderSize(folder), 1);
      EXPECT_EQ(ReadFile(target), "old");
    }
  }

  // Asked for, created, written, committed: cancelled, a missing folder (its message), the
  // full device (opens, then refuses at Commit, which names it), and a file that appears
  // only at Commit. /dev/null works and stays a device.
  const std::string exported = folder + "/export.txt";
  platform.saveAnswers = {std::nullopt, folder + "/missing/x.txt", "/dev/full", exported};
  EXPECT_FALSE(AskExportWriter(platform, kTextSaveDialog, "failed") ||
               AskExportWriter(platform, kTextSaveDialog, "failed"));
  for (const std::string& path : {std::string("/dev/full"), exported}) {
    std::unique_ptr<ExportWriter> writer = AskExportWriter(platform, kTextSaveDialog, "failed");
    ASSERT_TRUE(writer);
    *writer << "X(\xB5m)\n";
    EXPECT_TRUE(!fs::exists(exported) && writer->Commit() == (path == exported));
  }
  EXPECT_EQ(ReadFile(exported), "X(\xB5m)\n");
  fs::remove(exported);
  EXPECT_EQ(platform.messages, (std::vector<std::string>{
                                   "failed", "Can not write /dev/full: No space left on device"}));
  EXPECT_TRUE(WriteFileAtomically("/dev/null", "x") && fs::is_character_file("/dev/null"));

  // A whole write replaces the old file with its mode, and through a link keeps the link.
  chmod(target.c_str(), 0640);
  fs::create_symlink(target, folder + "/link.txt");
  EXPECT_TRUE(WriteFileAtomically(folder + "/link.txt", "new"));
  EXPECT_TRUE(fs::is_symlink(folder + "/link.txt") && ReadFile(target) == "new");
  EXPECT_EQ(fs::status(target).permissions(), fs::perms(0640));
  EXPECT_EQ(FolderSize(folder), 2);  // the file and the link

  // Nothing to create: a folder, a missing folder.
  for (const std::string& path : {folder, folder + "/missing/x.txt"})
    EXPECT_EQ(WriteFileAtomically(path, "x").status, FileWriteResult::NotOpened) << path;
}
