// The port for file and folder dialogs. A filter is pairs of words and patterns: "Images (*.tv1)|*.tv1||".
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace tarnvisor {

struct FileRequest {
  std::string title;
  std::string filter;
  std::string defaultExtension;  // with its dot; added to a typed name that has none
  std::string initialPath;       // folder or file to start from; empty for the working folder
  // Shown beside the files, of the one that is selected; for opening one file.
  std::function<std::string(const std::string& path)> preview = {};
  // Whose what is saved is: the first line.
  std::string whose = {};
};

class Choosers {
 public:
  virtual ~Choosers() = default;
  // False where what nobody answers takes its default.
  virtual bool asksSomebody() const { return true; }
  // Nothing when the user cancels.
  virtual std::optional<std::string> openFile(const FileRequest& request) = 0;
  virtual std::optional<std::string> saveFile(const FileRequest& request) = 0;
  // Several files in the dialog's order; empty when the user cancels.
  virtual std::vector<std::string> openFiles(const FileRequest& request) = 0;
  virtual std::optional<std::string> chooseFolder(const std::string& title, const std::string& current) = 0;
};

}  // namespace tarnvisor
