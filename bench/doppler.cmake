# The velocity input: bench_doppler [seconds]
add_executable(bench_doppler doppler.cpp)
target_link_libraries(bench_doppler PRIVATE desktop assembly)
