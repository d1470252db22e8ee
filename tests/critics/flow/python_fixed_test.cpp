// Which of the texts that are run are the author's own words?

#include "critics/flow/python_fixed.h"

#include "critics/syntax/syntax_reader.h"

#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <string_view>
#include <vector>

namespace trevix {
namespace {

std::vector<std::size_t> runsOf(std::string_view text) {
    const SyntaxReading reading =
        readSyntax("python", text, std::chrono::seconds(60), Wanted::tree);
    return pythonFixedRuns(reading.tree, text);
}

/// Whether the only text that is run is fixed.
void expectFixed(std::string_view text) {
    EXPECT_EQ(runsOf(text).size(), 1U) << text;
}
void expectOpen(std::string_view text) {
    EXPECT_TRUE(runsOf(text).empty()) << text;
}

TEST(PythonFixed, WordsInQuotes) {
    expectFixed("exec('a = 1')\n");
    expectFixed("exec(\"\"\"a = 1\nb = 2\"\"\")\n");
    expectFixed("import os\nos.system('make ' 'all')\n");
    expectFixed("from subprocess import run\nrun('make all', check=True, shell=True)\n");
    expectFixed("import subprocess\nsubprocess.run(args='make', shell=True)\n");
    expectFixed("eval('%s + 1' % 2)\n");
    expectFixed("eval('{} + 1'.format(2))\n");
    expectFixed("eval(f'{2} + 1')\n");
    expectOpen("def f(text):\n    exec(text)\n");
    expectOpen("exec(a.text)\n");
    expectOpen("exec(read())\n");
    expectOpen("def f(a):\n    exec(f'{a} = 1')\n");
    expectOpen("def f(a):\n    exec('%s = 1' % a)\n");
    expectOpen("def f(a):\n    exec('{} = 1'.format(a))\n");
}

TEST(PythonFixed, TheBracketTellsWhichCallItIs) {
    EXPECT_EQ(runsOf("eval('1')\neval(x)\neval('2')\n"), (std::vector<std::size_t>{4, 22}));
}

TEST(PythonFixed, AProgramThatIsReadFromAFile) {
    expectFixed("exec(open(path).read())\n");
    expectFixed("exec(compile(open(path).read(), path, 'exec'), names)\n");
    expectFixed("def load(path):\n    with open(path) as file:\n        code = file.read()\n"
                "    exec(code, {})\n");
    expectFixed("from pathlib import Path\ndef load(path):\n"
                "    exec(Path(path).read_text(encoding='utf-8'))\n");
    expectFixed("import io\ndef load(path):\n"
                "    file = io.TextIOWrapper(io.open_code(path), encoding='utf-8')\n"
                "    for number, line in enumerate(file):\n        exec(line)\n");
    expectFixed("def load(name):\n    with _open_script(name) as file:\n"
                "        code = file.read().replace('a', 'b')\n    exec(code, locals())\n");
    expectOpen("def f(path):\n    eval(open(path).read())\n");
    expectOpen("import os\ndef f(path):\n    os.system(open(path).read())\n");
    expectOpen("def f(path, name):\n    exec(open(path).read() + name)\n");
    expectOpen("from urllib.request import urlopen\ndef f(url):\n    exec(urlopen(url).read())\n");
    expectOpen("def f(opener, url):\n    exec(opener.open(url).read())\n");
    expectOpen("def f(lock, code):\n    with lock as file:\n        exec(file.read())\n");
}

TEST(PythonFixed, ACommandThatTheCallerNamesAsSuch) {
    expectFixed("import subprocess\ndef run(cmd):\n    return subprocess.call(cmd, shell=True)\n");
    expectFixed("import os\ndef run(self, command, echo=True):\n    os.system(command)\n");
    expectOpen("import os\ndef run(name):\n    os.system(name)\n");
    expectOpen("import os\ndef run(command):\n    os.system('sudo ' + command)\n");
    expectOpen("import os\ndef run(command, name):\n    command = command + name\n"
               "    os.system(command)\n");
    expectOpen("import os\ncommand = os.environ['A']\nos.system(command)\n");
    expectOpen("def run(command):\n    eval(command)\n");
}

TEST(PythonFixed, OtherCallsAndListsOfWordsAreNotRunByAShell) {
    EXPECT_TRUE(runsOf("print('a')\n").empty());
    EXPECT_TRUE(runsOf("import subprocess\nsubprocess.run('make')\n").empty());
    EXPECT_TRUE(runsOf("model.eval('a')\n").empty());
}

TEST(PythonFixed, NamesThatAreGivenNothingElse) {
    expectFixed("def f():\n    command = 'make'\n    command += ' all'\n    os.system(command)\n");
    expectFixed("RUN = 'make'\ndef f():\n    os.system(RUN)\n");
    expectFixed("def f(new):\n    a = 'make' if new else 'cmake'\n    os.system(a)\n");
    expectFixed("a = 'make'\nb = a + ' all'\na = b\nos.system(a)\n");
    expectFixed("words = ['make']\nwords.append('all')\nos.system(' '.join(words))\n");
    expectFixed("WAYS = {'a': 'make'}\ndef f(x):\n    os.system(WAYS[x])\n");
    expectFixed("import sys\nos.system(sys.executable + ' -V')\n");
    expectFixed("from places import COMMAND\nos.system(COMMAND)\n");
    expectOpen("def f(command):\n    command = command + ' all'\n    os.system(command)\n");
    expectOpen("def f(x):\n    a = 'make'\n    a += x\n    os.system(a)\n");
    expectOpen("def f(x):\n    words = ['make']\n    words.append(x)\n"
               "    os.system(' '.join(words))\n");
    expectOpen("def f(x):\n    words = {}\n    words['a'] = x\n    os.system(words['a'])\n");
    expectOpen("a = 'make'\ndef f():\n    global a\n    a = input()\ndef g():\n    os.system(a)\n");
    expectOpen("from places import command\nos.system(command)\n");
    expectOpen("with open('x') as a:\n    os.system(a)\n");
    expectOpen("a, b = 'make', input()\nos.system(a)\n");
    expectOpen("os.system(a)\n");
    expectOpen("os.system(COMMAND)\n");
    expectOpen("if (a := input()):\n    os.system(a)\n");
    expectOpen("f = lambda a: os.system(a)\n");
    expectOpen("a = b\nb = a\nb = input()\nos.system(a)\n");
}

TEST(PythonFixed, ANameIsThatOfItsFunction) {
    expectFixed("def f(a):\n    return a\ndef g():\n    a = 'make'\n    os.system(a)\n");
    expectOpen("a = 'make'\ndef g(a):\n    os.system(a)\n");
    expectOpen("def f(a):\n    def g():\n        os.system(a)\n    return g\n");
}

TEST(PythonFixed, WhatALoopGoesThrough) {
    expectFixed("for a in ('ver', 'command /c ver'):\n    os.system(a)\n");
    expectFixed("for a, b in {'x': 'make'}.items():\n    os.system(b)\n");
    expectFixed("ran = [os.system(a) for a in ['make', 'ls']]\n");
    expectOpen("for a in open('x'):\n    os.system(a)\n");
    expectOpen("def f(x):\n    for a in x:\n        os.system(a)\n");
}

TEST(PythonFixed, WhatThisTextHandsToAFunctionOfItsOwn) {
    expectFixed("def _run(a):\n    os.system(a)\n_run('make')\n");
    expectFixed("def _run(a, b='ls'):\n    os.system(b)\n_run(x)\n_run(x, b='make')\n");
    expectFixed("class A:\n    def _run(self, a):\n        os.system(a)\n"
                "    def go(self):\n        self._run('make')\n");
    expectFixed("def _run(a):\n    os.system(a)\n"
                "def go():\n    ways = ['make', 'ls']\n    return [_run(w) for w in ways]\n");
    expectFixed("def _run(a, b):\n    os.system(a)\nhere._run('make', x)\n");
    expectOpen("def _run(a, b=1):\n    os.system(a)\nhere._run(x)\n");
    expectOpen("a = 'make'\ndef _run(a, b=1):\n    os.system(a)\n_run(b='ls')\n");
    expectOpen("class A:\n    @staticmethod\n    def _run(a, b=1):\n        os.system(a)\n"
               "A._run(x)\n");
    expectOpen("def run(a):\n    os.system(a)\nrun('make')\n");
    expectOpen("def _run(a):\n    os.system(a)\n");
    expectOpen("def _run(a):\n    os.system(a)\n_run('make')\n_run(x)\n");
    expectOpen("def _run(a):\n    os.system(a)\n_run('make')\ncall(_run)\n");
    expectOpen("def _run(a):\n    os.system(a)\n_run('make')\n_run(*words)\n");
    expectOpen("def _run(*a):\n    os.system(a[0])\n_run('make')\n");
    expectOpen("def _run(a):\n    os.system(a)\ndef _run(a):\n    pass\n_run('make')\n");
}

TEST(PythonFixed, WhatIsQuotedForAShell) {
    expectFixed("import shlex\ndef f(a):\n    os.system('ls ' + shlex.quote(a))\n");
    expectOpen("def f(a):\n    os.system('ls ' + quote(a))\n");
}

TEST(PythonFixed, ACallThatIsYetToGetItsCommand) {
    expectFixed("import functools, subprocess\n"
                "run = functools.partial(subprocess.check_call, shell=True)\n");
    expectOpen("import functools, subprocess\n"
               "def f(a):\n    return functools.partial(subprocess.check_call, a, shell=True)\n");
    expectOpen("import subprocess\nsubprocess.run(*words, shell=True)\n");
}

} // namespace
} // namespace trevix
