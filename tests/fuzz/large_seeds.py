#!/usr/bin/env python3
"""Makes large inputs for a fuzzer, of 64 KiB to 1 MiB, from its small inputs. Usage: large_seeds.py TARGET CORPUS DIRECTORY

They are made anew for each run, always the same ones, because nobody would want to keep megabytes of them.
"""
import os
import random
import re
import sys
import xml.etree.ElementTree

SIZES = [1 << 16, 1 << 18, 1 << 20]


def read(path):
    with open(path, "rb") as file:
        return file.read()


def ticket(inner):
    return b'<?xml version="1.0" encoding="UTF-8"?>\n<ticket>\n' + inner + b"</ticket>\n"


def inner_of(document):
    """The text inside <ticket> of a document that the library's parser takes; None for others."""
    try:
        # That parser leaves an "&" that begins no entity as it is, and so does a save.
        xml.etree.ElementTree.fromstring(re.sub(rb"&(?!#?\w+;)", b"&amp;", document))
    except (xml.etree.ElementTree.ParseError, ValueError, LookupError):
        return None
    found = re.search(rb"<ticket>(.*)</ticket>", document, re.S)
    return found and found.group(1)


def repeated(line, size):
    """`line(0)`, `line(1)` and so on, until there are `size` bytes."""
    out, length, number = [], 0, 0
    while length < size:
        out.append(line(number))
        length += len(out[-1])
        number += 1
    return b"".join(out)


def ticket_files(corpus, size):
    """Large files of every shape."""
    inners = [inner for inner in map(inner_of, corpus) if inner]
    yield ticket(repeated(lambda n: b"<g%d>%s</g%d>\n" % (n, random.choice(inners), n), size))
    yield ticket(repeated(lambda n: b'\t<Key%d type="int">%d</Key%d>\n' % (n, n, n), size))
    yield ticket(repeated(lambda n: b'\t<Vector type="double">%d.5</Vector>\n' % n, size))
    yield ticket(repeated(lambda n: b'\t<HP %d type="string">%d</HP %d>\n' % (n, n, n), size))
    text = repeated(lambda n: random.choice([b"\\x3C", b"plain ", b"\xc3\xa4", b"&amp;", b"\\t", b"\\"]), size)
    yield ticket(b'\t<Text type="string">' + text + b'</Text>\n\t<Bytes type="binstr">' + text + b"</Bytes>\n")
    name = b"n" * (size // 4)
    yield ticket(b"<%s>\n<a type=\"int\">1</a></%s>\n" % (name, name))
    depth = 1000
    yield ticket(b"<d>" * depth + b'<a type="string">' + text[: size // 2] + b"</a>" + b"</d>" * depth)
    yield ticket(repeated(lambda n: b'<a type="int">%d</a>' % n, size) + b"<broken")


def calls(corpus, size):
    """Concatenated small inputs, and random bytes."""
    yield repeated(lambda n: random.choice(corpus), size)
    yield random.randbytes(size)


def main():
    target, source, directory = sys.argv[1:]
    random.seed(1)
    os.makedirs(directory, exist_ok=True)
    corpus = [content for name in sorted(os.listdir(source)) if (content := read(f"{source}/{name}"))]
    make = ticket_files if target in ("load", "reader") else calls
    for size in SIZES:
        for number, content in enumerate(make(corpus, size)):
            with open(f"{directory}/{size >> 10}KiB_{number}", "wb") as file:
                file.write(content)


if __name__ == "__main__":
    main()
