#include "plot/TQVgraph.h"

#include "plot/Canvas.h"

TQVgraph::TQVgraph() {
  const TColor defaults[] = {Colors::Black, Colors::Blue, Colors::Red, Colors::Black, Colors::Green,
                            Colors::Red};
  for (int s = 0; s <= kMaxSeries; ++s) Series[s].Color = s < 6 ? defaults[s] : Colors::Black;
}

TQVgraph::~TQVgraph() = default;
