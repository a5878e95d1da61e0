# Chart documents, and what comes into them.
fuzz_target(zz1 DEPENDS chartdoc)
fuzz_target(fir DEPENDS tracefilters)
fuzz_target(clipboard DEPENDS chartdoc)
