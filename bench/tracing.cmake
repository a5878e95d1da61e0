bench_program(bench_trace SOURCES trace.cpp DEPENDS analysis)
bench_program(bench_voronoi SOURCES voronoi.cpp DEPENDS batch assembly)
