// The ids of the commands of videos. Numbers under 34000 are known to users' scripts and to other
// programs; none ever changes, and no other command gets one that was used. New ones continue after the
// highest of all rooms.
#pragma once

#include <cstdint>

#include "imagedoc/commandids.h"  // IWYU pragma: export

namespace tarnvisor::cmd {

// NOLINTBEGIN(readability-identifier-naming): the names of commands
inline constexpr int32_t MovementCorrection = 32777;
inline constexpr int32_t AverageSequence = 32781;
inline constexpr int32_t WidthAgainstTime = 32796;
inline constexpr int32_t ChartFlyingSpot = 32799;
inline constexpr int32_t ResetOffsets = 32801;
inline constexpr int32_t CompressVideoOutput = 32804;
inline constexpr int32_t DeleteSelectedImages = 32822;
inline constexpr int32_t DeleteOtherImages = 32823;
inline constexpr int32_t Directories = 32832;
inline constexpr int32_t ExportOffsets = 32859;
inline constexpr int32_t PlaySlower = 32861;
inline constexpr int32_t PlayFaster = 32862;
inline constexpr int32_t CalculateFcf = 32863;
inline constexpr int32_t FftPerPixel = 32864;
inline constexpr int32_t FluxConcSpeed = 32872;
inline constexpr int32_t FlyingSpotWindow = 32873;
inline constexpr int32_t FocusCheck = 32874;
inline constexpr int32_t FcfThresholdUp = 32893;
inline constexpr int32_t ImportAvi = 32896;
inline constexpr int32_t FcfThresholdDown = 32914;
inline constexpr int32_t MergeFields = 32923;
inline constexpr int32_t MoveByHand = 32927;
inline constexpr int32_t LoopSequence = 32928;
inline constexpr int32_t ColourPlanes = 32947;
inline constexpr int32_t PlaybackSkip = 32948;
inline constexpr int32_t PlaySequence = 32949;
inline constexpr int32_t RecalculateFcf = 32961;
inline constexpr int32_t RmsSequence = 32968;
inline constexpr int32_t SpeedByRms = 33009;
inline constexpr int32_t SplitFields = 33010;
inline constexpr int32_t SquareOfDifferences = 33011;
inline constexpr int32_t StepBack = 33014;
inline constexpr int32_t StepForward = 33016;
inline constexpr int32_t SubtractTrace = 33019;
inline constexpr int32_t SwitchFieldOrder = 33022;
inline constexpr int32_t SwitchLines = 33023;
inline constexpr int32_t CalculateAllLines = 4041;
inline constexpr int32_t DrawDensityLines = 4106;
inline constexpr int32_t DrawVelocityLines = 4339;
inline constexpr int32_t TrackByHand = 33032;
inline constexpr int32_t CalculateCbvOfLines = 33037;
inline constexpr int32_t ExportUncompressedAvi = 33064;
inline constexpr int32_t NailfoldPanorama = 33076;
inline constexpr int32_t AverageInFocus = 33078;
inline constexpr int32_t EditMovementRegions = 33093;
inline constexpr int32_t MovementSettings = 33094;
inline constexpr int32_t SquareOfDifferencesToCurrent = 33095;
inline constexpr int32_t CorrelateImages = 33096;
inline constexpr int32_t ViewFcf = 33103;
inline constexpr int32_t ViewConc = 33104;
inline constexpr int32_t ViewFlux = 33105;
inline constexpr int32_t ViewMask = 33106;
inline constexpr int32_t UseConcThreshold = 33107;
inline constexpr int32_t UseMaskThreshold = 33108;
inline constexpr int32_t MovementErrorMap = 33109;
inline constexpr int32_t MovementCorrectionWithoutDisplay = 33110;
inline constexpr int32_t SelectImages = 34108;
inline constexpr int32_t VideoProperties = 34109;
inline constexpr int32_t ExportCompressedAvi = 34110;
inline constexpr int32_t MovementQuality = 34116;
inline constexpr int32_t AddFcdRow = 34117;
inline constexpr int32_t DensityOfLines = 34133;
inline constexpr int32_t GoToVersion = 34240;
inline constexpr int32_t CompareVersion = 34241;
inline constexpr int32_t DeleteVersion = 34242;
inline constexpr int32_t MarkIn = 34243;
inline constexpr int32_t MarkOut = 34244;
inline constexpr int32_t SelectAllImages = 34245;
// NOLINTEND(readability-identifier-naming)

}  // namespace tarnvisor::cmd
