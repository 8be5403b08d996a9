#pragma once
// The single-track viewer "Kinetra - Graph" without a window system: one track of the
// store at a time in one of several views, its trims, the cursor read-out, the mouse
// zoom and the replay of its path. The Qt window forwards its events here as plain
// values (virtual key codes, client pixels, client size); tests drive it directly.
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "app/CommandTable.h"
#include "app/MenuModel.h"
#include "plot/TQVgraph.h"

class Canvas;
class ViewerHost;
struct DriftTables;
struct Settings;
struct SpotRec;

// The viewer's own matrix: 10 rows of 100000 floats.
inline constexpr int kViewerRows = 10;
inline constexpr int kViewerStride = 100000;
// The Show menu's radio group in the viewer's menu model.
inline constexpr int kViewerShowGroup = 1;
// Interval of the replay timer, in milliseconds.
inline constexpr int kGraphTimerInterval = 50;
// A trim never leaves a track shorter than this many points.
inline constexpr int32_t kMinTrimmedPoints = 3;
// Bitmap size before the window first sizes it (the batch tool draws at this size).
inline constexpr int kViewerWidth = 900;
inline constexpr int kViewerHeight = 560;

// The names the shown view is kept under.
namespace ViewName {
inline constexpr const char* IntXY = "Show_(Int+XY)";
inline constexpr const char* MsdDt = "Show_(MSD-dT)";
inline constexpr const char* AutoCorr = "Show_(AutoCorr)";
inline constexpr const char* XverY = "Show_(X-ver-Y)";
inline constexpr const char* YverInt = "Show_(Y-ver-Int)";
inline constexpr const char* Drift = "Show_(Drift)";
}  // namespace ViewName

// A float of the viewer's rows as text, to six significant digits: truncating a float
// time to a decimal step could show 0.899 for 0.9.
std::string ViewerNumber(float value);

class TGraphForm {
 public:
  explicit TGraphForm(ViewerHost& host);
  ~TGraphForm();
  TGraphForm(const TGraphForm&) = delete;
  TGraphForm& operator=(const TGraphForm&) = delete;

  // The viewer's command table: its menus in menu order.
  static std::span<const CommandRow<TGraphForm>> Commands();

  // False when the matrix could not be allocated; the viewer then shows nothing.
  bool Ready() const { return Data != nullptr; }

  TQVgraph Graph;
  std::unique_ptr<float[]> Data;  // kViewerRows x kViewerStride, zero at creation
  MenuModel Menu{MenuItemsOf(Commands())};

  // The track shown (-1: none) and the first and last shown point of it.
  int32_t SpotIndex = -1;
  int32_t FirstIndex = 0;
  int32_t LastIndex = 0;
  // One of the ViewName texts.
  std::string ShowName = ViewName::IntXY;
  // The two display flags that "Next Object" and "Prev. Object" reset: the fused view
  // of a dual pair, and a zoom to part of the track (FirstIndex/LastIndex narrower than
  // the track).
  bool FusedView = false;
  int32_t FusedPartner = -1;
  // The time view shows instant velocity instead of intensity.
  bool VelocityShown = false;
  // DynamicXY: the last point of the path drawn so far.
  int32_t ReplayIndex = 0;
  bool TimerEnabled = false;  // GraphTimer
  std::string StatusText;

  // How the window hears about changes: repaint the client area, show a status text,
  // start or stop GraphTimer. Unset hooks are skipped.
  std::function<void()> OnRepaint;
  std::function<void(const std::string&)> OnStatus;
  std::function<void(bool)> OnTimer;

