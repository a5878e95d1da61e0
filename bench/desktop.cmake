# The windows, on a display that exists only in memory.
find_package(Qt6 REQUIRED COMPONENTS Widgets)
bench_program(bench_windows SOURCES windows.cpp startup.cpp DEPENDS desktop assembly)
target_compile_definitions(bench_windows PRIVATE PROGRAM="$<TARGET_FILE:tarnvisor>")
add_dependencies(bench_windows tarnvisor)

add_executable(bench_playback playback.cpp)
target_link_libraries(bench_playback PRIVATE desktop assembly synth)

# Lines through a video, with nobody watching.
add_executable(bench_linescans linescans.cpp)
target_link_libraries(bench_linescans PRIVATE frame assembly synth)
