fuzz_target(metafile DEPENDS imagedoc)
