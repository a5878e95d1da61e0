#include "app/about.h"

#include "base/version.h"

namespace tarnvisor {

namespace {

struct Library {
  const char* name;
  const char* version;  // that it was built with
  const char* licence;
};
constexpr Library kLibraries[] = {
    {"Qt", MADE_WITH_QT, "LGPL 3"},
    {"FFmpeg (libavcodec)", MADE_WITH_FFMPEG, "LGPL 2.1 or later, parts GPL 2 or later"},
    {"SQLite", MADE_WITH_SQLITE, "public domain"},
    {"LibTIFF", MADE_WITH_TIFF, "libtiff licence"},
    {"libjpeg-turbo", MADE_WITH_JPEG, "IJG and BSD licences"},
    {"DCMTK", MADE_WITH_DCMTK, "BSD licence"},
    {"Highway", MADE_WITH_HWY, "Apache 2.0 or BSD licence"},
    {"Aravis", MADE_WITH_ARAVIS, "LGPL 2.1 or later"},
    {"GLib", MADE_WITH_GLIB, "LGPL 2.1 or later"},
    {"OpenSSL (libcrypto)", MADE_WITH_CRYPTO, "Apache 2.0"},
    {"libxml2", MADE_WITH_LIBXML, "MIT licence"},
    {"libcurl", MADE_WITH_CURL, "curl licence"},
    {"PortAudio", MADE_WITH_PORTAUDIO, "MIT licence"}};

}  // namespace

std::string licenceWords() {
  std::string words = "Version " + versionText() +
                      "\nLicence: GNU General Public License, version 3 or later; there is no warranty.\n\n"
                      "It is made with\n";
  for (const Library& library : kLibraries)
    words += format("%s %s, %s\n", library.name, library.version, library.licence);
  return words;
}

}  // namespace tarnvisor
