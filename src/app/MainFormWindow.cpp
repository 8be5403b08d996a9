// Window events of the main window: size and paint.
#include <algorithm>

#include "app/MainForm.h"
#include "plot/Canvas.h"

void TMainForm::FormResize(int clientWidth, int clientHeight, int statusBarHeight) {
  ClientWidth = std::max(clientWidth, 2);
  ClientHeight = std::max(clientHeight, 2);
  StatusBarHeight = std::clamp(statusBarHeight, 0, ClientHeight - 1);
  const int half = ClientWidth / 2;
  const int height = ClientHeight - StatusBarHeight;
  LeftGraph.SetBitmapSize(half, height);
  RightGraph.SetBitmapSize(half, height);
  LeftGraph.DrawX = 0;
  RightGraph.DrawX = half;
  LeftGraph.DrawY = RightGraph.DrawY = 0;
  platform_.Repaint();
}

void TMainForm::FormPaint(Canvas& windowCanvas) {
  if (!GraphsReady) return;
  for (TQVgraph* graph : {&RightGraph, &LeftGraph}) {
    graph->TargetCanvas = &windowCanvas;
    graph->Paint();
    graph->TargetCanvas = nullptr;
  }
}
