# Writes the commit of the sources into OUTPUT, as the words of base/commit.h. Run at each build; a file that says the
# same already is left alone, so that only a new commit compiles it.
execute_process(COMMAND git -C ${SOURCE} rev-parse --show-toplevel --show-prefix
  OUTPUT_VARIABLE place ERROR_QUIET OUTPUT_STRIP_TRAILING_WHITESPACE)
get_filename_component(source ${SOURCE} REALPATH)
set(commit unknown)
# Not that of another repository in which the sources were unpacked.
if(place STREQUAL source)
  execute_process(COMMAND git -C ${SOURCE} describe --always --abbrev=12 --dirty=+changes --exclude=*
    RESULT_VARIABLE failure OUTPUT_VARIABLE described ERROR_QUIET OUTPUT_STRIP_TRAILING_WHITESPACE)
  if(NOT failure)
    set(commit ${described})
  endif()
endif()
file(CONFIGURE OUTPUT ${OUTPUT} @ONLY CONTENT [[
#include "base/commit.h"

namespace tarnvisor {

const char* programCommit() { return "@commit@"; }

}  // namespace tarnvisor
]])
