#pragma once
// Qt's keys as the virtual key codes the windows' key handlers take; 0 for keys they
// do not know.
int VirtualKeyOf(int qtKey, bool keypad);
