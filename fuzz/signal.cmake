# Vectors, traces and charts.
fuzz_target(trace DEPENDS traces)
