fuzz_target(videofile DEPENDS video)
fuzz_target(mve DEPENDS movie)
