#pragma once
// A chart on the recording canvas over a small matrix, for the graph tests.
#include <gtest/gtest.h>

#include <vector>

#include "RecordingCanvas.h"
#include "plot/TQVgraph.h"

// With the fixed metrics (6 px a character, 14 px high) and the default 0..10 left axis:
// LineHeight 17, LeftMargin = width("10") + 17 + 4 = 33, PlotBottom = 300 - 34 = 266.
// A bitmap 433 wide leaves 400 pixels of plot: 40 pixels per X unit over 0..10.
struct GraphFixture {
  static constexpr int kStride = 20;
  static constexpr int kRows = 4;

  RecordingFactoryScope factory;
  std::vector<float> data = std::vector<float>(kStride * kRows, 0.0f);
  TQVgraph graph;
  int beeps = 0;

  GraphFixture(int width = 433, int height = 300) {
    graph.SetBitmapSize(width, height);
    graph.Data = data.data();
    graph.Stride = kStride;
    graph.DataRows = kRows;
    graph.SeriesCount = kRows - 1;
    graph.OnBeep = [this] { ++beeps; };
    for (int i = 0; i < kStride; ++i) data[i] = static_cast<float>(i);  // X = index
  }

  float& At(int row, int i) { return data[row * kStride + i]; }
  RecordingCanvas& Rec() { return RecorderOf(*graph.Bitmap); }
  // Draws afresh and returns the recorder with only this draw's operations.
  RecordingCanvas& Draw() {
    Rec().ops.clear();
    graph.DrawGraph();
    return Rec();
  }
  // Line operations drawn in one pen colour.
  std::vector<DrawOp> LinesIn(TColor color) {
    std::vector<DrawOp> out;
    for (const DrawOp& op : Rec().Of("Line"))
      if (op.pen == color) out.push_back(op);
    return out;
  }
};

// The fixture each graph suite is named after; `g` is its chart.
struct GraphTest : ::testing::Test, GraphFixture {
  TQVgraph& g = graph;
};

// x1, y1, x2, y2 of each operation, one after the other.
inline std::vector<int> Corners(const std::vector<DrawOp>& ops) {
  std::vector<int> out;
  for (const DrawOp& op : ops) out.insert(out.end(), {op.x1, op.y1, op.x2, op.y2});
  return out;
}

// The end x of each operation.
inline std::vector<int> Ends(const std::vector<DrawOp>& ops) {
  std::vector<int> out;
  for (const DrawOp& op : ops) out.push_back(op.x2);
  return out;
}
