fuzz_target(metafile DEPENDS drawing)
