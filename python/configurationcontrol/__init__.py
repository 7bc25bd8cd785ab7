"""Typed, ordered, persistent settings: tickets in memory or bound to one XML file.

    from configurationcontrol import Ticket

    with Ticket("settings.xml") as ticket:      # saved at the end of the block; a failed save raises
        ticket["Log/Level"] = 5
        ticket["Recent"] = ["a.pdf", "b.pdf"]
        print(ticket.get("Product/Name", "unnamed"))

A ticket is a mutable mapping from keys to int, float, str, bytes and lists of them, in ascending byte order of the keys. Paths
are stored as str. Any thread may use it. Whole numbers up to 2**53 are read as int, whatever they were stored as, because the
store keeps one form of a number. A list of one element that was saved is read as that element, because a file cannot tell them
apart; `read_list` returns a list for both.
"""

from __future__ import annotations

import ctypes
import errno
import functools
import itertools
import os
from collections.abc import Callable, Iterable, Iterator, Mapping, MutableMapping
from typing import TYPE_CHECKING, Any, NamedTuple, NoReturn, Optional, TypeVar, Union, overload

from . import _records as records
from ._values import (
    Scalar,
    Storable,
    Value,
    check_file_keeps,
    check_file_keeps_key,
    encoded,
    is_stored_int,
    plain,
    text_bytes,
    text_of,
)

if TYPE_CHECKING:
    from _typeshed import SupportsKeysAndGetItem

__all__ = ["LoadOutcome", "SaveError", "SaveOutcome", "Scalar", "Storable", "Ticket", "Value"]

_library, _instance = records.load()
_observer_numbers = itertools.count(1)
_Result = TypeVar("_Result")
_Callback = Callable[[Optional[list[str]]], None]
_Row = tuple[bytes, int, int, int, object]  # key, type, address of the value, index, owner of the value's memory

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

    step = ""  #: as in SaveOutcome


class _Handle:
    """Owns a ticket of the library. A call that is under way refers to it, so that `close` does not destroy what it uses."""

    def __init__(self, name: Optional[bytes]) -> None:
        self.access = _instance.create(name)
        if not self.access:
            raise MemoryError
        self.callbacks: dict[int, _Callback] = {}
        # One function for all observers: one of its own would be freed by an observer that ends itself, while it runs.
        self.observer = records.OBSERVER(functools.partial(_notify, self.callbacks))

    def __del__(self) -> None:
        if getattr(self, "access", None):
            _instance.destroy(ctypes.byref(self.access))

    def call(self, entry: str, *arguments: Any) -> int:
        table = self.access.contents
        result: int = getattr(table, entry)(table.ticket, *arguments)
        return result

    def serve(self, function: Callable[..., int], *arguments: Any) -> int:
        """Calls one of the library's functions that take the table."""
        return function(self.access, *arguments)


