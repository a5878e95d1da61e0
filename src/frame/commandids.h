// The ids of the commands of the main frame, and those that several kinds of document have. Numbers under
// 34000 are known to users' scripts and to other programs; none ever changes, and no other command gets one
// that was used. New ones continue after the highest of all rooms.
#pragma once

#include <cstdint>

#include "exams/commandids.h"  // IWYU pragma: export

namespace tarnvisor::cmd {

// NOLINTBEGIN(readability-identifier-naming): the names of commands
inline constexpr int32_t RecordFolder = 4310;
inline constexpr int32_t MainPopup = 32770;
inline constexpr int32_t AlwaysOnTop = 32772;
inline constexpr int32_t CloseAll = 32802;
inline constexpr int32_t ToggleOpsGroup1 = 32831;
inline constexpr int32_t ExpertMode = 32855;
inline constexpr int32_t ToggleOpsGroup3 = 32878;
inline constexpr int32_t ToggleOpsGroup2 = 32907;
inline constexpr int32_t Laser = 32911;
inline constexpr int32_t TriggerButton = 32919;
inline constexpr int32_t Flo1Monitor = 32926;
inline constexpr int32_t OpenCytoscan = 32941;
inline constexpr int32_t RecordSequence = 32963;
inline constexpr int32_t AcquisitionStartVelocity = 32972;
inline constexpr int32_t AcquisitionShowLive = 32973;
inline constexpr int32_t AcquisitionStartCamera = 32974;
inline constexpr int32_t RunStop = 32975;
inline constexpr int32_t SaveImage = 32977;
inline constexpr int32_t ImageSequence = 32983;
inline constexpr int32_t RecordBar = 33000;
inline constexpr int32_t LiveVideo = 33003;
inline constexpr int32_t RestoreMainMenu = 33004;
inline constexpr int32_t StatusWindow = 33040;
inline constexpr int32_t SecondPopup = 33041;
inline constexpr int32_t OpenAcquisitionWindows = 33075;
inline constexpr int32_t Undo = 34007;
inline constexpr int32_t Redo = 34008;
inline constexpr int32_t Export = 34015;
inline constexpr int32_t Paste = 34052;
inline constexpr int32_t ZoomIn = 34065;
inline constexpr int32_t ZoomOut = 34066;
inline constexpr int32_t ZoomFit = 34067;
inline constexpr int32_t ZoomActualSize = 34068;
inline constexpr int32_t Copy = 34080;
inline constexpr int32_t ShortcutList = 34085;
inline constexpr int32_t SelectProfile = 34086;
inline constexpr int32_t StatusBar = 34088;
inline constexpr int32_t ExportPicture = 34102;
inline constexpr int32_t OpenRemote = 34160;
inline constexpr int32_t ExportMetafile = 34161;
inline constexpr int32_t ExportStudy = 34181;
inline constexpr int32_t MarksDock = 34210;
inline constexpr int32_t ExamDock = 34211;
inline constexpr int32_t Demonstration = 34260;
inline constexpr int32_t StudySummary = 34271;
inline constexpr int32_t FilePrint = 57607;
inline constexpr int32_t FilePrintPreview = 57609;
inline constexpr int32_t Toolbar = 59392;
inline constexpr int32_t HardwareSettings = 34152;
// NOLINTEND(readability-identifier-naming)

}  // namespace tarnvisor::cmd
