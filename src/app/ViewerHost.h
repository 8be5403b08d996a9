#pragma once
// What the single-track viewer may reach of the main window: the tracks and settings it
// shows, the way out to the user, and the few main-window actions its keys and trims
// trigger. Nothing else of the main window is visible to it.
#include <string>

#include "stats/TrackValues.h"

class Bitmap;
class Platform;
class TQVgraphDlgForm;
struct Settings;
struct TrackStore;
struct MsdScratch;

class ViewerHost {
 public:
  virtual Platform& platform() = 0;
  virtual bool Ready() const = 0;
  virtual const TrackStore& Tracks() const = 0;
  // The store for a change of points: the kept MSD curves go stale first.
  virtual TrackStore& ChangeTracks() = 0;
  virtual const Settings& CurrentSettings() const = 0;
  virtual PairRules CurrentPairRules() const = 0;
  virtual MsdScratch& Scratch() = 0;
  virtual const std::string& TimeUnitText() const = 0;
  virtual const std::string& DlatUnitText() const = 0;
  // The caption the viewer's graph takes: the path of the last file read.
  virtual const std::string& TrackSource() const = 0;
  // Positions are absolute (a 2016-layout file) rather than relative to PosX/PosY.
  virtual bool AbsolutePositions() const = 0;
  virtual int CurrentObject() const = 0;
  virtual void NextObject() = 0;
  virtual void PrevObject() = 0;
  // The main window's recomputation pass.
  virtual void Recompute() = 0;
  virtual TQVgraphDlgForm* GraphDialog() = 0;
  virtual void PrintPicture(const Bitmap& picture) = 0;

 protected:
  ~ViewerHost() = default;
};
