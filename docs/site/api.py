"""Turns what Doxygen found in the public headers into one Markdown page for each header."""

import html
import itertools
import os
import re
import xml.etree.ElementTree as ElementTree

PREFIX = "ConfigurationControl/"
# The inline and block elements of a docstring that have a counterpart in HTML.
TAGS = {"computeroutput": "code", "emphasis": "em", "bold": "strong", "itemizedlist": "ul", "orderedlist": "ol", "listitem": "li",
        "verbatim": "pre"}
BLOCKS = {"itemizedlist", "orderedlist", "parameterlist", "simplesect", "verbatim"}
TITLES = {"return": "Returns", "note": "Note", "warning": "Warning", "see": "See"}
# What a page lists in front of the classes and after them. Kind of the declarations, heading.
FIRST_GROUPS = (("define", "Macros"), ("typedef", "Types"), ("enum", "Enumerations"))
LAST_GROUPS = (("variable", "Variables"), ("function", "Functions"))


def text_of(element):
    """Returns the text of an element without its tags and with single blanks; empty if there is no element."""
    return "" if element is None else " ".join("".join(element.itertext()).split())


class DECLARATION:
    """A class, or a member of one or of a header."""

    def __init__(self, element, name, file, anchor):
        self.element, self.name, self.file, self.anchor = element, name, file, anchor
        self.kind = element.get("kind")

    def is_table_row(self):
        return self.kind == "variable" and not text_of(self.element.find("argsstring")).startswith(")")

    def sort_key(self):
        return int(self.element.find("location").get("line", 0))


class API:
    """Everything that the headers declare and Doxygen documents."""

    def __init__(self, xml_directory):
        self.headers, self.classes, self.members = {}, {}, {}
        self.targets = {}  # Doxygen's identity -> (file, anchor)
        self.main_page = None
        compounds = []
        for name in sorted(os.listdir(xml_directory)):
            if name.endswith(".xml") and name not in ("index.xml", "Doxyfile.xml"):
                compounds.append(ElementTree.parse(os.path.join(xml_directory, name)).getroot().find("compounddef"))
        for compound in compounds:
            self._add(compound)
        for compound in compounds:
            for member in compound.iter("memberdef"):
                self._add_member(compound, member)

    def _add(self, compound):
        kind, identity = compound.get("kind"), compound.get("id")
        if identity == "indexpage":
            self.main_page = compound
        elif kind == "file":
            file = self._file(compound)
            self.headers[file] = compound
            self.targets[identity] = (file, "")
        elif kind in ("class", "struct", "union") and compound.get("prot") != "private":
            name = compound.findtext("compoundname")
            self.classes[identity] = DECLARATION(compound, name, self._file(compound), anchor_of(name))
            self.targets[identity] = (self._file(compound), anchor_of(name))

    def _add_member(self, compound, member):
        identity = member.get("id")
        owner = self.classes.get(compound.get("id"))
        is_class = compound.get("kind") in ("class", "struct", "union")
        is_hidden = member.get("prot") == "private" or member.get("kind") == "friend" or (is_class and not owner)
        if identity in self.targets or is_hidden:
            return
        name = member.findtext("qualifiedname") or member.findtext("name")
        if name.rpartition("::")[2].startswith("@"):  # an enumeration without a name is known by its values
            name = ", ".join(value.findtext("name") for value in member.findall("enumvalue"))
        declaration = DECLARATION(member, member.findtext("name") if owner else name, self._file(member), anchor_of(name))
        self.targets[identity] = (declaration.file, declaration.anchor)
        for value in member.findall("enumvalue"):
            self.targets[value.get("id")] = (declaration.file, declaration.anchor)
        if name not in {found.name for found in self.classes.values()}:  # "typedef struct NAME NAME" says nothing new
            self.members.setdefault(owner.element.get("id") if owner else declaration.file, []).append(declaration)

    @staticmethod
    def _file(element):
        return element.find("location").get("file").removeprefix(PREFIX)

    def classes_of(self, file):
        return sorted((found for found in self.classes.values() if found.file == file), key=DECLARATION.sort_key)

    def members_of(self, owner):
        return sorted(self.members.get(owner, []), key=DECLARATION.sort_key)

    def names(self):
        """Returns the names that documents may mention, each with the page and anchor below api/ that describe it."""
        found = {}
        for declaration in list(self.classes.values()) + [member for members in self.members.values() for member in members]:
            owner = declaration.element.findtext("qualifiedname") or declaration.name
            for name in {owner, owner.removeprefix("ticket::")}:
                found.setdefault(name, f"{declaration.file}.html#{declaration.anchor}")
        found.update({file: f"{file}.html" for file in self.headers})
        found.update({PREFIX + file: f"{file}.html" for file in self.headers})
        return found


def anchor_of(name):
    """Returns a name as an anchor: letters, digits and underscores stay."""
    return "".join(letter if letter.isalnum() or letter in "_~" else "." if letter == ":" else f"-{ord(letter):x}"
                   for letter in name.replace("::", ":"))


