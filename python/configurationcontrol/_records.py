"""The records of the library's binary interface, and the library itself.

The layouts are those of TicketRecords.h and TicketServices.h, which never change; `load` checks the sizes and versions that the
library reports before anybody reads a record by them.
"""

from __future__ import annotations

import ctypes
from ctypes import POINTER, c_bool, c_char_p, c_int, c_int32, c_uint32, c_uint64, c_void_p

NONE, POINTER_TYPE, INT, DOUBLE, STRING, BINSTR, VECTOR, INT64, UNSIGNED, UINT64 = range(10)
SCALAR_INDEX = -1
WALK_VALUES = 2  # vectors as their number of elements
OP_SAVE, OP_RELEASE, OP_CLEAR, OP_PARTIAL_KEYS, OP_COUNT = range(5)


class BinString(ctypes.Structure):
    _fields_ = [("data", c_void_p), ("length", c_uint64)]


class SetRecord(ctypes.Structure):
    _fields_ = [("key", c_char_p), ("type", c_uint32), ("value", c_void_p), ("index", c_int), ("result", c_bool)]


WALK_CALLBACK = ctypes.CFUNCTYPE(c_bool, c_void_p, c_char_p, c_uint32, c_void_p, c_int)
LOCKED_CALLBACK = ctypes.CFUNCTYPE(None, c_void_p)
OBSERVER = ctypes.CFUNCTYPE(None, c_void_p, POINTER(c_char_p))


class Access(ctypes.Structure):
    """The table of a ticket. Every entry is called with `ticket` as its first argument."""


Access._fields_ = [
    ("size", c_uint64),
    ("version", c_uint32),
    ("reserved", c_uint32),
    ("ticket", c_void_p),
    ("get_parameter", ctypes.CFUNCTYPE(c_int, c_void_p, c_char_p, c_uint32, c_void_p, c_int)),
    ("get_multi_parameter", c_void_p),
    ("walk_parameter", ctypes.CFUNCTYPE(c_int, c_void_p, WALK_CALLBACK, c_void_p, c_char_p, c_int)),
    ("reserved1", c_void_p * 20),
    ("set_parameter", ctypes.CFUNCTYPE(c_int, c_void_p, c_char_p, c_uint32, c_void_p, c_int)),
    ("set_multi_parameter", ctypes.CFUNCTYPE(c_int, c_void_p, POINTER(SetRecord))),
    ("merge_ticket", ctypes.CFUNCTYPE(c_int, c_void_p, POINTER(Access), POINTER(c_char_p), c_bool)),
    ("operation", ctypes.CFUNCTYPE(c_int, c_void_p, c_uint32, c_void_p)),
    ("lock", ctypes.CFUNCTYPE(c_int, c_void_p, c_int, POINTER(c_int), c_bool)),
    ("reserved2", c_void_p * 20),
    ("en_dis_notification", c_void_p),
    ("queue_after_notification", c_void_p),
    ("reserved3", c_void_p * 19),
]


class Instance(ctypes.Structure):
    """The factory record."""

    _fields_ = [
        ("size", c_uint64),
        ("version", c_uint64),
        ("create", ctypes.CFUNCTYPE(POINTER(Access), c_char_p)),
        ("destroy", ctypes.CFUNCTYPE(None, POINTER(POINTER(Access)))),
        ("access_version", c_uint64),
        ("reserved", c_void_p * 19),
    ]


class SaveRecord(ctypes.Structure):
    _fields_ = [("size", c_uint32), ("step", c_uint32), ("error", c_int32), ("note", c_uint32)]


class LoadRecord(ctypes.Structure):
    _fields_ = [("size", c_uint32), ("state", c_uint32), ("error", c_int32), ("line", c_uint32), ("column", c_uint32)]


def load(name: str = "libConfigurationControl.so.1") -> tuple[ctypes.CDLL, Instance]:
    """Loads the library. Raises OSError if it is not found or is not one that these records describe."""
    library = ctypes.CDLL(name)
    instance = Instance.in_dll(library, "STicketInstance")
    if (instance.size, instance.version, instance.access_version) != (ctypes.sizeof(Instance), 1, 2):
        raise OSError(f"{name}: this version of the library is not supported")
    table = POINTER(Access)
    for function, result, arguments in (
        ("TicketGetSaveOutcome", c_int, [table, POINTER(SaveRecord)]),
        ("TicketGetLoadOutcome", c_int, [table, POINTER(LoadRecord)]),
        ("TicketRunLocked", c_int, [table, LOCKED_CALLBACK, c_void_p]),
        ("TicketAddObserver", c_uint64, [table, OBSERVER, c_void_p]),
        ("TicketRemoveObserver", c_int, [table, c_uint64]),
    ):
        entry = getattr(library, function)
        entry.restype, entry.argtypes = result, arguments
    return library, instance
