fuzz_target(videofile DEPENDS videofile)
