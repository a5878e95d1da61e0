bench_program(bench_imageview SOURCES imageview.cpp DEPENDS imagedoc)
