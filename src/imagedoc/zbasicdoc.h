// ZBasicDoc: the still-image document. One image, one level of undo over all that a command changes, the
// magnification it was taken at, a region of interest, a target mark, a grid, notes and nine dimension lists.
// Its own file (.tv1) holds all of this but the pixels, which stay in an image file named inside it.
// docs/formats/tv1.md tells the stored form.
//
// Coordinates are frame rows and columns of the parent frame, in which the image's first pixel lies at
// imageOrigin(). A rectangle is half-open; an empty ROI means the whole image.
#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "base/files.h"
#include "base/geometry.h"
#include "base/lengthunits.h"
#include "exams/dbdocument.h"
#include "exams/subjectselection.h"
#include "framework/history.h"
#include "framework/sidepanel.h"
#include "host/messages.h"
#include "image/imagetaker.h"
#include "image/stillsequence.h"
#include "image/zzimage.h"
#include "imagedoc/handles.h"
#include "imagedoc/loopmarks.h"
#include "linescan/imagefacts.h"
#include "measure/dimlist.h"

namespace tarnvisor {

struct DicomFacts;

struct Scale {
  double x = 1.0;
  double y = 1.0;
};

enum DimensionList : int32_t {
  kPlainList,
  kAmberList,
  kFcdList,
  kNailfoldList,
  kNearestList,
  kVoronoiList,
  kKroghList,
  kAmcList,
  kDustList,
  kListCount
};

struct FinderParameters;

class ZBasicDoc : public CdbDocument, public AutomaticAnalysis, public ImageTaker {
 public:
  ZBasicDoc();
  ~ZBasicDoc() override;

  // --- the document's life (zbasicdoc_open.cpp, zbasicdoc_save.cpp, zbasicdoc_archive.cpp)
  bool onNewDocument() override;
  bool onOpenDocument(const std::string& path) override;
  bool onSaveDocument(const std::string& path) override;
  bool save() override;
  void deleteContents() override;
  void serialize(Archive& archive) override;
  void report(const std::string& words) override;
  // Reads every key of the document's settings, with the present values as defaults.
  void loadSettings();

  // An empty rectangle loads the whole file; otherwise the rectangle of the file is read into the present
  // image. On failure the image stays and the user is told, unless silent.
  bool loadImage(const std::string& path, const Rect& rect = {});
  bool saveImage(const std::string& path, const Rect& rect = {});
  // Writes the image for other programs. On failure the user is told, unless silent.
  bool exportImage(const std::string& path);
  // Of a document of many images those that are selected.
  virtual void exportDicomAs(const std::string& path, const DicomFacts& facts);
  // Makes a file of pixels this document's image without taking the file over: the first save copies it, and
  // none writes over it.
  bool adoptImageFile(const std::string& path);
  // Any still: one that the image buffer loads as it stands is adopted, another is decoded (asking for the
  // page of one that has several) and waits for its first save to get a pixel file.
  bool onImportFile(const std::string& path) override;
  // The size of a pixel as a file told it, if it did; the notes say who.
  void takeToldScale(const ToldScale& told);
  // What a sequence of another program tells beside its pixels.
  void takeTold(const StillSequence& pictures);
  // Makes these pixels, which no file holds yet, the document's.
  void takeImage(std::unique_ptr<CZZimage> pixels) override;
  std::vector<std::string> filesInUse() const override;
  // Where imagefile lies: a bare name lies in the document's folder.
  std::string imagePath() const;

