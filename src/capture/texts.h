// Words that several sources of this room tell.
#pragma once

namespace tarnvisor::text {

inline constexpr const char* kNoVideoInput = "Could not initialise video input device.";
inline constexpr const char* kUnderWay = "A recording is under way.";
inline constexpr const char* kFreezeFirst = "The picture is live: freeze it first.";
inline constexpr const char* kBinTheSaved =
    "Save the picture, and bin the saved one: what is live keeps its scale.";
inline constexpr const char* kNoPicture = "The camera has not given a picture yet.";
inline constexpr const char* kLiveTitle = "Live Video Input";
inline constexpr const char* kFrozenTitle = "Frozen Video Input";
inline constexpr const char* kOpenNewFile = "Open the new file?";
inline constexpr const char* kRecordingTitle = "Recording Video Sequence ";
inline constexpr const char* kRecordedTitle = "Recorded Video Sequence ";
inline constexpr const char* kFailedToStart = "failed to start recording!";
// The program that is told of saved pictures.
inline constexpr const char* kListener = "TARNVISORLISTENER";

}  // namespace tarnvisor::text
