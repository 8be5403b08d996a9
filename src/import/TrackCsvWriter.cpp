#include "import/TrackCsvWriter.h"

#include <algorithm>
#include <charconv>
#include <memory>

#include "store/AtomicFile.h"
#include "store/HeaderPosition.h"
#include "store/TrackStore.h"

namespace {

// One file written through a line buffer into an AtomicFile: complete or not there.
class CsvOut {
 public:
  explicit CsvOut(const std::string& path) : file_(path) { file_.Open(); }
  bool Open() const { return file_.Stream() != nullptr; }

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
  // Writes what is left in the buffer; the file stays a temporary until Commit.
  void Finish() { Flush(); }
  FileWriteResult Commit() { return file_.Commit(); }

 private:
  void Room(size_t bytes) {
    if (used_ + bytes > sizeof line_) Flush();
  }
  void Flush() {
    if (used_ > 0) file_.Write(std::string_view(line_, used_));
    used_ = 0;
  }

  AtomicFile file_;
  char line_[1 << 16];
  size_t used_ = 0;
};

}  // namespace

std::string TrackValuesCsvPath(const std::string& path) {
  const std::string ext = ".csv";
  if (path.size() > ext.size() && path.compare(path.size() - ext.size(), ext.size(), ext) == 0)
    return path.substr(0, path.size() - ext.size()) + ".tracks.csv";
  return path + ".tracks.csv";
}

FileWriteResult WriteTracksCsv(const std::string& path, const TrackStore& store,
                               const TrackCsvOptions& options, const KeepGoing& keepGoing) {
  const std::string valuesPath = TrackValuesCsvPath(path);
  auto points = std::make_unique<CsvOut>(path);
  auto values = std::make_unique<CsvOut>(valuesPath);
  if (!points->Open()) return points->Commit();
  if (!values->Open()) return values->Commit();
  const std::string t = options.timeUnit;
  points->Text("track,frame,t_s,x_um,y_um,intensity\n");
  values->Text(("track,first_frame,n_points,aver_int,dlat_um2_" + t + ",aver_vel_um_" + t +
                ",s_test,step_index,int_before,int_after,selected,dcve_um2_" + t +
                ",sigma_cve_um,alpha\n").c_str());
  for (int32_t i = 0; i < store.NSpots; ++i) {
    // Dropped unwritten: the two temporaries go with the writers.
    if (!GoOn(keepGoing, i, store.NSpots)) return {FileWriteResult::NotWritten, "cancelled"};
    const SpotRec& t = store[i];
    if (!t.Valid || (options.selectedOnly && !t.Selected)) continue;
    const int32_t n = t.ReadablePoints();
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
    values->Char(',').Put(static_cast<int>(t.Selected)).Char(',').Put(t.Dcve);
    values->Char(',').Put(t.SigmaCve).Char(',').Put(t.Alpha).Char('\n');
  }
  points->Finish();
  values->Finish();
  // Both written whole before either replaces its target.
  const FileWriteResult written = points->Commit();
  if (!written) return written;
  return values->Commit();
}
