// CVivoCapDoc: a sequence of images as one document. What the image document does to its one image happens
// here to the current image of a movie, and the steps of processing to each image of the selection. Its own
// file
// (.dtv) holds the link to the movie file, the movie's table with each image's origin, and the document's own
// data; the pixels stay in the movie. docs/formats/dtv.md tells the stored form.
//
// Images are counted from 0. The selection is half-open: selectionLast is the first image after it; -1 stands
// for the start and for the end of the movie.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "analysis/movement.h"
#include "base/files.h"
#include "dynamic/movieversions.h"
#include "host/messages.h"
#include "imagedoc/zbasicdoc.h"
#include "linescan/linefeed.h"
#include "movie/movieimage.h"
#include "movie/movierewrite.h"
#include "traces/trace.h"

namespace tarnvisor {

struct NamedValue;  // results/resultformat.h

class CVivoCapDoc : public ZBasicDoc {
 public:
  CVivoCapDoc();
  ~CVivoCapDoc() override;

  // --- the document's life (vivocapdoc_open.cpp, vivocapdoc_save.cpp, vivocapdoc_archive.cpp)
  // A name ending in "avi" is imported: the document takes the same name with .dtv, unless there is such a
  // file.
  bool onOpenDocument(const std::string& path) override;
  // Any movie file, in a new document around it.
  bool onImportFile(const std::string& path) override;
  bool onSaveDocument(const std::string& path) override;
  DocumentType* storedType() const override;  // never that of the video file it came from
  void deleteContents() override;
  void serialize(Archive& archive) override;
  // The movie is not copied, but for the link to it.
  void tellUnsaved(UnsavedCopy& copy) override;
  void takeUnsaved(const LeftCopy& left) override;
  // Raw frames: their file, or the header beside it.
  [[nodiscard]] bool openRawFrames(const std::string& path);

  // --- images (vivocapdoc.cpp)
  CZZimage* theImage() override;
  bool hasMovie() const { return movie && movie->isOpen(); }
  bool showsUnread() const;
  int32_t imageCount() const { return hasMovie() ? movie->count : 0; }
  int32_t currentIndex() const { return hasMovie() ? movie->current : 0; }
  // Out of range shows image 0.
  void showImage(int32_t index);
  CZZMovie::Range selection() const;
  double imagesPerSecond() const;  // of a movie of fields twice the frames'
  double timeOf(int32_t index) const { return index / imagesPerSecond(); }
  // Puts the selection; -1 for the start and the end. One without images, or with ends outside, is refused.
  [[nodiscard]] Outcome select(int32_t first, int32_t last);

  // --- processing (vivocapdoc_pass.cpp)
  void runStep(const std::string& text, StepArea area, const std::function<void(CZZimage&)>& step) override;
  // Runs an operation on each image of the selection, and adds the words to the notes. The operation outlives
  // the call: in windows the walk goes on after it.
  void processImages(const std::string& text, const std::function<void(CZZimage&)>& operation);
  // A new movie file in the work folder, which becomes the document's; the notes get the words when that is
  // done. In windows the work goes on after the call. False when it could not begin.
  bool makeMovie(const std::string& text, RewritePlan plan);
  // A new image document with the mean of the selection, when that is done. after: told at the end.
  using AfterImage = std::function<void(ZBasicDoc* made, bool cancelled)>;  // made: null where there is none
  void averageSelection(AfterImage after = nullptr);
  // The same of the sharpest images by focusControl, each where it lies (MovieSharpest).
  void averageInFocus(AfterImage after = nullptr);
  // In a new image document with the mean of the sharper half of the selection.
  void findNailfoldLoops() override;

