#pragma once
// kinetra-batch --summary: one CSV row per input file with its track counts and the
// headline numbers of both panels, for comparing conditions across files.
#include <string>
#include <vector>

#include "cli/BatchRun.h"

// Columns: file, status ("ok" or the first failure), tracks, selected, then every
// headline any file reported, "left: NAME" before "right: NAME", in order of first
// appearance; a file without that number leaves its cell empty.
std::string SummaryText(const std::vector<BatchResult>& results);
