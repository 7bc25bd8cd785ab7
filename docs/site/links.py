#!/usr/bin/env python3
"""Checks the links of a built site without a network. Usage: links.py DIRECTORY"""

import html.parser
import os
import re
import sys
import urllib.parse


class PAGE_LINKS(html.parser.HTMLParser):
    """Collects the anchors of a page, and its links with the tags that hold them."""

    def __init__(self, path):
        super().__init__()
        self.anchors, self.links = set(), []
        with open(path, encoding="utf-8") as page:
            self.feed(page.read())

    def handle_starttag(self, tag, attributes):
        for name, value in attributes:
            if name in ("id", "name") and tag != "meta":
                self.anchors.add(value)
            elif name in ("href", "src") and value is not None:
                self.links.append((tag, value))


def problem_of(page, tag, link, pages):
    """Returns what is wrong with a link of a page, or None."""
    parts = urllib.parse.urlsplit(link)
    if parts.scheme or parts.netloc:
        is_loaded = tag != "a" and parts.scheme != "data"
        return "is loaded from another host" if is_loaded else None
    path = os.path.normpath(os.path.join(os.path.dirname(page), urllib.parse.unquote(parts.path))) if parts.path else page
    if not os.path.isfile(path):
        return "leads to no file"
    anchor = urllib.parse.unquote(parts.fragment)
    # "__" begins the anchors that the theme's own scripts use.
    if anchor and path in pages and anchor not in pages[path].anchors and not anchor.startswith("__"):
        return "leads to no heading"
    return None


def problems(site):
    """Returns a line for each broken link, and for each thing that a page or a style sheet loads from another host."""
    files = [os.path.join(directory, name) for directory, _, names in os.walk(site) for name in names]
    pages = {file: PAGE_LINKS(file) for file in files if file.endswith(".html")}
    found = []
    for page, collected in sorted(pages.items()):
        for tag, link in collected.links:
            problem = problem_of(page, tag, link, pages)
            if problem:
                found.append(f"{os.path.relpath(page, site)}: {link} {problem}")
    for file in files:
        if file.endswith(".css"):
            with open(file, encoding="utf-8") as sheet:
                hosts = re.findall(r"(?:url\(|@import )[\"']?((?:https?:)?//[^\"')]*)", sheet.read())
            found += [f"{os.path.relpath(file, site)}: {host} is loaded from another host" for host in hosts]
    return found


if __name__ == "__main__":
    broken = problems(sys.argv[1])
    print("\n".join(broken) if broken else "all links lead somewhere")
    sys.exit(1 if broken else 0)
