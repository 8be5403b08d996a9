#pragma once
// Import cases of kinetra-bench: TrackMate XML and track tables made from simulated
// tracks, timed against reading the same file into memory, and an import end to end.
#include <filesystem>
#include <functional>
#include <string>
#include <cstdint>

// Prints one line per case (case, reference ms, fast ms, speed-up, identical) and a
// comment line with the MB/s; false when an import did not give back the tracks written.
bool RunImportBench(bool shortMode, const std::filesystem::path& dir,
                    const std::function<bool(const std::string&)>& wanted);

// A TrackMate spots CSV (with its units line) of simulated tracks in `dir`; its path.
std::string WriteBenchTrackMateCsv(const std::filesystem::path& dir, int32_t tracks,
                                   int32_t points);
