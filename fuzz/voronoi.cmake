fuzz_target(voronoi DEPENDS analysis)
