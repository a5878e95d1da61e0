# The faces of what is more than fields.
