#include "app/MenuModel.h"

#include <stdexcept>

namespace {

struct Row {
  const char* name;
  const char* caption;
  const char* shortcut = "";
};

}  // namespace

void MenuModel::Add(MenuItem item) {
  index_.emplace(item.name, items_.size());
  items_.push_back(std::move(item));
}

MenuModel::MenuModel() {
  auto menu = [this](const char* name, const char* caption, const char* parent = "") {
    Add(MenuItem::SubMenu(name, caption, parent));
  };
  auto commands = [this](const char* parent, std::initializer_list<Row> rows) {
    for (const Row& r : rows) Add(MenuItem::Command(parent, r.name, r.caption, r.shortcut));
  };
  auto toggle = [this](const char* parent, const char* name, const char* caption, bool checked) {
    Add(MenuItem::Toggle(parent, name, caption, checked));
  };
  // The first item of a radio group starts checked unless another is named.
  auto radios = [this](const char* parent, int group, std::initializer_list<Row> rows,
                       std::string_view checkedName = {}) {
    bool first = true;
    for (const Row& r : rows) {
      MenuItem m;
      m.name = r.name;
      m.caption = r.caption;
      m.parent = parent;
      m.group = group;
      m.checkable = true;
      m.checked = checkedName.empty() ? first : checkedName == r.name;
      first = false;
      Add(m);
    }
  };

  menu("File", "File");
  commands("File", {{"OpenNewFile", "Open New File(s)", "Ctrl+O"},
                    {"AddDataFile", "Add Data File(s)", "Ctrl+A"},
                    {"PrintZoom", "Print Zoom=2", ""},
                    {"PrintGraphs", "Print Graphs", "Ctrl+P"},
                    {"SaveAsBMP", "Save Graphs as BMP", "F2"},
                    {"SaveDistAsTXT", "Save Graphs as (TXT)", ""},
                    {"SaveDistAsCSV", "Save Graphs as CSV", ""},
                    {"SaveMSDdT", "Save Individ MSD-dT (TXT)", ""},
                    {"SaveXYIntData", "Save X+Y+Int data (TXT)", ""},
                    {"SaveXYdata", "Save X and Y data (TXT)", ""},
                    {"SaveIntensityData", "Save Intensity Data (TXT)", ""},
                    {"SaveData", "Save Data as QVI file", ""},
                    {"OpenXYtxt", "Open TXT file", ""}});

  menu("Left", "Left-D_lat");
  radios("Left", MenuGroup::LeftPanel,
         {{"L_ShowIntens", "Show Intens Distr", ""},
          {"L_ShowDlat", "Show Dlat Distr", ""},
          {"L_ShowMSD", "Show MSD ver dT", ""},
          {"L_ShowDlatLenDistr", "Show Dlat - Len Distr ", ""},
          {"L_ShowIntMobDistr", "Show Int-Mob Distr ", ""},
          {"L_ShowIntVelDistr", "Show Int-Vel Distr", ""},
          {"L_ShowAngleDistr", "Show Angle Distr", ""},
          {"L_ShowAbsTrackLenDistr", "Abs. Track Length Dirtr", ""},
          {"L_ShowInstantVel", "Show Instant Vel. Distr.", ""},
          {"L_ShowInstIntens", "Instant Intens. Distr.", ""},
          {"L_MobilitySlopeDist", "Mobility Slope Distr.", ""}},
         "L_ShowDlat");
  commands("Left", {{"L_RemeberGraph", "Remeber Graph", ""}});

  menu("Right", "Right-MSD-dT");
  radios("Right", MenuGroup::RightPanel,
         {{"R_ShowIntens", "Show Intens", ""},
          {"R_ShowDlat", "Show Dlat Distr.", ""},
          {"R_ShowMSD", "Show MSD ver dT", ""},
          {"R_ShowRMSD", "Show Distance ver Time", ""},
          {"R_ShowVelDist", "Show Aver Velocity Dist", ""},
          {"R_ShowInstantVel", "Show Instant Vel. Distr.", ""},
          {"R_ShowTimeCourse", "Show Intens ver Time", ""},
          {"R_ShowVelocityTime", "Show Vel. ver Time", ""},
          {"R_DistanceToNeighbDistrib", "Distance to Neighb. Distr", ""},
          {"R_ShowStepDistr", "Show Distance AutoCorr", ""}},
         "R_ShowMSD");
  commands("Right", {{"R_RemeberGraph", "Remeber Graph", ""}});
  toggle("Right", "ShowFreq", "ShowFreq", false);

  menu("Settings", "Settings(dT=30ms)");
  commands("Settings", {{"DeltaTime", "Time Interval=30ms", ""},
                        {"IntStep", "Intensity Bin=5", ""},
                        {"SetDlatBin", "Dlat Bin=0.02 um2/s", ""},
                        {"DistBinSet", "Distance Bin=7.2nm", ""},
                        {"VelocityBinSet", "Velocity Bin=0.1 um/s", ""},
                        {"SetVelocityStep", "Velocity Step=3", ""}});
  toggle("Settings", "TimeMinutes", "Time in Minutes", false);
  commands("Settings", {{"SetStestThresh", "S-test Threshold=1.5", ""}});
  toggle("Settings", "AutoScaling", "AutoScaling", true);
  toggle("Settings", "Time0", "All Trajectories at 0 time", false);
  commands("Settings", {{"SetMSDfittingLimit", "Fit MSD up to 50 intervals", ""}});
  toggle("Settings", "SaveXYIntColumns", "Save XYInt in Columns", false);
  toggle("Settings", "PutTimeInTXTfile", "Put Time in TXT file", false);
  commands("Settings", {{"VelocityLimit", "Low Velocity Thresh=1um/s", ""},
                        {"HighVelocityThresh", "High Velocity Thresh=2um/s", ""},
                        {"MinNumDataPointsSet", "Min N of Data Points=10", ""},
                        {"SetDistanceLimit", "Critical Distance=0.2um", ""}});
  toggle("Settings", "UseTimeWindow", "Use Time Window", false);
  commands("Settings", {{"StartFrame", "Start Frame=0", ""}});

  menu("Action1", "Action");
  commands("Action1", {{"CorrectForDrift1", "Correct For Drift", ""},
                       {"RemoveEnds1", "Remove Ends", ""},
                       {"RemoveDupicates1", "Remove Dupicates", ""},
                       {"RemoveLandings1", "Remove Landings", ""},
                       {"RemoveStaticSpots1", "Remove Static Spots", ""},
                       {"FindDualTracks", "Find Dual Tracks", ""},
                       {"LeaveDualsPartsOnly", "Leave Duals Parts Only", ""},
                       {"DynamicBinding", "Dynamic Binding", ""},
                       {"ShiftDown", "Shift Down (Crit. Dist.)", ""},
                       {"ShiftOneTimeStep", "Shift By one Frame", ""},
                       {"LeftRightTracks", "Rotate Tracks Left to Right", ""},
                       {"MatchTracks", "Fit Tracks Together", ""}});

  menu("FILTER", "FILTER");
  toggle("FILTER", "IndependentPairs", "Independent  Pairs Only", false);
  toggle("FILTER", "AbsoluteXspeed", "Use Absolute X speed", false);
  toggle("FILTER", "TwoStepsOnly", "Spots with Two Steps Only", false);
  toggle("FILTER", "StoppingSpots", "Stopping Spots Only", false);
  toggle("FILTER", "FastMovingSpots", "Fast Moving Spots Only", false);

  menu("Filtering", "RunFilter");
  commands("Filtering", {{"RunningMed3", "RunningMed(3)", "F3"},
                         {"RunningAverage3", "Running Aver(3)", ""},
                         {"RunningAverage5", "RunningAver(5)", ""},
                         {"RunningAverage7", "Running Aver(7)", "F7"},
                         {"RunningMed5", "RunningMed(5)", "F5"}});

  menu("LenSet", "LenSet(All)");
  radios("LenSet", MenuGroup::Length,
         {{"ShowAll", "Select All", ""}, {"ShowShort", "Show Short", ""}, {"ShowLong", "Show Long", ""}});
  menu("intThreshold", "intThrsh(All)");
  radios("intThreshold", MenuGroup::Intensity,
         {{"All_Int", "All_Int", ""}, {"WeakInt", "Weak_Int", ""}, {"BrightInt", "Bright_Int", ""}});
  menu("DlatSetting", "DlatSet(All)");
  radios("DlatSetting", MenuGroup::DlatClass,
         {{"SelectAllDlat", "Select All", ""},
          {"SelectLowDlat", "Select Slow", ""},
          {"SelectHighDlat", "Select Fast", ""}});
  commands("DlatSetting", {{"SetDlatThresh", "Set Dlat Thresh", ""}});
  menu("VelSet", "VelSet(All)");
  radios("VelSet", MenuGroup::Velocity,
         {{"AllVelocities", "Select All", ""},
          {"LowVelocities", "Slow Moving", ""},
          {"HighVelocities", "Fast Moving", ""}});
  commands("VelSet", {{"SetVelThresh", "Set Vel Thresh", ""}});

  menu("Popup", "", "Popup");
  commands("Popup", {{"SetGraph", "SetGraph", ""},
                     {"DecrDlatLim", "Decr Dlat Lim", "Ctrl+D"},
                     {"IncrDlatLim", "Incr Dlat Lim", "Ctrl+I"},
                     {"SaveDlatVersInt", "SaveDlat Vers Int", ""},
                     {"SaveDlatVerLen", "SaveDlatVerLength", ""},
                     {"NextSpot", "Next Object", "PgUp"},
                     {"PrevSpot", "Prev. Object", "PgDown"},
                     {"ShowFusedTracks", "Show Fused Tracks ", ""},
                     {"SaveStopTimes", "Save StopTimes", ""},
                     {"SaveDlatInstVelData", "Save Dlat - InstVel Data", ""},
                     {"SaveTimeBeforeBinding", "Save Time Before Binding", ""},
                     {"SaveBoundTime", "Save Bound Time", ""},
                     {"SaveGreenBindingSpots", "Save Green Binding Spots", ""},
                     {"SaveGreenSplittingSpots", "Save Green Splitting Spots", ""},
                     {"MGaussFit", "M-GaussFit", ""}});
}