  // --- dimensions
  CDimList& currentDims() { return dimlists[static_cast<size_t>(currentlist)]; }
  const CDimList& currentDims() const { return dimlists[static_cast<size_t>(currentlist)]; }
  int32_t addDimension(Point point, int32_t type);  // the new index
  virtual int32_t insertDimension(const CDim& dimension);
  // -1 when there is no such dimension. In list 7 a second point is pushed to at least 64 pixels from the
  // first.
  virtual int32_t addPointToDimension(int32_t index, Point point);
  // Where in that list the second point of a mark comes to lie; as wanted in the others.
  Point placeOfSecond(Point first, Point wanted) const;
  bool deleteDimension(int32_t index);
  // The corners of regions for movement correction lie eight pixels apart, as those of its coarsest scale do.
  static Point snappedToBlocks(Point point) { return {point.x & ~7, point.y & ~7}; }
  int32_t nextDimensionIndex(int32_t i) const;
  void setCurrentList(int32_t index);
  // Shifts all lists, ROI, target and imageoffset.
  void move(int32_t dx, int32_t dy);
  bool importDimensions(const std::string& path);

  virtual CZZimage* theImage() { return image.get(); }
  const CZZimage* theImage() const { return const_cast<ZBasicDoc*>(this)->theImage(); }
  bool hasImage() const { return theImage() && !theImage()->empty(); }
  bool isColoured() const { return hasImage() && theImage()->colourset != kGrey; }
  // Takes over everything, through the stored form, and a copy of the image.
  [[nodiscard]] virtual bool copyFrom(ZBasicDoc& other);
  virtual void setColourset(int32_t value);
  virtual void removeDust();
  // A new document of the image type with a copy of this one; null (and the user told) when there can't be
  // one.
  ZBasicDoc* duplicate(const std::string& titleSuffix);

  // --- scale
  Scale scale() const { return calibrated ? Scale{magx, magy} : Scale{}; }
  // Whether anybody told one, in use or not.
  bool hasScale() const { return calibrated || isScaleTold(); }
  // Of pixels that come into this document: who they are of is asked, where that is somebody else.
  bool mayTakeFrom(const std::string& path);
  void tellOfOtherScale(const std::string& path, const ToldScale& told);
  bool wasCalibratedHere() const;  // by a mark of known length in this picture
  PixelSize pixelSize() const;     // of a frame; unknown without a unit of length
  std::string unitName() const { return calibrated ? userunits : "pixel"; }
  // False, and the user told, for what is no scale (isScale): nothing is then changed.
  [[nodiscard]] virtual bool setScale(double x, double y, const std::string& name, int64_t date,
                                      bool asDefault, bool addToTable);

  // The scale of what this was made of, with its unit and name.
  void takeScale(const ZBasicDoc& of);
  // Of images that follow each other; of a still without a period.
  virtual ImageFacts imageFacts() const { return {scale().x, scale().y, unitName()}; }
  // How many of a pixel the default scale and the table of scales tell of: 0.5 where two by two were made
  // one.
  virtual double standardPixels() const { return 1.0; }

  // --- region of interest
  // Where the image's first pixel lies among the marks; (0, 0) without an image.
  Point imageOrigin() const { return theImage() ? theImage()->frameOrigin() : Point{}; }
  // What measures count in: the ROI as far as it lies in the image, or the whole image; a circular ROI's
  // rectangle is never cut. In frame rows, as the ROI and all marks are.
  Rect roiOrWhole() const;
  // A new ROI is a rectangle, whatever the one before was.
  void setRoi(const Rect& area) { roi = area, roicircle = {}; }
  // The frame's row that a row held by the image lies at: twice its number in a field.
  int32_t frameRow(int32_t row) const;
  bool hasCircularRoi() const { return !roi.isEmpty() && !roicircle.isZero(); }
  void makeRoiCircular();  // toggles; nothing for a ROI that no circle fits into
  bool canBeCircular() const { return hasCircularRoi() || std::min(roi.width(), roi.height()) >= 2; }
  // Of what measures count in, in square units: of a circle only what lies in it.
  double roiArea() const;
  // Where the first pixel of the image's part in the ROI lies.
  Point cornerOfRegion() const { return roiOrWhole().topLeft(); }
  bool isInRoi(Point at) const;  // in the circle of a circular one; false without a ROI
  std::string roiText() const;

  // --- undo (zbasicdoc_undo.cpp): a command that changes the document makes a Change first, and what it then
  // changed comes back with Undo, the notes and the flags of unsaved changes too
  class Change;
  bool canUndo() const;
  bool canRedo() const;
  void undo();
  void redo();
  const CZZimage* undoimage() const;  // that Undo brings back; null where it brings back no pixels

