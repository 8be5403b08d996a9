#pragma once
// The virtual key codes the windows react to; the Qt side maps its keys onto them.
namespace VirtualKey {
inline constexpr int PageUp = 33, PageDown = 34;
inline constexpr int Left = 37, Up = 38, Right = 39, Down = 40;
inline constexpr int D = 68, H = 72, I = 73, L = 76;
// Lower-case h and l: the codes the main window also accepts for H and L.
inline constexpr int LowerH = 104, LowerL = 108;
inline constexpr int Add = 107, Subtract = 109;  // the numeric keypad's plus and minus
}  // namespace VirtualKey
