fuzz_target(archiveobjects DEPENDS measure)
fuzz_target(dustmask DEPENDS measure)
