# core_library(target folder SOURCES ... HEADERS ... DEPENDS ... [PRIVATE ...])
#
# One room of the house: a static library built from src/<folder>, whose public headers are reached as
# "<folder>/<header>" through an include root of the target's own (links in the build tree). DEPENDS lists what the
# room includes, no more and no less (the test rooms.listWhatTheyInclude); a room that is not defined yet stands
# later in the house and is refused here. PRIVATE names what only the sources use. Every header is also compiled
# alone (target all_verify_interface_header_sets).
function(core_library target folder)
  cmake_parse_arguments(ARG "" "" "SOURCES;HEADERS;DEPENDS;PRIVATE" ${ARGN})
  foreach(used IN LISTS ARG_DEPENDS ARG_PRIVATE)
    if(NOT TARGET ${used})
      message(FATAL_ERROR "The room ${target} can't use ${used}, which does not stand before it.")
    endif()
  endforeach()
  string(REPLACE ";" " " files "${ARG_SOURCES};${ARG_HEADERS}")
  string(REPLACE ";" " " uses "${ARG_DEPENDS};${ARG_PRIVATE}")
  set_property(GLOBAL APPEND PROPERTY TARNVISOR_ROOMS ${target})
  set_property(GLOBAL APPEND_STRING PROPERTY TARNVISOR_ROOM_LIST "${target}|${folder}|${files}|${uses}\n")
  set(root ${CMAKE_BINARY_DIR}/include/${target})
  set(links "")
  foreach(header IN LISTS ARG_HEADERS)
    file(MAKE_DIRECTORY ${root}/${folder})
    file(CREATE_LINK ${CMAKE_SOURCE_DIR}/src/${folder}/${header} ${root}/${folder}/${header} SYMBOLIC)
    list(APPEND links ${root}/${folder}/${header})
  endforeach()
  list(TRANSFORM ARG_SOURCES PREPEND ${CMAKE_SOURCE_DIR}/src/${folder}/)
  if(ARG_SOURCES)
    add_library(${target} STATIC ${ARG_SOURCES})
    target_sources(${target} PUBLIC FILE_SET HEADERS BASE_DIRS ${root} FILES ${links})
    target_link_libraries(${target} PUBLIC ${ARG_DEPENDS} PRIVATE ${ARG_PRIVATE})
    # Headers that no other room sees, and sources that include themselves once for each kind of processor.
    target_include_directories(${target} PRIVATE ${CMAKE_SOURCE_DIR}/src/${folder})
  else()
    add_library(${target} INTERFACE)
    target_sources(${target} INTERFACE FILE_SET HEADERS BASE_DIRS ${root} FILES ${links})
    target_link_libraries(${target} INTERFACE ${ARG_DEPENDS})
  endif()
endfunction()

# All targets that a target links, directly or through others, into the variable named.
function(link_closure target result)
  set(seen "")
  set(waiting ${target})
  while(waiting)
    list(POP_FRONT waiting next)
    string(REGEX REPLACE "^\\$<LINK_ONLY:(.*)>$" "\\1" next "${next}")
    if(next IN_LIST seen)
      continue()
    endif()
    list(APPEND seen ${next})
    if(TARGET ${next})
      foreach(property IN ITEMS LINK_LIBRARIES INTERFACE_LINK_LIBRARIES)
        get_target_property(linked ${next} ${property})
        if(linked)
          list(APPEND waiting ${linked})
        endif()
      endforeach()
    endif()
  endwhile()
  set(${result} ${seen} PARENT_SCOPE)
endfunction()

# The rules of the house as tests: only the two hosts have Qt in their link closure, each room lists what it
# includes, no two commands share a number, the recipes show code that compiles, the map tells what exists once in the
# process, and a dependency against the order does not configure.
function(add_room_tests)
  get_property(rooms GLOBAL PROPERTY TARNVISOR_ROOMS)
  set(wrong "")
  foreach(target IN LISTS rooms)
    if(target MATCHES "^(desktop|batch)$")
      continue()
    endif()
    link_closure(${target} closure)
    list(FILTER closure INCLUDE REGEX "^Qt6?::")
    if(closure)
      string(APPEND wrong " ${target} (${closure})")
    endif()
  endforeach()
  add_test(NAME rooms.onlyHostsKnowQt COMMAND ${CMAKE_COMMAND} -E echo "Qt is linked by:${wrong}")
  set_tests_properties(rooms.onlyHostsKnowQt PROPERTIES PASS_REGULAR_EXPRESSION "Qt is linked by:\n")

  get_property(list GLOBAL PROPERTY TARNVISOR_ROOM_LIST)
  file(WRITE ${CMAKE_BINARY_DIR}/rooms.txt "${list}")
  add_test(NAME rooms.listWhatTheyInclude
           COMMAND ${CMAKE_COMMAND} -D ROOMS=${CMAKE_BINARY_DIR}/rooms.txt -D SOURCE=${CMAKE_SOURCE_DIR}/src
                   -P ${CMAKE_SOURCE_DIR}/tests/house/includes.cmake)
  add_test(NAME rooms.giveEachCommandANumber
           COMMAND ${CMAKE_COMMAND} -D SOURCE=${CMAKE_SOURCE_DIR}/src -P ${CMAKE_SOURCE_DIR}/tests/house/ids.cmake)
  add_test(NAME docs.recipesAreTheCodeThatCompiles
           COMMAND ${CMAKE_COMMAND} -D RECIPES=${CMAKE_SOURCE_DIR}/docs/recipes.md -D ROOT=${CMAKE_SOURCE_DIR}
                   -P ${CMAKE_SOURCE_DIR}/tests/house/recipes.cmake)
  add_test(NAME rooms.dependUpwardsInVain
           COMMAND ${CMAKE_COMMAND} -G ${CMAKE_GENERATOR} -S ${CMAKE_SOURCE_DIR}/tests/house -B ${CMAKE_BINARY_DIR}/tests/house)
  set_tests_properties(rooms.dependUpwardsInVain PROPERTIES
                       PASS_REGULAR_EXPRESSION "The room lower can't use upper, which does not stand before it")

  # The sanitizers keep variables of their own beside those of the sources.
  if(NOT TARNVISOR_SANITIZE)
    set(binaries $<TARGET_OBJECTS:tarnvisor> $<TARGET_OBJECTS:tarnvisor-batch>)
    foreach(target IN LISTS rooms)
      get_target_property(type ${target} TYPE)
      if(type STREQUAL "STATIC_LIBRARY")
        list(APPEND binaries $<TARGET_FILE:${target}>)
      endif()
    endforeach()
    file(GENERATE OUTPUT ${CMAKE_BINARY_DIR}/binaries.txt CONTENT "$<JOIN:${binaries},\n>\n")
    add_test(NAME rooms.tellTheirProcessWideState
             COMMAND ${CMAKE_COMMAND} -D NM=${CMAKE_NM} -D BINARIES=${CMAKE_BINARY_DIR}/binaries.txt
                     -D SOURCE=${CMAKE_SOURCE_DIR}/src -D TABLE=${CMAKE_SOURCE_DIR}/docs/architecture.md
                     -P ${CMAKE_SOURCE_DIR}/tests/house/state.cmake)
  endif()
endfunction()