class PAGE:
    """The page of one header."""

    def __init__(self, api, file):
        self.api, self.file, self.lines = api, file, []

    def text(self):
        header = self.api.headers[self.file]
        self._add(f"# {self.file}", f"```cpp\n#include <{PREFIX}{self.file}>\n```")
        self._describe(header)
        members = self.api.members_of(self.file)
        self._groups(FIRST_GROUPS, members)
        for found in self.api.classes_of(self.file):
            self._class(found)
        self._groups(LAST_GROUPS, members)
        return "\n\n".join(self.lines) + "\n"

    def link(self, identity, label):
        """Returns HTML that leads to a declaration, or only its label if it has no page."""
        if identity not in self.api.targets:
            return label
        file, anchor = self.api.targets[identity]
        page = "" if file == self.file else os.path.relpath(f"{file}.html", os.path.dirname(self.file) or ".")
        return f'<a href="{page}{"#" + anchor if anchor else ""}">{label}</a>' if page or anchor else label

    def html_of(self, element):
        """Returns the content of a docstring's element as HTML."""
        out = [html.escape(element.text or "", quote=False)]
        for child in element:
            out.append(self._child(child))
            out.append(html.escape(child.tail or "", quote=False))
        return "".join(out)

    def _child(self, child):
        if child.tag == "parameternamelist":
            return "<td>" + ", ".join(f"<code>{text_of(name)}</code>" for name in child) + "</td>"
        inner = self.html_of(child)
        if child.tag == "para":
            # HTML has no lists in paragraphs, Doxygen has.
            return inner.strip() if any(part.tag in BLOCKS for part in child) else f"<p>{inner.strip()}</p>"
        if child.tag == "ref":
            return self.link(child.get("refid"), inner)
        if child.tag == "simplesect":
            return f'<p><strong>{TITLES[child.get("kind")]}:</strong> {inner.strip().removeprefix("<p>")}'
        if child.tag == "parameterlist":
            return f'<table class="members"><tbody>{inner}</tbody></table>'
        if child.tag == "parameteritem":
            return f"<tr>{inner}</tr>"
        if child.tag == "parameterdescription":
            return f"<td>{inner.strip()}</td>"
        if child.tag == "ulink":
            return f'<a href="{html.escape(child.get("url"))}">{inner}</a>'
        if child.tag not in TAGS:
            raise ValueError(f"a docstring of {self.file} has an element <{child.tag}>, which has no form in HTML yet")
        return f"<{TAGS[child.tag]}>{inner}</{TAGS[child.tag]}>"

    def _add(self, *paragraphs):
        self.lines += paragraphs

    def _descriptions(self, element):
        parts = (element.find("briefdescription"), element.find("detaileddescription"))
        return "\n".join(self.html_of(part).strip() for part in parts if text_of(part))

    def _describe(self, element):
        """Adds a docstring as HTML, except for its code samples, which Markdown colours."""
        for part in re.split(r"(<pre>.*?</pre>)", self._descriptions(element), flags=re.S):
            if part.startswith("<pre>"):
                self._add(f"```cpp\n{html.unescape(part[5:-6]).strip()}\n```")
            elif part.strip():
                lines = "\n".join(line for line in part.splitlines() if line.strip())
                to_docs = os.path.relpath("docs", os.path.dirname("api/" + self.file))
                lines = re.sub(r"\bdocs/([\w-]+)\.md", rf'<a href="{to_docs}/\1.html">\g<0></a>', lines)
                self._add(f'<div class="docstring">\n{lines}\n</div>')

    def _class(self, found):
        element = found.element
        bases = [f'{base.get("prot")} {text_of(base)}' for base in element.findall("basecompoundref")]
        self._add(f"## `{found.name}` {{: #{found.anchor} }}")
        declared = f'{template_of(element)}{element.get("kind")} {found.name}{" : " + ", ".join(bases) if bases else ""};'
        self._add(f"```cpp\n{declared}\n```")
        self._describe(element)
        self._members(self.api.members_of(element.get("id")))

    def _groups(self, groups, members):
        for kind, title in groups:
            group = [member for member in members if member.kind == kind]
            if group:
                self._add(f"## {title}")
                self._members(group)

    def _members(self, members):
        """Adds variables as a table, and everything else under headings: one for all functions of a name."""
        rows = [member for member in members if member.is_table_row()]
        if rows:
            cells = "".join(self._row(member) for member in rows)
            self._add(f'<table class="members"><tbody>{cells}</tbody></table>')
        overloads = {}
        for member in members:
            if not member.is_table_row():
                overloads.setdefault(member.name, []).append(member)
        for name, group in overloads.items():
            self._add(f"### `{name}` {{: #{group[0].anchor} }}")
            # Overloads that differ in their types only have one text.
            for _, alike in itertools.groupby(group, key=lambda member: self._descriptions(member.element)):
                self._describe_members(list(alike))

    def _row(self, member):
        kind = tidy(member.element.find("type"))
        array = text_of(member.element.find("argsstring"))
        about = self._descriptions(member.element).replace("\n", " ")
        declared = html.escape(f"{kind} {member.name}{array}")
        return f'<tr id="{member.anchor}"><td><code>{declared}</code></td><td>{about}</td></tr>'

    def _describe_members(self, members):
        declarations = "\n".join(signature(member) for member in members)
        self._add(f"```cpp\n{declarations}\n```")
        self._describe(members[0].element)
        values = [(value, html.escape(f"{value.findtext('name')} {text_of(value.find('initializer'))}".strip()))
                  for value in members[0].element.findall("enumvalue")]
        if values:
            cells = "".join(f"<tr><td><code>{declared}</code></td><td>{self._descriptions(value)}</td></tr>"
                            for value, declared in values)
            self._add(f'<table class="members"><tbody>{cells}</tbody></table>')


