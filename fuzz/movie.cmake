fuzz_target(mve DEPENDS movie)
