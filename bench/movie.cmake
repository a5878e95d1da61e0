# Movies. OpenCV's reader, where it is installed, and the program ffmpeg are the peers; never part of the system.
add_executable(bench_videofile videofile.cpp)
target_link_libraries(bench_videofile PRIVATE video)
find_package(OpenCV QUIET COMPONENTS core imgproc videoio)
if(OpenCV_FOUND)
  target_include_directories(bench_videofile SYSTEM PRIVATE ${OpenCV_INCLUDE_DIRS})
  target_link_libraries(bench_videofile PRIVATE ${OpenCV_LIBS})
  target_compile_definitions(bench_videofile PRIVATE HAS_OPENCV)
endif()
# The movie store beside plain reads, writes and copies.
bench_program(bench_moviestore SOURCES moviestore.cpp DEPENDS movie)
