#include "gui/QtKeys.h"

#include <Qt>

#include "app/VirtualKeys.h"

int VirtualKeyOf(int qtKey, bool keypad) {
  switch (qtKey) {
    case Qt::Key_Left: return VirtualKey::Left;
    case Qt::Key_Up: return VirtualKey::Up;
    case Qt::Key_Right: return VirtualKey::Right;
    case Qt::Key_Down: return VirtualKey::Down;
    case Qt::Key_PageUp: return VirtualKey::PageUp;
    case Qt::Key_PageDown: return VirtualKey::PageDown;
    case Qt::Key_Plus: return keypad ? VirtualKey::Add : 0;
    case Qt::Key_Minus: return keypad ? VirtualKey::Subtract : 0;
    default:
      // Letters and digits share their codes with the virtual keys.
      return (qtKey >= Qt::Key_0 && qtKey <= Qt::Key_Z) ? qtKey : 0;
  }
}
