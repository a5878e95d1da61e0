# core_library(target folder SOURCES ... HEADERS ... DEPENDS ... [PRIVATE ...])
#
# One room of the house: a static library built from src/<folder>, whose public headers are reached as
# "<folder>/<header>" through an include root of the target's own (links in the build tree). A source can
# therefore only include headers of what it lists under DEPENDS, directly or through what that lists, and an
# include against the order of the rooms does not compile. PRIVATE names outside libraries that only the
# sources use. Every header is also compiled alone (target all_verify_interface_header_sets).
function(core_library target folder)
  cmake_parse_arguments(ARG "" "" "SOURCES;HEADERS;DEPENDS;PRIVATE" ${ARGN})
  set(root ${CMAKE_BINARY_DIR}/include/${target})
  set(links "")
  foreach(header IN LISTS ARG_HEADERS)
    file(MAKE_DIRECTORY ${root}/${folder})
    file(CREATE_LINK ${CMAKE_SOURCE_DIR}/src/${folder}/${header} ${root}/${folder}/${header} SYMBOLIC)
    list(APPEND links ${root}/${folder}/${header})
  endforeach()
  set(sources "")
  foreach(source IN LISTS ARG_SOURCES)
    list(APPEND sources ${CMAKE_SOURCE_DIR}/src/${folder}/${source})
  endforeach()
  if(sources)
    add_library(${target} STATIC ${sources})
    target_sources(${target} PUBLIC FILE_SET HEADERS BASE_DIRS ${root} FILES ${links})
    target_link_libraries(${target} PUBLIC ${ARG_DEPENDS} PRIVATE ${ARG_PRIVATE})
  else()
    add_library(${target} INTERFACE)
    target_sources(${target} INTERFACE FILE_SET HEADERS BASE_DIRS ${root} FILES ${links})
    target_link_libraries(${target} INTERFACE ${ARG_DEPENDS})
  endif()
endfunction()

# core_test(name SOURCES ... DEPENDS ... [LABELS ...]): one GoogleTest program from tests/, one CTest test a case.
function(core_test name)
  cmake_parse_arguments(ARG "" "" "SOURCES;DEPENDS;LABELS" ${ARGN})
  add_executable(${name} ${ARG_SOURCES})
  target_include_directories(${name} PRIVATE ${CMAKE_SOURCE_DIR}/tests)
  target_link_libraries(${name} PRIVATE ${ARG_DEPENDS} GTest::gmock GTest::gtest_main)
  gtest_discover_tests(${name} DISCOVERY_TIMEOUT 60 PROPERTIES TIMEOUT 120 LABELS "${ARG_LABELS}")
endfunction()
