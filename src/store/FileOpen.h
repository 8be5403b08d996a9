#pragma once
#include <cstdio>
#include <string>

// fopen for reading that refuses folders: on Linux a folder opens and then reads as an
// empty file, which would hide the "cannot open" message from the user.
std::FILE* OpenFileForReading(const std::string& path);
