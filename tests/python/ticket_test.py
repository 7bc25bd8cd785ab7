"""The Python module as a program uses it: only the shared library, through ctypes."""

import contextlib
import copy
import errno
import gc
import math
import os
import pathlib
import pickle
import shutil
import sys
import tempfile
import threading
import unittest
from unittest import mock

from configurationcontrol import SaveError, SaveOutcome, Ticket


@contextlib.contextmanager
def interrupted(function, call=1):
    """Raises KeyboardInterrupt where that call of the named function begins, as Ctrl-C does, and drops what ctypes prints."""
    calls = 0

    def trace(frame, _event, _argument):
        nonlocal calls
        if frame.f_code.co_name == function:
            calls += 1
            if calls == call:
                raise KeyboardInterrupt

    hook, sys.unraisablehook = sys.unraisablehook, lambda _: None
    sys.settrace(trace)
    try:
        yield
    finally:
        sys.settrace(None)
        sys.unraisablehook = hook


class TicketTest(unittest.TestCase):
    def setUp(self):
        self.directory = tempfile.TemporaryDirectory()
        self.path = os.path.join(self.directory.name, "settings.xml")

    def tearDown(self):
        self.directory.cleanup()

    def text(self):
        with open(self.path, encoding="utf-8") as file:
            return file.read()

    def test_values_come_back_with_their_types(self):
        values = {
            "flag": True,
            "whole": -42,
            "fraction": 2.5,
            "text": "proof station",
            "bytes": b"\x00\xff<",
            "empty text": "",
            "no bytes": b"",
            "vector": [1, "two", b"3", 4.5],
            "umlaut/ä": "ö",
        }
        ticket = Ticket()
        ticket.update(values)
        self.assertEqual(dict(ticket), values)
        self.assertIs(type(ticket["whole"]), int)
        self.assertIs(type(ticket["fraction"]), float)

    def test_wide_numbers_come_back_from_memory(self):
        ticket = Ticket()
        for number in (2**31, 2**53, 2**53 + 1, -(2**63), 2**63 - 1, 2**64 - 1):
            ticket["wide"] = number
            self.assertEqual(ticket["wide"], number)

    def test_what_was_read_can_be_stored_again(self):
        ticket = Ticket()
        for number in (1e300, -1e300, 2.0**53, 2.0**53 + 2, 2.0**64, 2**53 + 1, math.inf):
            ticket["wide"] = number
            ticket["wide"] = ticket["wide"]
            self.assertEqual(ticket["wide"], number)

    def test_not_a_number_comes_back(self):
        ticket = Ticket()
        ticket["nan"] = math.nan
        self.assertTrue(math.isnan(ticket["nan"]))

    def test_block_saves_the_file(self):
        with Ticket(self.path) as ticket:
            ticket["Log/Level"] = 5
            ticket["Recent"] = ["a", "b"]
        self.assertIn('<Level type="int">5</Level>', self.text())
        with Ticket(self.path) as ticket:
            self.assertEqual(ticket.read_all(), {"Log/Level": 5, "Recent": ["a", "b"]})
            self.assertEqual(ticket.load_outcome.state, "loaded")

    def test_what_a_file_changes_is_refused_with_a_reason_and_nothing_is_stored(self):
        ticket = Ticket(self.path)
        refused = [2**31, -(2**31) - 1, 2**53, 3e9, math.inf, -0.0, [], [" a"]]
        refused += [" a", "a ", "a   ", b" ", "&amp;", "&#65;", "a\0b"]
        for value in refused:
            with self.subTest(value=value), self.assertRaises(ValueError):
                ticket.update({"good": 1, "bad": value})
        self.assertEqual(len(ticket), 0)

    def test_keys_that_a_file_does_not_give_back_are_refused_others_come_back(self):
        ticket = Ticket(self.path)
        refused = ["/a", "a/", "a//b", "/", "ticket", "a/ticket/b", "a/ticket", " a", "a ", "a /b", "a/ b", "a<b", "a>b"]
        refused += ['a"b', "a\nb", "\t", "\x7f", "?x", "!--a", "a*", "*", "a?/b", "[x]/y", "a=b='"]
        for key in refused:
            with self.subTest(key=key), self.assertRaises(ValueError):
                ticket.update({"good": 1, key: 2})
        self.assertEqual(len(ticket), 0)
        kept = ["a b/c d", "Ticket", "a/Ticket", "tickets/x", "HP 4000/ID", "-x", "what?", "a/[b]", "a'b", "a=b", "&lt;"]
        kept += ["anonymous/x", "a]b/c", "ä/\udcff", "%20"]
        with ticket:
            ticket.update({key: 1 for key in kept})
        with Ticket(self.path) as ticket:
            self.assertEqual(set(ticket), set(kept))
        memory = Ticket()
        memory["a//b"] = 1
        self.assertEqual(memory["a//b"], 1)

    def test_what_is_accepted_comes_back_from_a_file(self):
        values = {
            "int": 2**31 - 1,
            "least int": -(2**31),
            "wide": 2**53 + 1,
            "negative wide": -(2**63),
            "unsigned": 2**64 - 1,
            "double": 0.1,
            "small": 1e-300,
            "blanks": "a  b   c",
            "two at the end": "a  ",
            "four at the end": "a    ",
            "controls": "\t\n\r\x01\x7f\\",
            "markup": "<&> & \"'",
            "no utf-8": "\udcff",
        }
        with Ticket(self.path) as ticket:
            ticket.update(values)
        with Ticket(self.path) as ticket:
            self.assertEqual(dict(ticket), values)

    def test_unknown_types_and_keys_are_refused(self):
        ticket = Ticket()
        for value in (None, object(), {"a": 1}, [None], 2**64):
            with self.subTest(value=value), self.assertRaises((TypeError, OverflowError)):
                ticket["key"] = value
        with self.assertRaises(ValueError):
            ticket[""] = 1
        with self.assertRaises(KeyError):
            ticket["missing"]
        with self.assertRaises(KeyError):
            del ticket["missing"]
        self.assertEqual(ticket.get("missing", 7), 7)

    def test_refusals_name_the_key(self):
        ticket = Ticket(self.path)
        for value in (None, [1, None], 2**64, 3_000_000_000, " a", "a\0", "\ud800", ["a", "\ud800"], []):
            with self.subTest(value=value), self.assertRaisesRegex((TypeError, ValueError, OverflowError), "^Log/Level: "):
                ticket["Log/Level"] = value

    def test_a_key_may_be_named_as_a_parameter(self):
        ticket = Ticket()
        ticket.update({"a": 1}, self=2, changes=3)
        self.assertEqual(dict(ticket), {"a": 1, "changes": 3, "self": 2})

    def test_mapping_protocol(self):
        ticket = Ticket()
        ticket["b"] = 1
        ticket["a"] = [1, 2, 3]
        ticket["a"] = [4]
        self.assertEqual(list(ticket), ["a", "b"])
        self.assertEqual(ticket["a"], [4])
        self.assertIn("b", ticket)
        self.assertNotIn("c", ticket)
        self.assertEqual(ticket.pop("b"), 1)
        self.assertEqual(ticket.setdefault("d", "e"), "e")
        self.assertEqual(ticket.read_list("d"), ["e"])
        self.assertEqual(ticket.read_list("none"), [])
        ticket.clear()
        self.assertEqual(len(ticket), 0)

    def test_a_text_that_cannot_be_a_key_is_missing(self):
        ticket = Ticket()
        ticket["a"] = 1
        for key in ("a\0b", "\ud800"):
            with self.subTest(key=key):
                self.assertNotIn(key, ticket)
                self.assertEqual(ticket.get(key, 7), 7)
                self.assertEqual(ticket.pop(key, 8), 8)
                self.assertRaises(KeyError, lambda: ticket[key])
                self.assertRaises(KeyError, ticket.__delitem__, key)
                self.assertRaises(ValueError, ticket.__setitem__, key, 1)
        self.assertEqual(dict(ticket), {"a": 1})

    def test_failed_save_raises_with_the_reason(self):
        ticket = Ticket(os.path.join(self.directory.name, "no such folder", "settings.xml"))
        ticket["a"] = 1
        with self.assertRaises(SaveError) as caught:
            ticket.save()
        self.assertEqual(caught.exception.step, "open")
        self.assertEqual(caught.exception.errno, 2)
        self.assertIn("No such file", str(caught.exception))

    def test_failed_save_keeps_its_reason_in_another_process(self):
        ticket = Ticket(os.path.join(self.directory.name, "no such folder", "settings.xml"))
        ticket["a"] = 1
        with self.assertRaises(SaveError) as caught:
            ticket.save()
        error = pickle.loads(pickle.dumps(caught.exception))
        self.assertEqual((error.step, error.errno, str(error)), ("open", 2, str(caught.exception)))

    def test_failed_save_without_an_error_of_the_disk_has_a_reason(self):
        reasons = {"nesting": (errno.EINVAL, "nested too deeply"), "memory": (errno.ENOMEM, "memory"), "number": (errno.EIO, "")}
        for step, (number, text) in reasons.items():
            with mock.patch.object(Ticket, "save_outcome", SaveOutcome(step, 0, True)):
                with self.subTest(step), self.assertRaisesRegex(SaveError, text) as caught:
                    Ticket(self.path).save()
            self.assertEqual((caught.exception.step, caught.exception.errno), (step, number))

    def test_failed_save_is_tried_again(self):
        ticket = Ticket(self.path)
        for change in (lambda: ticket.update({"a": 1}), lambda: ticket.update({"a": [1, 2]}), ticket.clear):
            change()
            obstacle = self.path if not ticket else self.path + ".tmp"
            if os.path.isfile(obstacle):
                os.remove(obstacle)
            os.makedirs(obstacle + "/full")
            for _ in range(2):
                with self.assertRaises(SaveError):
                    ticket.save()
            shutil.rmtree(obstacle)
            ticket.save()
            self.assertEqual(dict(Ticket(self.path)), dict(ticket))
        ticket.close()

    def test_another_try_to_save_is_no_change(self):
        ticket = Ticket(self.path)
        ticket.update({"a": 1, "b": 2})
        os.makedirs(self.path + "/full")
        self.assertRaises(SaveError, ticket.save)
        heard = []
        ticket.observe(heard.append)
        self.assertRaises(SaveError, ticket.save)
        self.assertEqual((heard, dict(ticket)), ([], {"a": 1, "b": 2}))

    def test_release_keeps_what_cannot_be_saved(self):
        ticket = Ticket(self.path)
        ticket["a"] = 1
        os.makedirs(self.path + "/full")
        self.assertRaises(SaveError, ticket.release)
        self.assertEqual(dict(ticket), {"a": 1})
        shutil.rmtree(self.path)
        ticket.release()
        self.assertEqual(dict(ticket), {"a": 1})
        self.assertIn(">1<", self.text())

    def test_broken_file_tells_where_it_breaks_and_is_kept(self):
        with open(self.path, "w", encoding="utf-8") as file:
            file.write("<ticket>\n<a type=\"int\">1</b>\n</ticket>\n")
        with Ticket(self.path) as ticket:
            self.assertEqual(len(ticket), 0)
            self.assertEqual((ticket.load_outcome.state, ticket.load_outcome.line), ("no document", 2))
            ticket["a"] = 2
        self.assertTrue(os.path.exists(self.path + ".unreadable"))

    def test_closed_ticket_is_refused(self):
        ticket = Ticket()
        ticket.close()
        ticket.close()
        with self.assertRaises(ValueError):
            ticket["a"] = 1
        with self.assertRaises(ValueError):
            with ticket:
                self.fail("a block of a closed ticket runs")

    def test_closing_a_ticket_that_other_threads_use_ends_their_work(self):
        for _ in range(5):
            ticket = Ticket(self.path)
            begun, ended = threading.Barrier(3), []

            def work():
                begun.wait()
                try:
                    while True:
                        ticket["a"] = "text"
                        ticket.save()  # most of the time
                except ValueError as error:
                    ended.append(str(error))

            threads = [threading.Thread(target=work) for _ in range(2)]
            for thread in threads:
                thread.start()
            begun.wait()
            while "a" not in ticket:
                pass
            ticket.close()
            for thread in threads:
                thread.join()
            self.assertEqual(ended, ["the ticket is closed"] * 2)

    def test_exceptions_of_work_under_the_lock_come_through(self):
        ticket = Ticket()
        self.assertEqual(ticket.locked(lambda: len(ticket)), 0)
        with self.assertRaises(ZeroDivisionError):
            ticket.locked(lambda: 1 / 0)
        ticket["a"] = 1  # the lock was released

    def test_an_exception_under_the_lock_does_not_keep_the_ticket(self):
        gc.disable()
        self.addCleanup(gc.enable)
        ticket = Ticket(self.path)
        ticket["a"] = 1
        with self.assertRaises(ZeroDivisionError):
            ticket.locked(lambda: 1 / 0)
        del ticket
        self.assertIn(">1<", self.text())

    def test_an_interrupt_is_not_lost(self):
        ticket = Ticket()
        ticket.update({"a": 1, "b": [1, 2], "c": "text"})
        for function, call in (("run", 1), ("take", 1), ("take", 2), ("take", 3)):
            with self.subTest(function=function, call=call), self.assertRaises(KeyboardInterrupt):
                with interrupted(function, call):
                    list(ticket)
        with self.assertRaises(KeyboardInterrupt), interrupted("run"):
            ticket["a"]
        self.assertEqual(list(ticket), ["a", "b", "c"])

    def test_observers_hear_changes_until_they_end(self):
        ticket = Ticket()
        heard = []
        end = ticket.observe(heard.append)
        ticket["a"] = 1
        ticket.update({"b": 2, "c": 3})
        ticket.clear()
        end()
        end()
        ticket["d"] = 4
        self.assertEqual(heard, [["a"], ["b", "c"], None])

    def test_an_observer_may_be_an_empty_container(self):
        class Changes(list):
            def __call__(self, keys):
                self.append(keys)

        ticket, changes = Ticket(), Changes()
        ticket.observe(changes)
        ticket["a"] = 1
        self.assertEqual(changes, [["a"]])

    def test_an_observer_may_end_itself_and_fail(self):
        printed = []
        hook, sys.unraisablehook = sys.unraisablehook, lambda report: printed.append(report.exc_type)
        self.addCleanup(setattr, sys, "unraisablehook", hook)
        ticket = Ticket()
        for _ in range(20):
            ends = []

            def observer(_keys):
                ends.pop()()
                raise ZeroDivisionError

            ends.append(ticket.observe(observer))
            del observer
            ticket["a"] = 1
        self.assertEqual(printed, [ZeroDivisionError] * 20)

    def test_merge_copies_what_is_selected(self):
        source, target = Ticket(), Ticket()
        source.update({"Window/Width": 1, "Window/Height": 2, "Log": 3})
        self.assertTrue(target.merge(source, ["Window/*"]))
        self.assertEqual(list(target), ["Window/Height", "Window/Width"])
        target.clear()
        self.assertTrue(target.merge(source, "Window/*"))
        self.assertEqual(list(target), ["Window/Height", "Window/Width"])

    def test_merge_of_nothing_copies_nothing(self):
        source, target = Ticket(), Ticket()
        source["a"] = 1
        self.assertFalse(target.merge(source, []))
        self.assertFalse(target.merge(source, ["b", "b*", ""]))
        self.assertEqual(dict(target), {})
        self.assertTrue(target.merge(source))
        self.assertEqual(dict(target), {"a": 1})
        self.assertFalse(target.merge(source, [], clear=True))
        self.assertEqual(dict(target), {})

    def test_merge_changes_no_value(self):
        source, target = Ticket(), Ticket()
        source.update({"wide": 3_000_000_000, "wider": 2**63, "one": [1], "double": 1e300, "bytes": b"\0", "zero": -0.0})
        target["old"] = 1
        self.assertTrue(target.merge(source, clear=True))
        self.assertEqual(dict(target), dict(source))
        self.assertEqual(math.copysign(1, target["zero"]), -1)

    def test_merge_refuses_what_a_file_would_change_and_changes_nothing(self):
        for key, value in (("wide", 3_000_000_000), ("text", " a"), ("a//b", 1)):
            with self.subTest(key=key):
                source, target = Ticket(), Ticket(self.path)
                source.update({"a": 1, key: value})
                target["old"] = 1
                self.assertRaises(ValueError, target.merge, source, clear=True)
                self.assertEqual(dict(target), {"old": 1})
                target.clear()

    def test_advisory_locks(self):
        ticket = Ticket()
        self.assertTrue(ticket.lock(3, 7))
        self.assertFalse(ticket.lock(3, 8))
        self.assertTrue(ticket.unlock(3, 7))
        self.assertTrue(ticket.lock(3, 8))
        self.assertTrue(ticket.lock(4, 8))
        self.assertTrue(ticket.unlock(-2, 8))
        self.assertFalse(ticket.unlock(-2, 8))
        for number, owner in ((-1, 8), (20, 8), (3 + 2**32, 8), (3, -1), (3, -2)):
            with self.assertRaises(ValueError):
                ticket.lock(number, owner)
        for owner in (8 + 2**32, -(2**31) - 1):
            with self.assertRaises(OverflowError):
                ticket.lock(3, owner)
            with self.assertRaises(OverflowError):
                ticket.unlock(3, owner)
        with self.assertRaises(OverflowError):
            ticket.unlock(3 + 2**32, 8)

    def test_threads_lose_no_value(self):
        ticket = Ticket()

        def work(number):
            for i in range(200):
                ticket[f"{number}/{i}"] = "x" * (i % 7)
                ticket["shared"] = f"text {i}"
                self.assertTrue(ticket["shared"].startswith("text "))

        threads = [threading.Thread(target=work, args=(n,)) for n in range(4)]
        for thread in threads:
            thread.start()
        for thread in threads:
            thread.join()
        self.assertEqual(len(ticket), 4 * 200 + 1)

    def test_bytearrays_and_memoryviews_are_bytes(self):
        ticket = Ticket()
        ticket["a"] = bytearray(b"ab")
        ticket["b"] = memoryview(b"cd")
        ticket["c"] = [bytearray(b"e"), b"f"]
        self.assertEqual(dict(ticket), {"a": b"ab", "b": b"cd", "c": [b"e", b"f"]})

    def test_paths_are_stored_as_texts(self):
        ticket = Ticket(self.path)
        ticket["a"] = pathlib.PurePosixPath("/a b")
        ticket["b"] = [pathlib.PurePosixPath("/a"), "b"]
        self.assertEqual(dict(ticket), {"a": "/a b", "b": ["/a", "b"]})

    def test_names_that_the_library_would_read_otherwise_are_refused(self):
        self.assertRaises(ValueError, Ticket, self.path + "\0.xml")
        ticket = Ticket()
        for key in (5, None, b"a"):
            with self.assertRaises(TypeError):
                ticket[key] = 1

    def test_a_function_that_runs_within_a_ticket_may_close_it(self):
        def close(_keys=None):
            ticket.close()

        ticket = Ticket(self.path)
        ticket.observe(close)
        ticket["a"] = 1
        self.assertRaises(ValueError, list, ticket)
        ticket = Ticket(self.path)
        ticket.locked(close)
        self.assertRaises(ValueError, list, ticket)
        self.assertIn(">1<", self.text())

    def test_a_ticket_is_not_copied(self):
        ticket = Ticket()
        for make in (copy.copy, copy.deepcopy, pickle.dumps):
            with self.subTest(make.__name__), self.assertRaisesRegex(TypeError, "cannot be copied"):
                make(ticket)
        ticket["Key"] = 1
        self.assertEqual(copy.deepcopy(dict(ticket)), {"Key": 1})

    def test_memory_keeps_the_sign_of_zero(self):
        ticket = Ticket()
        ticket["Zero"] = -0.0
        self.assertEqual(math.copysign(1, ticket["Zero"]), -1)
        ticket["Zero"] = 0.0
        self.assertEqual(repr(ticket["Zero"]), "0")

    def test_its_text_tells_the_file(self):
        self.assertEqual(repr(Ticket()), "Ticket()")
        self.assertEqual(repr(Ticket("a b.xml")), "Ticket('a b.xml')")

    def test_forgotten_ticket_saves_its_changes(self):
        ticket = Ticket(self.path)
        ticket["a"] = 1
        del ticket
        gc.collect()
        self.assertIn(">1<", self.text())


if __name__ == "__main__":
    unittest.main()
