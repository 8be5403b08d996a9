#pragma once
// Every menu command of the main window timed once on a store of many tracks: one line
// each (case, reference ms, fast ms, speed-up, identical), the reference left empty.
#include <filesystem>
#include <functional>
#include <string>

// `qviFile` is read before each command; `tableFile` answers the import commands.
void RunCommandBench(const std::string& qviFile, const std::string& tableFile,
                     const std::string& size, const std::filesystem::path& dir,
                     const std::function<bool(const std::string&)>& wanted);
