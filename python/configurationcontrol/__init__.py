"""Typed, ordered, persistent settings: tickets in memory or bound to one XML file.

    from configurationcontrol import Ticket

    with Ticket("settings.xml") as ticket:      # saved at the end of the block; a failed save raises
        ticket["Log/Level"] = 5
        ticket["Recent"] = ["a.pdf", "b.pdf"]
        print(ticket.get("Product/Name", "unnamed"))

A ticket is a mutable mapping from keys to int, float, str, bytes and lists of them, in ascending byte order of the keys. Any
thread may use it. Whole numbers are read as int, whatever they were stored as, because the store keeps one form of a number. A
list of one element that was saved is read as that element: a file cannot tell them apart, `read_list` does not mind.
"""

from __future__ import annotations

import ctypes
import errno
import os
from collections.abc import Callable, Iterable, Iterator, Mapping, MutableMapping
from typing import Any, NamedTuple, NoReturn, Optional, TypeVar, Union

from . import _records as records
from ._values import Scalar, Value, check_file_keeps, check_file_keeps_key, encoded, is_negative_zero, text_bytes, text_of

__all__ = ["LoadOutcome", "SaveError", "SaveOutcome", "Ticket", "Value"]

_library, _instance = records.load()
_Result = TypeVar("_Result")

_STEPS = ("ok", "number", "conversion", "nesting", "memory", "open", "lock", "write", "flush", "keep", "rename", "remove")
_STATES = ("not yet", "loaded", "no file", "unreadable", "no document", "cut at a NUL", "too deep", "conversion failed")


class SaveOutcome(NamedTuple):
    """What became of the last save."""

    step: str  #: "ok", or the step that failed: "open", "write", "flush", ...
    error: int  #: errno of that step; 0 where there is none
    unreadable_kept: bool  #: False if a file that could not be read was replaced without being kept


class LoadOutcome(NamedTuple):
    """What became of the last load."""

    state: str  #: "not yet", "loaded", "no file", "unreadable", "no document", ...
    error: int  #: errno of an unreadable file
    line: int  #: where the file stopped being a document; 0 otherwise
    column: int


class SaveError(OSError):
    """A save failed; the file is as it was. `step` tells where, `errno` why."""

    def __init__(self, path: str, outcome: SaveOutcome) -> None:
        super().__init__(outcome.error or errno.EIO, os.strerror(outcome.error) if outcome.error else outcome.step, path)
        self.step = outcome.step


