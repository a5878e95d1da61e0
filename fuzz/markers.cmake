fuzz_target(markers DEPENDS measure)
