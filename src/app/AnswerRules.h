#pragma once
// What the value prompts of the main window accept, for checking a batch answer before
// anything runs and for the batch help.
#include <optional>
#include <string>
#include <string_view>

struct ValueRule {
  bool integer = false;    // a whole number is asked for
  double low = 0, high = 0;  // the accepted range, both ends included (may be infinite)
  std::string unit;        // as the item's caption shows it; empty when it has none
};

// The rule of a command that asks for a value; nullopt for any other command.
std::optional<ValueRule> ValueRuleOf(std::string_view item);

// Why `answer` is not a value `item` can take ("not a number", "not a whole number");
// empty when it is one. The range is checked when the command runs.
std::string ValueAnswerProblem(std::string_view item, const std::string& answer);