  // --- versions (vivocapdoc_versions.cpp)
  // Whether a pass leaves the movie before as it is, and a way back to it.
  bool keepsVersions() const;
  const MovieVersions& movieVersions() const { return versions; }
  int32_t currentVersion() const;  // its number; 0 for none of the list
  // Each tells why it can't be done.
  Outcome goToVersion(int32_t number);
  Outcome deleteVersion(int32_t number);  // asks
  bool mayDeleteVersion(int32_t number) const;
  Outcome compareVersion(int32_t number);  // in a new window

  // --- movement correction (vivocapdoc_movement.cpp)
  // Begins a run at the image shown; false without a movie, or while one is under way.
  bool initAMC();
  void editMovementRegions();
  bool editsMovementRegions() const { return amc.regionsEditing && currentlist == kAmcList; }
  int32_t addPointToDimension(int32_t index, Point point) override;
  int32_t insertDimension(const CDim& dimension) override;
  const std::vector<MovementRecord>& movementRecords() const { return amc.records; }  // of the last run
  // Those before and after were left where they were; of a stored video only its offsets tell.
  CZZMovie::Range correctedImages() const;

  // Images that are moved by hand, by whole frame pixels; of fields by even rows.
  void moveImages(CZZMovie::Range images, Point by);

  // --- widths and the flying spot (vivocapdoc_widths.cpp)
  // A chart of the width along each line of the current list over the selected images.
  void widthsAgainstTime();
  // One for each image; those of another number of images are dropped.
  void prepareSpotVelocities();
  void chartSpotVelocities();
  bool hasSpotVelocities() const { return hasMovie() && !spotVelocities.empty(); }

  // --- flow (vivocapdoc_flow.cpp)
  bool canMeasureFlow() const;
  // FCF of the selection, in chunks of so many images; asks how many.
  void calculateFcf();
  // A new image document with these pixels, named by the document and a suffix; null when there can't be one.
  ZBasicDoc* openImage(std::unique_ptr<CZZimage> pixels, const std::string& suffix);
  // A movie that was just made becomes this new document's, and its file goes with the document unless that
  // is saved.
  void adoptMovie(std::unique_ptr<CZZMovie> made, TemporaryFile file, double framesPerSecond);
  std::string stemOfTitle() const;

  // --- lines through the video (vivocapdoc_linescan.cpp)
  // The velocities that lines tell are of another scale then, and go.
  [[nodiscard]] bool setScale(double x, double y, const std::string& name, int64_t date, bool asDefault,
                              bool addToTable) override;
  ImageFacts imageFacts() const override;

  // --- exchange (vivocapdoc_exchange.cpp)
  bool importMovie(const std::string& path, bool avi);  // avi: by the command for AVI files
  // The work folder, asked for when there is none; empty when the user gives none.
  std::string workFolder();
  // Of the document, or of the movie as long as the document has none.
  std::string homeFolder() const;

  // --- what scripts ask (vivocapdoc_script.cpp)
  bool refuses(int32_t command) const override;
  std::string whyOff(int32_t command, const char* usual) const override;
  StepResult selectRange(double first, double last) override;
  StepResult show(int32_t index) override;
  std::vector<std::string> filesInUse() const override;
  StepResult exportTo(const std::string& path) override;
  StepResult tell(const std::string& what) override;  // "offsets" and "fps", too
  std::string judgementOfResult() const override;     // of the last movement correction, too
  StepResult scan(std::span<const Point> path, int32_t width) override;
  StepResult scan(int32_t dimension) override;

  static const CommandTableBase& commandTable();
  const CommandTableBase* commands() const override { return &commandTable(); }

  // What opening told of the movie: images that it lacks, or what makes numbers of it doubtful. Without an
  // end to the sentence.
  struct Doubt {
    std::string words;
    bool isLoss;
  };
  const std::vector<Doubt>& doubts() const { return movieDoubts; }
  void onSelectionChanged() override;

