# Chart documents, and what comes into them.
fuzz_target(zz1 DEPENDS charts)
fuzz_target(fir DEPENDS traces)
fuzz_target(clipboard DEPENDS charts)