  // --- processing. Each step keeps the image for Undo, works on the ROI, appends to the notes.
  std::unique_ptr<CZZchildimage> roiChild();
  enum class StepArea { Roi, Whole };
  // Adds the words, and the ROI where it counts, to the notes; marks all as changed, refreshes.
  void finishStep(const std::string& text, StepArea area = StepArea::Roi);
  // Runs a step on the image, or its ROI's child view, with a copy for Undo, and adds its words to the notes.
  // A document of many images runs it on each, and goes on with that after the call: a step holds what it
  // needs by value.
  virtual void runStep(const std::string& text, StepArea area, const std::function<void(CZZimage&)>& step);
  std::string stepCalled;  // what a step is shown as, where its notes say another
  void appendNotes(const std::string& text) { notes += text; }
  // Traces the capillary that holds a seed, in pixels of the ROI's child view. False when nothing was done.
  bool trace(Point seed);
  // Finds or recounts without asking; the result text is the document's.
  bool countCapillaries();
  // The density goes when its marks, the scale or the region are no longer those that it was counted from.
  // Called where a result is stored, printed or told, and after each command that Undo takes back.
  void dropStaleResult();
  // Finds the distal row of loops and marks it in list "Nailfold", as one change, or tells why it can't be
  // counted.
  virtual void findNailfoldLoops();
  // --- what a user corrects of it (zbasicdoc_review.cpp)
  // Takes away the mark there, brings back one that was taken away, or adds one; the density follows.
  void reviewAt(const Aim& aim);
  // What was taken away, of each list.
  std::array<CDimList, kListCount> rejected;
  // Of the current list: "3 rejected, 1 added or moved".
  std::string reviewWords() const;
  bool isReviewed() const;
  // Whether marks of the list were counted or reviewed: the hand's are told apart from those found there.
  bool holdsCounted(int32_t list) const;
  // A mark that the user drew or altered stays where a finder looks again.
  void tellByHand(CDim& mark) const;
  // The mark at the index, if any, and those that the user selected. Found ones are kept as rejected.
  void deleteMarks(int32_t index);
  // "32 circles, 1 line"
  std::string kindsCounted(int32_t list) const;
  // Why no loops can be looked for, whatever the pixels; empty when they can.
  std::string objectionToLoops() const;
  // Of the status bar; empty where the result is no count of loops.
  std::string loopDensityText() const;
  LoopScale loopScale() const;
  // The result, and below a density what it counts and is per.
  std::string resultLines() const;
  // The same, a line for each figure.
  std::vector<SideFact> densityFacts() const;
  std::string unitOfResult(const std::string& quantity) const override;
  std::string judgementOfResult() const override;  // of nailfold loops
  // False where the image only shows what the document stores as something else: no command changes it then.
  virtual bool holdsPixels() const { return true; }
  bool isMarked() const override { return hasDimensions(); }
  bool analyseAutomatically() override { return countCapillaries(); }

  // --- what scripts ask (zbasicdoc_script.cpp)
  std::vector<std::pair<std::string, std::string>> facts() const override;
  StepResult exportTo(const std::string& path) override;
  StepResult tell(const std::string& what) override;  // "notes", "dims", "status"
  StepResult setRegion(Region kind, const Rect& wanted) override;
  StepResult chooseList(int32_t list) override;
  StepResult drawDimension(const std::string& kind, std::span<const Point> points) override;
  std::string caution() const override { return hasImage() && !calibrated ? "not calibrated" : ""; }
  int32_t cautionCommand() const override;
  // Size, region, list and scale, a line each.
  std::string statusText() const;

  static const CommandTableBase& commandTable();
  const CommandTableBase* commands() const override { return &commandTable(); }

