fuzz_target(dtv DEPENDS dynamic)
