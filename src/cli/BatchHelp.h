#pragma once
// The batch tool's help, made from the main window's command table: every command with
// its menu and caption, what its =ANSWER takes, the keys --key accepts, the exit codes.
#include <string>

std::string BatchUsage();
// One command in detail; empty when there is no such command.
std::string CommandHelp(const std::string& name);