class Ticket(MutableMapping[str, Value]):
    """A ticket in memory, or bound to the XML file `path`, which need not exist and is read at the first access."""

    def __init__(self, path: Union[str, "os.PathLike[str]", None] = None) -> None:
        self.path = None if path is None else os.fspath(path)
        name = None if self.path is None else os.fsencode(self.path)
        if name is not None and b"\0" in name:
            raise ValueError("a path holds no NUL")
        self._handle: Optional[_Handle] = _Handle(name)

    # Its life

    def __enter__(self) -> "Ticket":
        self._open()
        return self

    def __exit__(self, kind: object, error: object, traceback: object) -> None:
        try:
            if self._handle:
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

        Calls that other threads have under way are finished; every later use raises ValueError.
        """
        handle, self._handle = self._handle, None
        if handle:
            handle.call("operation", records.OP_SAVE, None)

    def save(self) -> None:
        """Saves a changed file ticket, atomically. Raises SaveError; a later call tries again."""
        last = self.save_outcome
        if last and last.step != "ok":
            # The ticket counts as saved after the disk refused it, and as changed after any attempt to change it.
            self._call("set_parameter", b"", records.VECTOR, None, records.SCALAR_INDEX)
        done = self._operation(records.OP_SAVE)
        outcome = self.save_outcome
        if outcome and (outcome.step != "ok" or not done):
            number, text = _reason(outcome)
            error = SaveError(number, text, self.path)
            error.step = outcome.step
            raise error

    @property
    def save_outcome(self) -> Optional[SaveOutcome]:
        """What became of the last save; None for a ticket in memory."""
        record = records.SaveRecord(ctypes.sizeof(records.SaveRecord))
        if not self._open().serve(_library.TicketGetSaveOutcome, ctypes.byref(record)):
            return None
        return SaveOutcome(_name(_STEPS, record.step), record.error, not record.note & 1)

    @property
    def load_outcome(self) -> Optional[LoadOutcome]:
        """What became of the last load; None for a ticket in memory."""
        record = records.LoadRecord(ctypes.sizeof(records.LoadRecord))
        if not self._open().serve(_library.TicketGetLoadOutcome, ctypes.byref(record)):
            return None
        return LoadOutcome(_name(_STATES, record.state), record.error, record.line, record.column)

    def release(self) -> None:
        """Saves a changed file ticket and drops what it holds in memory; the next access reads the file again.

        Raises SaveError, and then drops nothing.
        """
        self.save()
        self._operation(records.OP_RELEASE)

    # The mapping

    def __getitem__(self, key: str) -> Value:
        name = _key_bytes(key)
        value = self.locked(lambda: self._read(name))
        if value is None:
            raise KeyError(key)
        return value

    def __setitem__(self, key: str, value: Storable) -> None:
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
        return self._read_where(lambda key: key.startswith(prefix))

    @overload
    def update(self, changes: "SupportsKeysAndGetItem[str, Storable]", /, **more: Storable) -> None: ...

    @overload
    def update(self, changes: Iterable[tuple[str, Storable]] = (), /, **more: Storable) -> None: ...

    def update(self, changes: Any = (), /, **more: Storable) -> None:
        """Stores all values of a mapping under one lock, after checking all of them.

        Raises TypeError, ValueError or OverflowError, and then has stored nothing, for a value that a ticket does not hold
        or that this ticket's file would not give back; MemoryError names the keys that were not stored when memory ran out.
        """
        self._store(self._checked(dict(changes, **more)))

    def clear(self) -> None:
        """Removes every value."""
        self._operation(records.OP_CLEAR)

    def merge(self, source: "Ticket", keys: Union[str, Iterable[str], None] = None, clear: bool = False) -> bool:
        """Copies the values of `source`, or those of one or more `keys`, into this ticket. "Window/*" selects by prefix.

        `clear` removes what this ticket held before, also if there is nothing to copy. Returns whether there were values to
        copy. Raises as `update`. Values that cannot be stored are found before anything changes; after a MemoryError, what
        `clear` removed is gone.
        """
        names = {"*"} if keys is None else {keys} if isinstance(keys, str) else set(keys)
        prefixes = tuple(name[:-1] for name in names if name.endswith("*"))
        rows = self._checked(source._read_where(lambda key: key in names or key.startswith(prefixes)))

        def replace() -> None:
            if clear:
                self.clear()
            self._store(rows)

        self.locked(replace)
        return bool(rows)

    # Locks and changes

    def locked(self, work: Callable[[], _Result]) -> _Result:
        """Runs `work` while no other thread can use the ticket, and returns its result."""
        result: Any = None
        error: Optional[BaseException] = KeyboardInterrupt()  # for a signal before `run` could catch it: ctypes drops that

        def run(_: object) -> None:
            nonlocal result, error
            try:
                result, error = work(), None
            except BaseException as raised:  # passed on below: none may leave through the library
                error = raised

        self._open().serve(_library.TicketRunLocked, records.LOCKED_CALLBACK(run), None)
        try:
            if error is not None:
                raise error
            return result  # type: ignore[no-any-return]
        finally:
            error = None  # it refers to this frame

    def observe(self, callback: _Callback) -> Callable[[], None]:
        """Calls `callback` after each successful change with the changed keys, or None if any may have changed.

        It runs on the changing thread while the ticket is locked. An exception that leaves it is printed and dropped.
        Returns a function that ends it.
        """
        handle = self._open()
        context = next(_observer_numbers)
        handle.callbacks[context] = callback
        number = handle.serve(_library.TicketAddObserver, handle.observer, context)
        if not number:
            del handle.callbacks[context]
            raise MemoryError

        def end() -> None:
            current = self._handle
            if current and current.callbacks.pop(context, None) is not None:
                current.serve(_library.TicketRemoveObserver, number)

        return end

    def lock(self, number: int, owner: int) -> bool:
        """Takes advisory lock `number`, 0 to 19, for `owner`. False if another owner holds it.

        Owners are any numbers but -1 and -2. Raises ValueError for other numbers, and OverflowError for an owner of more than
        32 bits.
        """
        if number not in range(20) or owner in (-1, -2):
            raise ValueError(f"there is no advisory lock {number} for owner {owner}: locks are 0 to 19, owners not -1 or -2")
        return bool(self._call("lock", number, ctypes.byref(ctypes.c_int(_int32(owner))), True))

    def unlock(self, number: int, owner: int) -> bool:
        """Gives the lock back. False if another owner holds it. Raises OverflowError for numbers of more than 32 bits.

        Number -2 gives back all locks of `owner`: false if there are none.
        """
        return bool(self._call("lock", _int32(number), ctypes.byref(ctypes.c_int(_int32(owner))), False))

    # The table

    def _open(self) -> _Handle:
        handle = self._handle
        if not handle:
            raise ValueError("the ticket is closed")
        return handle

    def _call(self, entry: str, *arguments: Any) -> int:
        return self._open().call(entry, *arguments)

    def _operation(self, code: int, data: Any = None) -> bool:
        return bool(self._call("operation", code, data))

    def _keys(self) -> list[bytes]:
        return self.locked(self._walk)

    # To be called under the ticket's lock. ctypes drops an exception that a signal raises before a callback can catch it, and
    # the walk ends there. The walk's result does not tell, but the count of the values does.
    def _walk(self) -> list[bytes]:
        keys: list[bytes] = []
        found = 0

        def take(_context: object, key: bytes, kind: int, value: int, _index: int) -> bool:
            nonlocal found
            keys.append(key)
            found += ctypes.c_uint64.from_address(value).value if kind == records.VECTOR else 1
            return True

        self._call("walk_parameter", records.WALK_CALLBACK(take), None, b"", records.WALK_VALUES)
        count = ctypes.c_uint32()
        self._operation(records.OP_COUNT, ctypes.byref(count))
        if found != count.value:
            raise KeyboardInterrupt
        return keys

    def _read_where(self, is_chosen: Callable[[str], bool]) -> dict[str, Value]:
        def read() -> dict[str, Value]:
            keys = {text_of(key): key for key in self._walk()}
            return {key: value for key, name in keys.items() if is_chosen(key) and (value := self._read(name)) is not None}

        return self.locked(read)

    def _checked(self, values: Mapping[str, Any]) -> list[_Row]:
        """The rows that store values. Raises for a value that cannot be stored, or would not come back from the file."""
        return [row for key, value in values.items() for row in self._rows(key, value)]

    def _rows(self, key: str, value: Any) -> list[_Row]:
        name = text_bytes(key)
        if not name:
            raise ValueError("a key holds at least one character")
        is_list = isinstance(value, Iterable) and not isinstance(value, (str, bytes, bytearray, memoryview, Mapping))
        scalars = [plain(scalar) for scalar in (value if is_list else [value])]
        if not scalars:
            raise ValueError(f"{key}: a vector has at least one element; delete the key instead")
        if self.path is not None:
            check_file_keeps_key(name)
        rows: list[_Row] = []
        for index, scalar in enumerate(scalars):
            try:
                kind, address, owner = encoded(scalar)
                if self.path is not None:
                    check_file_keeps(scalar)
            except (TypeError, ValueError, OverflowError) as error:
                raise type(error)(f"{key}: {error}") from None
            rows.append((name, kind, address, index if is_list else records.SCALAR_INDEX, owner))
        return [(name, records.NONE, 0, records.SCALAR_INDEX, None), *rows] if is_list else rows

    def _store(self, rows: list[_Row]) -> None:
        array = (records.SetRecord * (len(rows) + 1))()
        for record, (key, kind, address, index, _) in zip(array, rows):
            record.key, record.type, record.value, record.index = key, kind, address, index
        self._call("set_multi_parameter", array)
        failed = {record.key for record in array[: len(rows)] if record.type != records.NONE and not record.result}
        if failed:
            raise MemoryError("not stored: " + ", ".join(sorted(text_of(key) for key in failed)))

    # To be called under the ticket's lock: what a read hands out belongs to the ticket.
    def _read(self, key: bytes) -> Optional[Value]:
        kind = self._type(key, records.SCALAR_INDEX)
        if kind != records.VECTOR:
            return None if kind is None else self._scalar(key, kind, records.SCALAR_INDEX)
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
        if kind == records.DOUBLE and is_stored_int(buffer.value):
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


def _notify(callbacks: dict[int, _Callback], number: int, keys: Any) -> None:
    callback = callbacks.get(number)
    if callback is not None:
        callback([text_of(key) for key in itertools.takewhile(lambda key: key is not None, keys)] if keys else None)


def _reason(outcome: SaveOutcome) -> tuple[int, str]:
    if outcome.step == "nesting":
        return errno.EINVAL, "Keys are nested too deeply"
    number = outcome.error or (errno.ENOMEM if outcome.step == "memory" else errno.EIO)
    return number, os.strerror(number)


def _name(names: tuple[str, ...], number: int) -> str:
    return names[number] if number < len(names) else str(number)
