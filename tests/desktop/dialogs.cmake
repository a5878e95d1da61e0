# Tests of the dialogs.
