// "SetGraph": the graph settings dialog over the panel under the mouse.
#include "app/MainForm.h"

void TMainForm::SetGraphClick() {
  if (!QVgraphDlgForm) return;
  // The right panel starts at half the client width (integer halving, as in FormResize).
  TQVgraph& graph = MouseX >= ClientWidth / 2 ? RightGraph : LeftGraph;
  // Each change the dialog draws shows at once through the window's repaint.
  QVgraphDlgForm->AttachGraph(graph, [this] { platform_.Repaint(); });
  platform_.ShowGraphDialog(*QVgraphDlgForm);
  // Axis and font-size changes are not repainted by the dialog: they show now.
  platform_.Repaint();
}
