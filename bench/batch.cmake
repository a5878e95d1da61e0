bench_program(bench_voronoi SOURCES voronoi.cpp DEPENDS batch assembly)
# Pictures, list and steps of a study, for scripts/study-check.
add_executable(bench_makestudy makestudy.cpp)
target_link_libraries(bench_makestudy PRIVATE image synth)
