#include "import/TrackCsvWriter.h"

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <memory>

#include "store/HeaderPosition.h"
#include "store/TrackStore.h"

namespace {

// One file written through a line buffer; remembers the first failure.
class CsvOut {
 public:
  explicit CsvOut(const std::string& path) : file_(std::fopen(path.c_str(), "wb")) {
    if (file_) std::setvbuf(file_, nullptr, _IOFBF, 1 << 20);
  }
  ~CsvOut() {
    if (file_) std::fclose(file_);
  }
  bool Open() const { return file_ != nullptr; }

  template <typename T>
  CsvOut& Put(T value) {  // shortest round-trip form for floats and doubles
    Room(32);
    const auto [end, ec] = std::to_chars(line_ + used_, line_ + sizeof line_, value);
    if (ec == std::errc()) used_ = static_cast<size_t>(end - line_);
    return *this;
  }
  CsvOut& Text(const char* text) {
    for (; *text; ++text) Char(*text);
    return *this;
  }
  CsvOut& Char(char c) {
    Room(1);
    line_[used_++] = c;
    return *this;
  }
  bool Close() {
    Flush();
    const bool ok = file_ && ok_ && std::fclose(file_) == 0;
    file_ = nullptr;
    return ok;
  }

 private:
  void Room(size_t bytes) {
    if (used_ + bytes > sizeof line_) Flush();
  }
  void Flush() {
    if (file_ && used_ > 0 && std::fwrite(line_, 1, used_, file_) != used_) ok_ = false;
    used_ = 0;
  }

  std::FILE* file_;
  char line_[1 << 16];
  size_t used_ = 0;
  bool ok_ = true;
};

int32_t Points(const SpotRec& t) {
  return std::clamp(t.NPoints, int32_t{0}, std::min({t.Int.size(), t.X.size(), t.Y.size()}));
}

}  // namespace

std::string TrackValuesCsvPath(const std::string& path) {
  const std::string ext = ".csv";
  if (path.size() > ext.size() && path.compare(path.size() - ext.size(), ext.size(), ext) == 0)
    return path.substr(0, path.size() - ext.size()) + ".tracks.csv";
  return path + ".tracks.csv";
}

std::string WriteTracksCsv(const std::string& path, const TrackStore& store, const TrackCsvOptions& options) {
  const std::string valuesPath = TrackValuesCsvPath(path);
  auto points = std::make_unique<CsvOut>(path);
  auto values = std::make_unique<CsvOut>(valuesPath);
  if (!points->Open()) return path + ": cannot write the file";
  if (!values->Open()) return valuesPath + ": cannot write the file";
  points->Text("track,frame,t_s,x_um,y_um,intensity\n");
  values->Text("track,first_frame,n_points,aver_int,dlat_um2_s,aver_vel_um_s,s_test,step_index,"
               "int_before,int_after,selected\n");
  for (int32_t i = 0; i < store.NSpots; ++i) {
    const SpotRec& t = store[i];
    if (!t.Valid || (options.selectedOnly && !t.Selected)) continue;
    const int32_t n = Points(t);
    const float originX = options.relativePositions ? HeaderOrigin(t.PosX) : 0.0f;
    const float originY = options.relativePositions ? HeaderOrigin(t.PosY) : 0.0f;
    for (int32_t k = 0; k < n; ++k) {
      const int64_t frame = int64_t{t.FirstFrame} + k;
      points->Put(i).Char(',').Put(frame).Char(',').Put(static_cast<double>(frame) * options.frameIntervalS);
      points->Char(',').Put(options.relativePositions ? originX + t.X[k] : t.X[k]);
      points->Char(',').Put(options.relativePositions ? originY + t.Y[k] : t.Y[k]);
      points->Char(',').Put(t.Int[k]).Char('\n');
    }
    values->Put(i).Char(',').Put(t.FirstFrame).Char(',').Put(t.NPoints).Char(',').Put(t.AverInt);
    values->Char(',').Put(t.Dlat).Char(',').Put(t.AverVel).Char(',').Put(t.STest);
    values->Char(',').Put(t.StepIndex).Char(',').Put(t.IntBefore).Char(',').Put(t.IntAfter);
    values->Char(',').Put(static_cast<int>(t.Selected)).Char('\n');
  }
  if (!points->Close()) return path + ": cannot write the file";
  if (!values->Close()) return valuesPath + ": cannot write the file";
  return {};
}
