#include "cli/BatchPlatform.h"

#include <ostream>

void BatchPlatform::ShowMessage(const std::string& text) { messages_ << "message: " << text << '\n'; }

void BatchPlatform::ShowError(const std::string& text) {
  ShowMessage(text);
  failures_.push_back(text);
}

void BatchPlatform::QuietFailure(const std::string& what) { failures_.push_back(what); }

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

bool BatchPlatform::Progress(const std::string& what, double fraction, bool) {
  if (!progressOn_) return true;
  const auto now = std::chrono::steady_clock::now();
  if (fraction <= 0) {
    progressStart_ = now;
    progressShown_ = -1;
    return true;
  }
  if (fraction >= 1) {
    // A job that showed a line ends it; a short one never showed anything.
    if (progressShown_ >= 0) messages_ << "\r" << what << ": 100%\n" << std::flush;
    progressShown_ = -1;
    return true;
  }
  if (now - progressStart_ < std::chrono::milliseconds(500)) return true;
  const int percent = static_cast<int>(fraction * 100);
  if (percent == progressShown_) return true;
  progressShown_ = percent;
  messages_ << "\r" << what << ": " << percent << "%" << std::flush;
  return true;
}
