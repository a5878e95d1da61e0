# Tests that drive the windows.
