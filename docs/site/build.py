#!/usr/bin/env python3
"""Builds the documents and the API reference as one site that a browser reads from a disk.

Usage: build.py DIRECTORY
DIRECTORY/html receives the site, and is replaced as a whole; the rest of DIRECTORY is scratch. Needs doxygen, mkdocs and
mkdocs-material. Fails if a public declaration has no docstring, if a link leads nowhere, and if a page loads something from
another host.
"""

import json
import os
import pathlib
import re
import shutil
import subprocess
import sys

sys.dont_write_bytecode = True  # the sources may be read-only
import api  # noqa: E402
import links  # noqa: E402

HERE = pathlib.Path(__file__).resolve().parent
ROOT = HERE.parent.parent
DOCUMENTS = ("README.md", "CHANGELOG.md", "CONTRIBUTING.md", "SECURITY.md")
# The tabs at the head of each page, and below them the pages in their order. Title: pages. build() adds the API reference.
CONTENTS = {
    "Start": ["README.md", "docs/README.md", "CHANGELOG.md"],
    "Guides": ["docs/store-guide.md", "docs/host-guide.md", "docs/tool.md", "docs/file-format.md", "docs/bad-files.md"],
    "Measured": ["docs/performance.md", "docs/measurements.md", "docs/reliability.md", "docs/coverage.md"],
    "Inside": ["docs/design.md", "docs/decisions.md", "CONTRIBUTING.md", "SECURITY.md"],
}
# What MkDocs and its theme add that a site without a server has no use for.
UNUSED = ("404.html", "sitemap.xml", "sitemap.xml.gz", "assets/javascripts/lunr", "search/search_index.json")


def write(path, text):
    path.parent.mkdir(parents=True, exist_ok=True)
    path.write_text(text, encoding="utf-8")


def project(field):
    """Returns VERSION or DESCRIPTION as CMakeLists.txt defines it."""
    return re.search(rf'{field} "?([^"\n]+?)"?(?: LANGUAGES|\)|\n)', (ROOT / "CMakeLists.txt").read_text(encoding="utf-8"))[1]


def run_doxygen(directory):
    """Writes what Doxygen finds in the headers below `directory`. A missing docstring or a broken reference is an error."""
    options = (HERE / "Doxyfile").read_text(encoding="utf-8")
    for name, value in (("VERSION", project("VERSION")), ("SOURCE", ROOT), ("OUTPUT", directory)):
        options = options.replace(f"@{name}@", str(value))
    subprocess.run(["doxygen", "-"], input=options, text=True, check=True)


def stage_sources(pages):
    """Makes a page, with colours, of each source file that a document links to, and one that lists the examples."""
    examples = sorted(path for path in (ROOT / "examples").iterdir() if path.suffix in (".cpp", ".c", ".py", ".h"))
    for path in examples + [ROOT / "tools" / "mutate_equivalent.txt"]:
        name = path.relative_to(ROOT)
        language = {".py": "python", ".txt": "text"}.get(path.suffix, "cpp")
        write(pages / f"{name}.md", f"# {name}\n\n````{language}\n{path.read_text(encoding='utf-8')}````\n")
    listed = "".join(f"- [{path.name}]({path.name}.md)\n" for path in examples)
    write(pages / "examples" / "index.md", f"# Examples\n\nHosts that the tests build and run.\n\n{listed}")


def with_links_to_pages(text):
    """Returns a document in which links to sources lead to the pages that stage_sources makes of them."""
    text = re.sub(r"\]\(((?:\.\./)?examples)/?\)", r"](\1/index.md)", text)
    return re.sub(r"\]\(((?:\.\./)?(?:examples|tools)/[^)#]+\.(?:cpp|c|py|h|txt))\)", r"](\1.md)", text)


def stage_documents(pages):
    """Copies documents and charts in the folders that they have in the sources, so that links between them stay valid."""
    for path in [ROOT / name for name in DOCUMENTS] + sorted((ROOT / "docs").glob("*.md")):
        write(pages / path.relative_to(ROOT), with_links_to_pages(path.read_text(encoding="utf-8")))
    for path in sorted((ROOT / "docs").rglob("*.svg")):
        target = pages / path.relative_to(ROOT)
        target.parent.mkdir(parents=True, exist_ok=True)
        shutil.copy(path, target)
    shutil.copy(HERE / "site.css", pages)