class Ticket(MutableMapping[str, Value]):
    """A ticket in memory, or bound to the XML file `path`, which need not exist and is read at the first access."""

    def __init__(self, path: Union[str, "os.PathLike[str]", None] = None) -> None:
        self.path = None if path is None else os.fspath(path)
        name = None if self.path is None else os.fsencode(self.path)
        if name is not None and b"\0" in name:
            raise ValueError("a path holds no NUL")
        self._observers: dict[int, Any] = {}
        self._running: list[object] = []  # the functions that the library calls just now
        self._access = _instance.create(name)
        if not self._access:
            raise MemoryError

    # Its life

    def __enter__(self) -> "Ticket":
        return self

    def __exit__(self, kind: object, error: object, traceback: object) -> None:
        try:
            if self._access:
                self.save()
        finally:
            self.close()

    def __repr__(self) -> str:
        return f"Ticket({self.path!r})" if self.path is not None else "Ticket()"

    def __reduce_ex__(self, _protocol: object) -> NoReturn:
        # A copy would own the same ticket and destroy it a second time.
        raise TypeError("a ticket cannot be copied or pickled; dict(ticket) is a copy of what it holds")

    def close(self) -> None:
        """Ends the ticket. Changes are saved, but a failure is not reported: call `save` first, or use `with`.

        No other thread may use the ticket meanwhile. Raises RuntimeError within `locked` and within an observer, whose
        call still needs the ticket.
        """
        if self._running:
            raise RuntimeError("the ticket is in use by the function that closes it")
        if self._access:
            _instance.destroy(ctypes.byref(self._access))
            self._observers.clear()

    def __del__(self) -> None:
        if getattr(self, "_access", None):
            self.close()

    def save(self) -> None:
        """Saves a changed file ticket, atomically. Raises SaveError; a later call tries again."""
        last = self.save_outcome
        if last and last.step != "ok":
            self.locked(self._store_again)
        done = self._operation(records.OP_SAVE)
        outcome = self.save_outcome
        if outcome and (outcome.step != "ok" or not done):
            raise SaveError(self.path or "", outcome)

    @property
    def save_outcome(self) -> Optional[SaveOutcome]:
        """What became of the last save; None for a ticket in memory."""
        record = records.SaveRecord(ctypes.sizeof(records.SaveRecord))
        if not _library.TicketGetSaveOutcome(self._open(), ctypes.byref(record)):
            return None
        return SaveOutcome(_name(_STEPS, record.step), record.error, not record.note & 1)

    @property
    def load_outcome(self) -> Optional[LoadOutcome]:
        """What became of the last load; None for a ticket in memory."""
        record = records.LoadRecord(ctypes.sizeof(records.LoadRecord))
        if not _library.TicketGetLoadOutcome(self._open(), ctypes.byref(record)):
            return None
        return LoadOutcome(_name(_STATES, record.state), record.error, record.line, record.column)

    def release(self) -> None:
        """Saves a changed file ticket and drops what it holds in memory; the next access reads the file again."""
        self._operation(records.OP_RELEASE)

    # The mapping

    def __getitem__(self, key: str) -> Value:
        name = _key_bytes(key)
        value = self.locked(lambda: self._read(name))
        if value is None:
            raise KeyError(key)
        return value

    def __setitem__(self, key: str, value: Union[Value, Iterable[Scalar]]) -> None:
        self.update({key: value})

    def __delitem__(self, key: str) -> None:
        name = _key_bytes(key)

        def erase() -> bool:
            known = self._call("get_parameter", name, records.NONE, None, records.SCALAR_INDEX)
            return bool(known and self._call("set_parameter", name, records.NONE, None, records.SCALAR_INDEX))

        if not self.locked(erase):
            raise KeyError(key)

    def __contains__(self, key: object) -> bool:
        if not isinstance(key, str):
            return False
        try:
            name = _key_bytes(key)
        except KeyError:
            return False
        return bool(self._call("get_parameter", name, records.NONE, None, records.SCALAR_INDEX))

    def __iter__(self) -> Iterator[str]:
        return iter([text_of(key) for key in self._keys()])

    def __len__(self) -> int:
        return len(self._keys())

    def read_list(self, key: str) -> list[Scalar]:
        """The elements of a vector, or a single value as a list of one; empty if there is no such key."""
        value = self.get(key)
        return [] if value is None else value if isinstance(value, list) else [value]

    def read_all(self, prefix: str = "") -> dict[str, Value]:
        """All values whose key begins with `prefix`, read under one lock."""
        begin = text_bytes(prefix)

        def read() -> dict[str, Value]:
            chosen = [key for key in self._keys() if key.startswith(begin)]
            return {text_of(key): value for key in chosen if (value := self._read(key)) is not None}

        return self.locked(read)

    def update(self, *changes: Any, **more: Any) -> None:
        """Stores all values of a mapping under one lock, after checking all of them.

        Raises TypeError, ValueError or OverflowError, and then has stored nothing, for a value that a ticket does not hold
        or that this ticket's file would not give back; MemoryError names the keys that were not stored when memory ran out.
        """
        values = dict(*changes, **more)
        rows = [row for key, value in values.items() for row in self._rows(key, value)]
        array = (records.SetRecord * (len(rows) + 1))()
        for record, (key, kind, value, index) in zip(array, rows):
            record.key, record.type, record.index = key, kind, index
            record.value = ctypes.addressof(value) if value is not None else None
        self._call("set_multi_parameter", array)
        failed = {record.key for record in array[: len(rows)] if record.type != records.NONE and not record.result}
        if failed:
            raise MemoryError("not stored: " + ", ".join(sorted(text_of(key) for key in failed)))

    def clear(self) -> None:
        """Removes every value."""
        self._operation(records.OP_CLEAR)

    def merge(self, source: "Ticket", keys: Union[str, Iterable[str]] = (), clear: bool = False) -> bool:
        """Copies the values of `source`, or those of one or more `keys`, into this ticket. "Window/*" selects by prefix."""
        selection = [text_bytes(key) for key in ([keys] if isinstance(keys, str) else keys)]
        array = (ctypes.c_char_p * (len(selection) + 1))(*selection, None) if selection else None
        return bool(self._call("merge_ticket", source._open(), array, clear))

    # Locks and changes

    def locked(self, work: Callable[[], _Result]) -> _Result:
        """Runs `work` while no other thread can use the ticket, and returns its result."""
        outcome: list[Any] = []

        def run(_: object) -> None:
            self._running.append(work)
            try:
                outcome.extend((work(), None))
            except BaseException as error:  # passed on below: none may leave through the library
                outcome.extend((None, error))
            finally:
                self._running.pop()

        _library.TicketRunLocked(self._open(), records.LOCKED_CALLBACK(run), None)
        result, error = outcome
        if error is not None:
            raise error
        return result

    def observe(self, callback: Callable[[Optional[list[str]]], None]) -> Callable[[], None]:
        """Calls `callback` after each successful change with the changed keys, or None if any may have changed.

        It runs on the changing thread while the ticket is locked. An exception that leaves it is printed and dropped.
        Returns a function that ends it.
        """

        running = self._running  # not self, which would be a cycle

        def call(_: object, keys: Any) -> None:
            names = None
            if keys:
                names = []
                while keys[len(names)] is not None:
                    names.append(text_of(keys[len(names)]))
            running.append(callback)
            try:
                callback(names)
            finally:
                running.pop()

        observer = records.OBSERVER(call)
        number = _library.TicketAddObserver(self._open(), observer, None)
        if not number:
            raise MemoryError
        self._observers[number] = observer  # the library keeps its address

        def end() -> None:
            if self._access and number in self._observers:
                _library.TicketRemoveObserver(self._access, number)
                del self._observers[number]

        return end

    def lock(self, number: int, owner: int) -> bool:
        """Takes one of the twenty advisory locks for `owner`. False if somebody else holds it.

        Raises OverflowError if a number needs more than 32 bits.
        """
        return bool(self._call("lock", _int32(number), ctypes.byref(ctypes.c_int(_int32(owner))), True))

    def unlock(self, number: int, owner: int) -> bool:
        """Gives the lock back. False if somebody else holds it. Raises as `lock`."""
        return bool(self._call("lock", _int32(number), ctypes.byref(ctypes.c_int(_int32(owner))), False))

    # The table

    def _open(self) -> Any:
        if not self._access:
            raise ValueError("the ticket is closed")
        return self._access

    def _call(self, entry: str, *arguments: Any) -> int:
        table = self._open().contents
        return getattr(table, entry)(table.ticket, *arguments)

    def _operation(self, code: int) -> bool:
        return bool(self._call("operation", code, None))

    def _keys(self) -> list[bytes]:
        keys: list[bytes] = []

        def take(_context: object, key: bytes, _type: int, _value: object, _index: int) -> bool:
            keys.append(key)
            return True

        self._call("walk_parameter", records.WALK_CALLBACK(take), None, b"", records.WALK_KEYS)
        return keys

    def _rows(self, key: str, value: Any) -> list[tuple[bytes, int, Any, int]]:
        name = text_bytes(key)
        if not name:
            raise ValueError("a key holds at least one character")
        is_list = isinstance(value, Iterable) and not isinstance(value, (str, bytes, bytearray, memoryview, Mapping))
        scalars = [
            bytes(scalar) if isinstance(scalar, (bytearray, memoryview)) else scalar
            for scalar in (value if is_list else [value])
        ]
        if not scalars:
            raise ValueError(f"{key}: a vector has at least one element; delete the key instead")
        typed = [encoded(scalar) for scalar in scalars]
        if self.path is not None:
            check_file_keeps_key(name)
            for scalar in scalars:
                check_file_keeps(scalar if not isinstance(scalar, os.PathLike) else os.fspath(scalar))
        if not is_list:
            return [(name, *typed[0], records.SCALAR_INDEX)]
        erased = (name, records.NONE, None, records.SCALAR_INDEX)
        return [erased] + [(name, kind, memory, index) for index, (kind, memory) in enumerate(typed)]

    # To be called under the ticket's lock. After a save that the disk refused, the ticket counts as saved until then.
    def _store_again(self) -> None:
        first = self._keys()[:1]
        if not first:
            self.clear()
            return
        copy = Ticket()
        copy.merge(self, map(text_of, first))
        self.merge(copy)

    # To be called under the ticket's lock: what a read hands out belongs to the ticket.
    def _read(self, key: bytes) -> Optional[Value]:
        kind = self._type(key, records.SCALAR_INDEX)
        if kind is None:
            return None
        if kind != records.VECTOR:
            return self._scalar(key, kind, records.SCALAR_INDEX)
        count = ctypes.c_uint64()
        self._call("get_parameter", key, records.VECTOR, ctypes.byref(count), records.SCALAR_INDEX)
        return [self._scalar(key, self._type(key, index), index) for index in range(count.value)]

    def _type(self, key: bytes, index: int) -> Optional[int]:
        kind = ctypes.c_uint32()
        return kind.value if self._call("get_parameter", key, records.NONE, ctypes.byref(kind), index) else None

    def _scalar(self, key: bytes, kind: Optional[int], index: int) -> Any:
        buffer: Any = _BUFFERS[kind or records.POINTER_TYPE]()
        self._call("get_parameter", key, kind or records.POINTER_TYPE, ctypes.byref(buffer), index)
        if kind == records.STRING:
            return text_of(buffer.value)
        if kind == records.BINSTR:
            return ctypes.string_at(buffer.data, buffer.length) if buffer.length else b""
        if kind == records.DOUBLE and buffer.value.is_integer() and not is_negative_zero(buffer.value):
            return int(buffer.value)
        return buffer.value


_BUFFERS = {
    records.POINTER_TYPE: ctypes.c_void_p,
    records.DOUBLE: ctypes.c_double,
    records.STRING: ctypes.c_char_p,
    records.BINSTR: records.BinString,
    records.INT64: ctypes.c_int64,
    records.UINT64: ctypes.c_uint64,
}


def _key_bytes(key: str) -> bytes:
    try:
        return text_bytes(key)
    except ValueError:  # with a NUL, or no Unicode: no ticket has such a key
        raise KeyError(key) from None


def _int32(number: int) -> int:
    if not -(2**31) <= number < 2**31:  # ctypes would drop the upper bits
        raise OverflowError(f"{number} needs more than 32 bits")
    return number


def _name(names: tuple[str, ...], number: int) -> str:
    return names[number] if number < len(names) else str(number)
