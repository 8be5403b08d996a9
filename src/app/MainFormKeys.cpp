// Keys of the main window: thresholds stepped from the keyboard.
#include "app/MainForm.h"
#include "app/VirtualKeys.h"

void TMainForm::KeyDown(int key) {
  switch (key) {
    case VirtualKey::Left: S.IntThresh = S.IntThresh - 1.0; break;
    case VirtualKey::Right: S.IntThresh = S.IntThresh + 1.0; break;
    case VirtualKey::L:
    case VirtualKey::LowerL:
      if (!(S.VelThresh > 0)) return;
      S.VelThresh = S.VelThresh - 0.05;
      break;
    case VirtualKey::H:
    case VirtualKey::LowerH: S.VelThresh = S.VelThresh + 0.05; break;
    case VirtualKey::Down:
      if (!(S.LenThresh > 0)) return;
      S.LenThresh = S.LenThresh - 1;
      break;
    case VirtualKey::Up:
      if (S.LenThresh == INT32_MAX) return;  // would overflow; the class then keeps every track anyway
      S.LenThresh = S.LenThresh + 1;
      break;
    case VirtualKey::I:
      DlatShift = DlatShift + 0.5 * S.DlatBin;
      break;
    case VirtualKey::D:
      if (!(0.5 * S.DlatBin <= DlatShift)) return;
      DlatShift = DlatShift - 0.5 * S.DlatBin;
      break;
    default: return;
  }
  UpdateAnalysis();
}
