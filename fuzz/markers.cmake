fuzz_target(markers DEPENDS charts)
