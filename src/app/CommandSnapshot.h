#pragma once
// What a command may change, kept before it runs, so that a cancelled command leaves the
// store, the settings, the menus and captions and both panels exactly as they were. How
// much is kept follows the command's row: settings, menus and panels always; the tracks'
// header values from Settings on; their frames for Points.
#include <memory>

#include "app/CommandTable.h"

class TMainForm;

class CommandSnapshot {
 public:
  CommandSnapshot(const TMainForm& form, Changes changes);
  ~CommandSnapshot();
  CommandSnapshot(const CommandSnapshot&) = delete;
  CommandSnapshot& operator=(const CommandSnapshot&) = delete;

  void Restore(TMainForm& form);

 private:
  struct Kept;
  std::unique_ptr<Kept> kept_;
};
