// What is told of a call by itself, and what looks like it?

#include "critics/flow/python_misuse.h"

#include "critics/syntax/syntax_reader.h"

#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <string_view>
#include <vector>

namespace trevix {
namespace {

using Kind = Misuse::Kind;
using Kinds = std::vector<Kind>;

Kinds kindsOf(std::string_view text) {
    const SyntaxReading reading =
        readSyntax("python", text, std::chrono::seconds(60), Wanted::tree);
    Kinds kinds;
    for (const Misuse& misuse : pythonMisuses(reading.tree, text)) kinds.push_back(misuse.kind);
    return kinds;
}

struct Sample {
    std::string_view text;
    Kinds kinds;
};

void expectEach(const std::vector<Sample>& samples) {
    for (const Sample& sample : samples)
        EXPECT_EQ(kindsOf(sample.text), sample.kinds) << sample.text;
}

TEST(PythonMisuse, Ciphers) {
    expectEach({
        {"import hashlib\nhashlib.sha256(password.encode()).hexdigest()\n",
         {Kind::fastPasswordHash}},
        {"import hashlib\nhashlib.sha256(content).hexdigest()\n", {}},
        {"import hashlib\nhashlib.pbkdf2_hmac('sha256', p, b'k3Jd9fQ2', 600000)\n",
         {Kind::fixedSalt}},
        {"import hashlib\nhashlib.pbkdf2_hmac('sha256', p, salt, 1000)\n", {Kind::fewIterations}},
        {"import hashlib\nhashlib.pbkdf2_hmac('sha256', p, salt, 600000)\n", {}},
        {"from Crypto.Cipher import DES\nDES.new(key, DES.MODE_CBC, iv)\n", {Kind::brokenCipher}},
        {"from Crypto.Cipher import AES\nAES.new(key, AES.MODE_ECB)\n", {Kind::blockwiseCipher}},
        {"from Crypto.Cipher import AES\nAES.new(key, AES.MODE_CBC, b'0123456789abcdef')\n",
         {Kind::fixedSalt}},
        {"from Crypto.Cipher import AES\nAES.new(key, AES.MODE_GCM, nonce)\n", {}},
    });
}

TEST(PythonMisuse, Tokens) {
    expectEach({
        {"import jwt\njwt.decode(t, k, options={'verify_signature': False})\n",
         {Kind::unverifiedToken}},
        {"import jwt\njwt.decode(t, verify=False)\n", {Kind::unverifiedToken}},
        {"import jwt\njwt.decode(t, k, algorithms=['none'])\n", {Kind::unverifiedToken}},
        {"import jwt\njwt.decode(t, k, algorithms=['HS256'])\n", {}},
        {"import python_jwt as jwt\njwt.process_jwt(t)\n", {Kind::unverifiedToken}},
        {"import python_jwt as jwt\njwt.process_jwt(t)\njwt.verify_jwt(t, k)\n", {}},
        {"import hmac\nif hmac.new(k, m, 'sha256').hexdigest() == given:\n    pass\n",
         {Kind::leakyComparison}},
        {"import hmac\nmine = hmac.new(k, m, 'sha256').hexdigest()\nok = given == mine\n",
         {Kind::leakyComparison}},
        {"import hmac\nhmac.compare_digest(hmac.new(k, m, 'sha256').hexdigest(), given)\n", {}},
    });
}

TEST(PythonMisuse, Pages) {
    expectEach({
        {"from django.utils.html import format_html\nformat_html(f'<b>{name}</b>')\n",
         {Kind::builtMarkup}},
        {"from django.utils.html import format_html\nformat_html('<b>{}</b>', name)\n", {}},
        {"import re\nre.sub(r'<script.*?</script>', '', page)\n", {Kind::tagFilter}},
        {"page = '{% autoescape off %}{{ name }}{% endautoescape %}'\n", {Kind::unescapedTemplate}},
        {"import traceback\nfrom flask import Flask\napp = Flask('a')\n@app.route('/')\n"
         "def show():\n    try:\n        f()\n    except OSError:\n"
         "        return traceback.format_exc()\n",
         {Kind::shownTrace}},
        {"context = {'autoescape': False}\n", {Kind::unescapedTemplate}},
        {"context = {'autoescape': True}\n", {}},
        {"import traceback\ndef text():\n    return traceback.format_exc()\n", {}},
    });
}

TEST(PythonMisuse, Settings) {
    expectEach({
        {"r.set_cookie('a', b, secure=False)\n", {Kind::laxCookie}},
        {"r.set_cookie('session_id', b)\n", {Kind::laxCookie}},
        {"r.set_cookie('session_id', b, secure=True, httponly=True)\n", {}},
        {"r.set_cookie('theme', b)\n", {}},
        {"SESSION_COOKIE_SECURE = False\n", {Kind::laxSetting}},
        {"app.config['WTF_CSRF_ENABLED'] = False\n", {Kind::laxSetting}},
        {"DEBUG = True\nINSTALLED_APPS = []\n", {Kind::laxSetting}},
        {"DEBUG = True\n", {}},
        {"import os\nos.umask(0)\n", {Kind::laxSetting}},
        {"import os\nos.umask(0o077)\n", {}},
        {"import ssl\nssl.wrap_socket(s)\n", {Kind::unverifiedPeer}},
        {"import ssl\nssl.wrap_socket(s, cert_reqs=ssl.CERT_REQUIRED)\n", {}},
    });
}

TEST(PythonMisuse, Passwords) {
    expectEach({
        {"db.connect(host='a', password='mapleleaf')\n", {Kind::knownPassword}},
        {"db.connect(host='a', passwd='')\n", {Kind::knownPassword}},
        {"db.connect(host='a', password=os.environ['P'])\n", {}},
        {"db.connect(host='a', password='<yours>')\n", {}},
        {"def enter(password):\n    return password == 'mapleleaf'\n", {Kind::knownPassword}},
        {"def enter(password):\n    return password == ''\n", {}},
        {"if password == 'mapleleaf':\n    pass\n", {}},
        {"url = 'postgresql://clerk:@db.internal/orders'\n", {Kind::knownPassword}},
        {"url = 'postgresql://clerk:{}@db.internal/orders'\n", {}},
        {"def enter(name, password='mapleleaf'):\n    pass\n", {Kind::knownPassword}},
        {"def enter(name, db_password: str = 'mapleleaf'):\n    pass\n", {Kind::knownPassword}},
        {"def enter(name, password='', passwd=None):\n    pass\n", {}},
        {"def field(password='password', password_label='Your word'):\n    pass\n", {}},
        {"ftp.login('clerk', 'mapleleaf')\n", {Kind::knownPassword}},
        {"ftp.login('clerk', word)\nftp.login('clerk')\n", {}},
        {"requests.get(url, auth=('clerk', 'mapleleaf'))\n", {Kind::knownPassword}},
        {"requests.get(url, auth=('clerk', word))\n", {}},
        {"user.set_password('')\n", {Kind::knownPassword}},
        {"user.set_password(word)\n", {}},
    });
}

TEST(PythonMisuse, Keys) {
    expectEach({
        {"import jwt\njwt.encode({'id': 1}, 'mapleleaf', algorithm='HS256')\n", {Kind::knownKey}},
        {"import jwt\njwt.encode({'id': 1}, key, algorithm='HS256')\n", {}},
        {"from cryptography.fernet import Fernet\nFernet(b'mapleleaf')\n", {Kind::knownKey}},
        {"from cryptography.fernet import Fernet\nFernet(Fernet.generate_key())\n", {}},
        {"import hmac\nhmac.new(b'mapleleaf', text, 'sha256')\n", {Kind::knownKey}},
        {"from cryptography.hazmat.primitives.ciphers import modes\nmodes.CBC(b'0' * 16)\n",
         {Kind::fixedSalt}},
        {"from cryptography.hazmat.primitives.ciphers import modes\nmodes.CBC(os.urandom(16))\n",
         {}},
        {"import flask\napp.secret_key = 'mapleleaf'\n", {Kind::knownKey}},
        {"import flask\napp.config['SECRET_KEY'] = 'mapleleaf'\n", {Kind::knownKey}},
        {"import flask\napp.secret_key = os.environ['KEY']\n", {}},
        {"shelf.secret_key = 'mapleleaf'\n", {}},
        {"SECRET_KEY = 'mapleleaf'\nINSTALLED_APPS = []\n", {Kind::knownKey}},
        {"from pyramid.authentication import SessionHelper\nSessionHelper(secret='mapleleaf')\n",
         {Kind::knownKey}},
    });
}

TEST(PythonMisuse, Peers) {
    expectEach({
        {"import httplib2\nhttplib2.Http(disable_ssl_certificate_validation=True)\n",
         {Kind::unverifiedPeer}},
        {"import urllib3\nurllib3.PoolManager(cert_reqs='CERT_NONE')\n", {Kind::unverifiedPeer}},
        {"import urllib3\nurllib3.PoolManager(cert_reqs='CERT_REQUIRED')\n", {}},
        {"import aiohttp\naiohttp.TCPConnector(ssl=False)\n", {Kind::unverifiedPeer}},
        {"paint(ssl=False)\n", {}},
        {"import requests\ns = requests.Session()\ns.verify = False\n", {Kind::unverifiedPeer}},
        {"import requests\nif lax:\n    s.verify = False\n", {}},
        {"import requests\nself.verify = False\n", {}},
    });
}

TEST(PythonMisuse, ShownSecrets) {
    expectEach({
        {"import logging\nlogging.info('%s enters with %s', name, password)\n",
         {Kind::shownPassword}},
        {"logger.debug(f'key: {self.api_key}')\n", {Kind::shownPassword}},
        {"logger.debug('word: ' + db_password)\n", {Kind::shownPassword}},
        {"logger.debug('%d signs', len(password))\n", {}},
        {"logger.debug('no password')\n", {}},
        {"logger.debug('%s', password_file)\n", {}},
        {"print(password)\n", {}},
        {"import jwt\njwt.encode({'id': 1, 'password': word}, key)\n", {Kind::shownPassword}},
        {"import jwt\njwt.encode({'id': 1}, key)\n", {}},
        {"import smtplib\ns = smtplib.SMTP(host)\ns.login(name, word)\n", {Kind::plainLogin}},
        {"import smtplib\ns = smtplib.SMTP(host)\ns.starttls()\ns.login(name, word)\n", {}},
        {"import smtplib\ns = smtplib.SMTP_SSL(host)\ns.login(name, word)\n", {}},
    });
}

TEST(PythonMisuse, Parsers) {
    expectEach({
        {"from lxml import etree\netree.XMLParser(resolve_entities=True)\n", {Kind::unsafeParser}},
        {"from lxml import etree\netree.XMLParser(resolve_entities=False)\n", {}},
        {"import jsonpickle\njsonpickle.decode(text)\n", {Kind::unsafeParser}},
        {"import subprocess\nsubprocess.run(['sh', '-c', f'ls {folder}'])\n",
         {Kind::builtShellCommand}},
        {"import subprocess\nsubprocess.run(['sh', '-c', 'ls'])\n", {}},
        {"import re\nre.match(r'(a+)+$', text)\n", {Kind::slowPattern}},
        {"import re\nre.match(r'([a-z]+)*$', text)\n", {Kind::slowPattern}},
        {"import re\nre.match(r'(a+b)+$', text)\n", {}},
    });
}

TEST(PythonMisuse, Loops) {
    expectEach({
        {"def f(n):\n    a = 1\n    i = 2\n    while i < n:\n        a = a + 1\n    return a\n",
         {Kind::endlessLoop}},
        {"def f(n):\n    i = 2\n    while i < n:\n        i += 1\n    return i\n", {}},
        {"def f(n):\n    i = 2\n    while i < n:\n        n, i = i, n - 1\n", {}},
        {"def f(n):\n    while n > 2:\n        step()\n", {}},
        {"def f(n):\n    while n > 2:\n        if n:\n            break\n", {}},
        {"def f(items):\n    i = 0\n    while i <= len(items):\n        items[i] += 1\n"
         "        i += 1\n",
         {Kind::pastTheEnd}},
        {"def f(items):\n    i = 0\n    while i < len(items):\n        items[i] += 1\n"
         "        i += 1\n",
         {}},
        {"for i in range(len(items) + 1):\n    print(items[i])\n", {Kind::pastTheEnd}},
        {"for i in range(len(items) + 1):\n    print(items[:i])\n", {}},
        {"for i in len(items):\n    print(i)\n", {Kind::loopOverNumber}},
        {"import time\nstart = time.clock()\n", {Kind::goneFunction}},
        {"import time\ntry:\n    start = time.clock()\nexcept AttributeError:\n    pass\n", {}},
        {"import commands\ncommands.getoutput('ls')\n", {Kind::goneFunction}},
        {"commands.getoutput('ls')\n", {}},
        {"from string import maketrans\nmaketrans('a', 'b')\n", {Kind::goneFunction}},
        {"try:\n    from string import maketrans\nexcept ImportError:\n"
         "    maketrans = str.maketrans\nmaketrans('a', 'b')\n",
         {}},
    });
}

TEST(PythonMisuse, TakesWhateverItIsGiven) {
    EXPECT_TRUE(pythonMisuses(SyntaxTree(), "").empty());
    for (const std::string_view text :
         {"while", "for in :", "f(", "set_cookie(", "x == ", "class :", "def f(:\n return", "'"}) {
        kindsOf(text);
    }
}

} // namespace
} // namespace trevix