def run_mkdocs(scratch, pages, site, headers):
    contents = [{title: names} for title, names in CONTENTS.items()]
    contents.insert(2, {"API": ["api/index.md"] + [{name: f"api/{name}.md"} for name in headers]})
    unlisted = [str(path.relative_to(pages)) for path in pages.rglob("*.md") if path.parent.name in ("examples", "tools")]
    contents[1]["Guides"].append({"Examples": sorted(name for name in unlisted if name.startswith("examples"))})
    contents[-1]["Inside"] += [name for name in unlisted if name.startswith("tools")]
    # JSON is YAML, too.
    options = {"INHERIT": str(HERE / "mkdocs.yml"), "docs_dir": str(pages), "site_dir": str(site), "nav": contents}
    options["copyright"] = f"Version {project('VERSION')}"
    options["theme"] = {"custom_dir": str(HERE / "theme")}
    write(scratch / "mkdocs.yml", json.dumps(options))
    subprocess.run(["mkdocs", "build", "--quiet", "--strict", "--clean", "--config-file", scratch / "mkdocs.yml"], check=True)


def add_search(site):
    """Puts the index and the worker of the search into scripts, which pages on a disk may load."""
    index = json.loads((site / "search" / "search_index.json").read_text(encoding="utf-8"))
    write(site / "search" / "index.js", f"takeSearchIndex({json.dumps(index, ensure_ascii=False, separators=(',', ':'))});\n")
    worker, = (site / "assets" / "javascripts" / "workers").glob("search.*.min.js")
    source = json.dumps(re.sub(r"\n//# sourceMappingURL=.*", "", worker.read_text(encoding="utf-8")), ensure_ascii=False)
    script = (HERE / "site.js").read_text(encoding="utf-8")
    write(site / "site.js", script.replace("SEARCH_WORKER", source))


def add_copyright(site):
    """Adds the licence of the theme, which is a part of the site. Debian compresses no file of this name."""
    theme = pathlib.Path("/usr/share/doc/mkdocs-material/copyright")
    if theme.exists():
        shutil.copy(theme, site / "assets" / "copyright")


def remove_unused(site):
    for path in [site / name for name in UNUSED] + list(site.rglob("*.map")):
        shutil.rmtree(path) if path.is_dir() else path.unlink(missing_ok=True)


def link_names(site, names):
    """Makes links of the names in code style that the API reference describes, in all pages but its own."""
    for page in site.rglob("*.html"):
        if (site / "api") in page.parents:
            continue
        to_api = os.path.relpath(site / "api", page.parent)

        def linked(match, to_api=to_api):
            target = names.get(match[1].removesuffix("()"))
            return f'<a href="{to_api}/{target}">{match[0]}</a>' if target else match[0]

        # Headings and links stay as they are.
        parts = re.split(r"(<h\d.*?</h\d>|<a .*?</a>|<nav.*?</nav>)", page.read_text(encoding="utf-8"), flags=re.S)
        parts[::2] = [re.sub(r"<code>([\w:/.]+(?:\(\))?)</code>", linked, part) for part in parts[::2]]
        write(page, "".join(parts))


def build(directory):
    """Builds the site and returns the number of its pages and the problems of its links."""
    scratch, site = directory / "scratch", directory / "html"
    shutil.rmtree(scratch, ignore_errors=True)
    pages = scratch / "pages"
    scratch.mkdir(parents=True)
    run_doxygen(scratch)
    reference, headers = api.write_pages(scratch / "xml", pages / "api")
    stage_documents(pages)
    stage_sources(pages)
    run_mkdocs(scratch, pages, site, headers)
    add_search(site)
    add_copyright(site)
    remove_unused(site)
    link_names(site, reference.names())
    return len(list(site.rglob("*.html"))), links.problems(site)


def main(arguments):
    if len(arguments) != 1:
        print(__doc__, file=sys.stderr)
        return 2
    try:
        count, problems = build(pathlib.Path(arguments[0]).resolve())
    except subprocess.CalledProcessError as error:
        print(f"{error.cmd[0]} failed", file=sys.stderr)
        return 1
    print("\n".join(problems) if problems else f"{count} pages, all links lead somewhere: {arguments[0]}/html/index.html")
    return 1 if problems else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
