// "M-GaussFit": the multi-Gaussian fit of the step-size distribution.
#include "app/MainForm.h"
#include "stats/StepDistributionPanel.h"

void TMainForm::MGaussFitClick() {
  // Only the right panel can show the step distribution.
  if (!Menu.Checked("R_ShowStepDistr")) {
    platform_.ShowError("M-GaussFit works on the \"Show Distance AutoCorr\" panel");
    return;
  }
  if (Spots.NSelected < 3) {
    platform_.ShowMessage("Too few objects selected");
    return;
  }
  // The panel is rebuilt from the store, so the fit always matches what is drawn; it
  // stays on screen until the next recomputation.
  AnalysisContext context = MakeAnalysisContext();
  if (StepGaussFit(context, RightGraph)) platform_.Repaint();
}
