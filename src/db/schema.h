// The tables of a subject database, to the letter: other programs are known to look for them in traces.
#pragma once

#include <cstdint>
#include <string>

#include "base/text.h"

namespace tarnvisor::sql {

inline constexpr const char* kTables[] = {
    "create table info ( dbversion INTEGER, tarnversion TEXT, created TEXT, folder TEXT );",
    "create table patients ( id TEXT PRIMARY KEY, name TEXT, surname TEXT, comments TEXT, lastused TEXT );",
    "create table exams ( id integer primary key, patientid TEXT, created TEXT, site TEXT, comment TEXT, folder TEXT );",
    "create table results ( id integer primary key, examid integer, created TEXT, filename TEXT, result TEXT );"};

// As the row of `info` tells a program's version.
inline std::string versionText(const int32_t (&v)[4]) {
  return format("%02i.%02i.%02i.%02i", v[0], v[1], v[2], v[3]);
}

}  // namespace tarnvisor::sql
