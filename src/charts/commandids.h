// The ids of the commands of charts. Numbers under 34000 are known to users' scripts and to other
// programs; none ever changes, and no other command gets one that was used. New ones continue after the
// highest of all rooms.
#pragma once

#include <cstdint>

#include "frame/commandids.h"  // IWYU pragma: export

namespace tarnvisor::cmd {

// NOLINTBEGIN(readability-identifier-naming): the names of commands
inline constexpr int32_t CutPsdArtifacts = 32816;
inline constexpr int32_t ChartColour = 32833;
inline constexpr int32_t ReduceFullScale = 32834;
inline constexpr int32_t HideTrace = 32835;
inline constexpr int32_t IncreaseFullScale = 32836;
inline constexpr int32_t LinearIntensity = 32837;
inline constexpr int32_t DpsHistogram = 32839;
inline constexpr int32_t ClearTraces = 32843;
inline constexpr int32_t DeleteFromTrace = 32844;
inline constexpr int32_t EditMarker = 32847;
inline constexpr int32_t EditNewMarks = 32852;
inline constexpr int32_t SameScale = 32854;
inline constexpr int32_t ExportTrace = 32856;
inline constexpr int32_t InverseColours = 32905;
inline constexpr int32_t InsertMarker = 32920;
inline constexpr int32_t MinimumToBackground = 32924;
inline constexpr int32_t NormaliseToSelection = 32936;
inline constexpr int32_t CutToAverage = 32939;
inline constexpr int32_t CutPedestal = 32940;
inline constexpr int32_t RunChart = 32971;
inline constexpr int32_t ChartResults = 33001;
inline constexpr int32_t StopChart = 33018;
inline constexpr int32_t HalvePoints = 33027;
inline constexpr int32_t TraceProperties = 33029;
inline constexpr int32_t CalculateVelocity = 33039;
inline constexpr int32_t RaiseOffset = 33059;
inline constexpr int32_t LowerOffset = 33061;
inline constexpr int32_t ImageFromTrace = 33067;
inline constexpr int32_t SimpleSmoothing = 34089;
inline constexpr int32_t FirFilter = 34090;
inline constexpr int32_t ArtifactFilter = 34091;
inline constexpr int32_t PowerSpectrum = 34092;
inline constexpr int32_t PsdProfile = 34093;
inline constexpr int32_t Differentiate = 34094;
inline constexpr int32_t PulsatilityIndex = 34095;
inline constexpr int32_t ResistanceIndex = 34096;
inline constexpr int32_t RemovePulse = 34097;
inline constexpr int32_t GoldenMaxima = 34098;
inline constexpr int32_t SignalStrength = 34099;
inline constexpr int32_t PowerContour = 34100;
inline constexpr int32_t LevelContour = 34101;
inline constexpr int32_t XyChart = 34103;
inline constexpr int32_t ZoomValueIn = 34104;
inline constexpr int32_t ZoomValueOut = 34105;
inline constexpr int32_t ShowHiddenTraces = 34106;
inline constexpr int32_t RedoTrace = 34107;
inline constexpr int32_t CbvParameters = 34140;
inline constexpr int32_t FindPeak = 34141;
inline constexpr int32_t FindMaximum = 34142;
inline constexpr int32_t FindAverage = 34143;
inline constexpr int32_t FindPercent = 34144;
inline constexpr int32_t FindAutomatic = 34145;
inline constexpr int32_t FindMoment = 34146;
inline constexpr int32_t CalculateCbv = 34147;
inline constexpr int32_t RecalculateShift = 34148;
inline constexpr int32_t TrimSpectrum = 34149;
inline constexpr int32_t SwapUnits = 34150;
inline constexpr int32_t ThresholdWindow = 34151;
inline constexpr int32_t EditCopy = 57634;
inline constexpr int32_t EditCut = 57635;
inline constexpr int32_t EditPaste = 57637;
// NOLINTEND(readability-identifier-naming)

}  // namespace tarnvisor::cmd
