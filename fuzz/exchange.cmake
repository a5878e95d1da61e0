fuzz_target(tracetext DEPENDS traces)
fuzz_target(tracebin DEPENDS traces)
fuzz_target(wav DEPENDS traces)
