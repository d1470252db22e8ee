// Is what Bandit and Ruff say of Python weighed by what stands around it?

#include "critics/engines/python_grade.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>

namespace trevix {
namespace {

/// The grade of a fault of Ruff's at the last place where `at` stands in a whole file.
std::optional<Severity> ruff(std::string code, std::string_view text, std::string_view at,
                             std::string_view name = "work.py") {
    return gradeOfRuff({std::move(code), "", "", 1, 1, ""}, {true, text, text.rfind(at), name});
}

/// As Bandit has it, which names a line alone; it is sure.
std::optional<Severity> bandit(std::string code, std::string_view text, std::string_view at,
                               std::string level = "medium") {
    const std::size_t found = text.rfind(at);
    const std::size_t line = found == 0 ? 0 : text.rfind('\n', found - 1) + 1;
    const std::size_t begin = text.find_first_not_of(" \t", line);
    return gradeOfBandit({std::move(code), std::move(level), "high", 1, 1, ""},
                         {true, text, begin, "work.py"});
}

TEST(UndeclaredName, IsAFault) {
    EXPECT_EQ(ruff("F821", "print(total)\n", "total"), Severity::high);
    EXPECT_EQ(ruff("F821", "def f():\n    return unicode(1)\n", "unicode"), Severity::high);
    EXPECT_EQ(
        ruff("F821", "def f():\n    return total\n\n\ndef g():\n    total = 1\n", "total\n\n"),
        Severity::high);
}

TEST(UndeclaredName, OfPython2WeighsLittleWhereTheFileKnowsBoth) {
    EXPECT_EQ(ruff("F821", "if sys.version_info[0] < 3:\n    text = unicode\n", "unicode"),
              Severity::low);
    EXPECT_EQ(
        ruff("F821", "PY3 = bytes is not str\nread = input if PY3 else raw_input\n", "raw_input"),
        Severity::low);
    EXPECT_EQ(
        ruff("F821", "try:\n    import queue\nexcept ImportError:\n    str = unicode\n", "unicode"),
        Severity::low);
    EXPECT_EQ(ruff("F821", "if sys.version_info[0] < 3:\n    text = unicodes\n", "unicodes"),
              Severity::high)
        << "no name of Python 2";
}

TEST(UndeclaredName, InAMethodThatPython3NeverCallsWeighsLittle) {
    EXPECT_EQ(ruff("F821",
                   "class A:\n    def __cmp__(self, other):\n        if other:\n"
                   "            return cmp(self.a, other.a)\n",
                   "cmp(self"),
              Severity::low);
    EXPECT_EQ(ruff("F821", "class A:\n    def __long__(s): return long(s.a)\n", "long(s.a"),
              Severity::low);
    EXPECT_EQ(ruff("F821",
                   "class A:\n    def __lt__(self, other):\n"
                   "        return cmp(self.a, other.a) < 0\n",
                   "cmp(self"),
              Severity::high);
}

TEST(UndeclaredName, ThatSomebodyElseMakesWeighsLittle) {
    EXPECT_EQ(ruff("F821", "globals().update(Kind.__members__)\nkind = FIRST\n", "FIRST"),
              Severity::low);
    EXPECT_EQ(ruff("F821", "globals()[name] = 1\nkind = FIRST\n", "FIRST"), Severity::low);
    EXPECT_EQ(ruff("F821", "kind = globals().get('x') or FIRST\n", "FIRST"), Severity::high)
        << "it only looks";
    EXPECT_EQ(ruff("F821", "shell = get_ipython()\n", "get_ipython"), Severity::low);
    EXPECT_EQ(ruff("F821", "print(_('Done'))\n", "_('"), Severity::low);
    EXPECT_EQ(ruff("F821", "__path__ = extend_path(__path__, __name__)\n", "__path__,"),
              Severity::low);
}

TEST(UndeclaredName, ThatIsTakenAwayWhenItHasBeenUsedWeighsLittle) {
    EXPECT_EQ(ruff("F821", "day = 1\ndef f():\n    return day\nf()\ndel day\n", "day\nf()"),
              Severity::low);
    EXPECT_EQ(ruff("F821", "day = 1\ndef f():\n    return day\ndel f, day\n", "day\ndel"),
              Severity::low);
    EXPECT_EQ(ruff("F821", "def f():\n    return day\ndel days\n", "day\n"), Severity::high);
}

TEST(UndeclaredName, OfAFunctionThatTakesItAwayWeighsLittle) {
    EXPECT_EQ(ruff("F821",
                   "def f():\n    def g(n):\n        return g(n - 1)\n    g(2)\n    del a, g\n",
                   "g(n - 1)"),
              Severity::low);
}

TEST(UndeclaredName, OfAnEnumerationThatIsMadeOfOthersWeighsLittle) {
    EXPECT_EQ(
        ruff("F821", "IntEnum._convert_('Kind', __name__, chosen)\nkind = Kind.a\n", "Kind.a"),
        Severity::low);
}

TEST(UselessComparison, ThatCallsSomethingMayBeMeant) {
    EXPECT_EQ(ruff("B015", "total == 1\n", "total"), Severity::medium);
    EXPECT_EQ(ruff("B015", "Color.parse(word) is None\n", "Color"), Severity::low);
}

TEST(UndeclaredName, WhoseCheckIsTurnedOffOnItsLineWeighsLittle) {
    EXPECT_EQ(ruff("F821", "run()  # type: ignore[name-defined]\n", "run"), Severity::low);
    EXPECT_EQ(ruff("F821", "run()  # pylint: disable=undefined-variable\n", "run"), Severity::low);
    EXPECT_EQ(ruff("F821", "run()\nwalk()  # type: ignore\n", "run"), Severity::high);
}

TEST(UndeclaredName, ThatAnEarlierTurnOfTheLoopHasMadeWeighsLittle) {
    EXPECT_EQ(ruff("F821",
                   "def f(lines):\n    for line in lines:\n        if line:\n"
                   "            yield rows\n        rows = [line]\n    return 1\n",
                   "rows\n        rows"),
              Severity::low);
    EXPECT_EQ(ruff("F821",
                   "def f(lines):\n    print(rows)\n    for line in lines:\n"
                   "        rows = [line]\n",
                   "rows)"),
              Severity::high)
        << "before the loop";
    EXPECT_EQ(ruff("F821",
                   "def f(lines):\n    for line in lines:\n        yield rows\n"
                   "def g():\n    rows = []\n",
                   "rows\ndef"),
              Severity::high)
        << "in another function";
    EXPECT_EQ(ruff("F821",
                   "def f(lines):\n    for line in lines:\n        yield rows\n"
                   "        if rows == []:\n            break\n",
                   "rows\n        if"),
              Severity::high)
        << "a comparison makes nothing";
}

TEST(ListedName, OfAPackageOrMadeOnDemandWeighsLittle) {
    const std::string_view list = "__all__ = ['reader']\n";
    EXPECT_EQ(ruff("F822", list, "'reader"), Severity::medium);
    EXPECT_EQ(ruff("F822", list, "'reader", "__init__.py"), Severity::low) << "a module of it";
    EXPECT_EQ(ruff("F822", list, "'reader", "box/__init__.py"), Severity::low);
    EXPECT_EQ(ruff("F822", "__all__ = ['A']\nglobals().update(Kind.__members__)\n", "'A"),
              Severity::low);
    EXPECT_EQ(ruff("F822", "__all__ = ['A']\ndef __getattr__(name):\n    return 1\n", "'A"),
              Severity::low);
}

TEST(Permissions, ThatLetNobodyElseWriteWeighLittle) {
    EXPECT_EQ(ruff("S103", "os.chmod(path, 0o777)\n", "0o7"), Severity::medium);
    EXPECT_EQ(ruff("S103", "os.chmod(path, 0o775)\n", "0o7"), Severity::medium);
    EXPECT_EQ(ruff("S103", "os.chmod(path, stat.S_IXGRP)\n", "stat."), Severity::medium);
    EXPECT_EQ(ruff("S103", "os.chmod(path, 0o755)\n", "0o7"), Severity::low);
    EXPECT_EQ(ruff("S103", "os.chmod(path, (0o777 & ~umask() | 0o111))\n", "(0o7"), Severity::low);
    EXPECT_EQ(bandit("B103", "if x:\n    os.chmod(path, 0o755)\n", "os.", "high"), Severity::low);
    EXPECT_EQ(bandit("B103", "if x:\n    os.chmod(path, 0o666)\n", "os.", "high"), Severity::high);
}

TEST(AddressOfAll, WeighsWhereSomethingListensThere) {
    EXPECT_EQ(ruff("S104", "s.bind(('0.0.0.0', 80))\n", "'0.0"), Severity::medium);
    EXPECT_EQ(ruff("S104", "app.run(host='0.0.0.0')\n", "'0.0"), Severity::medium);
    EXPECT_EQ(ruff("S104", "HOST = '0.0.0.0'\n", "'0.0"), Severity::medium);
    EXPECT_EQ(ruff("S104", "self.name = ('0.0.0.0', 0)\n", "'0.0"), Severity::low);
    EXPECT_EQ(ruff("S104", "host = IPv4Address('0.0.0.0')\n", "'0.0"), Severity::low)
        << "a value that nothing listens at";
    EXPECT_EQ(ruff("S104", "if host == '0.0.0.0':\n", "'0.0"), Severity::low);
    EXPECT_EQ(ruff("S104", "if host in {'::', '0.0.0.0'}:\n", "'0.0"), Severity::low);
    EXPECT_EQ(ruff("S104", "UDP = '0.0.0.0'\ns.bind((UDP, 80))\n", "'0.0"), Severity::medium);
    EXPECT_EQ(ruff("S104", "for host in known(('::', '0.0.0.0')):\n", "'0.0"), Severity::medium);
}

TEST(AddressOfAll, WithPortNoneIsNobodys) {
    const std::string listens = "s.bind((host, 80))\n";
    EXPECT_EQ(ruff("S104", listens + "self.peer = ('0.0.0.0', 0)\n", "'0.0"), Severity::low);
    EXPECT_EQ(ruff("S104", listens + "self.peer = ('0.0.0.0', 80)\n", "'0.0"), Severity::medium);
    EXPECT_EQ(ruff("S104", "s.bind(('0.0.0.0', 0))\n", "'0.0"), Severity::medium)
        << "a port is drawn, and open to all";
}

TEST(FolderForAll, ThatIsComparedOpensNothing) {
    EXPECT_EQ(ruff("S108", "open('/tmp/list')\n", "'/tmp"), Severity::medium);
    EXPECT_EQ(ruff("S108", "if path[:4] == '/tmp':\n", "'/tmp"), Severity::low);
    EXPECT_EQ(ruff("S108", "if '/tmp' != path[:4]:\n", "'/tmp"), Severity::low);
    EXPECT_EQ(ruff("S108", "if path.startswith('/tmp/'):\n", "'/tmp"), Severity::low);
}

TEST(FolderForAll, ThatIsNamedAloneHoldsNoFileOfGuessableName) {
    EXPECT_EQ(ruff("S108", "places = ['/tmp', '/var/tmp']\n", "'/tmp"), Severity::low);
    EXPECT_EQ(ruff("S108", "places = ['/tmp', '/var/tmp']\n", "'/var"), Severity::low);
    EXPECT_EQ(ruff("S108", "TOP = \"/dev/shm/\"\n", "\"/dev"), Severity::low);
    EXPECT_EQ(ruff("S108", "places = ['/tmp/parcels']\n", "'/tmp"), Severity::medium);
    EXPECT_EQ(ruff("S108", "path = '/tmp/' + name\n", "'/tmp"), Severity::medium)
        << "a name follows";
    EXPECT_EQ(ruff("S108", "path = f'/tmp/{name}'\n", "f'/tmp"), Severity::medium);
    EXPECT_EQ(ruff("S108", "path = os.path.join('/tmp', name)\n", "'/tmp"), Severity::medium);
}

TEST(WeakHash, InATableOfThemIsNotUsedThere) {
    EXPECT_EQ(bandit("B303", "HASHES = {\n    'md5': hashes.MD5(),\n}\n", "hashes.MD5"),
              Severity::low);
    EXPECT_EQ(bandit("B303", "HASHES = {\n    'md5': hashes.MD5(data),\n}\n", "hashes.MD5"),
              Severity::medium);
    EXPECT_EQ(bandit("B303", "digest = hashes.MD5()\n", "hashes"), Severity::medium);
    EXPECT_EQ(bandit("B303", "if new: MD5()\n", "MD5"), Severity::medium);
    EXPECT_EQ(ruff("S303", "HASHES = {\n    'md5': hashes.MD5(),\n}\n", "hashes.MD5"),
              Severity::low);
}

TEST(WeakHash, ThatNamesCallAChecksumWeighsLittle) {
    EXPECT_EQ(bandit("B303", "key = hashlib.md5(content).hexdigest()\n", "hashlib"), Severity::low);
    EXPECT_EQ(ruff("S324", "checksum = hashlib.sha1(\n    data)\n", "hashlib"), Severity::low);
    EXPECT_EQ(ruff("S324", "etag = hashlib.sha1(data)\n", "hashlib"), Severity::low);
    EXPECT_EQ(bandit("B303", "from hashlib import md5\ncached = md5()\n", "cached"), Severity::low);
    EXPECT_EQ(bandit("B303", "def md5_of(x):\n    return hashlib.md5(x)\n", "return"),
              Severity::low)
        << "its callers choose it";
    EXPECT_EQ(bandit("B303", "key = hashlib.md5(data)\n", "hashlib"), Severity::medium);
    EXPECT_EQ(bandit("B303", "nonce = hashlib.md5(user, usedforsecurity=False)\n", "hashlib"),
              Severity::low);
    EXPECT_EQ(bandit("B303",
                     "how = padding.OAEP(padding.MGF1(hashes.SHA1()), hashes.SHA1(), None)\n",
                     "padding"),
              Severity::low)
        << "nothing there needs that no two texts have one hash";
    EXPECT_EQ(bandit("B303", "checksum = hashlib.md5(password)\n", "hashlib"), Severity::medium);
    EXPECT_EQ(ruff("S324", "content = hashlib.sha1(\n    user.name)\n", "hashlib"),
              Severity::medium);
    EXPECT_EQ(bandit("B303",
                     "def sign(content):\n    if content:\n        return hashlib.md5(content)\n",
                     "return"),
              Severity::medium);
    EXPECT_EQ(bandit("B303", "from Crypto.Hash import MD5\ncontent = MD5.new()\n", "content"),
              Severity::medium)
        << "who takes a library for ciphers means it for security";
}

TEST(WeakHash, ThatAStandardAsksForWeighsLittle) {
    EXPECT_EQ(bandit("B303",
                     "def greet(self):\n    # RFC 1939: the digest is MD5's.\n"
                     "    digest = hashlib.md5(secret)\n",
                     "digest = "),
              Severity::low);
    EXPECT_EQ(
        ruff("S324", "\"\"\"Signs as rfc5849 has it.\"\"\"\nhashlib.sha1(password)\n", "hashlib"),
        Severity::low);
    EXPECT_EQ(bandit("B305", "# RFC 3394, 2.2.1\nc = Cipher(AES(key), ECB())\n", "c ="),
              Severity::low);
    EXPECT_EQ(bandit("B303", "# see the RFC\ndigest = hashlib.md5(secret)\n", "digest"),
              Severity::medium)
        << "which one?";
    EXPECT_EQ(bandit("B305", "c = Cipher(AES(key), ECB())\n", "c ="), Severity::medium);
    EXPECT_EQ(bandit("B304", "# RFC 1851\nc = Cipher(TripleDES(key))\n", "c ="), Severity::medium)
        << "a cipher that is broken is, whoever asks for it";
}

TEST(WeakHash, ThatIsSaidOnALaterLineNotToBeForSecurityWeighsLittle) {
    EXPECT_EQ(bandit("B303", "token = md5(\n    name,\n    usedforsecurity=False\n)\n", "token"),
              Severity::low);
    EXPECT_EQ(
        bandit("B303", "token = md5(\n    name\n)\nsha1(x, usedforsecurity=False)\n", "token"),
        Severity::medium);
}

TEST(WeakHash, OfANameThatIsMadeOfOthersWeighsLittle) {
    EXPECT_EQ(bandit("B303",
                     "def uuid_of(space, name):\n    from hashlib import sha1\n"
                     "    drawn = sha1(space + name)\n",
                     "drawn"),
              Severity::low);
}

TEST(KeptObjects, ThatTheFileWritesItselfWeighLittle) {
    const std::string reads = "def load(path):\n    with open(path, 'rb') as file:\n"
                              "        return pickle.load(file)\n";
    EXPECT_EQ(bandit("B301", reads, "return"), Severity::medium);
    EXPECT_EQ(bandit("B301",
                     "def keep(path, table):\n    with open(path, 'wb') as file:\n"
                     "        pickle.dump(table, file)\n" +
                         reads,
                     "return"),
              Severity::low);
    EXPECT_EQ(ruff("S301",
                   "class Store:\n    def put(self, file, table):\n"
                   "        keeper = Pickler(file)\n    def get(self, file):\n"
                   "        return Unpickler(file).load()\n",
                   "Unpickler"),
              Severity::low);
    EXPECT_EQ(bandit("B301", "pickle.dump(table, file)\ntable = pickle.load(file)\n", "table = "),
              Severity::medium)
        << "in no function of it";
}

TEST(TemporaryNames, WhereNothingBetterIsThereWeighLittle) {
    EXPECT_EQ(bandit("B306",
                     "try:\n    from tempfile import mkstemp\nexcept ImportError:\n"
                     "    from tempfile import mktemp\n    path = mktemp('.py')\n",
                     "path"),
              Severity::low);
    EXPECT_EQ(bandit("B306", "path = tempfile.mktemp('.py')\n", "path"), Severity::medium);
    EXPECT_EQ(bandit("B306",
                     "try:\n    run()\nexcept OSError:\n    path = tempfile.mktemp('.py')\n",
                     "path"),
              Severity::medium);
}

TEST(TemporaryNames, InAFolderOfTheProgramsOwnWeighLittle) {
    EXPECT_EQ(bandit("B306", "path = tempfile.mktemp(dir=folder)\n", "path"), Severity::low);
    EXPECT_EQ(bandit("B306", "path = mktemp('.py', 'a', folder)\n", "path"), Severity::low);
    EXPECT_EQ(bandit("B306", "path = mktemp('.py', 'a')\n", "path"), Severity::medium);
    EXPECT_EQ(bandit("B306", "path = str(place) + tempfile.mktemp('', '', '')\n", "path"),
              Severity::low)
        << "a name beside it";
    EXPECT_EQ(bandit("B306", "path = mktemp(prefix=r'\\\\.\\pipe\\a-')\n", "path"), Severity::low)
        << "no file, and nobody can put a link there";
    EXPECT_EQ(bandit("B306", "path = mktemp(dir='/tmp')\n", "path"), Severity::medium);
}

TEST(Parsers, OfADocumentThatTheCallerHandsInWeighLittle) {
    EXPECT_EQ(bandit("B314",
                     "def read(stream, names):\n    for each in parse(stream, names):\n"
                     "        pass\n",
                     "for each"),
              Severity::low);
    EXPECT_EQ(ruff("S314", "def read(\n    self,\n    stream: IO,\n):\n    t = ET.parse(stream)\n",
                   "ET."),
              Severity::low);
    EXPECT_EQ(bandit("B318", "doc = minidom.parseString(text, parser)\n", "doc"), Severity::low)
        << "what its parser does is told where it is made";
    EXPECT_EQ(
        bandit("B314", "def read(path):\n    text = load(path)\n    t = ET.parse(text)\n", "t = "),
        Severity::medium);
    EXPECT_EQ(bandit("B314", "t = ET.parse('parcels.xml')\n", "t = "), Severity::medium);
    EXPECT_EQ(bandit("B320", "def read(stream):\n    t = lxml.etree.parse(stream)\n", "t = "),
              Severity::medium)
        << "that one opens what the document names";
}

TEST(Shells, ThatTheCallerMayAskForWeighLittle) {
    EXPECT_EQ(bandit("B602", "Popen(\n    words,\n    shell=shell,\n)\n", "Popen", "high"),
              Severity::low);
    EXPECT_EQ(ruff("S602", "run(words, shell=self.shell)\n", "run"), Severity::low);
    EXPECT_EQ(bandit("B602", "Popen(words, shell=True)\n", "Popen", "high"), Severity::high);
    EXPECT_EQ(bandit("B602", "Popen(words, shell=1)\n", "Popen", "high"), Severity::high);
}

TEST(Archives, WhoseMembersTheFunctionLooksAtWeighLittle) {
    EXPECT_EQ(ruff("S202",
                   "def unpack(tar, to):\n    for name in tar.getnames():\n        check(name)\n"
                   "    tar.extractall(to)\n",
                   "tar.extractall"),
              Severity::low);
    EXPECT_EQ(ruff("S202",
                   "def names(tar):\n    return tar.getnames()\n\ndef unpack(tar, to):\n"
                   "    tar.extractall(to)\n",
                   "tar.extractall"),
              Severity::medium);
}

TEST(Constructors, ThatReturnWhatTheirBaseReturnsReturnNothing) {
    EXPECT_EQ(ruff("PLE0101", "        return super(Shelf, self).__init__()\n", "return"),
              Severity::low);
    EXPECT_EQ(ruff("PLE0101", "        return self\n", "return"), Severity::medium);
}

TEST(OldProtocols, TakenInWhereAConditionAsksForThemWeighLittle) {
    EXPECT_EQ(bandit("B411", "import xmlrpclib\n", "import", "high"), Severity::high);
    EXPECT_EQ(bandit("B411",
                     "if sys.version_info[0] < 3:\n    import urllib2\n    import xmlrpclib\n",
                     "import xml", "high"),
              Severity::low);
    EXPECT_EQ(bandit("B411",
                     "try:\n    import xmlrpc.client\nexcept ImportError:\n"
                     "    import xmlrpclib\n",
                     "import xmlrpclib", "high"),
              Severity::low);
    EXPECT_EQ(bandit("B411", "def call():\n    import xmlrpclib\n", "import", "high"),
              Severity::high);
}

TEST(Formats, ThatAreGivenAllNamesNeedNotUseThem) {
    EXPECT_EQ(ruff("F507", "page = 'no name' % locals()\n", "'no"), Severity::low);
    EXPECT_EQ(ruff("F507", "page = '''<p>\n</p>\n''' % vars(self)\n", "'''<p"), Severity::low);
    EXPECT_EQ(ruff("F507", "page = 'no name' % name\n", "'no"), Severity::medium);
    EXPECT_EQ(ruff("F507", "page = 'no name' % (a, b)\nlocals()\n", "'no"), Severity::medium);
}

TEST(TrustedMarkup, OfALibraryThatMakesPagesForOthersWeighsLittle) {
    EXPECT_EQ(ruff("S704", "from markupsafe import Markup\nshown = Markup(value)\n", "Markup("),
              Severity::low);
    EXPECT_EQ(ruff("S704", "from flask import Markup\nshown = Markup(value)\n", "Markup("),
              Severity::medium);
}

TEST(Archives, ThatAreFilteredWeighLittle) {
    EXPECT_EQ(ruff("S202", "tar.extractall(path)\n", "tar"), Severity::medium);
    EXPECT_EQ(ruff("S202", "tar.extractall(path, filter=\"data\")\n", "tar"), Severity::low);
    EXPECT_EQ(ruff("S202", "tar.extractall(path, filter=chosen)\n", "tar"), Severity::low);
    EXPECT_EQ(ruff("S202", "tar.extractall(path, filter='fully_trusted')\n", "tar"),
              Severity::medium);
    EXPECT_EQ(ruff("S202", "tar.extractall(path)\nrows(filter=chosen)\n", "tar"), Severity::medium);
}

TEST(Parsers, ThatAreMadeReadNothingYet) {
    EXPECT_EQ(bandit("B317", "parser = xml.sax.make_parser()\n", "xml"), Severity::low);
    EXPECT_EQ(bandit("B317", "xml.sax.parse(path, handler)\n", "xml"), Severity::medium);
    EXPECT_EQ(ruff("S317", "parser = sax.make_parser()\n", "sax"), Severity::low);
}

TEST(Loaders, ThatAreSafeWeighLittleByWhateverName) {
    EXPECT_EQ(bandit("B506", "data = yaml.load(text, Loader)\n", "data"), Severity::medium);
    EXPECT_EQ(bandit("B506",
                     "from yaml import CSafeLoader as SafeLoader\n"
                     "data = yaml.load(text, SafeLoader)\n",
                     "data"),
              Severity::low);
    EXPECT_EQ(bandit("B506",
                     "class Strict(yaml.SafeLoader):\n    pass\n\n"
                     "data = yaml.load(text, Loader=Strict)\n",
                     "data = yaml"),
              Severity::low);
    EXPECT_EQ(bandit("B506", "class Lax(yaml.Loader):\n    pass\n\ndata = yaml.load(text, Lax)\n",
                     "data = yaml"),
              Severity::medium);
}

TEST(Loaders, ThatSomebodyElseChoosesWeighLittle) {
    EXPECT_EQ(
        bandit("B506", "def read(text, loader):\n    data = yaml.load(text, loader)\n", "data"),
        Severity::low);
    EXPECT_EQ(bandit("B506", "data = yaml.load(text, yaml.Loader)\n", "data"), Severity::medium);
    EXPECT_EQ(bandit("B506", "data = yaml.load(text)\n", "data"), Severity::medium);
}

TEST(Templates, WithOptionsFromElsewhereWeighLittleWhereTheFileSpeaksOfEscaping) {
    EXPECT_EQ(bandit("B701", "pages = jinja2.Environment(**options)\n", "pages", "high"),
              Severity::high);
    EXPECT_EQ(bandit("B701",
                     "options.setdefault('autoescape', True)\n"
                     "pages = jinja2.Environment(**options)\n",
                     "pages", "high"),
              Severity::low);
    EXPECT_EQ(ruff("S701", "# autoescape is off\npages = jinja2.Environment(loader=a)\n", "jinja2"),
              Severity::high);
}

TEST(UnsafeCalls, OfATestWeighLittle) {
    const std::string_view call = "    path = '/tmp/report'\n";
    const std::string function = "def test_report():\n" + std::string(call);
    EXPECT_EQ(ruff("S108", "def report():\n" + std::string(call), "'/tmp"), Severity::medium);
    EXPECT_EQ(ruff("S108", "import pytest\n" + function, "'/tmp"), Severity::low);
    EXPECT_EQ(ruff("S108", "def report():\n" + std::string(call), "'/tmp", "test_report.py"),
              Severity::low);
    EXPECT_EQ(bandit("B602", "import unittest\n" + function, "path", "high"), Severity::low);
    EXPECT_EQ(ruff("F821", "import pytest\ndef test_report():\n    total\n", "total"),
              Severity::high)
        << "that fails whoever runs it";
}

TEST(PythonGrade, ADoubtInALongFileIsDecidedInTime) {
    // 4 MiB in one function: each doubt looks at a part of it alone.
    std::string text = "def f():\n    for i in x:\n";
    while (text.size() < (std::size_t{4} << 20U)) text += "        a = b\n";
    text += "        print(total)\n";
    for (int i = 0; i < 500; ++i) {
        ASSERT_EQ(ruff("F821", text, "total"), Severity::high);
    }
}

} // namespace
} // namespace trevix
