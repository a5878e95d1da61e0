bench_program(bench_simulatedcamera SOURCES simulatedcamera.cpp DEPENDS camera)
# Frames of a camera on the loopback network: bench_camera [seconds]
add_executable(bench_camera camera.cpp)
target_link_libraries(bench_camera PRIVATE camera PkgConfig::ARAVIS)
add_executable(bench_recording recording.cpp)
target_link_libraries(bench_recording PRIVATE camera PkgConfig::ARAVIS)
