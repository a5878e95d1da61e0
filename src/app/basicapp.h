// CBasicApp: the one application object, from the first instruction of the process to its end: the start
// sequence, the document table behind the channel gates, the idle pass, messages between processes, and the
// shutdown.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "app/documentrow.h"
#include "app/inputs.h"
#include "app/instancelink.h"
#include "app/processstate.h"
#include "db/subjectdatabase.h"
#include "framework/command.h"
#include "framework/documenttype.h"
#include "framework/messageloop.h"

namespace tarnvisor {

inline constexpr const char* kBuildStamp = "Sep  2 2025 14:40:32";

struct StartOptions {
  std::string programPath;
  std::string profilePath;                  // a profile to use in place of the program's own; empty for that
  std::optional<std::string> settingsCopy;  // the run works on a copy of the profile, at this path
  std::string commandLine;                  // as given: a file, or "/x " and a file
  std::string logLine;  // what the log tells of the start in place of an empty command line
  std::span<const DocumentRow> documentTable;   // outlives the application
  std::function<void()> bindCameraControllers;  // before the first row, with the image channel on
  bool listenForOthers = true;                  // take messages from other processes
  std::string dataFolder;                       // a data folder in place of the profile's; empty for that
  bool remembersFiles = true;                   // opened files go into the list of recent ones
  bool keepWorkingFolder = false;               // stay in the folder the program was started in
  bool askForDataFolder = true;                 // when the profile names none that can be examined
};

class CBasicApp : public CommandTarget {
 public:
  CBasicApp();
  ~CBasicApp() override;  // logs the end

  // False ends the process before the message loop.
  [[nodiscard]] bool initInstance(const StartOptions& options);
  int32_t exitInstance();
  // True to be called again at once.
  bool onIdle(int32_t count);

  // The document of a file, opened or activated, or a new one around a file that a type imports; null when no
  // type claims the file or the document refused, after the user was told.
  CDocument* openDocumentFile(const std::string& path);
  void onFileOpen();
  // Brings files of other kinds into new documents.
  void onFileImport();
  // A file as what it is, in a document of its own; null after the user was told why not.
  CDocument* importFile(const std::string& path);
  void postMainCommand(int32_t id) { loop.post(id); }
  // The active view, its document, the frame, the application, in the order in which commands reach them.
  std::vector<CommandTarget*> commandChain() { return commandChain(documents.active()); }
  std::vector<CommandTarget*> commandChain(CDocument* front);  // null: frame and application alone
  CommandResult runCommand(int32_t id);

  void readSettings();
  void saveSettings();
  // The keys that may change while the process lives, after somebody else wrote them.
  void rereadSettings();
  // The same from another profile: nothing of the one before stays.
  void takeProfile();
  // Opens or creates the database that the profile names, asking for a folder when it names none. False when
  // it can't be opened; the user has then been told and db is null.
  bool openDatabase();
  // The same for a data folder that is named here and not in the profile; it is made when missing.
  bool openDatabaseIn(const std::string& folder);
  void closeDatabase() { db.reset(); }
  // Asks for another data folder, closes all documents and goes on there, with no subject selected; the
  // profile keeps the choice. With a folder that can't be used the present one stays.
  void chooseDataFolder();
  // Goes on in another one, with no subject selected, without keeping the choice; all documents are closed.
  // With a folder that can't be used the present one stays, and false.
  bool useDataFolder(const std::string& folder);

  // Messages between processes.
  void receiveAutoLoad(const std::string& path);
  void receiveFreezeSave(const std::string& path);

  void helpContents();
  void about();
  void tileWindows();
  void cascadeWindows();
  void closeDocument();  // the one in front, after asking about changes
  // The recent file at an index (app/recentfiles.h); one that can't be opened leaves the list.
  void openRecentFile(size_t index);
  void openRecentFile(const std::string& path);
  void closeProgram();
  // The file of a start switch did not open, or what it asks for was not there to be done.
  bool startSwitchFailed() const { return switchFailed; }
  static const CommandTableBase& commandTable();
  const CommandTableBase* commands() const override { return &commandTable(); }

  std::string programPath;
  std::string dbPath;
  std::string dataFolder;  // with its trailing separator
  std::unique_ptr<SubjectDatabase> db;
  int32_t expertMode = 1;
  int32_t showDb = 1;
  int32_t fgMode = 1;

  DocumentManager documents;
  MessageLoop loop;

  // Borrowed; null when there is none.
  VelocityInput* velocityInput = nullptr;
  CameraPoll* camera = nullptr;
  LiveSink* liveView = nullptr;
  VelocitySink* flo1View = nullptr;
  CommandTarget* mainFrame = nullptr;
  RecorderSink* recorder = nullptr;  // the open recorder document
  int64_t samplesRead = 0;

  // For runs that nobody watches: called once the commands of a start switch are through, in place of leaving
  // quiet mode.
  std::function<void()> onSwitchDone;
  // Told when another data folder was opened while the program runs.
  std::function<void()> onDataFolderChanged;
  // Where Open begins; empty for where the user last worked.
  std::function<std::string()> folderOfExam;

 private:
  DocumentType* importType() const;
  void remember(const std::string& path);
  bool canImport() const { return importType() != nullptr; }
  template <size_t N>
  void openRecent() {
    openRecentFile(N);
  }
  bool hasDocument() const { return documents.active() != nullptr; }
  void startVelocityInput();
  void registerDocumentTypes(const StartOptions& options);
  void readSettingsOfKinds();
  void runStartSwitch(char letter);
  void endStartSwitch();
  void logBanner();
  bool isOpenView(const CView* view) const;
  bool openDatabaseFile();
  bool idleVelocityInput();
  bool idleCamera();
  void idleCameraStop();

  std::vector<std::unique_ptr<DocumentType>> unregistered;  // types that match no file
  std::vector<int16_t> sampleBuffer;
  std::optional<InstanceLink> link;
  bool remembersFiles = true;
  std::span<const DocumentRow> documentTable;
  enum class Switch { None, Running, Done } startSwitch = Switch::None;
  bool switchFailed = false;
  bool ending = false;
  bool wasRecording = false;
  std::string commandLine;
  std::string logLine;
};

// The application object; made by the program, one at a time.
CBasicApp& theApp();

}  // namespace tarnvisor
