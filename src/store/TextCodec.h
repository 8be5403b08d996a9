#pragma once
// Text files are single-byte (the micro sign is 0xB5); the program works in UTF-8.
#include <string>

// UTF-8 to Latin-1; characters outside Latin-1 become '?'.
std::string Utf8ToLatin1(const std::string& utf8);
