// DICOM files of other programs as pictures: grey of 8 to 16 bits, RGB and YBR, as they stand or compressed
// by JPEG or run lengths; one or many of them. One picture at a time is in memory.
#pragma once

#include <memory>
#include <string>

#include "image/stillsequence.h"

namespace tarnvisor {

// By its ending (dcm, dicom) or its first bytes.
bool isDicomFile(const std::string& path);
// How many pictures it tells of; 0 where it can't be read.
int32_t dicomFrames(const std::string& path);
// The patient's ID; empty where it names none, or can't be read.
std::string dicomSubject(const std::string& path);
// Null where it can't be read: the words tell why, as they go on after the file's name.
std::unique_ptr<StillSequence> openDicom(const std::string& path, std::string& why);

}  // namespace tarnvisor
