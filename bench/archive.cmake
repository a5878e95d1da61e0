bench_program(bench_archive SOURCES bench_archive.cpp DEPENDS archive)
