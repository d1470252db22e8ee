// Where does a stranger's text end up, and where is it let go?

#include "critics/flow/python_flow.h"

#include "critics/syntax/syntax_reader.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <string>
#include <string_view>
#include <vector>

namespace trevix {
namespace {

std::vector<Flow> flowsOf(std::string_view text) {
    const SyntaxReading reading =
        readSyntax("python", text, std::chrono::seconds(60), Wanted::tree);
    return pythonFlows(reading.tree, text);
}

using Dangers = std::vector<Danger>;

Dangers dangersOf(std::string_view text) {
    Dangers dangers;
    for (const Flow& flow : flowsOf(text)) dangers.push_back(flow.danger);
    return dangers;
}

/// A view of a web program with these lines, each indented by four.
std::string view(std::string_view lines) {
    std::string text = "import html, os, pickle, re, requests, shlex, sqlite3, subprocess\n"
                       "from urllib.parse import quote, urlparse\n"
                       "from flask import Flask, Response, abort, make_response, redirect, "
                       "request, send_file, session\n"
                       "from markupsafe import Markup\n"
                       "from werkzeug.utils import secure_filename\n"
                       "app = Flask(__name__)\n"
                       "@app.route('/parcels')\n"
                       "def parcels():\n";
    while (!lines.empty()) {
        const std::size_t end = std::min(lines.find('\n'), lines.size() - 1);
        text += "    " + std::string(lines.substr(0, end + 1));
        lines.remove_prefix(end + 1);
    }
    return text + "\n    return ''\n";
}

struct Way {
    std::string_view name;
    std::string_view lines;
    Dangers dangers;
};

void expectEach(const std::vector<Way>& ways) {
    for (const Way& way : ways) {
        EXPECT_EQ(dangersOf(view(way.lines)), way.dangers) << way.name;
    }
}

TEST(PythonFlow, IsRunByWhatIsSeldomCalled) {
    expectEach({
        {"a loop's program",
         "import asyncio\nloop = asyncio.new_event_loop()\nwords = request.args.getlist('w')\n"
         "loop.subprocess_exec(factory, *words)\n",
         {Danger::command}},
        {"a loop's argument", "loop.subprocess_exec(factory, 'ls', request.args['folder'])\n", {}},
        {"a loop's shell",
         "loop.subprocess_shell(factory, request.args['w'])\n",
         {Danger::command}},
        {"a console",
         "import code\ncode.InteractiveConsole().push(request.args['line'])\n",
         {Danger::code}},
        {"a list", "words.push(request.args['line'])\n", {}},
        {"an interpreter within",
         "import _testcapi\n_testcapi.run_in_subinterp(request.args['line'])\n",
         {Danger::code}},
        {"a table", "import pandas\npandas.read_pickle(request.files['table'])\n", {Danger::load}},
        {"a database",
         "shelf.find({'$where': 'this.id == ' + request.args['id']})\n",
         {Danger::query}},
        {"a value", "shelf.find({'id': request.args['id']})\n", {}},
    });
}

TEST(PythonFlow, AMailIsAPage) {
    const std::string mail = "from django.core.mail import send_mail\n"
                             "def tell(request):\n    body = request.POST.get('body')\n";
    EXPECT_EQ(dangersOf(mail + "    send_mail('a', '', 'b', [], html_message=body)\n"),
              Dangers{Danger::page});
    EXPECT_EQ(dangersOf(mail + "    send_mail('a', body, 'b', [])\n"), Dangers{});
    EXPECT_EQ(dangersOf(mail + "    message.attach_alternative(body, 'text/html')\n"),
              Dangers{Danger::page});
}

TEST(PythonFlow, IsFollowedFromEachPartOfARequest) {
    expectEach({{"args", "os.system('grep ' + request.args['q'])", {Danger::command}},
                {"get", "os.system('grep ' + request.args.get('q', ''))", {Danger::command}},
                {"form", "os.system('grep ' + request.form['q'])", {Danger::command}},
                {"cookies", "os.system('grep ' + request.cookies['q'])", {Danger::command}},
                {"headers", "os.system('grep ' + request.headers.get('X-Q'))", {Danger::command}},
                {"json", "os.system('grep ' + request.get_json()['q'])", {Danger::command}},
                {"the method is no text of theirs", "os.system('grep ' + request.method)", {}},
                {"a session is not theirs", "os.system('grep ' + session['q'])", {}}});
}

TEST(PythonFlow, GoesThroughWhatTextIsPutTogetherBy) {
    expectEach(
        {{"names", "a = request.args['q']\nb = a\neval(b)", {Danger::code}},
         {"f-string", "q = request.args['q']\nos.system(f'ls {q}')", {Danger::command}},
         {"percent", "q = request.args['q']\nos.system('ls %s' % q)", {Danger::command}},
         {"format", "q = request.args['q']\nos.system('ls {}'.format(q))", {Danger::command}},
         {"join", "q = request.args['q']\nos.system(' '.join(['ls', q]))", {Danger::command}},
         {"methods", "q = request.args['q'].strip().lower()\neval(q)", {Danger::code}},
         {"added", "c = 'ls '\nc += request.args['q']\nos.system(c)", {Danger::command}},
         {"a list", "c = []\nc.append(request.args['q'])\nos.system(c[0])", {Danger::command}},
         {"a dictionary", "d = {}\nd['a'] = request.args['q']\neval(d['a'])", {Danger::code}},
         {"another of its keys",
          "d = {}\nd['a'] = request.args['q']\nd['b'] = '1'\neval(d['b'])",
          {}},
         {"a loop", "for q in request.args.getlist('q'):\n    eval(q)", {Danger::code}},
         {"left by break",
          "q = ''\nfor name in request.form.keys():\n    if name:\n        q = name\n        "
          "break\neval(q)",
          {Danger::code}},
         {"several at once", "a, b = 'x', request.args['q']\neval(b)", {Danger::code}},
         {"the other of them", "a, b = 'x', request.args['q']\neval(a)", {}},
         {"one of two ways",
          "q = 'x'\nif app:\n    q = request.args['q']\neval(q)",
          {Danger::code}},
         {"overwritten", "q = request.args['q']\nq = 'x'\neval(q)", {}},
         {"a comprehension", "eval([q for q in request.args.values()][0])", {Danger::code}}});
}

TEST(PythonFlow, EndsInEachSink) {
    expectEach(
        {{"exec", "exec(request.args['q'])", {Danger::code}},
         {"shell", "subprocess.run('ls ' + request.args['q'], shell=True)", {Danger::command}},
         {"words", "subprocess.run(['ls', request.args['q']])", {}},
         {"kept words", "c = ['ls']\nc.append(request.args['q'])\nsubprocess.run(c)", {}},
         {"joined words", "subprocess.run(['ls', '-l'] + request.args.getlist('q'))", {}},
         {"the program itself", "subprocess.run([request.args['q'], '-l'])", {Danger::command}},
         {"a shell's words", "subprocess.run(['sh', '-c', request.args['q']])", {Danger::command}},
         {"statement",
          "db.execute(\"SELECT a FROM t WHERE b = '%s'\" % request.args['q'])",
          {Danger::query}},
         {"parameter", "db.execute('SELECT a FROM t WHERE b = ?', (request.args['q'],))", {}},
         {"file", "open('notes/' + request.args['q'])", {Danger::path}},
         {"joined path", "send_file(os.path.join('notes', request.args['q']))", {Danger::path}},
         {"upload", "f = request.files['f']\nf.save('in/' + f.filename)", {Danger::path}},
         {"named upload",
          "f = request.files['f']\nf.save('in/' + secure_filename(f.filename))",
          {}},
         {"answer", "return '<p>' + request.args['q']", {Danger::page}},
         {"answer with status", "return '<p>' + request.args['q'], 404", {Danger::page}},
         {"answer as data", "return {'q': request.args['q']}", {}},
         {"made answer", "return make_response(request.args['q'])", {Danger::page}},
         {"other type", "return Response(request.args['q'], mimetype='text/plain')", {}},
         {"markup", "x = Markup('<b>' + request.args['q'])", {Danger::page}},
         {"address", "requests.get(request.args['q'])", {Danger::address}},
         {"browser", "return redirect(request.args['q'])", {Danger::redirect}},
         {"own page", "return redirect('/parcels/' + request.args['q'])", {}},
         {"header", "r = Response()\nr.headers['X-Q'] = request.args['q']", {Danger::output}},
         {"log", "app.logger.info('asked for ' + request.args['q'])", {Danger::output}},
         {"objects", "pickle.loads(request.data)", {Danger::load}},
         {"pattern", "re.search(request.args['q'], 'notes')", {Danger::pattern}}});
}

TEST(PythonFlow, IsLetGoWhereItIsMadeHarmless) {
    expectEach({{"number", "db.execute('SELECT a FROM t LIMIT %d' % int(request.args['q']))", {}},
                {"typed", "db.execute('SELECT a LIMIT %d' % request.args.get('q', type=int))", {}},
                {"quoted", "os.system('ls ' + shlex.quote(request.args['q']))", {}},
                {"quoted for another use", "return shlex.quote(request.args['q'])", {Danger::page}},
                {"escaped", "return html.escape(request.args['q'])", {}},
                {"last part", "open('notes/' + os.path.basename(request.args['q']))", {}},
                {"of a kind", "q = re.sub('[^a-z]', '', request.args['q'])\nopen(q)", {}},
                {"lines", "app.logger.info(request.args['q'].replace('\\n', ' '))", {}},
                {"pattern", "re.search(re.escape(request.args['q']), 'notes')", {}}});
}

TEST(PythonFlow, IsLetGoWhereItIsHeldAgainstWhatIsKnown) {
    expectEach(
        {{"in a list", "q = request.args['q']\nif q in ('a', 'b'):\n    open(q)", {}},
         {"behind it",
          "q = request.args['q']\nif q in ('a', 'b'):\n    pass\nopen(q)",
          {Danger::path}},
         {"not in a list",
          "q = request.args['q']\nif q not in KNOWN:\n    abort(404)\nopen(q)",
          {}},
         {"or returned", "q = request.args['q']\nif q not in KNOWN:\n    return ''\nopen(q)", {}},
         {"equal", "q = request.args['q']\nif q == 'a':\n    open(q)", {}},
         {"not equal to nothing",
          "q = request.args['q']\nif q != '':\n    open(q)",
          {Danger::path}},
         {"not None", "q = request.args['q']\nif q is not None:\n    open(q)", {Danger::path}},
         {"in its folder",
          "p = os.path.realpath(os.path.join(ROOT, request.args['q']))\nif not "
          "p.startswith(ROOT):\n    abort(403)\nopen(p)",
          {}},
         {"a pattern",
          "q = request.args['q']\nif not re.fullmatch('[a-z]+', q):\n    return ''\n"
          "open(q)",
          {}},
         {"a kept match",
          "q = request.args['q']\nm = re.match('[a-z]+$', q)\nif m is None:\n    return "
          "''\nopen(q)",
          {}},
         {"digits", "q = request.args['q']\nif q.isdigit():\n    open(q)", {}},
         {"a host",
          "q = request.args['q']\nif urlparse(q).netloc in HOSTS:\n    requests.get(q)",
          {}},
         {"a host anywhere",
          "q = request.args['q']\nif 'example.com' in q:\n    requests.get(q)",
          {Danger::address}},
         {"a host with any character",
          "q = request.args['q']\nif re.match('https://www.example.com/', q):\n    "
          "requests.get(q)",
          {Danger::address}},
         {"a function of its own",
          "q = request.args['q']\nif is_safe_url(q):\n    requests.get(q)",
          {}},
         {"both", "q = request.args['q']\nif q and q in KNOWN:\n    open(q)", {}},
         {"either", "q = request.args['q']\nif q or q in KNOWN:\n    open(q)", {Danger::path}},
         {"chosen", "q = request.args['q']\nopen(q if q in KNOWN else 'a')", {}},
         {"tried",
          "q = request.args['q']\ntry:\n    q = int(q)\nexcept ValueError:\n    abort(400)\n"
          "open('notes/%d' % q)",
          {}},
         {"tried in vain",
          "q = request.args['q']\ntry:\n    q = int(q)\nexcept ValueError:\n    "
          "pass\nopen(q)",
          {Danger::path}}});
}

TEST(PythonFlow, AddressWithItsHostIsPartOfOneOnly) {
    const auto flows =
        flowsOf(view("requests.get('https://api.example.com/users/' + request.args['q'])"));
    ASSERT_EQ(flows.size(), 1U);
    EXPECT_TRUE(flows[0].partly);
    const auto open = flowsOf(view("requests.get('https://' + request.args['q'])"));
    ASSERT_EQ(open.size(), 1U);
    EXPECT_FALSE(open[0].partly);
}

TEST(PythonFlow, GoesIntoFunctionsOfTheTextAndBack) {
    EXPECT_EQ(dangersOf("import os\nfrom flask import request\n"
                        "def run(command):\n    os.system(command)\n"
                        "def view():\n    run('ls ' + request.args['q'])\n"),
              Dangers{Danger::command});
    EXPECT_EQ(dangersOf("from flask import request\n"
                        "def asked():\n    return request.args['q']\n"
                        "def view():\n    open(asked())\n"),
              Dangers{Danger::path});
    EXPECT_EQ(dangersOf("from flask import request\n"
                        "def same(a, b):\n    return b\n"
                        "def view():\n    open(same('x', b=request.args['q']))\n"),
              Dangers{Danger::path});
    EXPECT_EQ(dangersOf("from flask import request\n"
                        "def other(a, b):\n    return a\n"
                        "def view():\n    open(other('x', request.args['q']))\n"),
              Dangers{});
    EXPECT_EQ(dangersOf("import os\ndef run(command):\n    os.system(command)\n"), Dangers{});
}

TEST(PythonFlow, KnowsTheFrameworks) {
    EXPECT_EQ(dangersOf("def show(request):\n    open('notes/' + request.GET['q'])\n"),
              Dangers{Danger::path});
    EXPECT_EQ(dangersOf("from fastapi import FastAPI\napp = FastAPI()\n"
                        "@app.get('/run')\nasync def run(q: str):\n    eval(q)\n"),
              Dangers{Danger::code});
    EXPECT_EQ(dangersOf("from fastapi import FastAPI\napp = FastAPI()\n"
                        "@app.get('/run')\nasync def run(q: int):\n    eval(q)\n"),
              Dangers{});
    EXPECT_EQ(dangersOf("from flask import Flask\napp = Flask(__name__)\n"
                        "@app.route('/n/<name>')\ndef show(name):\n    open('n/' + name)\n"),
              Dangers{}); // No slash is in it.
    EXPECT_EQ(dangersOf("from flask import Flask\napp = Flask(__name__)\n"
                        "@app.route('/n/<path:name>')\ndef show(name):\n    open('n/' + name)\n"),
              Dangers{Danger::path});
    EXPECT_EQ(dangersOf("import tornado.web\nclass A(tornado.web.RequestHandler):\n"
                        "    def get(self):\n        self.write(self.get_argument('q'))\n"),
              Dangers{Danger::page});
    EXPECT_EQ(dangersOf("from http.server import BaseHTTPRequestHandler\n"
                        "class A(BaseHTTPRequestHandler):\n"
                        "    def do_GET(self):\n        open('.' + self.path)\n"),
              Dangers{Danger::path});
    // A library's own request is another thing.
    EXPECT_EQ(dangersOf("def send(request):\n    open(request.data)\n"), Dangers{});
}

TEST(PythonFlow, WhoRunsAProgramMayOpenFilesButIsNotEvaluated) {
    EXPECT_EQ(dangersOf("import sys\nopen(sys.argv[1])\n"), Dangers{});
    EXPECT_EQ(dangersOf("eval(input())\n"), Dangers{Danger::code});
    // With names of its own a program is there to be scripted by who runs it, and by nobody else.
    EXPECT_EQ(dangersOf("def f(names):\n    exec(input(), names)\n"), Dangers{});
    EXPECT_EQ(dangersOf("exec(input(), globals())\n"), Dangers{Danger::code});
    EXPECT_EQ(dangersOf("eval(input(), {})\n"), Dangers{});
    EXPECT_EQ(dangersOf(view("eval(request.args['q'], names)")), Dangers{Danger::script});
    // Who runs it may load what they like.
    EXPECT_EQ(dangersOf("import sys\n__import__(sys.argv[1])\n"), Dangers{});
    EXPECT_EQ(dangersOf(view("__import__(request.args['q'])")), Dangers{Danger::module});
    EXPECT_EQ(dangersOf("import importlib, requests\n"
                        "importlib.import_module(requests.get('https://a.example').text)\n"),
              Dangers{Danger::module});
    EXPECT_EQ(dangersOf("import pickle, requests\n"
                        "pickle.loads(requests.get('https://a.example').content)\n"),
              Dangers{Danger::load});
}

TEST(PythonFlow, SaysWhereItComesIn) {
    const std::string text = view("q = request.args['q']\n\nopen(q)");
    const auto flows = flowsOf(text);
    ASSERT_EQ(flows.size(), 1U);
    EXPECT_EQ(flows[0].what, "request.args['q']");
    EXPECT_EQ(text.substr(flows[0].from, 17), "request.args['q']");
    EXPECT_EQ(text.substr(flows[0].offset, flows[0].length), "open(q)");
    EXPECT_EQ(flows[0].origin, Origin::request);
}

TEST(PythonFlow, TakesWhateverItIsGiven) {
    EXPECT_TRUE(pythonFlows(SyntaxTree(), "").empty());
    const auto many = [](std::string_view piece, std::size_t bytes) {
        std::string text;
        while (text.size() + piece.size() < bytes) text += piece;
        return text;
    };
    constexpr std::size_t kMost = 50'000;
    for (const std::string& text :
         {many("(", kMost), many("f(", kMost), many("a.", kMost) + "b", many("a[", kMost),
          "x = " + many("not ", kMost) + "a", "x = " + many("a in (", kMost),
          many("if a:\n", kMost), many("f'{", kMost), many("lambda: ", kMost),
          "x = " + many("a if ", kMost), many("def f(a, b=", kMost), many("\x80", kMost),
          many("try:\n ", kMost), many("for a in b:\n  break\n", kMost)}) {
        SCOPED_TRACE(text.substr(0, 20));
        flowsOf(text);
    }
}

} // namespace
} // namespace trevix
