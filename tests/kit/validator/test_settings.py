"""Key, base and settings: where they come from and who wins."""

import os
import pathlib
import re
import unittest
from unittest import mock

import surroundings
from engine import name_value_lines, settings


class SettingsTest(surroundings.HomeTest):
    def load(self, **variables):
        return settings.load(dict({"HOME": str(self.home)}, **variables))

    def put(self, name, content):
        self.data.mkdir(exist_ok=True)
        path = self.data / name
        path.write_bytes(content if isinstance(content, bytes) else content.encode())
        return path

    # -- the choice of a service

    def choose(self, where="this machine", **more):
        key = self.put("local-key", "trevix_local_1\n")
        key.chmod(0o600)
        lines = dict({"base": "http+unix://%2Frun%2Fx", "key_file": str(key)}, **more)
        path = self.put("service", "# mine\nservice: {}\n".format(where) + "".join(
            "{}: {}\n".format(name, value) for name, value in lines.items() if value))
        path.chmod(0o600)
        return path, key

    def test_the_chosen_service_is_found_with_home_alone(self):
        self.choose(program="/usr/bin/trevix-local")
        found = self.load()
        self.assertEqual((found.base, found.key, found.problems),
                         ("http+unix://%2Frun%2Fx", "trevix_local_1", ()))

    def test_variables_and_settings_win_over_the_choice_and_the_key_goes_with_the_service(self):
        self.choose()
        self.put("key", "account").chmod(0o600)
        self.assertEqual(self.load().key, "trevix_local_1")
        found = self.load(BRASK_API_KEY="mine")
        self.assertEqual((found.base, found.key), ("http+unix://%2Frun%2Fx", "mine"))
        for base in ("https://elsewhere.example", ""):
            found = self.load(BRASK_API_BASE=base)
            self.assertEqual((found.base, found.key), (base, "account"))
        self.put("settings", "base: http://127.0.0.1:9\n").chmod(0o600)
        found = self.load()
        self.assertEqual((found.base, found.key), ("http://127.0.0.1:9", "account"))

    def test_an_account_and_a_later_answer_are_the_stated_rules(self):
        self.put("key", "account").chmod(0o600)
        for where in ("account", "later"):
            self.choose(where, base=None, key_file=None)
            found = self.load()
            self.assertEqual((found.base, found.key, found.problems),
                             (settings.DEFAULT_BASE, "account", ()), where)

    def test_a_choice_that_others_may_write_is_not_used(self):
        path, _ = self.choose()
        path.chmod(0o620)
        found = self.load()
        self.assertEqual((found.base, found.key), (settings.DEFAULT_BASE, None))
        self.assertIn("nothing of it is used", found.problems[0])

    def test_a_chosen_key_that_others_may_read_is_not_used(self):
        _, key = self.choose()
        for mode in (0o644, 0o640, 0o622):
            key.chmod(mode)
            found = self.load()
            self.assertEqual((found.base, found.key), ("http+unix://%2Frun%2Fx", None))
            self.assertIn("others may read or write it", found.problems[0])

    def test_a_chosen_key_that_is_not_there_is_said_and_no_other_is_sent(self):
        self.put("key", "account").chmod(0o600)
        for content in (None, b" \n", b"\xff\xfe"):
            _, key = self.choose()
            if content is None:
                key.unlink()
            else:
                key.write_bytes(content)
            found = self.load()
            self.assertIsNone(found.key)
            self.assertEqual(found.problems, ("there is no key in {}".format(key),))

    def test_what_is_wrong_in_a_choice_is_said_by_its_line(self):
        path = self.put("service", "nonsense\nservice: here\nkey: k\nbase: https://a.example\n"
                        "base: http://127.0.0.1.a.example\nkey_file: key\n")
        path.chmod(0o600)
        self.assertEqual(self.load().problems, tuple("{}:{}: {}".format(path, number, text) for
                         number, text in (
            (1, "not a “name: value” line"),
            (2, "service is “this machine”, “account” or “later”"),
            (3, "there is no setting “key”"),
            (4, "base is no address of this machine"),
            (5, "base is no address of this machine"),
            (6, "key_file is no absolute path"))))

    def test_this_machine_without_where_and_what_key_is_no_choice(self):
        path, _ = self.choose(key_file=None)
        found = self.load()
        self.assertEqual(found.base, settings.DEFAULT_BASE)
        self.assertEqual(found.problems, (
            "{}: this machine needs base and key_file; start Kelvane and choose “Grade on this "
            "machine” again".format(path),))

    # -- the key

    def test_the_key_variable_is_taken_as_it_stands(self):
        self.put("key", "from file")
        for value in ("k", " ", " k\n"):
            self.assertEqual(self.load(BRASK_API_KEY=value).key, value)

    def test_an_empty_variable_gives_way_to_the_key_file(self):
        self.put("key", "from file")
        self.assertEqual(self.load(BRASK_API_KEY="").key, "from file")

    def test_a_key_file_that_others_may_write_is_refused_and_said(self):
        path = self.put("key", "k")
        for mode in (0o666, 0o620, 0o602):
            path.chmod(mode)
            found = self.load()
            self.assertIsNone(found.key)
            self.assertEqual(found.problems, (
                "{}: others may write it (mode {:04o}; chmod 600 it); the key in it is not used"
                .format(path, mode),))
        path.chmod(0o600)
        self.assertEqual((self.load().key, self.load().problems), ("k", ()))

    def test_a_key_file_of_another_user_is_refused_and_said(self):
        self.put("key", "k")
        real = os.stat(str(self.data / "key"))
        theirs = os.stat_result(list(real)[:4] + [real.st_uid + 1] + list(real)[5:])
        with mock.patch.object(settings.os, "geteuid", lambda: real.st_uid + 2), \
                mock.patch.object(settings.os, "stat", lambda path: theirs):
            problems = []
            self.assertIsNone(settings.read_key(str(self.data), {}, problems))
        self.assertIn("belongs to another user", problems[0])

    def test_settings_that_others_may_write_are_not_used(self):
        self.put("settings", "base: http://127.0.0.1:9\n").chmod(0o666)
        found = self.load()
        self.assertEqual(found.base, settings.DEFAULT_BASE)
        self.assertIn("nothing of it is used", found.problems[0])

    def test_a_report_has_an_address_where_a_browser_gets(self):
        self.assertEqual(settings.report_page("http://127.0.0.1:8797", "r1"),
                         "http://127.0.0.1:8797/console?run=r1")
        self.assertIsNone(settings.report_page("HTTP+unix://%2Frun%2Fx", "r1"))
        self.assertIsNone(settings.report_page("", "r1"))

    def test_folders_to_read_are_absolute(self):
        self.put("settings", "read: /a:~/b: c :\n")
        found = self.load()
        self.assertEqual(found.read, ("/a", str(self.home / "b")))
        self.assertEqual(found.problems, ("read: “c” is not an absolute folder",))
        self.assertEqual(self.load(BRASK_READ="/d").read, ("/d",))

    def test_the_key_file_is_trimmed_at_both_ends(self):
        self.put("key", "\n \t\u00a0\u2029k e\ny\r\n\u0085 ")
        self.assertEqual(self.load().key, "k e\ny")

    def test_a_key_file_of_blanks_gives_no_key(self):
        for content in ("\n", "", " \t\r\n"):
            self.put("key", content)
            self.assertIsNone(self.load().key)

    def test_there_is_no_key_without_variable_and_file(self):
        self.assertIsNone(self.load().key)

    def test_a_key_file_that_is_not_utf8_gives_no_key(self):
        self.put("key", b"k\xff")
        self.assertIsNone(self.load().key)

    def test_a_key_file_that_is_a_folder_or_a_pipe_gives_no_key(self):
        (self.data / "key").mkdir(parents=True)
        self.assertIsNone(self.load().key)
        (self.data / "key").rmdir()
        os.mkfifo(str(self.data / "key"))
        self.assertIsNone(self.load().key)

    # -- the base

    def test_the_base_is_the_built_in_one_without_the_variable(self):
        self.assertEqual(self.load().base, settings.DEFAULT_BASE)

    def test_the_built_in_base_is_the_builds_own(self):
        root = pathlib.Path(__file__).resolve().parents[3]
        found = re.findall(r'set\(KELVANE_SERVICE_BASE ([^")\s]+)\)',
                           (root / "CMakeLists.txt").read_text(encoding="utf-8"))
        self.assertEqual(found, [settings.DEFAULT_BASE])

    def test_the_base_is_the_variable_without_blanks_and_trailing_slashes(self):
        for value, base in (("https://x.test", "https://x.test"),
                            (" https://x.test//", "https://x.test"),
                            ("\t https://x.test/ \t", "https://x.test"),
                            ("https://x.test/sub//a///", "https://x.test/sub//a"),
                            ("https://x.test/\n", "https://x.test/\n"),
                            ("https://x.test/ /", "https://x.test/ "),
                            ("\u00a0https://x.test", "\u00a0https://x.test"),
                            ("///", ""), ("", ""), (" \t ", "")):
            self.assertEqual(self.load(BRASK_API_BASE=value).base, base, repr(value))

    # -- the file

    def test_the_file_says_what_a_stripped_environment_cannot(self):
        self.put("settings", "# where it is\nbase: http://127.0.0.1:8797/\n\npolicy_id: p\n"
                             "ca_file: /ca.pem\nhttps_proxy: http://proxy:3128\nno_proxy: a.test\n"
                             "hook: off\nhook_seconds: 30\n")
        found = self.load()
        self.assertEqual(found.base, "http://127.0.0.1:8797")
        self.assertEqual((found.policy_id, found.ca_file), ("p", "/ca.pem"))
        self.assertEqual(found.proxies, {"https": "http://proxy:3128"})
        self.assertEqual((found.no_proxy, found.hook, found.hook_seconds), ("a.test", False, 30.0))
        self.assertEqual(found.problems, ())

    def test_a_variable_wins_over_the_file_and_an_empty_base_too(self):
        self.put("settings", "base: https://file.test\npolicy_id: p\n")
        self.assertEqual(self.load(BRASK_API_BASE="https://v.test").base, "https://v.test")
        self.assertEqual(self.load(BRASK_API_BASE="").base, "")
        self.assertEqual(self.load(BRASK_POLICY_ID="").policy_id, "p")

    def test_what_cannot_be_used_is_reported_with_its_line(self):
        self.put("settings",
                 b"\xef\xbb\xbfbase: https://x.test\nnonsense\nbaes: y\nhook_seconds: 5000\n")
        found = self.load()
        self.assertEqual(found.base, "https://x.test")
        self.assertEqual(found.hook_seconds, 90.0)
        text = "\n".join(found.problems)
        self.assertIn("settings:2: ", text)
        self.assertIn("settings:3: there is no setting “baes”", text)
        self.assertIn("hook_seconds", text)

    def test_bytes_that_are_no_text_harm_nothing(self):
        self.put("settings", b"\xff\xfe\0\0: : :\n" * 100000)
        self.assertEqual(self.load().base, settings.DEFAULT_BASE)

    def test_the_data_folder_is_the_named_one_or_below_the_home(self):
        self.assertEqual(settings.data_folder({"HOME": "/h"}), os.path.join("/h", ".brask"))
        self.assertEqual(settings.data_folder({"HOME": "/h", "BRASK_HOME": "/b"}), "/b")


class HeadTest(unittest.TestCase):
    def test_a_head_is_split_from_its_body(self):
        found, problems = name_value_lines.split("---\na: 1\n# note\nb:\n---\n\n# Title\n", "f")
        self.assertEqual([tuple(line) for line in found.lines], [(2, "a", "1"), (4, "b", "")])
        self.assertEqual((found.body, found.found, problems), ("# Title\n", True, []))

    def test_a_text_without_a_head_is_all_body(self):
        self.assertEqual(name_value_lines.split("# T\n", "f")[0], name_value_lines.FrontMatter([], "# T\n", False))

    def test_a_head_that_is_not_closed_is_reported(self):
        found, problems = name_value_lines.split("---\na: 1\n", "f")
        self.assertFalse(found.found)
        self.assertEqual(len(problems), 1)

    def test_lines_that_are_none_are_named(self):
        for text in ("A: 1", "a 1", "a:1", "-a: 1", "a" * 50 + ": 1", "a: " + "x" * 5000):
            self.assertEqual(len(name_value_lines.parse_lines([text], "f", 7)[1]), 1, text[:20])
            self.assertIn("f:7:", name_value_lines.parse_lines([text], "f", 7)[1][0])


if __name__ == "__main__":
    unittest.main()
