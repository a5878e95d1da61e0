# What is installed, and the Debian package (cpack). The programs lie in a folder of their own with what belongs beside
# them; links stand where commands are looked for.
set(TARNVISOR_HOME lib/tarnvisor)
install(TARGETS tarnvisor tarnvisor-batch RUNTIME DESTINATION ${TARNVISOR_HOME})
install(FILES profile/tarnvisor.def profile/chalkley.wmf DESTINATION ${TARNVISOR_HOME})
install(DIRECTORY help DESTINATION ${TARNVISOR_HOME} PATTERN make EXCLUDE)
install(FILES README.md LICENSE DESTINATION share/doc/tarnvisor)
install(FILES LICENSE DESTINATION share/doc/tarnvisor RENAME copyright)
install(DIRECTORY docs/formats DESTINATION share/doc/tarnvisor)
# What the desktop is told of file types comes from the rows of the kinds of document.
add_executable(tarnvisor-filetypes packaging/filetypes.cpp)
target_link_libraries(tarnvisor-filetypes PRIVATE assembly)
set(TARNVISOR_TOLD ${CMAKE_BINARY_DIR}/packaging/tarnvisor)
file(MAKE_DIRECTORY ${CMAKE_BINARY_DIR}/packaging)
add_custom_command(OUTPUT ${TARNVISOR_TOLD}.desktop ${TARNVISOR_TOLD}.xml
  COMMAND tarnvisor-filetypes ${CMAKE_SOURCE_DIR}/packaging/tarnvisor.desktop ${TARNVISOR_TOLD}.desktop ${TARNVISOR_TOLD}.xml
  DEPENDS tarnvisor-filetypes packaging/tarnvisor.desktop)
add_custom_target(filetypes ALL DEPENDS ${TARNVISOR_TOLD}.desktop ${TARNVISOR_TOLD}.xml)
install(FILES ${TARNVISOR_TOLD}.desktop DESTINATION share/applications)
install(FILES ${TARNVISOR_TOLD}.xml DESTINATION share/mime/packages)
install(FILES packaging/60-tarnvisor-cameras.rules DESTINATION lib/udev/rules.d)
install(FILES src/desktop/icons/tarnvisor.svg DESTINATION share/icons/hicolor/scalable/apps)
install(FILES src/desktop/icons/document.svg DESTINATION share/icons/hicolor/scalable/mimetypes
        RENAME tarnvisor-document.svg)
install(FILES src/desktop/icons/flow.svg DESTINATION share/icons/hicolor/scalable/mimetypes
        RENAME tarnvisor-flow.svg)
install(DIRECTORY docs/studies DESTINATION share/doc/tarnvisor USE_SOURCE_PERMISSIONS)
install(FILES docs/studies.md DESTINATION share/doc/tarnvisor)
foreach(program IN ITEMS tarnvisor tarnvisor-batch tarnvisor-study)
  string(REPLACE study batch file ${program})  # a link by whose name it is another
  install(CODE "
    file(MAKE_DIRECTORY \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/bin\")
    file(CREATE_LINK ../${TARNVISOR_HOME}/${file} \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/bin/${program}\" SYMBOLIC)")
endforeach()

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME tarnvisor)
set(CPACK_PACKAGE_VENDOR "Tarnvisor")
set(CPACK_PACKAGE_CONTACT "The Tarnvisor developers <tarnvisor@localhost>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "workstation for nailfold and dynamic capillaroscopy")
set(CPACK_PACKAGE_DESCRIPTION
    "Looks at, keeps and measures pictures of the capillaries in the skin of a finger:
density, spacing, tortuosity and size, with a database of subjects and exams.
The program tarnvisor-batch repeats an analysis over a whole study,
tarnvisor-study in chunks on one computer or many.")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEBIAN_PACKAGE_SECTION science)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_DEPENDS "qhull-bin, fonts-dejavu-core")
set(CPACK_DEBIAN_PACKAGE_CONTROL_EXTRA ${CMAKE_SOURCE_DIR}/packaging/postrm)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
# The Python module is a package beside the main one, which stays what it is without it.
if(TARNVISOR_PYTHON)
  set(CPACK_DEB_COMPONENT_INSTALL ON)
  set(CPACK_COMPONENTS_ALL Unspecified python3-tarnvisor)
  set(CPACK_DEBIAN_UNSPECIFIED_PACKAGE_NAME tarnvisor)
  set(CPACK_DEBIAN_UNSPECIFIED_DESCRIPTION "${CPACK_PACKAGE_DESCRIPTION_SUMMARY}\n${CPACK_PACKAGE_DESCRIPTION}")
  set(CPACK_DEBIAN_UNSPECIFIED_PACKAGE_CONTROL_EXTRA ${CPACK_DEBIAN_PACKAGE_CONTROL_EXTRA})
  set(CPACK_DEBIAN_UNSPECIFIED_PACKAGE_DEPENDS ${CPACK_DEBIAN_PACKAGE_DEPENDS})
  unset(CPACK_DEBIAN_PACKAGE_CONTROL_EXTRA)
  set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "")  # each description begins with its own
  set(CPACK_DEBIAN_PYTHON3-TARNVISOR_PACKAGE_NAME python3-tarnvisor)
  set(CPACK_DEBIAN_PYTHON3-TARNVISOR_PACKAGE_SECTION python)
  set(CPACK_DEBIAN_PYTHON3-TARNVISOR_DESCRIPTION "capillaroscopy in Python\nImages, movies, marks, traces and documents of \
Tarnvisor as numpy arrays, and its\nscript language.")
  # What is compiled for one Python is for that one alone.
  math(EXPR next "${Python_VERSION_MINOR} + 1")
  set(CPACK_DEBIAN_PYTHON3-TARNVISOR_PACKAGE_DEPENDS
      "python3 (>= ${Python_VERSION_MAJOR}.${Python_VERSION_MINOR}), python3 (<< ${Python_VERSION_MAJOR}.${next}), \
python3-numpy, ${CPACK_DEBIAN_PACKAGE_DEPENDS}")
endif()
include(CPack)