  int32_t frameCount = 1800;
  int32_t skipFrames = 0;
  AMCparams amc;
  CTraceArray overlayTraces;
  int32_t interlaced = 0;
  std::string moviePath;
  std::unique_ptr<CZZMovie> movie;
  double fps = 30.0;
  std::string resultsPath;
  int32_t selectionFirst = -1;
  int32_t selectionLast = -1;
  int32_t selectionStep = 1;
  std::vector<double> spotVelocities;
  uint8_t panoramicPending = 0;
  int32_t playPeriod = 20;     // milliseconds
  bool choosesPeriod = false;  // the user set another than that of the rate

 private:
  // vivocapdoc.cpp
  void refreshImage();
  void movieChanged();
  void updatePlayPeriod();
  void giveRate();
  CZZMovie& freshMovie();

  // vivocapdoc_open.cpp
  void linkMovie(const std::string& documentPath);
  std::string findMovie(const std::string& documentPath);
  void tellOfUnlike(const std::string& beside, const std::string& linked);
  bool prefersBeside(const std::string& beside, const std::string& linked);
  bool takenForMovie(const std::string& beside, const std::string& linked) const;
  void openResults(const std::string& documentPath);
  [[nodiscard]] bool openMovie(const std::string& path);
  [[nodiscard]] bool takeVideo(const std::string& path);
  [[nodiscard]] bool takeSequence(const std::string& path);
  void tellShortage(const std::string& fact, const std::string& consequence, Icon icon, bool ofImages = true);
  void doubt(const std::string& words, bool isLoss = false);
  void tellDoubts();
  void tellOfMovie();                // that it was cut off, or can't be decoded
  void tellOfMissing(size_t known);  // images that the document's table has, and the movie has not

  // Those that a save would make a movie of.
  static bool openPictures(CZZMovie& into, const std::string& path, Size size, int32_t frames,
                           std::string& why);
  void openPicturesAgain(const std::string& path, Size size, int32_t frames);

  // vivocapdoc_save.cpp
  // What a save does with the file of the movie; but for Usual the user chose it, for that save alone.
  enum class MovieChoice { Usual, KeepLink, Copy };
  // Where that file goes: it stays, comes in beside the document, or the user cancelled.
  enum class MoviePlace { Stays, ComesIn, Cancelled };
  struct MovieMove {
    MoviePlace place;
    std::string name;  // that it comes in as
    CZZMovie::Range range{0, 0};
    bool mayStay = false;  // where it can't come in
    TakenName taken = {};  // of a name that nobody gave
  };
  static MovieMove comesIn(TakenName name, CZZMovie::Range range, bool mayStay = false);
  struct BeforeSave;
  class SaveJob;
  using AfterSave = std::function<void(bool saved)>;
  std::unique_ptr<Job> savingJob(const std::string& path, AfterSave after);
  MovieMove moveOfMovie(const std::string& documentPath);
  MovieMove moveBeside(const std::string& documentPath) const;
  [[nodiscard]] bool saveLinked(const std::string& path, BeforeSave& before);
  void askAndSave();
  MoviePlace placeOfMovie(const std::string& documentPath);
  MoviePlace askForPlace(const char* question, const std::string& file);
  std::optional<std::vector<int32_t>> originalsComingIn(const std::string& documentPath);
  void goBackTo(BeforeSave& before);
  bool isMovieOfOthers(const std::string& file) const;
  void settleUnsavedMovie();
  void tellFewerImages();
  [[nodiscard]] bool saveResults(const std::string& stem);
  // vivocapdoc_pass.cpp
  class SelectionJob;
  class RewriteJob;
  class ImageJob;
  void showStep();  // the image that a job is at
  void tellFailedPass(const std::string& moviePathBefore);
  // Begins the making of an image, which a new document then shows, titled by this one and the suffix.
  void makeImage(std::unique_ptr<MovieImage> making, const std::string& suffix, AfterImage after = nullptr);
  void makeAverage(std::unique_ptr<MovieImage> averaging, const char* titleWords, AfterImage after);
  void saveUnasked(ZBasicDoc& made) const;

