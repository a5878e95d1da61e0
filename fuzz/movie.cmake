fuzz_target(videofile DEPENDS videofile)
fuzz_target(mve DEPENDS movie)
