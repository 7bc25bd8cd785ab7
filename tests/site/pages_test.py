"""Reads the pages and the search index of the site, without a browser. Usage: pages_test.py SITE"""

import json
import pathlib
import sys
import unittest

SITE = pathlib.Path(sys.argv.pop())


class Index(unittest.TestCase):
    def places_of(self, word):
        """Returns the pages and headings under which a word stands."""
        script = (SITE / "search" / "index.js").read_text(encoding="utf-8")
        index = json.loads(script.removeprefix("takeSearchIndex(").removesuffix(");\n"))
        return [entry["location"] for entry in index["docs"] if word in entry["title"] + entry["text"]]

    def test_knows_a_word_of_a_guide(self):
        self.assertIn("docs/tool.html#looking", self.places_of("xargs"))

    def test_knows_a_function_of_the_interface(self):
        self.assertTrue(any(place.startswith("api/TicketServices.h.html") for place in self.places_of("TicketRunLocked")))


class Pages(unittest.TestCase):
    def test_have_light_and_dark_colours_and_the_script_of_the_search(self):
        pages = list(SITE.rglob("*.html"))
        self.assertGreater(len(pages), 20)
        for page in pages:
            text = page.read_text(encoding="utf-8")
            for part in ('"(prefers-color-scheme: dark)" data-md-color-scheme="slate"', "site.js"):
                self.assertIn(part, text, page)


if __name__ == "__main__":
    unittest.main()