MenuModel::MenuModel(const std::vector<MenuItem>& items) {
  for (const MenuItem& item : items) Add(item);
}

bool MenuModel::Has(std::string_view name) const { return index_.count(std::string(name)) != 0; }

const MenuItem& MenuModel::Item(std::string_view name) const {
  auto it = index_.find(std::string(name));
  if (it == index_.end()) throw std::out_of_range("no menu item " + std::string(name));
  return items_[it->second];
}

MenuItem& MenuModel::MutableItem(std::string_view name) {
  return const_cast<MenuItem&>(static_cast<const MenuModel*>(this)->Item(name));
}

void MenuModel::SetChecked(std::string_view name, bool checked) {
  MenuItem& item = MutableItem(name);
  if (item.group != 0 && checked) {
    for (MenuItem& other : items_)
      if (other.group == item.group) other.checked = false;
  }
  item.checked = checked;
  ++revision_;
}

void MenuModel::SetCaption(std::string_view name, const std::string& caption) {
  MutableItem(name).caption = caption;
  ++revision_;
}

void MenuModel::SetEnabled(std::string_view name, bool enabled) {
  MenuItem& item = MutableItem(name);
  if (item.enabled == enabled) return;
  item.enabled = enabled;
  ++revision_;
}

const std::string& MenuModel::CheckedInGroup(int group) const {
  for (const MenuItem& item : items_)
    if (item.group == group && item.checked) return item.name;
  static const std::string none;
  return none;
}
