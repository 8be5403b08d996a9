// kinetra-batch run in-process: exit statuses, the tables a script reads back, many files.
#include <charconv>
#include <sstream>

#include "FakePlatform.h"
#include "StoreTestFiles.h"
#include "cli/BatchOptions.h"
#include "cli/BatchTool.h"

namespace {

struct BatchRunOutput {
  int status;
  std::string out, err;
};

BatchRunOutput Batch(const std::vector<std::string>& args) {
  std::ostringstream out, err;
  const int status = RunBatchTool(args, {out, err, false});
  return {status, out.str(), err.str()};
}

std::vector<std::string> Split(const std::string& line, char separator) {
  std::vector<std::string> cells(1);
  for (char c : line) {
    if (c == separator) cells.emplace_back();
    else cells.back() += c;
  }
  return cells;
}

const std::string& Sample() {
  static const std::string path = [] {
    PopulationPlan plan;
    plan.seed = 4, plan.tracks = 30, plan.points = 60;
    return SimulatedFile("batch.qvi", plan);
  }();
  return path;
}

}  // namespace

TEST(BatchTool, ExitStatusNamesTheFailedStep) {
  const std::string out = TempPath("batch-out.tsv");
  struct Case {
    std::vector<std::string> args;
    int status;
    const char* said;  // part of standard error
  };
  const Case cases[] = {
      {{Sample(), "--table", out}, kExitOk, ""},
      {{TempPath("missing.qvi"), "--table", out}, kExitFailed, "missing.qvi: Can not open file"},
      {{TempPath(""), "--table", out}, kExitFailed, "Can not open file"},  // a folder
      {{Sample(), "--table", "/nonexistent-dir/t.tsv"}, kExitFailed, "Can not write /nonexistent"},
      {{Sample(), "--cmd", "SaveDistAsTXT=/nonexistent-dir/g.txt"}, kExitFailed,
       "--cmd SaveDistAsTXT=/nonexistent-dir/g.txt: Can not open file to write data"},
      {{Sample(), "--cmd", "ViewTrack=99999"}, kExitFailed, "Track Number out of order"},
      {{Sample(), "--cmd", "SetDlatBin=0"}, kExitFailed, "Dlat bin size Out of Order"},
      {{Sample(), "--cmd", "DeltaTime=abc"}, kExitCommandLine, "'abc' is not a number"},
      {{Sample(), "--cmd", "MinNumDataPointsSet=2.5"}, kExitCommandLine, "not a whole number"},
      {{Sample(), "--cmd", "SaveAsBMP"}, kExitCommandLine, "needs an answer"},
      {{Sample(), "--cmd", "NoSuchThing"}, kExitCommandLine, "unknown command 'NoSuchThing'"},
      {{Sample(), "--bogus"}, kExitCommandLine, "unknown option --bogus"},
      {{"--each", Sample(), Sample(), "--table", out}, kExitCommandLine, "put {}"},
  };
  for (const Case& c : cases) {
    const BatchRunOutput run = Batch(c.args);
    SCOPED_TRACE(c.args.back() + ": " + run.err);
    EXPECT_EQ(run.status, c.status);
    EXPECT_NE(run.err.find(c.said), std::string::npos);
  }
  if (std::filesystem::exists("/dev/full")) {
    const BatchRunOutput full = Batch({Sample(), "--rows", "/dev/full"});
    EXPECT_TRUE(full.status == kExitFailed && full.err.find("/dev/full") != std::string::npos);
  }
  // Without --stop-on-error the run goes on past a failure and still writes its outputs.
  std::filesystem::remove(out);
  const std::vector<std::string> failing = {Sample(), "--cmd", "ViewTrack=99999", "--table", out};
  EXPECT_TRUE(Batch(failing).status == kExitFailed && std::filesystem::exists(out));
  std::filesystem::remove(out);
  std::vector<std::string> stopping = failing;
  stopping.push_back("--stop-on-error");
  EXPECT_TRUE(Batch(stopping).status == kExitFailed && !std::filesystem::exists(out));
}

// A script reads the table back: units in the header, every float the same float.
TEST(BatchTool, TrackTableReadsBackExactly) {
  FakePlatform platform;
  TMainForm form(platform);
  form.LoadQVIFile(Sample(), true);
  for (const bool csv : {false, true}) {
    const std::string path = TempPath(csv ? "t.csv" : "t.tsv");
    std::vector<std::string> args = {Sample(), "--table", path};
    if (csv) args.push_back("--csv");
    ASSERT_EQ(Batch(args).status, kExitOk);
    std::istringstream in(ReadFile(path));
    std::string line;
    std::getline(in, line);
    const std::vector<std::string> header = Split(line, csv ? ',' : '\t');
    ASSERT_EQ(header.size(), 17u);
    EXPECT_TRUE(header[5] == "AverInt (counts)" && header[6] == "Dlat (µm2/s)" &&
                header[7] == "AverVel (µm/s)");
    for (int32_t i = 0; std::getline(in, line); ++i) {
      const std::vector<std::string> cells = Split(line, csv ? ',' : '\t');
      float dlat = 0;
      std::from_chars(cells[6].data(), cells[6].data() + cells[6].size(), dlat);
      EXPECT_EQ(dlat, form.Spots[i].Dlat) << i;
      // The shortest form: reprinting the float gives the same text.
      char shortest[32];
      EXPECT_EQ(cells[6], std::string(shortest, std::to_chars(shortest, shortest + 32, dlat).ptr));
    }
  }
}

TEST(BatchTool, EachFileOnItsOwnGivesTheSeparateRunsRows) {
  std::vector<std::string> files;
  for (int k = 0; k < 3; ++k) {
    const std::string name = "each" + std::to_string(k) + ".qvi";
    PopulationPlan plan;
    plan.seed = uint64_t(10 + k), plan.tracks = 20 + 10 * k, plan.points = 80;
    plan.D = 0.05 * (k + 1);
    files.push_back(SimulatedFile(name, plan));
  }
  std::vector<std::string> args = {"--each"};
  args.insert(args.end(), files.begin(), files.end());
  const std::string summary = TempPath("summary.csv");
  for (const char* extra : {"--summary", summary.c_str(), "--cmd", "R_ShowVelDist"})
    args.push_back(extra);
  ASSERT_EQ(Batch(args).status, kExitOk);
  std::istringstream rows(ReadFile(summary));
  std::string header, line;
  std::getline(rows, header);
  EXPECT_EQ(header.rfind("file,status,tracks,selected,left: mean Dlat (µm2/s),", 0), 0u);
  for (const std::string& file : files) {
    const std::string one = TempPath("one.csv");
    ASSERT_EQ(Batch({file, "--summary", one, "--cmd", "R_ShowVelDist"}).status, kExitOk);
    std::getline(rows, line);
    EXPECT_EQ(line + "\n", ReadFile(one).substr(header.size() + 1));
  }
}