  // vivocapdoc_versions.cpp
  MovieVersion presentVersion(const std::string& what) const;
  MovieVersion* noteVersion();
  [[nodiscard]] bool makeVersion();
  [[nodiscard]] bool bringToFile();
  void addVersion(const std::string& what, int32_t madeOf);
  [[nodiscard]] static Outcome openVersion(const MovieVersion& version, CZZMovie& into);
  std::string whyNotDeleted(const MovieVersion& version) const;
  bool mayRemoveFile(const MovieVersion& version) const;
  void loadVersions(const std::string& documentPath);
  void bringVersionsIn(const std::string& documentPath);
  void saveVersions(const std::string& documentPath);
  void dropUnsavedVersions();
  bool hasVersions() const;
  std::optional<int32_t> askVersion(const char* title, bool ownOnly);
  void goToVersionCommand();
  void compareVersionCommand();
  void deleteVersionCommand();
  Outcome showVersion(int32_t number);
  void rememberVersions(int32_t from, int32_t to);

  // --- room on the disc (vivocapdoc_room.cpp)
  // Asks before much of it is taken. False where there is too little, and the user was told.
  [[nodiscard]] bool hasRoomFor(const std::string& folder, uint64_t bytes);
  bool goesBeside() const;  // a pass, which then takes the selection alone
  uint64_t exportBytes(int32_t step) const;

  // vivocapdoc_focus.cpp
  class FocusJob;

  // vivocapdoc_widths.cpp
  class WidthJob;
  bool hasLinesAcross() const;

  // vivocapdoc_exchange.cpp
  class ExportJob;
  // tells: where it went, at its end
  void exportMovie(const std::string& path, int32_t step, const CZZMovie::Compression* compression,
                   bool tells);
  [[nodiscard]] Outcome exportAvi(const std::string& path);
  void exportDicomAs(const std::string& path, const DicomFacts& facts) override;
  [[nodiscard]] Outcome exportDicomSequence(const std::string& path, const DicomFacts& facts);
  std::unique_ptr<Job> dicomJob(const std::string& path, DicomFacts facts,
                                std::function<void(const Outcome&)> done);

  // vivocapdoc_movement.cpp
  class MovementJob;
  void takeMovementRegions();
  void showMovementRegions();
  Point endMovement();  // by how much marks and offsets moved
  void saveInBatchMode();
  void labelRegion(int32_t index);
  void finishMovement(bool cancelled, bool eachWasShown);
  void closeMovement(bool eachWasShown);
  void tellMovement(int32_t first, int32_t last, bool cancelled);
  void keepMovementBase();
  void averagePanorama(std::function<void()> whenDone);
  void addQualityCurves(class ZchartDoc& chart);

  // vivocapdoc_archive.cpp
  void storeVideo(Archive& archive);
  void loadVideo(Archive& archive);

