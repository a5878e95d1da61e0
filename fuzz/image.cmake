fuzz_target(zzg DEPENDS image)
fuzz_target(bmp DEPENDS image)
fuzz_target(tiff DEPENDS image)
fuzz_target(still DEPENDS stillimport)
