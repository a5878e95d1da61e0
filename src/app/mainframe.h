// CBasicMainFrame: the commands that belong to no document. A window system gives it the faces of the subject
// dialog and the exam list; without them their commands are off.
#pragma once

#include "app/basicapp.h"
#include "db/subjectselection.h"

namespace tarnvisor {

class ExamListFace {
 public:
  virtual ~ExamListFace() = default;
  virtual void openOrRefresh(ExamList& list) = 0;
  virtual void refreshIfOpen(ExamList& list) = 0;
  virtual bool isOpen() const = 0;
};

class CBasicMainFrame : public CommandTarget {
 public:
  explicit CBasicMainFrame(CBasicApp& application);
  ~CBasicMainFrame() override;
  CBasicMainFrame(const CBasicMainFrame&) = delete;
  CBasicMainFrame& operator=(const CBasicMainFrame&) = delete;

  const CommandTableBase* commands() const override;
  ExamList& examList() { return exams; }

  // Borrowed; null when there is no face.
  SubjectDialogFace* subjectFace = nullptr;
  ExamListFace* examFace = nullptr;

 private:
  void selectSubject() { runSelectSubject(*subjectFace); }
  bool canSelectSubject() const { return subjectFace != nullptr; }
  void viewExams();
  bool canViewExams() const { return examFace != nullptr; }
  bool showsExams() const { return examFace && examFace->isOpen(); }
  void processResults() { runProcessResults(); }
  void closeAll() { (void)app.documents.closeAll(); }
  void toggleExpertMode();
  bool isExpertMode() const { return app.expertMode != 0; }

  CBasicApp& app;
  ExamList exams;
};

}  // namespace tarnvisor
