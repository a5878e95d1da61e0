bench_program(bench_synth SOURCES fingervideo.cpp DEPENDS synth)
