"""Tests of what makes the site: the check of links, declarations as C++ writes them, links to sources."""

import pathlib
import re
import sys
import tempfile
import unittest
import xml.etree.ElementTree as ElementTree

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[2] / "docs" / "site"))
import api  # noqa: E402
import build  # noqa: E402
import links  # noqa: E402


def problems_of(**pages):
    """Writes pages, and a style sheet as `sheet`, into a folder and returns the problems of its links."""
    with tempfile.TemporaryDirectory() as site:
        for name, text in pages.items():
            pathlib.Path(site, "sheet.css" if name == "sheet" else f"{name}.html").write_text(text, encoding="utf-8")
        return links.problems(site)


class Links(unittest.TestCase):
    def test_that_lead_to_files_and_headings_are_no_problem(self):
        self.assertEqual(problems_of(a='<a href="b.html#there">b</a><a href="https://example.org">far</a>',
                                     b='<h1 id="there">b</h1>'), [])

    def test_to_no_file_are_reported(self):
        self.assertEqual(problems_of(a='<a href="gone.html">b</a>'), ["a.html: gone.html leads to no file"])

    def test_to_a_directory_are_reported_because_a_disk_shows_no_index_there(self):
        self.assertEqual(problems_of(a='<a href=".">b</a>'), ["a.html: . leads to no file"])

    def test_to_no_heading_are_reported_on_the_same_page_and_on_others(self):
        self.assertEqual(problems_of(a='<a href="#x">x</a><a href="b.html#x">x</a>', b="<p>b</p>"),
                         ["a.html: #x leads to no heading", "a.html: b.html#x leads to no heading"])

    def test_that_load_from_other_hosts_are_reported(self):
        self.assertEqual(problems_of(a='<script src="//example.org/a.js"></script><img src="data:,">',
                                     sheet="a { b: url(http://example.org/c) }"),
                         ["a.html: //example.org/a.js is loaded from another host",
                          "sheet.css: http://example.org/c is loaded from another host"])


class Declarations(unittest.TestCase):
    @staticmethod
    def signature(kind, result, name, arguments, **attributes):
        member = ElementTree.Element("memberdef", kind=kind, **attributes)
        for tag, text in (("type", result), ("name", name), ("argsstring", arguments)):
            ElementTree.SubElement(member, tag).text = text
        return api.signature(api.DECLARATION(member, member.findtext("name"), "a.h", "a"))

    def test_of_functions_are_spaced_as_in_the_headers(self):
        self.assertEqual(self.signature("function", "char const *", "Get", "(std::vector< int > const &list, int index=-1) const =0",
                                        virt="pure-virtual"),
                         "virtual char const* Get(std::vector<int> const& list, int index = -1) const = 0;")

    def test_of_function_pointers_keep_their_name_inside(self):
        self.assertEqual(self.signature("variable", "int(*", "Lock", ")(STICKET *ticket, int number)"),
                         "int(*Lock)(STICKET* ticket, int number);")

    def test_that_are_long_have_a_line_for_each_parameter(self):
        name = "a" * 90
        self.assertEqual(self.signature("function", "void", "Set", f"(std::map< int, int > {name}, void(*b)(int, int))"),
                         f"void Set(\n    std::map<int, int> {name},\n    void(*b)(int, int));")

    def test_that_are_protected_say_so(self):
        self.assertEqual(self.signature("function", "void", "Run", "()", prot="protected"), "protected: void Run();")

    def test_have_anchors_that_tell_operators_apart(self):
        self.assertNotEqual(api.anchor_of("A::operator<"), api.anchor_of("A::operator>"))
        self.assertEqual(api.anchor_of("STICKET::Create"), "STICKET.Create")


class Documents(unittest.TestCase):
    def test_link_to_pages_of_sources(self):
        self.assertEqual(build.with_links_to_pages("[a](../examples/store.cpp) [b](../examples) [c](docs/tool.md)"),
                         "[a](../examples/store.cpp.md) [b](../examples/index.md) [c](docs/tool.md)")

    def test_are_all_in_the_table_of_contents(self):
        listed = {name for names in build.CONTENTS.values() for name in names}
        paths = list(build.ROOT.glob("*.md")) + list((build.ROOT / "docs").glob("*.md"))
        self.assertEqual({str(path.relative_to(build.ROOT)) for path in paths} - listed, set())


class Figures(unittest.TestCase):
    def test_of_the_readme_are_those_on_record(self):
        readme = (build.ROOT / "README.md").read_text(encoding="utf-8")
        record = (build.ROOT / "tests" / "instruction_counts.txt").read_text(encoding="utf-8")
        recorded = dict(re.findall(r"^(\w+ \d+) (\d+)$", record, flags=re.M))
        for operation, unit in (("get_int 10000", "instructions"), ("load 10000", "instructions a key")):
            shown = int(re.search(rf"\| ([\d,]+) {unit} \|", readme)[1].replace(",", ""))
            # The record may differ from a run by 5 %.
            self.assertAlmostEqual(shown, int(recorded[operation]) / 10_000, delta=shown * 0.05, msg=operation)


if __name__ == "__main__":
    unittest.main()
