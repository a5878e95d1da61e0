bench_program(bench_analysis SOURCES bench_analysis.cpp DEPENDS analysis)
bench_program(bench_image SOURCES bench_image.cpp DEPENDS image)

# Our operations beside OpenCV's, where it is installed; never part of the system. See the script "peers".
find_package(OpenCV QUIET COMPONENTS core imgproc)
if(OpenCV_FOUND)
  add_executable(bench_peers EXCLUDE_FROM_ALL peers.cpp)
  target_include_directories(bench_peers SYSTEM PRIVATE ${OpenCV_INCLUDE_DIRS})
  target_link_libraries(bench_peers PRIVATE analysis ${OpenCV_LIBS})
endif()
bench_program(bench_trace SOURCES trace.cpp DEPENDS analysis)
bench_program(bench_flow SOURCES flow.cpp DEPENDS analysis)
# Movement correction: how right it is, and how fast beside OpenCV.
add_executable(bench_accuracy accuracy.cpp)
target_link_libraries(bench_accuracy PRIVATE analysis synth)
