bench_program(bench_synth SOURCES fingervideo.cpp DEPENDS synth)
add_executable(bench_accuracy_flow accuracy_flow.cpp)
target_link_libraries(bench_accuracy_flow PRIVATE analysis synth)
