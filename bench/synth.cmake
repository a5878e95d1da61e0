bench_program(bench_synth SOURCES fingervideo.cpp DEPENDS synth)
add_executable(bench_accuracy_flow accuracy_flow.cpp)
target_link_libraries(bench_accuracy_flow PRIVATE analysis synth)
# Velocity of linescans: how right it is, and how fast.
add_executable(bench_accuracy_velocity accuracy_velocity.cpp)
bench_program(bench_velocity SOURCES velocity.cpp)
foreach(program IN ITEMS bench_accuracy_velocity bench_velocity)
  target_include_directories(${program} PRIVATE ${CMAKE_SOURCE_DIR}/tests)
  target_link_libraries(${program} PRIVATE analysis synth video)
endforeach()
# Velocity of Doppler spectra: how right it is.
add_executable(bench_accuracy_doppler accuracy_doppler.cpp)
target_include_directories(bench_accuracy_doppler PRIVATE ${CMAKE_SOURCE_DIR}/tests)
target_link_libraries(bench_accuracy_doppler PRIVATE traces synth)