  Point target;
  int32_t showtarget = 1;
  double magx = 1.0;  // user units per pixel
  double magy = 1.0;
  std::string magname = "default";
  int32_t magindex = 0;
  int32_t calibrated = 0;  // 0: measures are in pixels
  std::string userunits = "um";
  Point imageoffset;  // sum of all moves
  Rect roi;
  Rect roicircle;           // not all zero: the ROI is a circle
  int32_t capturetime = 0;  // seconds since 1970; 0 unknown
  std::string notes;
  std::array<CDimList, kListCount> dimlists;
  int32_t currentlist = 0;
  int32_t countedList = -1;    // whose marks resultText counts; -1: it is no density, or nobody knows
  int32_t countedBefore = -1;  // of a result that holds no longer
  std::string countedFrom;     // those marks, scale and region, in words
  std::unique_ptr<CZZimage> image;
  std::string imagefile;     // a bare name lies in the document's folder; empty until saved
  std::string importedFrom;  // the still that was decoded for it, for as long as the document is open
  int32_t imagedirty = 0;    // the pixels differ from imagefile
  int32_t gridstyle = 0;     // 0 lines, 1 points, 2 Chalkley, 3 user
  int32_t gridunits = 0;     // 0 pixels, 1 user units
  int32_t gridshow = 0;
  double gridspacing = 100.0;
  Colour gridcolour = 0x808080;
  std::vector<uint8_t> gridmetafile;  // the drawing's bytes; empty for none
  std::string userfilename;
  int32_t silent = 0;     // no message boxes
  int32_t keepwhole = 0;  // a save keeps the whole image without asking about the ROI
  int32_t savedroi = 0;   // the last save trimmed the image
  int32_t colourset = 0;  // the display palette, 0 to 9
  uint8_t zeroasblack = 1;
  int32_t originx = 0;  // of the image in the full sensor frame
  int32_t originy = 0;

 protected:
  // Of a document whose picture is another from now on: nothing brings back the one before.
  void forgetPixels();
  // The result that tells of loops, from their marks as they now are.
  void beforeUpdate() override { followLoops(); }
  // Finds out which list a density that was loaded was counted in.
  void recogniseResult();
  // zbasicdoc_unsaved.cpp
  void storeCopy(Archive& archive) override;
  void tellUnsaved(UnsavedCopy& copy) override;
  void takeUnsaved(const LeftCopy& left) override;

 private:
  // zbasicdoc_archive.cpp
  void storeFields(Archive& archive);
  void loadFields(Archive& archive);
  void dropBadScale();
  void loadLists(Archive& archive, int32_t version, int32_t count);
  void hideLists();
  // Also seen while the image is in pixels.
  bool isScaleTold() const { return magindex != 0 || magx != 1.0 || magy != 1.0; }
  // zbasicdoc_open.cpp
  bool resolveImageFile(const std::string& documentPath);
  bool importDicom(const std::string& path);
  void afterImageLoaded();
  void forgetResult();
  void loadListSettings();
  bool arePixelsUnsaved() const;  // zbasicdoc_unsaved.cpp
  // zbasicdoc_save.cpp
  struct PixelSave;
  // Whether the new pixels of that file still wait beside it, the save of this document having been killed.
  bool isSaveUnfinished(const std::string& path) const;
  bool hasPixelsAt(const std::string& path) const;
  bool readImageFile(const std::string& path);
  void tellOfFlaw(const std::string& path, const std::string& flaw, Icon icon);
  [[nodiscard]] bool loadOwnPixels(const std::string& path);  // after finishing such a save
  bool savePixels(const std::string& documentPath, PixelSave& saved);
  bool trimLosesPixels(const std::string& documentPath) const;
  bool askTrim(const std::string& documentPath, bool& trim, bool& cancelled);
  bool writePixels(const std::string& documentPath, PixelSave& saved);
  Rect trimmedRect() const;
  TakenName takePixelFile(const std::string& documentPath, const std::string& extension) const;
  bool copyAdoptedFile(const std::string& from, const std::string& documentPath, PixelSave& saved);
  void rememberImageFile(const std::string& full, const std::string& documentPath);
  void cutToTrim(const PixelSave& saved);

