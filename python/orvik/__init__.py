"""Records of the suite's metadata: the variant tree in its lite variant and XML forms.

    >>> import orvik
    >>> rec = orvik.load("acquisition.lvz")        # or an XML file: detected from the content
    >>> rec["objective"], rec.get("\\\\stage\\\\x", 0.0)
    >>> orvik.dump(rec, "copy.xml", format="xml8")

load/loads read either form into a Record; dump/dumps write a Record, a mapping or a list in the
form chosen with format= ("lvz", "lv", "xml", "xml8").  Damaged input raises FormatError.
"""
import os as _os
import sys as _sys


def _asan_runtime_loaded():
    import ctypes

    return hasattr(ctypes.CDLL(None), "__asan_init")


def _import_extension():
    # The library parses XML with the UTF-16 build of expat (libexpatw), whose functions carry
    # the same names as those of the UTF-8 build that the interpreter itself links.  Loaded with
    # the default flags, the library's calls would bind to the interpreter's copy and every XML
    # read would fail; RTLD_DEEPBIND puts the extension's own dependencies first.  The
    # AddressSanitizer runtime refuses that flag: sanitizer test runs preload libexpatw instead.
    flags = _sys.getdlopenflags()
    deep = getattr(_os, "RTLD_DEEPBIND", 0)
    if deep and not _asan_runtime_loaded():
        _sys.setdlopenflags(flags | deep)
    try:
        from . import _orvik
    finally:
        _sys.setdlopenflags(flags)
    return _orvik


_ext = _import_extension()
Record = _ext.Record
FormatError = _ext.FormatError
load = _ext.load
loads = _ext.loads
dump = _ext.dump
dumps = _ext.dumps

__all__ = ["Record", "FormatError", "load", "loads", "dump", "dumps"]
