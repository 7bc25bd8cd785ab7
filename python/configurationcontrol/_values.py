"""Which Python values a ticket holds, and which of them a file gives back as they were."""

from __future__ import annotations

import ctypes
import math
import os
import re
from typing import Any, Iterable, List, Tuple, Union

from . import _records as records

Scalar = Union[int, float, str, bytes]
Value = Union[Scalar, List[Scalar]]  # what is read
_StorableScalar = Union[Scalar, bytearray, memoryview, "os.PathLike[str]"]
Storable = Union[_StorableScalar, Iterable[_StorableScalar]]  # what may be stored

_EXACT = 2**53  # every whole number up to here is a double
_ENTITY = re.compile(rb"&(amp|lt|gt|quot|apos|#[0-9]|#x[0-9A-Fa-f])")
_NOT_IN_KEYS = re.compile(rb"[\x00-\x1f\x7f<>\"*]|='")
_NOT_BEFORE_THE_LAST = re.compile(rb"[?\[]")


def text_bytes(text: str) -> bytes:
    """The bytes of a text or key. Bytes of a file that are no UTF-8 come back as they were."""
    if not isinstance(text, str):
        raise TypeError(f"a key or a text is a str, not {type(text).__name__}")
    try:
        encoded = text.encode("utf-8", "surrogateescape")
    except UnicodeEncodeError as error:
        raise ValueError(f"a text is valid Unicode: {error}") from None
    if b"\0" in encoded:
        raise ValueError("a text holds no NUL; store bytes instead")
    return encoded


def text_of(encoded: bytes) -> str:
    return encoded.decode("utf-8", "surrogateescape")


def _check_bytes(value: bytes) -> None:
    blanks_at_end = len(value) - len(value.rstrip(b" "))
    if value[:1] == b" " or blanks_at_end % 2 == 1:  # a file keeps an even number at the end
        raise ValueError(f"not kept by a file: a blank at the edge of {value!r}")
    if _ENTITY.search(value):
        raise ValueError(f"not kept by a file: an XML entity in {value!r}")


def _is_kept_component(part: bytes, last: bool) -> bool:
    if part in (b"", b"ticket") or part[:1] in (b" ", b"?", b"!") or part[-1:] == b" ":
        return False
    return not (_NOT_IN_KEYS.search(part) or (not last and _NOT_BEFORE_THE_LAST.search(part)))


def check_file_keeps_key(key: bytes) -> None:
    """Raises ValueError for a key under which a file gives no value back."""
    parts = key.split(b"/")
    if not all(_is_kept_component(part, i == len(parts) - 1) for i, part in enumerate(parts)):
        raise ValueError(f"not kept by a file: the key {text_of(key)!r}")


def is_negative_zero(number: float) -> bool:
    return number == 0 and math.copysign(1, number) < 0


def is_stored_int(number: float) -> bool:
    """True for a double as which the store also keeps an int."""
    return number.is_integer() and abs(number) <= _EXACT and not is_negative_zero(number)


def check_file_keeps(value: Scalar) -> None:
    """Raises ValueError for a scalar that a file would change or refuse."""
    if isinstance(value, str):
        _check_bytes(text_bytes(value))
    elif isinstance(value, bytes):
        _check_bytes(value)
    elif isinstance(value, float) and math.isinf(value):
        raise ValueError("not kept by a file: an infinite number")
    elif isinstance(value, float) and is_negative_zero(value):
        raise ValueError("not kept by a file: the sign of -0.0")
    elif not math.isnan(value) and value == int(value):
        wide = isinstance(value, int) and abs(value) > _EXACT
        if not wide and not -(2**31) <= value < 2**31:
            raise ValueError(f"not kept by a file: the whole number {value}, which needs more than 32 bits; store it as a text")


def plain(value: Any) -> Any:
    """Byte strings of other types as bytes, and paths as texts."""
    if isinstance(value, (bytearray, memoryview)):
        return bytes(value)
    return os.fspath(value) if isinstance(value, os.PathLike) else value


def encoded(value: Scalar) -> Tuple[int, int, object]:
    """The type number of a scalar, the address of the value as the table takes it, and the object whose memory that is."""
    if isinstance(value, bytes):
        record = records.BinString(_address(value), len(value))
        record.kept = value  # the record points into it
        return records.BINSTR, ctypes.addressof(record), record
    if isinstance(value, str):
        text = text_bytes(value)
        return records.STRING, _address(text), text
    if not isinstance(value, (int, float)):
        raise TypeError(f"a ticket holds int, float, str, bytes and lists of them, not {type(value).__name__}")
    kind, number = _number(value)
    return kind, ctypes.addressof(number), number


def _address(data: bytes) -> int:
    """Where the bytes lie, with a NUL behind them."""
    return ctypes.cast(ctypes.c_char_p(data), ctypes.c_void_p).value or 0


def _number(value: Union[int, float]) -> Tuple[int, Any]:
    if isinstance(value, float):
        return records.DOUBLE, ctypes.c_double(value)
    if -(2**63) <= value < 2**63:
        return records.INT64, ctypes.c_int64(value)
    if 0 < value < 2**64:
        return records.UINT64, ctypes.c_uint64(value)
    raise OverflowError(f"{value} needs more than 64 bits")
