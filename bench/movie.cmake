# The movie store beside plain reads, writes and copies.
bench_program(bench_moviestore SOURCES moviestore.cpp DEPENDS movie)
