// Damaged and random input through the file commands: the store must stay consistent and
// nothing may read or write out of bounds (run under the sanitizers as well).
#include "StoreTestFiles.h"
#include "TrackBuilders.h"

using namespace testfiles;

static std::string RandomBytes(std::mt19937& gen, size_t size) {
  std::string s(size, '\0');
  for (char& c : s) c = static_cast<char>(gen() & 0xFF);
  return s;
}

using Fuzz = FormTest;

TEST_F(Fuzz, QviInputsKeepTheStoreConsistent) {
  std::mt19937 gen(4242);
  const std::string path = TempPath("fuzz.qvi");
  // Damaged counts give many 10000-point tracks; independent pairs keep their MSD cheap.
  form.Menu.SetChecked("IndependentPairs", true);
  int loads = 0;
  bool append = true;
  auto load = [&](const std::string& bytes) {
    WriteFile("fuzz.qvi", bytes);
    ++loads;
    form.LoadQVIFile(path, !append || loads % 3 == 0);
    ExpectStoreConsistent(form);
  };

  // Every truncation of small valid files of the three kinds.
  Bytes planar, zero, old;
  for (int i = 0; i < 3; ++i) {
    const Track t = MakeTrack(6 + i, i);
    AddPlanar(planar, 2016, t);
    AddPlanar(zero, 0, t);
    AddOld(old, t);
  }
  for (const Bytes* file : {&planar, &zero, &old})
    for (size_t cut = 0; cut <= file->size(); ++cut) {
      load(file->str().substr(0, cut));
      if (HasFatalFailure()) return;
    }

  // Frame counts no writer would produce, followed by a good block.
  append = false;
  const Track good = MakeTrack(4, 1);
  for (float n : {NAN, INFINITY, -INFINITY, -5.0f, -1e30f, 1e30f, 10001.0f, 2147483648.0f,
                  -2147483648.0f, 0.0f, 1.0f, 16777217.0f}) {
    Bytes p;
    p.Int(2016).Float(0).Float(n).Float(n).Float(n).Float(n).Float(n);
    p.Floats({1, 2, 3, 4, 5, 6});
    AddPlanar(p, 2016, good);
    load(p.str());
    Bytes o;
    o.Float(1).Float(2).Float(n).Float(n).Floats({1, 2, 3, 4, 5, 6});
    AddOld(o, good);
    load(o.str());
    if (HasFatalFailure()) return;
  }

  // Random bytes, with the first word forced to each layout now and then.
  for (int round = 0; round < 300; ++round) {
    std::string bytes = RandomBytes(gen, gen() % 700);
    if (bytes.size() >= 4 && round % 3 != 2) {
      const int32_t marker = round % 3 == 0 ? 2016 : 0;
      std::memcpy(bytes.data(), &marker, 4);
    }
    load(bytes);
    if (HasFatalFailure()) return;
  }
  EXPECT_EQ(form.NFiles, loads);  // only "Open New File(s)" starts the count again
  EXPECT_TRUE(platform.messages.empty());
}

TEST_F(Fuzz, TxtInputsKeepTheStoreConsistent) {
  std::mt19937 gen(777);
  auto import = [&](const std::string& name, const std::string& text) {
    platform.openAnswers.push_back({WriteFile(name, text)});
    form.OpenXYtxtClick();
    ExpectStoreConsistent(form);
    EXPECT_EQ(form.Spots.NSpots, 10);
    for (int i = 0; i < 12; ++i) EXPECT_GE(form.Spots[i].X.size(), form.Spots[i].NPoints + kSpareFrames);
  };

  std::string lines;
  for (int i = 0; i < 20000; ++i) lines += std::to_string(i) + "\t-1e39\r\n";
  import("lines.txt", lines);  // the first 10000 rows are kept
  EXPECT_TRUE(form.Spots[0].NPoints == 10000 && form.Spots[0].X[9999] == 9999.0f);
  EXPECT_TRUE(std::isinf(form.Spots[0].Y[9999]));

  import("token.txt", std::string(300000, '7') + "\t" + std::string(100000, '-') + "\n");
  EXPECT_EQ(form.Spots[0].NPoints, 1);

  for (int round = 0; round < 40; ++round) {
    std::string bytes = RandomBytes(gen, gen() % 30000);
    for (char& c : bytes)  // plenty of separators so rows do form
      if ((c & 0x0F) == 0) c = (c & 0x10) ? '\t' : '\n';
    import("garbage.txt", bytes);
    if (HasFatalFailure()) return;
  }
  EXPECT_TRUE(platform.messages.empty());
}
