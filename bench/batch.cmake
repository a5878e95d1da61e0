bench_program(bench_voronoi SOURCES voronoi.cpp DEPENDS batch assembly)
