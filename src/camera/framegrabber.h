// The one camera of the program, as everything above sees it: free functions with the prefix fg. They start
// and stop it, give its newest picture to the display without a copy and every picture to a recording, and
// set light, exposure and rate. All are called from one thread.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "base/geometry.h"
#include "camera/framehub.h"
#include "camera/grabbersettings.h"
#include "image/zzimage.h"

namespace tarnvisor {

class CZZMovie;
class FrameSource;

struct GrabberState {
  GrabberSettings set;
  bool ready = false;
  bool grabbing = false;
  std::unique_ptr<CZZchildimage> liveImage;  // the newest picture; a view onto a block
  int32_t imageWidth = 2048, imageHeight = 1536;
  int32_t bufferCount = 0;
  int64_t bufferSize = 0;
  int32_t fieldCount = 0;  // of the picture shown
  int32_t shownFrames = 0;
  int32_t exposureUs = 0;  // as read back
  int32_t flashUs = 0;     // as last set
  double actualFps = 30.0;
  bool recording = false;
  bool stopFlag = false;  // a recording ended by itself, and the camera with it
  std::string lostWords;  // of a camera that went away; empty again after fginit
};
// What it is now; nothing of it outlives fgterm() but the settings.
const GrabberState& fgState();

// --- its life
bool fginit();  // true when a camera is ready
bool fgterm();
bool fggrab(bool capture);
bool fgFreeze();
// Takes the newest picture: 6 when there is one, else 0. To be called when onNews was.
uint32_t fgCheckFrame();
// Who looks at every frame beside display and recording (FrameHub::setListener); an empty function for
// nobody.
void fgSetFrameListener(FrameHub::Listener listener);
// Called from threads of the camera's: a picture came, a recording ended, the camera is lost.
void fgSetOnNews(std::function<void()> onNews);
// How a camera is opened by the id of the settings, in place of openCamera(); an empty function for that.
using CameraOpener = std::function<std::unique_ptr<CameraDriver>(const std::string& id, std::string& why)>;
void fgOpenWith(CameraOpener opener);
// Told of each failure of the camera that "Show all errors" shows, once.
void fgSetOnError(std::function<void(const std::string&)> onError);
// Closes the camera and opens the one that the settings name now; a picture that ran runs again.
bool fgReopen();

// --- recording
bool fgAllocbufs(int32_t count, int32_t width, int32_t height);
bool fgRecordMovie(CZZMovie& movie, int32_t skipFrames, int32_t left, int32_t top, int32_t width,
                   int32_t height);
bool fgStopRecording(const CZZMovie* movie);
// Waits until the frames that came are written.
void fgDrain();
// Once after a recording ended by itself, when the camera has stopped.
bool fgTakeStopFlag();
// What a movie records from (CZZMovie::source); null without a camera. The skip value is that of the next
// recording.
FrameSource* fgSource();
void fgSetSkip(int32_t skipFrames);
FrameHub::Counts fgCounts();
// Why the last recording's movie could take no more; empty when it was full.
std::string fgRecordingFailure();

// --- light, exposure, rate (grabbercontrols.cpp)
int32_t fgSetFlash(int32_t microseconds, bool force);
int32_t fgSetExposure(int32_t microseconds, bool force);
double fgSetFps(double framesPerSecond);
void fgSetPixelClock(int32_t megahertz);
int32_t fgGetPixelClockRange(int32_t& low, int32_t& high, int32_t& step);
void fgSetZoom(int32_t x, int32_t y);
bool fgSetBinning();
double fgSetADCgain(double gain);
bool fgSetBoost(int32_t boost);
void fgSetFlickerless(bool on);
// By the user's hand: kept for the next start, and the brightness control goes on from there.
int32_t fgSetManualFlash(int32_t microseconds);
int32_t fgSetManualExposure(int32_t microseconds);
void fgSetStrobeUse(bool none, bool exposureTracksFlash);
void fgSetGrabSize(int32_t width, int32_t height, bool whole);
void fgSetCamera(const std::string& id);
void fgSetShowErrors(bool on);
// False, with the text untouched, for an index of no board.
bool fgDriverInfo(int32_t index, std::string& text);
const char* fgBoardName(int32_t index);
// Where the camera's area may begin, at or before a column asked for.
int32_t fgAlignedLeft(int32_t left);
// Not empty when frames were lost since the last call, by how many.
std::string fgFrameCheck();

}  // namespace tarnvisor