  // --- commands: their table (zbasicdoc_commands.cpp), and those on lists, notes and region
  // (zbasicdoc_lists.cpp)
  void clearAllDimensions();
  bool hasDimensions() const { return !currentDims().items.empty(); }
  void notesCommand();
  void showCrosshair();
  bool showsTarget() const { return showtarget != 0; }
  void hideShowDimensions();
  bool hidesDimensions() const { return currentDims().hidden != 0; }
  void switchList();
  void trimToRoi();
  bool canTrim() const { return !roi.isEmpty() && hasDimensions(); }
  void importDimensionsCommand();
  void duplicateCommand();
  void convertToGrey();
  void greyWeightsCommand();
  void zeroAsBlack();
  bool isZeroBlack() const { return zeroasblack != 0; }
  void autoAdjustDisplay();
  bool isAutoAdjusted() const;
  void displayBrightnessUp();
  void displayBrightnessDown();
  void displayDarknessUp();
  void displayDarknessDown();
  void moveDisplayLimits(int32_t white, int32_t black);
  void exportCommand();
  void exportDicomCommand();
  void importCommand();
  void toggleCircularRoi();
  void clearRoi();
  bool hasRoi() const { return !roi.isEmpty(); }
  template <int32_t N>
  void paletteCommand() {
    setColourset(N);
  }
  template <int32_t N>
  bool hasPalette() const {
    return colourset == N;
  }

  // zbasicdoc_undo.cpp
 protected:
  // A step of Undo that is not this class's own: what turns it, called with true to take it back.
  void rememberStep(const std::string& what, std::function<void(bool back)> turn);

 private:
  struct UndoState;
  using Turn = std::unique_ptr<UndoState>;
  void turnHistory(void (History<Turn>::*way)(const std::function<Turn(Turn)>&));
  void forgetUndo();
  void tellUndoSaved();
  void tellUntrackedChanges();

  // --- dust (zbasicdoc_dust.cpp)
  static void setDustMaskFlag(int32_t on);
  [[nodiscard]] bool keepUnrepaired();
  void putBackDust();
  void useDustMask();
  bool usesDustMask() const;
  void saveDustMask();
  void loadDustMaskCommand();
  [[nodiscard]] bool loadDustMask(const std::string& path);
  void editDustMask();
  bool editsDustMask() const { return currentlist == kDustList; }
  void removeSingleDustMark();
  bool canRemoveDustMark() const { return isGreyImage() && hasRoi(); }

  // --- scale and grid (zbasicdoc_scale.cpp)
  void magnificationCommand();
  void calibrateCommand();
  void unitsCommand();
  void gridCommand();
  bool showsGrid() const { return gridshow != 0; }
  void gridSettingsCommand();
  void storeGrid();
  void loadGridMetafile();

  // --- filters (zbasicdoc_filters.cpp)
  bool askWindow(const char* title, const char* key, int32_t standard, int32_t smallest, int32_t& window);
  // Tells the user and the notes.
  void tellNotDone(const std::string& stepText, const std::string& why);
  bool runWindowStep(const std::string& stepText, int32_t window, const std::function<void(CZZimage&)>& step);
  std::string regionSize() const;
  void equalise();
  void negative();
  void highPass();
  void lowPass();
  void blur();
  void laplacian();
  void customFilter();
  void modifiedLaplacian();
  void sumModifiedLaplacian();
  void luluLower();
  void luluUpper();
  void mlulu();
  void min3x3();
  void adjust();
  void subtractImage();
  void bin();
  bool canBin() const { return canFilter() && theImage()->width > 1 && theImage()->height > 1; }
  void binMarks();
  void threshold();

