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

void BatchPlatform::Progress(const std::string& what, double fraction) {
  if (!progressOn_) return;
  const auto now = std::chrono::steady_clock::now();
  if (fraction <= 0) {
    progressStart_ = now;
    progressShown_ = -1;
    return;
  }
  if (fraction >= 1) {
    // A job that showed a line ends it; a short one never showed anything.
    if (progressShown_ >= 0) messages_ << "\rReading " << what << ": 100%\n" << std::flush;
    progressShown_ = -1;
    return;
  }
  if (now - progressStart_ < std::chrono::milliseconds(500)) return;
  const int percent = static_cast<int>(fraction * 100);
  if (percent == progressShown_) return;
  progressShown_ = percent;
  messages_ << "\rReading " << what << ": " << percent << "%" << std::flush;
}
