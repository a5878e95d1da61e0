fuzz_target(resultfile DEPENDS results)
