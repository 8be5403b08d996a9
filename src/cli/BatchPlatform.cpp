#include "cli/BatchPlatform.h"

#include <ostream>

void BatchPlatform::ShowMessage(const std::string& text) { messages_ << "message: " << text << '\n'; }

std::optional<std::string> BatchPlatform::TakeAnswer() {
  std::optional<std::string> answer = std::move(answer_);
  answer_.reset();
  return answer;
}

std::optional<std::string> BatchPlatform::InputQuery(const std::string&, const std::string&,
                                                     const std::string&) {
  return TakeAnswer();
}

std::vector<std::string> BatchPlatform::OpenFileDialog(const FileDialog&) {
  if (!openAnswers_.empty()) return std::exchange(openAnswers_, {});
  if (auto answer = TakeAnswer()) return {*answer};
  return {};
}

std::optional<std::string> BatchPlatform::SaveFileDialog(const FileDialog&) { return TakeAnswer(); }

std::optional<std::string> BatchPlatform::SavePictureDialog(const FileDialog&) {
  return TakeAnswer();
}
