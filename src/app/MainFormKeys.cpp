// Keys of the main window: thresholds stepped from the keyboard.
#include "app/MainForm.h"

namespace VirtualKey {
inline constexpr int Left = 37, Up = 38, Right = 39, Down = 40;
}

void TMainForm::KeyDown(int key) {
  switch (key) {
    case VirtualKey::Left: S.IntThresh = S.IntThresh - 1.0; break;
    case VirtualKey::Right: S.IntThresh = S.IntThresh + 1.0; break;
    case 76:   // L
    case 108:
      if (!(S.VelThresh > 0)) return;
      S.VelThresh = S.VelThresh - 0.05;
      break;
    case 72:   // H
    case 104: S.VelThresh = S.VelThresh + 0.05; break;
    case VirtualKey::Down:
      if (!(S.LenThresh > 0)) return;
      S.LenThresh = S.LenThresh - 1;
      break;
    case VirtualKey::Up:
      if (S.LenThresh == INT32_MAX) return;  // would overflow; the class then keeps every track anyway
      S.LenThresh = S.LenThresh + 1;
      break;
    case 73:  // I
      DlatShift = DlatShift + 0.5 * S.DlatBin;
      break;
    case 68:  // D
      if (!(0.5 * S.DlatBin <= DlatShift)) return;
      DlatShift = DlatShift - 0.5 * S.DlatBin;
      break;
    default: return;
  }
  UpdateAnalysis();
}
