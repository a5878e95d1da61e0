// The selected subject and exam of the running program: what is recorded and bound from now on. The recording
// folder follows: an exam's own folder, or the data folder while none is selected.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <string>

#include "app/basicapp.h"

namespace tarnvisor {

class ExamSelection {
 public:
  // One at a time; it ends before the application does, whose data folder it follows: another one, and
  // nothing is selected.
  explicit ExamSelection(CBasicApp& application);
  ~ExamSelection();
  ExamSelection(const ExamSelection&) = delete;
  ExamSelection& operator=(const ExamSelection&) = delete;

  const std::string& subjectId() const { return subject; }      // empty when none
  const std::string& subjectName() const { return name; }       // name, a blank, surname
  int32_t examId() const { return exam; }                       // -1 when none
  const std::string& examFolder() const { return folderName; }  // its name below the data folder
  bool hasExam() const { return exam >= 0; }
  std::string folder() const;  // of the exam, with its separator; empty when none is selected

  // Of another subject than before no exam is selected: it must not take this one's documents.
  void selectSubject(const std::string& id, const std::string& fullName);
  // An exam of the selected subject.
  void selectExam(int32_t id, const std::string& folderBelowData);
  void leaveExam();
  void clear();
  // All of it, for whom may have to bring it back.
  struct State {
    std::string subject, name;
    int32_t exam = -1;
    std::string folderName, recordings;
  };
  State state() const;
  void restore(const State& before);
  // "Subject S-17: Ann Lee"; of a subject without a name the id alone.
  std::string subjectWords() const;
  // "Subject S-17: Ann Lee, left ring finger"; of nobody says that no subject is selected. For the first line
  // of forms that file something.
  std::string words() const;
  // Kept in the profile.
  void setRecordingFolder(const std::string& folder);

  // Told after each change, and when results of the exam changed.
  void listen(const void* listener, std::function<void()> told) { listeners[listener] = std::move(told); }
  void forget(const void* listener) { listeners.erase(listener); }
  void tell() const;

 private:
  CBasicApp& app;
  std::string subject, name;
  int32_t exam = -1;
  std::string folderName;
  std::map<const void*, std::function<void()>> listeners;
};

// The one of the running program.
ExamSelection& theExams();

}  // namespace tarnvisor