  // --- commands (vivocapdoc_commands.cpp)
  bool canFilterMovie() const { return hasMovie() && movie->image().colourset != kColour; }
  bool isColourMovie() const { return hasMovie() && movie->image().colourset != kGrey; }
  bool isFieldMovie() const { return hasMovie() && movie->isFieldMovie(); }
  bool isFrameMovie() const { return hasMovie() && !movie->isFieldMovie(); }
  bool hasPart() const { return hasMovie() && selection().size() < imageCount(); }
  bool never() const { return false; }
  bool compresses() const { return compressoutput != 0; }
  void correctMovement();
  void correctMovementWithoutDisplay();
  void movementSettings();
  void movementErrorMap();
  void correlateImages();
  void resetOffsets();
  void exportOffsets();
  void makePanorama();
  void movementQuality();
  void saveVideo();
  void saveVideoAs();
  void simpleThreshold();
  void mergeFields();
  void splitFields();
  void switchFieldOrder();
  void switchLines();
  void subtractTrace();
  void squareOfDifferences();
  void squareOfDifferencesToCurrent();
  void deleteSelected();
  void deleteOthers();
  void deleteImages(const char* question, bool selected);
  void duplicateImage();
  void averageCommand();
  void averageInFocusCommand();
  void focusCheck();
  void colourPlanes();
  void toGrey();
  void noCommand() {}
  void exportUncompressedCommand();
  void exportCompressedCommand();
  void importCommand();
  bool agreesToRate(double theirs, const std::string& path);  // images a second; 0: none is told
  Answer askToAdd(const std::string& path);
  void importAviCommand();
  void toggleCompression();
  void directories();
  void selectImages();
  void properties();
  std::vector<std::pair<std::string, std::string>> fileFacts() const;
  void relink(const std::string& file);
  void modifiedLaplacian();
  void min3x3();
  // vivocapdoc_linescan.cpp
  // Scans lines over the selection into the linescan window, one after the other, each with its velocity.
  // False, and the user told, when it can't begin; in windows the work goes on after the call.
  struct ScanOrder {
    std::vector<ScanLine> lines;
    std::function<std::string(size_t)> nameOf;
    std::function<void(ZlineScanDoc&, size_t)> afterEach = nullptr;
    std::function<void()> atEnd = nullptr;
    bool goesOn = false;  // the scan before was of the same work
    bool ofMany = false;
  };
  bool scanLines(ScanOrder order);
  bool scanLine(std::span<const Point> path, int32_t across, const std::string& name);
  void calculateCbv();
  void addLineRow(const CDim& line, size_t place, const ZlineScanDoc& scan, bool accepted, double diameter);
  void noteAdditions(const ZlineScanDoc& scan);
  void addCapillaryRow(const std::vector<NamedValue>& values);
  // One line after the other, each accepted by the user.
  struct LineWalk;
  void calculateAll();
  void scanNext(const std::shared_ptr<LineWalk>& walk);
  void evaluate(const std::shared_ptr<LineWalk>& walk, ZlineScanDoc& scan);
  double diameterAcross(const CDim& line);
  void densityOfLines();
  bool canScan() const { return hasMovie() && !currentDims().items.empty(); }
  // vivocapdoc_flow.cpp
  class BlockJob;
  void makeFftMovie(std::vector<uint8_t> block, int32_t points, int32_t from);
  void openFluxConcSpeed(const std::vector<uint8_t>& block, const struct SpectralFlow& with);
  void speedByRms();
  void rmsSequence();
  void fftPerPixel();
  void fluxConcSpeed();
  bool hasImagesForFft(int32_t points, int32_t from);

  std::string movementSummary;  // of the last run
  std::vector<Doubt> movieDoubts;
  std::string besideMovie;  // the path that it has because its movie lies there; empty once it is chosen
  MovieChoice movieChoice = MovieChoice::Usual;
  TemporaryFile unsavedMovie;  // was made for this document
  MovieVersions versions;
  std::string savedMovie;                // that the document's file names
  int32_t imagesOpened = 0;              // what a save tells the number of images by
  std::vector<std::string> leftOutside;  // movie files that the user left where they are
};

// On disc, as .mve.
uint64_t movieBytes(const CZZimage& form, int32_t images);
std::string roomInWords(const std::string& folder, uint64_t bytes);
// Fails, in words, where the disc has too little.
[[nodiscard]] Outcome roomFor(const std::string& folder, uint64_t bytes);

// By its ending: a movie file that a video document can be made around. AVI files have a type of their own.
bool isMovieFile(const std::string& path);
bool isMovieOrAvi(const std::string& path);
// Or raw frames, or one of many pictures.
bool isVideoFile(const std::string& path);
inline constexpr const char* kMovieFilter =
    "Videos|*.mve;*.mp4;*.mov;*.mkv;*.wmv;*.mpg;*.mpeg;*.webm|Raw frames|*.raw";

}  // namespace tarnvisor
