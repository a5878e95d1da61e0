fuzz_target(tv1 DEPENDS imagedoc)
