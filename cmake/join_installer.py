#!/usr/bin/env python3
"""The kit's installer, joined from its modules into the one file that ships.

    join_installer.py MODULES TOOLS OUTPUT

MODULES is the folder of the modules, TOOLS the table of the coding tools, OUTPUT the file to write,
which is left alone when it is that text already.

`front.py` begins the file. The other modules follow, each behind those that it imports from,
beginning with what `cli.py` needs; their imports of the library are gathered at the top. What the
modules say is taken over as it is written, so the result reads like them. The same modules make the
same bytes.

A module may import names from another, by `from .module import Name`, and nothing else of it; no
two modules give one name to different things; nobody imports in a circle. Whatever breaks this is
an error with its place, and no file is written.
"""

import ast
import pathlib
import re
import stat
import sys
import textwrap

FRONT, LAST = "front", "cli"
WIDTH = 100
TABLE_HOLE = re.compile(r'^TOOLS_JSON = ""$', re.M)


class Wrong(Exception):
    """A module that cannot be joined: what, and where."""


class Module:
    """One module: its title, its text without the parts that are written anew, what it needs."""

    def __init__(self, path):
        self.name = path.stem
        self.text = path.read_text(encoding="utf-8")
        self.tree = ast.parse(self.text, str(path))
        self.needs = []       # names of modules, in the order in which they are named
        self.library = {}     # module of the library -> names imported from it; None: the module
        self.path = path
        self.title = (ast.get_docstring(self.tree) or "").strip()
        if not self.title:
            raise Wrong("%s: says nowhere what it is" % path)
        self.body = self._without_imports()

    def _without_imports(self):
        lines = self.text.splitlines(True)
        for number, node in enumerate(self.tree.body):
            is_title = number == 0 and isinstance(node, ast.Expr)
            if is_title or (self._take(node) and self.name != FRONT):
                lines[node.lineno - 1:node.end_lineno] = \
                    [""] * (node.end_lineno - node.lineno + 1)
        return "".join(lines).strip("\n")

    def _take(self, node):
        """Notes what an import statement asks for; False for any other statement."""
        if isinstance(node, ast.Import):
            if any(alias.asname for alias in node.names):
                raise Wrong("%s:%d: an import under another name" % (self.path, node.lineno))
            for alias in node.names:
                self.library.setdefault(alias.name, set()).add(None)
            return True
        if not isinstance(node, ast.ImportFrom):
            return False
        if any(alias.asname or alias.name == "*" for alias in node.names) or node.level > 1 or \
                (node.level == 1 and not node.module):
            raise Wrong("%s:%d: only “from .module import Name”" % (self.path, node.lineno))
        if node.level == 1:
            self.needs.append((node.module, [alias.name for alias in node.names], node.lineno))
        else:
            self.library.setdefault(node.module, set()).update(a.name for a in node.names)
        return True

    def defined(self):
        """The names that the module gives to things, at its top level."""
        for node in self.tree.body:
            if isinstance(node, (ast.FunctionDef, ast.ClassDef)):
                yield node.name
            elif isinstance(node, (ast.Assign, ast.AnnAssign)):
                targets = node.targets if isinstance(node, ast.Assign) else [node.target]
                for target in targets:
                    yield from (n.id for n in ast.walk(target) if isinstance(n, ast.Name))


def in_order(modules):
    """All modules but the front, each behind those that it imports from."""
    done, under_way = [], []

    def visit(name):
        if name in under_way:
            raise Wrong("a circle: %s" % " <- ".join(under_way + [name]))
        if modules[name] in done:
            return
        under_way.append(name)
        for needed, names, line in modules[name].needs:
            where = "%s:%d" % (modules[name].path, line)
            if needed not in modules:
                raise Wrong("%s: there is no module %s" % (where, needed))
            visit(needed)
            missing = set(names) - set(modules[needed].defined())
            if missing:
                raise Wrong("%s: %s has no %s" % (where, needed, ", ".join(sorted(missing))))
        under_way.pop()
        done.append(modules[name])

    visit(LAST)
    unused = sorted(set(modules) - {m.name for m in done} - {FRONT})
    if unused:
        raise Wrong("nobody imports from %s" % ", ".join(unused))
    return done


def library_imports(modules, front):
    """The lines that import what the modules need of the library."""
    wanted = {}
    for module in modules:
        for name, names in module.library.items():
            wanted.setdefault(name, set()).update(names)
    for name in sorted(wanted):
        if None in wanted[name] and name not in front.library:
            yield "import %s" % name
    for name in sorted(wanted):
        names = sorted(wanted[name] - {None})
        if names:
            begin = "from %s import " % name
            line = begin + ", ".join(names)
            if len(line) > WIDTH:
                line = textwrap.fill(begin + "(" + ", ".join(names) + ")", WIDTH,
                                     subsequent_indent=" " * len(begin + "("))
            yield line


def section(module):
    """A module as a part of the joined file."""
    first, _, rest = module.title.partition("\n")
    head = "# ---- %s.py: %s " % (module.name, first.rstrip("."))
    lines = [head + "-" * (WIDTH - len(head))]
    lines += ["# " + line if line else "#" for line in rest.strip("\n").splitlines()]
    return "\n".join(lines) + "\n\n\n" + module.body


def with_table(text, table):
    """The text of a section with the table of the tools in its place."""
    if "'''" in table:
        raise Wrong("the table of the tools holds '''")
    found, count = TABLE_HOLE.subn(lambda _: "TOOLS_JSON = r'''" + table + "'''", text)
    if count != 1:
        raise Wrong("there are %d places for the table of the tools" % count)
    return found


def joined(folder, table):
    """The text of the installer. `folder` holds the modules, `table` is the text of the tools."""
    modules = {path.stem: Module(path) for path in sorted(folder.glob("*.py"))}
    order = in_order(modules)
    owners = {}
    for module in order:
        for name in module.defined():
            if owners.setdefault(name, module) is not module:
                raise Wrong("%s: %s is also in %s" % (module.path, name, owners[name].path))
    front = modules[FRONT]
    shebang, rest = front.text.split("\n", 1)
    made = "# Made by the build from %s in the folder `installer`,\n# and from tools.json. " \
        "Change those, not this." % ", ".join(
            module.name + ".py" for module in [front] + order)
    made = textwrap.fill(" ".join(made.replace("\n#", "").split()), WIDTH, subsequent_indent="# ",
                         break_on_hyphens=False)
    text = "\n\n\n".join(
        [shebang + "\n" + made + "\n" + rest.strip("\n") + "\n\n" +
         "\n".join(library_imports(order, front))] +
        [section(module) for module in order]) + "\n"
    text = with_table(re.sub(r"\n{4,}", "\n\n\n", text), table)
    compile(text, "brask_install.py", "exec")
    return text


def main(arguments):
    if len(arguments) != 3:
        sys.exit(__doc__)
    folder, tools, output = map(pathlib.Path, arguments)
    try:
        data = joined(folder, tools.read_text(encoding="utf-8")).encode("utf-8")
    except (Wrong, SyntaxError) as error:
        sys.exit("join_installer: %s" % error)
    if not output.is_file() or output.read_bytes() != data:
        output.parent.mkdir(parents=True, exist_ok=True)
        output.write_bytes(data)
        output.chmod(output.stat().st_mode | stat.S_IXUSR | stat.S_IXGRP | stat.S_IXOTH)


if __name__ == "__main__":
    main(sys.argv[1:])
