# Holds the table "What exists once in the process" to the compiled sources: each object in writable memory stands in it
# beside its place, or is declared const there, or is an exception below; and what stands in it exists.
# NM: the program that lists symbols; BINARIES: a file with an archive or object file a line; SOURCE: the folder of the
# rooms; TABLE: the document.
cmake_minimum_required(VERSION 3.24)

# Not const, because their functions aren't, but with nothing in them that could change.
set(exceptions
    "charts/marker.cpp markerLink()::own" # the way to this user's running program
    "framework/view.cpp CView::site() const::nowhere") # the window of a view that has none

# What the compiler and the libraries bring: whether a static variable is made yet, types of exceptions, their own state.
set(foreign "^(guard variable for |__tls_guard|DW\\.ref\\.|std::|__gnu_cxx::|Qt?[A-Z]|qt_)")
set(generated "/(qrc|moc|mocs)_[^/]*$")

# Text with names as `nm -C` prints them, without what the compiler appends to its copies. What would mean something in a
# list is replaced.
function(plain text result)
  string(REGEX REPLACE "\\[abi:[a-z0-9]+\\]| \\[clone [^]\n]*\\]|\\.(lto_priv|constprop|isra|part)\\.[0-9]+" "" text "${text}")
  string(REPLACE ";" "," text "${text}")
  string(REPLACE "[" "<" text "${text}")
  string(REPLACE "]" ">" text "${text}")
  set(${result} "${text}" PARENT_SCOPE)
endfunction()

# Whether a source declares the variable const, a pointer also in itself. Indented, it is one of the process only when it
# is static too.
function(declares_const source variable result)
  set(isConst FALSE)
  if(EXISTS ${source})
    file(READ ${source} text)
    if(text MATCHES "(\n|static )(static )?(const|constexpr) [^;={(]*[^*& ] ${variable}[^A-Za-z0-9_]")
      set(isConst TRUE)
    endif()
  endif()
  set(${result} ${isConst} PARENT_SCOPE)
endfunction()

# What the document tells, as "place name".
set(title "\n## What exists once in the process\n")
file(READ ${TABLE} document)
plain("${document}" document)
string(FIND "${document}" "${title}" start)
if(start EQUAL -1)
  message(FATAL_ERROR "${TABLE} has no section:${title}")
endif()
string(SUBSTRING "${document}" ${start} -1 section)
string(REPLACE "${title}" "" section "${section}")
string(REGEX REPLACE "\n## .*" "" section "${section}")
string(REGEX MATCHALL "\n\\| `[^\n]*" rows "${section}")
set(told "")
foreach(row IN LISTS rows)
  if(NOT row MATCHES "^\n\\| ([^|]+) \\| `([^`|]+)` \\| [^|]*[^| ] \\| [^|]*[^| ] \\|$")
    message(SEND_ERROR "not objects, place, what they hold and how they are reset: ${row}")
    continue()
  endif()
  set(place "${CMAKE_MATCH_2}")
  string(REGEX MATCHALL "`[^`]+`" names "${CMAKE_MATCH_1}")
  foreach(name IN LISTS names)
    string(REPLACE "`" "" name "${name}")
    if("${place} ${name}" IN_LIST told)
      message(SEND_ERROR "${name} of ${place} stands in the table twice")
    endif()
    list(APPEND told "${place} ${name}")
  endforeach()
endforeach()

# What there is. A constant that merely holds addresses lies in .data.rel.ro, which is read-only once the program runs.
file(STRINGS ${BINARIES} binaries)
execute_process(COMMAND ${CMAKE_COMMAND} -E env LC_ALL=C ${NM} -C -f sysv --defined-only ${binaries}
                OUTPUT_VARIABLE symbols ERROR_VARIABLE problems RESULT_VARIABLE status)
if(NOT status EQUAL 0)
  message(FATAL_ERROR "the symbols can't be read:\n${problems}")
endif()
plain("${symbols}" symbols)
set(column "[^|\n]*\\|")
string(REGEX MATCHALL
       "\n(Symbols from [^\n]*|${column}${column}${column} *(OBJECT|TLS)\\|${column}${column}\\.(data|bss|tdata|tbss)[^\n]*)"
       lines "${symbols}")
set(place "")
set(found "")
foreach(line IN LISTS lines)
  if(line MATCHES "^\nSymbols from ")
    # ".../src/room/libroom.a[source.cpp.o]:" or ".../src/room/.../source.cpp.o:"
    string(REGEX REPLACE ".*/src/([^/]+)/.*[</]([^</]+)\\.o>?:$" "\\1/\\2" place "${line}")
    continue()
  endif()
  string(REGEX REPLACE "^\n([^|]*[^| ]) *\\|.*" "\\1" name "${line}")
  if(line MATCHES "\\|\\.data\\.rel\\.ro" OR name MATCHES "${foreign}" OR place MATCHES "${generated}")
    continue()
  endif()
  string(REGEX REPLACE "tarnvisor::|\\(anonymous namespace\\)::" "" name "${name}")
  list(APPEND found "${place} ${name}")
  if("${place} ${name}" IN_LIST told OR "${place} ${name}" IN_LIST exceptions)
    continue()
  endif()
  string(REGEX REPLACE ".*::" "" variable "${name}")
  declares_const(${SOURCE}/${place} "${variable}" isConst)
  if(NOT isConst)
    message(SEND_ERROR "${name} of ${place} can change, exists once in the process, and does not stand in ${TABLE}")
  endif()
endforeach()

foreach(object IN LISTS told exceptions)
  if(NOT object IN_LIST found)
    message(SEND_ERROR "there is no object of the process: ${object}")
  endif()
endforeach()
