fuzz_target(tracetext DEPENDS traceimport)
fuzz_target(tracebin DEPENDS traceimport)
fuzz_target(wav DEPENDS traceimport)
