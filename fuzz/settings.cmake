fuzz_target(profile DEPENDS settings)
