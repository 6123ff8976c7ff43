#pragma once
// Session: camview's field session on the simulated instrument. It prepares
// the device root (registry with the card folder, the calibration in the
// instrument's memory, the language file), installs the simulated devices
// (or, per camera, a GStreamer pipeline that films instead of the simulator),
// creates the live view over the whole screen, loads the site and runs script
// steps, each checked for what it must do.
#include <memory>
#include <string>
#include <vector>

#include "geometry/xyz.h"
#include "host/camview/options.h"
#include "host/camview/script.h"
#include "platform/kvo_array.h"
#include "platform/message_box.h"
#include "storage/project.h"

class CCaptureWnd;
namespace sim {
class Instrument;
}
namespace devices {
class FrameSource;
}

namespace host {

struct StepResult {
  bool ok = true;
  std::string summary;  // what was done, with the key figures
};

class Session {
 public:
  explicit Session(Options options);
  ~Session();
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;

  // Prepares devices, calibration, site and view; false with `error` set.
  bool SetUp(std::string& error);
  StepResult Run(const Step& step);
  // Writes the screen (with the live picture) as a PNG; returns its path.
  std::string Screenshot(const std::string& name);
  void TearDown();

  CCaptureWnd& view() { return *view_; }
  sim::Instrument& instrument() { return *instrument_; }
  const std::vector<platform::MessageBoxCall>& messages() const { return messages_; }
  // Turns the simulated instrument and tells the view, as the host does
  // whenever the instrument reports new angles.
  void Turn(double v, double h);
  // Lets ticks of the 200 ms frame timer pass.
  void Wait(int ticks);
  // True when `camera` films through a GStreamer pipeline, not the simulator.
  bool IsReal(int camera) const { return !options_.source[camera == 0 ? 0 : 1].empty(); }

 private:
  bool LoadCalibration(std::string& error);
  bool LoadSite(std::string& error);
  void StartSources();
  // A step whose check needs the simulator's ground truth, on a real camera:
  // its figures stand, unjudged.
  StepResult Unjudged(StepResult result, int camera) const;
  std::string OutPath(const std::string& relative) const;
  const CXYZ* FindTarget(const std::string& name) const;

  StepResult Turn(const Step& step);
  StepResult PointAt(const Step& step);
  StepResult Camera(const Step& step);
  StepResult Zoom(const Step& step);
  StepResult Mode(const Step& step);
  StepResult Tap(int x, int y);
  StepResult TapTarget(const Step& step);
  StepResult Aim();
  StepResult Key(const Step& step);
  StepResult Settle();
  StepResult Save();
  StepResult ExportCamera(const Step& step);
  StepResult ExportOrient(const Step& step);

  // Site and photogrammetric project steps (session_project.cpp).
  static bool IsProjectStep(const std::string& verb);
  StepResult RunProjectStep(const Step& step);
  StepResult Boards(const Step& step);
  StepResult MoveToStation(const Step& step);
  StepResult ProjectNew(const Step& step);
  StepResult ProjectPhoto();
  StepResult ProjectSolve(const Step& step);
  void GatherStations();
  const CXYZ* FindStation(const std::string& name);
  CKvoArray<CXYZ, CXYZ&> PointsCoded(const wchar_t* code) const;

  Options options_;
  std::unique_ptr<CCaptureWnd> view_;
  std::shared_ptr<sim::Instrument> instrument_;
  std::shared_ptr<devices::FrameSource> sources_[2];  // what films each camera
  CKvoArray<CXYZ, CXYZ&> points_;                     // survey targets, survey axes
  CXYZ station_;
  double instrument_height_ = 1.5;
  std::string last_tap_target_;
  std::vector<platform::MessageBoxCall> messages_;
  platform::MessageBoxHandler previous_handler_;
  int shots_ = 0;
  std::vector<CXYZ> stations_;         // every STN point, the first one the session started on
  std::unique_ptr<CProject> project_;  // the photogrammetric project, once made
};

}  // namespace host
