# Charts, drawn in memory.
bench_program(bench_charts SOURCES charts.cpp DEPENDS desktop assembly)
