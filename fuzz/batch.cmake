fuzz_target(script DEPENDS batch)
