bench_program(bench_vectors SOURCES vectors.cpp DEPENDS vectors)
# FFTW, where it is installed, as the peer of the transform; never part of the system.
pkg_check_modules(FFTW QUIET IMPORTED_TARGET fftw3)
if(FFTW_FOUND)
  target_link_libraries(bench_vectors PRIVATE PkgConfig::FFTW)
  target_compile_definitions(bench_vectors PRIVATE HAS_FFTW)
endif()
