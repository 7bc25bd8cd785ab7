"""Opens the site from the disk in a headless browser and uses its search and its colours.

Usage: browser_test.py SITE. Exits with 77 if there is no Chromium.
"""

import pathlib
import re
import sys
import unittest

import browser

SITE = pathlib.Path(sys.argv.pop()).resolve()


class Pages(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.browser = browser.Browser()
        cls.addClassCleanup(cls.browser.close)

    def open(self, page="index.html"):
        self.browser.open(f"{SITE.as_uri()}/{page}")

    def found(self, words):
        """Types into the search, waits for results, and returns the pages and headings that they lead to."""
        self.open()
        links = self.browser.run("""new Promise(done => {
            const links = () => [...document.querySelectorAll(".md-search-result__link")].map(link => link.href);
            new MutationObserver(() => links().length && done(links())).observe(document.body, {childList: true, subtree: true});
            const field = document.querySelector("[data-md-component=search-query]");
            field.focus();
            field.value = "WORDS";
            field.dispatchEvent(new Event("keyup", {bubbles: true}));
        })""".replace("WORDS", words))
        return [re.sub(r"\?[^#]*", "", link.removeprefix(f"{SITE.as_uri()}/")) for link in links]

    def background(self):
        """Returns how light the page is, from 0 to 255."""
        colour = self.browser.run("getComputedStyle(document.body).backgroundColor")
        return sum(int(part) for part in colour.strip("rgba()").split(",")[:3]) / 3

    def test_search_finds_a_word_of_a_guide(self):
        self.assertIn("docs/tool.html#looking", self.found("xargs"))

    def test_search_finds_a_function_of_the_interface(self):
        results = self.found("TicketRunLocked")
        self.assertTrue([page for page in results if page.startswith("api/TicketServices.h.html")], results)

    def test_have_the_colours_of_the_system(self):
        for scheme, dark in (("light", False), ("dark", True)):
            self.browser.prefer(scheme)
            self.open()
            self.assertEqual(self.background() < 80, dark, scheme)

    def test_keep_the_colours_that_a_reader_chooses(self):
        self.browser.prefer("light")
        self.open()
        self.addCleanup(self.browser.run, "localStorage.clear()")
        self.browser.run("document.querySelector('label[title=\"Dark colours\"]').click()")
        self.assertLess(self.background(), 80)
        self.open("docs/tool.html")
        self.assertLess(self.background(), 80)

    def test_have_no_wider_text_than_a_phone(self):
        self.browser.resize(420, 800)
        for page in ("index.html", "docs/tool.html", "docs/reliability.html", "api/TicketServices.h.html"):
            self.open(page)
            self.assertLessEqual(self.browser.run("document.scrollingElement.scrollWidth"), 420, page)


if __name__ == "__main__":
    if browser.PROGRAM is None:
        print("Skipped: Chromium is not installed")
        sys.exit(77)
    unittest.main()