  // --- capillaries (zbasicdoc_capillaries.cpp)
  void findCapillaries();
  void calculateAverage();
  void thresholdCapillaries();
  void thresholdPreprocessCheck();
  void processing();
  void focusSettings();
  void apexFilterCommand();
  void find8Regions();
  void minimaWithinWindow();
  void minimaWithinTolerance();
  void walkToMinima();
  void reportDensity(int64_t count);
  bool isCounted(const CDim& mark) const;
  int32_t capillariesIn(int32_t list) const;
  std::string countedWords() const;
  std::string countedPer(const std::string& unit) const;
  std::string shownDensityUnit() const;
  std::string windowSizes(const FinderParameters& parameters) const;
  std::string densityOf(int32_t list) const;
  std::string countingBasis(int32_t list) const;
  // What of the finder's windows can't run in the region; empty when all do.
  std::string finderLimits() const;
  void tellFinderLimits() const;
  void runFinder(CZZimage& working, const Rect& rect);
  void markFound(CZZimage& working, const Rect& rect);
  [[nodiscard]] bool copyForFinder(CZZimage& working);
  // zbasicdoc_review.cpp
  void findAgain();
  bool isFound(const CDim& mark) const;
  void takeAway(int32_t index);
  void recountReviewed();
  bool marksRowOfLoops() const { return currentlist == kNailfoldList && !loopDensityText().empty(); }
  void offerToLeaveOut();
  void storeLists(Archive& archive);
  void takeRejectedMarks();
  template <class Points>
  void addMinima(const Points& points, bool labelled);
  void discard();
  // zbasicdoc_loops.cpp
  NailfoldLoops loopsInRegion();
  void takeLoops(NailfoldLoops found);
  void findLoopsAnew(bool keepsRejected);
  bool tellsLoops() const;
  void followLoops();
  // Of each marked loop, in the order of the marks; of one that the finder doesn't find there the distance to
  // the next alone.
  std::vector<NailfoldLoop> measuresOfLoops();
  void addLoopsToResults();
  void chartLoopMeasures();
  // 0 is found from the picture; up, right, down, left.
  static int32_t sideOfNail();
  static void setSideOfNail(int32_t side);
  template <int32_t N>
  void nailCommand() {
    setSideOfNail(N);
  }
  template <int32_t N>
  bool hasNail() const {
    return sideOfNail() == N;
  }
  // zbasicdoc_voronoi.cpp
  void calculateVoronoiRegions();
  bool canCalculateVoronoi() const { return hasImage() && currentDims().size() >= 4; }
  bool isGreyImage() const { return canFilter() && theImage()->colourset == kGrey; }
  bool canChangePixels() const { return hasImage() && holdsPixels(); }
  // The filters work on one byte a pixel.
  bool canFilter() const { return canChangePixels() && theImage()->colourset != kColour; }

  bool ownsImageFile = false;  // the image file was written by, or named in, this document's own file
  std::string imageStamp;      // of the image file, as it was read or written last
  History<Turn> history;
  Change* openChange = nullptr;
  uint64_t changesKnown = 0;  // changeCount() when Undo knew of every change
  // While the dust filter repairs the image: what it would be without, each step done on it too.
  std::unique_ptr<CZZimage> unrepaired;
  bool repairIsStored = false;  // in the image file
};

// What one command, or one gesture of the mouse, does to the document, so that Undo can take it back. Made
// before the change; it takes effect when it goes, unless nothing was changed. One within another is a part
// of that.
class ZBasicDoc::Change {
 public:
  enum class Alters { Document, Pixels };
  explicit Change(ZBasicDoc& document, Alters what = Alters::Document);
  ~Change();
  Change(const Change&) = delete;
  Change& operator=(const Change&) = delete;
  // False without memory: the user has been told, and the change should not be made.
  bool isReady() const { return !lacksMemory; }
  void abandon();
  const CZZimage* imageBefore() const;

 private:
  UndoState* stateBefore() const;
  ZBasicDoc& doc;
  Change* outer;
  std::unique_ptr<UndoState> before;
  bool lacksMemory = false;
};

// Of a list, as the status bar tells it; empty for the first.
const char* listName(int32_t list);

// The word for its kind that scripts and the status bar use.
const char* kindOf(const CDim& dimension);

}  // namespace tarnvisor
