#pragma once
// Which analysis each item of the Left and Right menus draws, and the caption its
// menu takes when it is chosen.
#include <string_view>

#include "stats/Analysis.h"

struct PanelChoice {
  const char* item;         // component name, e.g. "L_ShowDlat"
  const char* menuCaption;  // e.g. "Left-D_lat"
  PanelAnalysis analysis;
};

// nullptr when `item` is no panel item.
const PanelChoice* FindPanelChoice(std::string_view item);