def tidy(element):
    """Returns a part of a declaration with blanks as in the headers, where Doxygen writes `vector< char const * >`."""
    text = re.sub(r" ([*&]+)(?=[\w,)>]|$| >)", r"\1 ", text_of(element))
    text = re.sub(r" *(?<![=<>!])=(?!=) *", " = ", text)
    return re.sub(r" +(?=[,)>]|$)", "", text.replace("< ", "<").replace("  ", " "))


def template_of(element):
    parameters = element.find("templateparamlist")
    if parameters is None:
        return ""
    listed = []
    for parameter in parameters:
        name, default = parameter.findtext("declname"), text_of(parameter.find("defval"))
        listed.append(text_of(parameter.find("type")) + (f" {name}" if name else "") + (f" = {default}" if default else ""))
    return f"template <{', '.join(listed)}>\n"


def signature(member):
    """Returns the declaration of a member as C++, a parameter a line if it is long."""
    element = member.element
    if member.kind == "define":
        parameters = element.findall("param")
        listed = f"({', '.join(text_of(parameter) for parameter in parameters)})" if parameters else ""
        return f"#define {member.name}{listed} {element.findtext('initializer') or ''}".strip()
    if member.kind == "enum":
        kind = "enum class" if element.get("strong") == "yes" else "enum"
        below = text_of(element.find("type"))
        name = "" if (element.findtext("name") or "").startswith("@") else f" {member.name}"
        return f"{kind}{name}{' : ' + below if below else ''};"
    if member.kind == "typedef" and (element.findtext("definition") or "").startswith("using"):
        return f"{template_of(element)}using {member.name} = {tidy(element.find('type'))};"
    virtual = "virtual " if element.get("virt") in ("virtual", "pure-virtual") else ""
    static = "static " if element.get("static") == "yes" and member.kind == "function" else ""
    typedef = "typedef " if member.kind == "typedef" else ""
    protected = "protected: " if element.get("prot") == "protected" else ""
    kind, arguments = tidy(element.find("type")), tidy(element.find("argsstring"))
    declared = f"{protected}{typedef}{virtual}{static}{kind}{'' if kind.endswith('(*') or not kind else ' '}{member.name}"
    if len(declared + arguments) > 100 and ", " in arguments:
        arguments = with_lines(arguments)
    return f"{template_of(element)}{declared}{arguments};"


def with_lines(arguments):
    """Puts each of a function's parameters on a line of its own; commas within nested brackets stay."""
    start = arguments.index("(") + 1
    out, depth = arguments[:start] + "\n    ", 0
    for letter in arguments[start:]:
        depth += letter in "(<{["
        depth -= letter in ")>}]"
        out += letter
        if letter == "," and depth == 0:
            out += "\n   "
    return out


def index_page(api):
    """Returns the page that lists all headers with the names that they declare."""
    page = PAGE(api, "index")
    page._add("# API reference")
    page._describe(api.main_page)
    for file in sorted(api.headers, key=lambda name: ("/" in name, name.lower())):
        brief = page.html_of(api.headers[file].find("briefdescription")).strip()
        page._add(f"## [{file}]({file}.md)", f'<div class="docstring">{brief}</div>')
        declared = {found.name: found.anchor for found in api.classes_of(file) + api.members_of(file)}
        links = [f'<a href="{file}.html#{anchor}"><code>{html.escape(name)}</code></a>' for name, anchor in declared.items()]
        if links:
            page._add(f'<p class="names">{" ".join(links)}</p>')
    return "\n\n".join(page.lines) + "\n"


def write_pages(xml_directory, directory):
    """Writes all pages into `directory`, and returns the API and the pages' names in the order of the contents."""
    api = API(xml_directory)
    files = sorted(api.headers, key=lambda name: ("/" in name, name.lower()))
    for file in files:
        path = os.path.join(directory, f"{file}.md")
        os.makedirs(os.path.dirname(path), exist_ok=True)
        with open(path, "w", encoding="utf-8") as page:
            page.write(PAGE(api, file).text())
    with open(os.path.join(directory, "index.md"), "w", encoding="utf-8") as page:
        page.write(index_page(api))
    return api, files
