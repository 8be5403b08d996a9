#include "import/TrackAssembly.h"

#include <algorithm>
#include <numeric>

#include "store/SpotRec.h"

std::string WherePrefix(const std::string& path, WhereKind kind, int64_t where) {
  return path + (kind == WhereKind::Line ? ": line " : ": spot ") + std::to_string(where) + ": ";
}

namespace {

// Builds the stored tracks one point at a time.
class TrackBuilder {
 public:
  TrackBuilder(ImportedTracks& out, ImportCounts& counts, double scale)
      : out_(out), counts_(counts), scale_(scale) {}

  void Start(const TrackId& id, int32_t frame) {
    id_ = &id;
    first_ = frame;
    start_ = static_cast<int64_t>(out_.x.size());
  }
  void Point(double x, double y, float intensity) {
    out_.x.push_back(static_cast<float>(x * scale_));
    out_.y.push_back(static_cast<float>(y * scale_));
    out_.intensity.push_back(intensity);
  }
  void Finish() {
    const int64_t count = static_cast<int64_t>(out_.x.size()) - start_;
    if (count < 2) {  // one point is no track: take it back
      counts_.singlePointsLeftOut += count;
      out_.x.resize(static_cast<size_t>(start_));
      out_.y.resize(static_cast<size_t>(start_));
      out_.intensity.resize(static_cast<size_t>(start_));
      return;
    }
    out_.tracks.push_back({*id_, first_, start_, static_cast<int32_t>(count)});
    ++counts_.tracksImported;
  }

 private:
  ImportedTracks& out_;
  ImportCounts& counts_;
  double scale_;
  const TrackId* id_ = nullptr;
  int32_t first_ = 0;
  int64_t start_ = 0;
};

}  // namespace

void AssembleTracks(const PointTable& table, double scale, GapRule gaps, const std::string& path,
                    WhereKind kind, ImportedTracks& out, ImportReport& report) {
  const size_t rows = table.Rows();
  const size_t groups = table.groups.size();
  // Groups by id, stretches of one id in the order the reader made them.
  std::vector<int32_t> order(groups);
  std::iota(order.begin(), order.end(), 0);
  std::stable_sort(order.begin(), order.end(),
                   [&](int32_t a, int32_t b) { return table.groups[a] < table.groups[b]; });
  std::vector<int32_t> rank(groups);
  for (size_t r = 0; r < groups; ++r) rank[order[r]] = static_cast<int32_t>(r);

  // Row indexes by group rank, file order kept within a group (a counting sort).
  std::vector<int64_t> start(groups + 1, 0);
  for (const PointRow& row : table.rows) ++start[rank[row.group] + 1];
  for (size_t r = 0; r < groups; ++r) start[r + 1] += start[r];
  std::vector<int32_t> sorted(rows);
  {
    std::vector<int64_t> next(start.begin(), start.end() - 1);
    for (size_t i = 0; i < rows; ++i) sorted[next[rank[table.rows[i].group]]++] = static_cast<int32_t>(i);
  }

  out.x.reserve(out.x.size() + rows);
  out.y.reserve(out.y.size() + rows);
  out.intensity.reserve(out.intensity.size() + rows);
  ImportCounts& counts = report.counts;
  TrackBuilder builder(out, counts, scale);
  const char* whereName = kind == WhereKind::Line ? "line " : "spot ";
  for (size_t r = 0; r < groups; ++r) {
    int32_t* first = sorted.data() + start[r];
    int32_t* last = sorted.data() + start[r + 1];
    if (first == last) continue;
    const PointRow* all = table.rows.data();
    auto byFrame = [all](int32_t a, int32_t b) { return all[a].frame < all[b].frame; };
    if (!std::is_sorted(first, last, byFrame)) std::stable_sort(first, last, byFrame);
    const TrackId& id = table.groups[order[r]];

    const PointRow* prev = all + *first;
    builder.Start(id, prev->frame);
    builder.Point(prev->x, prev->y, prev->intensity);
    for (const int32_t* i = first + 1; i != last; ++i) {
      const PointRow* p = all + *i;
      const int64_t step = int64_t{p->frame} - prev->frame;
      if (step == 0) {
        ++counts.duplicates;
        ++counts.rowsSkipped;
        report.Warn(WherePrefix(path, kind, p->where) + "track " + id.Display() + " has frame " +
                    std::to_string(p->frame) + " again (" + whereName + std::to_string(prev->where) +
                    " kept, this one left out)");
        continue;
      }
      if (step > 1) {
        if (gaps == GapRule::Fill && step - 1 <= kMaxPoints) {
          ++counts.gapsFilled;
          counts.framesFilled += step - 1;
          for (int64_t k = 1; k < step; ++k) {
            const double w = static_cast<double>(k) / static_cast<double>(step);
            builder.Point(prev->x + (p->x - prev->x) * w, prev->y + (p->y - prev->y) * w,
                          static_cast<float>(prev->intensity + (double{p->intensity} - prev->intensity) * w));
          }
        } else {
          if (gaps == GapRule::Fill)
            report.Warn(WherePrefix(path, kind, p->where) + "track " + id.Display() + ": " +
                        std::to_string(step - 1) + " missing frames are too many to fill; split there");
          ++counts.splitAtGaps;
          builder.Finish();
          builder.Start(id, p->frame);
        }
      }
      builder.Point(p->x, p->y, p->intensity);
      prev = p;
    }
    builder.Finish();
  }
}
