# Charts, drawn in memory.
bench_program(bench_charts SOURCES charts.cpp DEPENDS desktop assembly)
# Samples to files of other programs and back.
bench_program(bench_exchange SOURCES exchange.cpp DEPENDS traces)
