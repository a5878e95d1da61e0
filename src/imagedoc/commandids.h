// The ids of the commands of still images, and of videos, which are images too. Numbers under 34000 are
// known to users' scripts and to other programs; none ever changes, and no other command gets one that was
// used. New ones continue after the highest of all rooms.
#pragma once

#include <cstdint>

#include "frame/commandids.h"  // IWYU pragma: export

namespace tarnvisor::cmd {

// NOLINTBEGIN(readability-identifier-naming): the names of commands
inline constexpr int32_t AdjustBrightnessContrast = 32788;
inline constexpr int32_t ConvertToGrey = 32809;
inline constexpr int32_t DuplicateImage = 32841;
inline constexpr int32_t Equalise = 32853;
inline constexpr int32_t HighPassFilter = 32894;
inline constexpr int32_t Negative = 32906;
inline constexpr int32_t LowPassFilter = 32916;
inline constexpr int32_t RemoveSingleDustMark = 32966;
inline constexpr int32_t Threshold = 33005;
inline constexpr int32_t SubtractImage = 33020;
inline constexpr int32_t Bin = 33052;
inline constexpr int32_t FocusSettings = 33077;
inline constexpr int32_t ModifiedLaplacian = 33080;
inline constexpr int32_t LuluLower = 33083;
inline constexpr int32_t LuluUpper = 33084;
inline constexpr int32_t Mlulu = 33086;
inline constexpr int32_t Min3x3 = 33112;
inline constexpr int32_t Notes = 34000;
inline constexpr int32_t ClearAllDimensions = 34001;
inline constexpr int32_t ShowCrosshair = 34002;
inline constexpr int32_t HideShowDimensions = 34003;
inline constexpr int32_t SwitchList = 34004;
inline constexpr int32_t TrimToRoi = 34005;
inline constexpr int32_t ImportDimensions = 34006;
inline constexpr int32_t ZeroAsBlack = 34009;
inline constexpr int32_t AutoAdjustDisplay = 34010;
inline constexpr int32_t DisplayBrightnessUp = 34011;
inline constexpr int32_t DisplayBrightnessDown = 34012;
inline constexpr int32_t DisplayDarknessUp = 34013;
inline constexpr int32_t DisplayDarknessDown = 34014;
inline constexpr int32_t UseDustMask = 34016;
inline constexpr int32_t SaveDustMask = 34017;
inline constexpr int32_t LoadDustMask = 34018;
inline constexpr int32_t EditDustMask = 34019;
inline constexpr int32_t MakeRoiCircular = 34020;
inline constexpr int32_t PaletteGreylevel = 34021;
inline constexpr int32_t PaletteColour = 34022;
inline constexpr int32_t PaletteRed = 34023;
inline constexpr int32_t PaletteGreen = 34024;
inline constexpr int32_t PaletteBlue = 34025;
inline constexpr int32_t PaletteMulticolour = 34026;
inline constexpr int32_t PaletteContour2 = 34027;
inline constexpr int32_t PaletteContour4 = 34028;
inline constexpr int32_t PaletteContour8 = 34029;
inline constexpr int32_t PaletteContour16 = 34030;
inline constexpr int32_t Magnification = 34031;
inline constexpr int32_t CalibrateMagnification = 34032;
inline constexpr int32_t Units = 34033;
inline constexpr int32_t Grid = 34034;
inline constexpr int32_t GridSettings = 34035;
inline constexpr int32_t Blur = 34036;
inline constexpr int32_t LaplacianFilter = 34037;
inline constexpr int32_t CustomFilter = 34038;
inline constexpr int32_t SumModifiedLaplacian = 34039;
inline constexpr int32_t FindCapillaries = 34040;
inline constexpr int32_t CalculateAverage = 34041;
inline constexpr int32_t ThresholdCapillaries = 34042;
inline constexpr int32_t ThresholdPreprocessCheck = 34043;
inline constexpr int32_t Processing = 34044;
inline constexpr int32_t ApexFilter = 34045;
inline constexpr int32_t Find8Regions = 34046;
inline constexpr int32_t MinimaWithinWindow = 34047;
inline constexpr int32_t MinimaWithinTolerance = 34048;
inline constexpr int32_t WalkToMinima = 34049;
inline constexpr int32_t ToolPan = 34053;
inline constexpr int32_t ToolRoi = 34054;
inline constexpr int32_t ToolOrigin = 34055;
inline constexpr int32_t ToolCounting = 34056;
inline constexpr int32_t ToolLines = 34057;
inline constexpr int32_t ToolPolyline = 34058;
inline constexpr int32_t ToolFreehandLines = 34059;
inline constexpr int32_t ToolCrosshair = 34060;
inline constexpr int32_t ToolCircle = 34061;
inline constexpr int32_t ToolPolygon = 34062;
inline constexpr int32_t ToolFreehandArea = 34063;
inline constexpr int32_t ToolTrace = 34064;
inline constexpr int32_t ScaleBar = 34069;
inline constexpr int32_t DeleteDimension = 34070;
inline constexpr int32_t SetLineWidth = 34071;
inline constexpr int32_t MeasuringLine = 34072;
inline constexpr int32_t SecondMeasuringLine = 34073;
inline constexpr int32_t GreyLevel = 34074;
inline constexpr int32_t Linescan = 34075;
inline constexpr int32_t Histogram = 34076;
inline constexpr int32_t ImageResults = 34077;
inline constexpr int32_t DimensionListWindow = 34078;
inline constexpr int32_t RotateSelected = 34079;
inline constexpr int32_t VignetteTest = 34081;
inline constexpr int32_t AutocalTest = 34082;
inline constexpr int32_t VoronoiRegions = 34083;
inline constexpr int32_t GreyWeights = 34115;
inline constexpr int32_t CapillaryWidthMethod = 34130;
inline constexpr int32_t FindCapillaryWidth = 34131;
inline constexpr int32_t MeasureNailfoldLoops = 34132;
inline constexpr int32_t ExportDicom = 34180;
inline constexpr int32_t FindNailfoldLoops = 34190;
inline constexpr int32_t NailSideAutomatic = 34191;
inline constexpr int32_t NailAtTop = 34192;
inline constexpr int32_t NailAtRight = 34193;
inline constexpr int32_t NailAtBottom = 34194;
inline constexpr int32_t NailAtLeft = 34195;
inline constexpr int32_t AddLoopsToResults = 34196;
inline constexpr int32_t ChartLoopMeasures = 34197;
inline constexpr int32_t ClearRoi = 34230;
// NOLINTEND(readability-identifier-naming)

}  // namespace tarnvisor::cmd