  // --- taking over tracks
  // Shows track `index` whole in the current view (nothing when it is not in the store).
  void ShowSpot(int32_t index);
  // Leaves the fused view and any zoom; nothing is redrawn.
  void ResetDisplayFlags();
  // "Show Fused Tracks": the first selected track from CurSpot on (wrapping round) whose
  // partner points back at it, drawn with it. False (after a message) when there is none.
  bool ShowFusedTracks();
  // Rebuilds the rows of the current view from the track and repaints.
  void DrawTrack();
  // The status line of a track: velocity, index, Dlat, S-test, reach, verdict, partner.
  std::string TrackStatusLine(int32_t index) const;
  // The verdict of the status line: enough points for a Dlat fit, a finite Dlat and
  // finite coordinates.
  static bool GoodTrack(const SpotRec& track, const Settings& settings);
  // Largest distance of any point from the first, in µm.
  static double MaxDistance(const SpotRec& track);

  // --- window events
  void KeyDown(int key);
  void MouseMove(int x, int y);
  void MouseDown(int x, int y);
  void MouseUp(int x, int y);
  void FormResize(int clientWidth, int clientHeight, int statusBarHeight);
  void FormPaint(Canvas& windowCanvas);
  // Closing by the user recomputes the main window so that trims are counted; a file
  // load closes without it (it recomputes itself).
  void FormClose(bool recompute = true);
  void GraphTimerTimer();
  // Draws the graph into its bitmap, as a paint would (picture output without a window).
  void Render();

  // Runs a menu item by its component name; false when there is no such item.
  bool RunCommand(std::string_view name);

  // --- command handlers, named after their menu items (the table runs them)
  void GraphSettingsClick();
  void SaveDataAsTXTClick();
  void RemoveEndsMClick();  // "Remove Ends": the first and the last point
  void RemoveEndsClick();   // "Remove Unselected Ends": everything outside the zoom
  void RemoveFirstValClick();
  void RemoveEndValClick();
  void PrintGraphClick();
  void DynamicXYClick();
  void ShowViewClick(std::string_view item);
  void ShowVelocityClick();

  // Pixel column of the graph to the X value under it, from the last layout.
  double XValueAt(int x) const;

 private:
  // Points of the shown track that may be read; 0 when none is shown.
  int32_t ShownPoints() const;
  const SpotRec* ShownTrack() const;
  // The shown track for a trim (the kept MSD curves go stale); null when none is shown.
  SpotRec* TrimmedTrack();
  void ClampIndexes();
  // The track's time of point k and its X/Y as the view shows them.
  float TimeOf(const SpotRec& track, int32_t k) const;
  float XOf(const SpotRec& track, int32_t k) const;
  float YOf(const SpotRec& track, int32_t k) const;
  double LagUnit() const;
  const std::string& TimeUnit() const;

  // View builders (GraphViews.cpp); each fills rows from 0 and returns the point count.
  int32_t BuildIntensityXY(const SpotRec& track);
  int32_t BuildMsd(const SpotRec& track);
  int32_t BuildAutoCorr(const SpotRec& track);
  int32_t BuildXverY(const SpotRec& track);
  int32_t BuildYverInt(const SpotRec& track);
  int32_t BuildDrift(const SpotRec& track);
  int32_t BuildFused(const SpotRec& track, const SpotRec& partner);
  // Clears what the last view left in the rows and hides every series.
  void StartView(int32_t points);
  // X from the data; Y from the shown series when "Autoscale  Y axis" is checked.
  void ScaleAxes(double xFirst, double xLast);
  void TooShort();

  void Trimmed(bool recomputeMobility);
  // The shown track when a trim leaves it `points` points; otherwise a beep and null.
  SpotRec* TrackKeeping(int32_t points);
  bool ZoomedIn() const;
  void Repaint();
  void SetStatus(const std::string& text);
  void SetTimer(bool enabled);
  float* Row(int r) const { return Data.get() + static_cast<size_t>(r) * kViewerStride; }

  ViewerHost& host_;
  std::unique_ptr<DriftTables> drift_;
  std::unique_ptr<double[]> pairCounts_;
  int32_t filledEnd_ = 0;  // rows hold values up to here (exclusive)
  bool relativeXY_ = true;  // "Use Relative XY coor." as the view being built reads it
  int dragStartX_ = -1;
};
