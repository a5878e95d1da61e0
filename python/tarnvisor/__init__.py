"""Images, movies, marks, traces and documents of Tarnvisor as numpy arrays, and its script language.

read_image, open_movie and open_document read; run and Session work. Arrays look at the memory of what was read,
without copies, and keep it alive. Importing the module starts nothing.
"""

from ._core import (
    Dimension,
    DimensionList,
    Document,
    Error,
    Image,
    Movie,
    ScriptError,
    Session,
    Table,
    Trace,
    open_document,
    open_movie,
    read_image,
    run,
)

__all__ = [
    "Dimension",
    "DimensionList",
    "Document",
    "Error",
    "Image",
    "Movie",
    "ScriptError",
    "Session",
    "Table",
    "Trace",
    "open_document",
    "open_movie",
    "read_image",
    "run",
]

for _name in __all__:
    globals()[_name].__module__ = __name__
del _name
