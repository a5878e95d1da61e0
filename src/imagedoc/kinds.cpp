#include "imagedoc/kinds.h"

#include "frame/menus.h"
#include "image/stillimport.h"
#include "imagedoc/commandids.h"
#include "imagedoc/dimdoc.h"
#include "imagedoc/focusfigure.h"
#include "imagedoc/imagemenus.h"
#include "imagedoc/otherpictures.h"
#include "imagedoc/processing.h"
#include "imagedoc/zbasicdoc.h"
#include "imagedoc/zbasicview.h"
#include "results/tableview.h"

namespace tarnvisor {

namespace {

using K = MenuEntry::Kind;

void readSettingsOfImages() {
  readProcessingSettings();
  readFocusSettings();
}

std::vector<Menu> imageMenus() {
  const MenuEntries ofFile{cmd::FileSave,  cmd::FileSaveAs,      cmd::DuplicateImage,   K::Separator,
                           cmd::Export,    cmd::ExportDicom,     cmd::ImportDimensions, K::Separator,
                           cmd::FilePrint, cmd::FilePrintPreview};
  return {fileMenu(ofFile), imageEditMenu(), imageViewMenu(),   processingMenu({}), measureMenu(),
          analysisMenu(),   subjectMenu(),   acquisitionMenu(), windowMenu(),       helpMenu()};
}

const DocumentFace& imageFace() {
  static const DocumentFace face{
      .tables = {&ZBasicView::commandTable(), &ZBasicDoc::commandTable()},
      .menus = imageMenus(),
      .popups = imagePopups(),
      .toolBars = imageToolBars(),
      .keysOnly = imageKeysOnly(),
      .files = {{.ending = ".tv1",
                 .openWords = "Images (*.tv1)",
                 .openPlace = 1,
                 .mimeType = "application/x-tarnvisor-image",
                 .mimeComment = "Tarnvisor image document"},
                {.ending = ".zzg", .mimeType = "image/x-tarnvisor-pixels", .mimeComment = "Tarnvisor pixels"},
                {.ending = ".dm",
                 .mimeType = "application/x-tarnvisor-dustmask",
                 .mimeComment = "Tarnvisor dust mask",
                 .opens = false},
                {.ending = ".bmp", .mimeType = "image/bmp"},
                {.ending = ".png", .mimeType = "image/png"},
                {.ending = ".jpg", .mimeType = "image/jpeg"},
                {.ending = ".tif", .mimeType = "image/tiff"}},
      .readSettings = &readSettingsOfImages,
      .helpPage = "image"};
  return face;
}

// Its files are text of any kind, so the desktop isn't told of them.
const DocumentFace& dimensionListFace() {
  static const DocumentFace face{.tables = {&ZDimView::commandTable(), &ZDimDoc::commandTable()},
                                 .menus = plainMenus({cmd::FileSave, cmd::FileSaveAs}, tableEditEntries()),
                                 .helpPage = "results"};
  return face;
}

}  // namespace

DocumentRow imageKind() {
  return {DocumentRow::Gate::Image,
          {10002, "\nImage\nImage\nImages (*.tv1)\n.tv1\nTarnvisor.Image\nTarnvisor Document", "ZBasicDoc",
           "ZBasicView", kChildFrame, &makeDocument<ZBasicDoc>, &makeView<ZBasicDoc, ZBasicView>,
           &isPictureFile, kPictureFilter, &imageFace},
          &ProcessState::imageTemplate};
}

DocumentRow dimensionListKind() {
  return {DocumentRow::Gate::Image,
          {10009, "\nDimension List\n\ncsv files (*.csv)\n.csv\n", "ZDimDoc", "ZDimView", kChildFrame,
           &makeDocument<ZDimDoc>, &makeView<ZDimDoc, ZDimView>, nullptr, "", &dimensionListFace},
          &ProcessState::dimTemplate};
}

}  // namespace tarnvisor
