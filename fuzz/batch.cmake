fuzz_target(script DEPENDS batch_script)
