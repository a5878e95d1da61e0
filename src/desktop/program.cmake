# The main window and the program.
