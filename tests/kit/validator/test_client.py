"""The client's protocol, on literals: what is sent, and what comes of each answer.

The cases are those that the application's own client is held to, one by one.
"""

import json
import threading
import unittest

import surroundings  # finds the engine  # noqa: F401
from engine import client, settings, transport
from engine.parts import Part
from engine.verdict import (LONGEST_ENTRY, MOST_ENTRIES, CheckedBy, Flaw, NotChecked, failure,
                            parse_band, parse_checked_by, parse_flaws, parse_not_checked,
                            verdict_from)

SUBMITTED = {"job_id": "j1"}
SHIPPED = {"status": "completed", "run_id": "r1", "result_summary": {
    "band": "ship", "score": 0.9, "flaws": [{"severity": "low", "criterion": "c", "detail": "d"}]}}
AUTHORIZED_NOT = "not authorized — check your Trevix key (HTTP {})"


class Clock:
    """Time that moves only by waiting."""

    def __init__(self):
        self.now = 100.0
        self.sleeps = []

    def __call__(self):
        return self.now


class Event(threading.Event):
    """A cancel event whose waiting moves the clock."""

    def __init__(self, clock):
        super().__init__()
        self._clock = clock

    def wait(self, timeout=None):
        if not self.is_set():
            self._clock.sleeps.append(timeout)
            self._clock.now += timeout
        return self.is_set()


class ClientTest(unittest.TestCase):
    def setUp(self):
        self.clock = Clock()
        self.cancel = Event(self.clock)
        self.requests = []
        self.answers = []
        self.steps = []
        self.parts = [Part("text/plain", "sel", "work")]
        self.settings = settings.Settings("/home/me/.brask", "https://service.test", "the key")

    def send(self, request, _settings, _until):
        self.requests.append(request)
        self.assertTrue(self.answers, "a request that the test does not expect")
        found = self.answers.pop(0) if len(self.answers) > 1 else self.answers[0]
        if found is None or isinstance(found, transport.Response):
            return found
        return transport.Response(200, json.dumps(found).encode())

    def grade(self, *answers, **more):
        self.answers = list(answers)
        options = dict(modality="text", intent="Validate this.", settings=self.settings,
                       clock=self.clock, send=self.send, cancel=self.cancel)
        options.update(more)
        return client.grade(self.parts, **options)

    def iterate(self, *answers, **more):
        self.answers = list(answers)
        return client.iterate("r7", self.parts, "Validate this.", settings=self.settings,
                              clock=self.clock, send=self.send, cancel=self.cancel, **more)

    def body(self, index=0):
        return json.loads(self.requests[index].body.decode())

    def exchanges(self):
        return [r.method + " " + r.url for r in self.requests]

    # -- what is sent

    def test_a_submission_carries_exactly_the_stated_headers_and_timeout(self):
        self.grade(None)
        request = self.requests[0]
        self.assertEqual(request.method, "POST")
        self.assertEqual(request.timeout, 30.0)
        self.assertEqual(request.headers, {
            "Authorization": "Bearer the key", "Accept": "application/json",
            "User-Agent": "Kelvane-Companion", "Content-Type": "application/json"})

    def test_a_status_request_has_neither_body_nor_content_type(self):
        self.grade(SUBMITTED, SHIPPED)
        self.assertIsNone(self.requests[1].body)
        self.assertEqual(self.requests[1].headers, {
            "Authorization": "Bearer the key", "Accept": "application/json",
            "User-Agent": "Kelvane-Companion"})

    def test_the_body_is_compact_json(self):
        self.parts = []
        self.grade(None, intent="a b")
        self.assertEqual(self.requests[0].body, b'{"artifact_parts":[],"modality":"text",'
                                                b'"submission":"async","user_prompt":"a b"}')

    def test_a_body_that_cannot_be_serialised_is_not_replaced_by_none(self):
        self.parts = [Part("text/plain", "sel", "broken \ud800")]
        self.assertEqual(self.grade(SHIPPED), failure(client.UNREACHABLE))
        self.assertEqual(self.requests, [])

    def test_the_submission_holds_modality_intent_and_parts_in_order(self):
        self.parts = [Part("image/png", "screenshot", data=b"\0\0\0"),
                      Part("text/plain", "selection", text="")]
        self.grade(None)
        self.assertEqual(self.body(), {
            "submission": "async", "modality": "text", "user_prompt": "Validate this.",
            "artifact_parts": [
                {"mime_type": "image/png", "logical_name": "screenshot", "data_b64": "AAAA"},
                {"mime_type": "text/plain", "logical_name": "selection", "text": ""}]})

    def test_a_part_with_neither_text_nor_data_has_two_keys(self):
        self.assertEqual(set(Part("text/plain", "n").json()), {"mime_type", "logical_name"})

    def test_the_vertical_is_sent_when_given_even_when_empty(self):
        for vertical in (None, "", "legal"):
            self.requests = []
            self.grade(None, vertical=vertical)
            self.assertEqual(self.body().get("vertical"), vertical)
            self.assertEqual("vertical" in self.body(), vertical is not None)

    def test_the_policy_is_sent_only_when_not_empty(self):
        for policy, sent in ((None, False), ("", False), ("p1", True)):
            self.requests = []
            self.grade(None, policy=policy)
            self.assertEqual("policy_id" in self.body(), sent)

    def test_an_intent_of_5000_characters_is_sent_as_its_first_4000(self):
        self.grade(None, intent="x" * 5000)
        self.assertEqual(self.body()["user_prompt"], "x" * 4000)

    def test_the_intent_is_cut_between_characters_as_people_see_them(self):
        family = "\U0001f469\u200d\U0001f467"
        accent = "e\u0301"
        for cluster in (family, accent, "\r\n", "\U0001f1e9\U0001f1ea", "\U0001f44d\U0001f3fd"):
            self.requests = []
            self.grade(None, intent=cluster * 4001)
            self.assertEqual(self.body()["user_prompt"], cluster * 4000, repr(cluster))

    def test_ids_are_appended_as_given(self):
        self.grade({"job_id": "a/../b"}, {"status": "completed", "run_id": "r/x"}, {})
        self.assertEqual(self.exchanges(), ["POST https://service.test/api/v1/eval/jobs",
                                            "GET https://service.test/api/v1/eval/jobs/a/../b",
                                            "GET https://service.test/api/v1/eval/runs/r/x"])

    def test_an_iterate_sends_its_body_to_its_run(self):
        self.iterate({"iteration": {"critic_verdict": {"band": "ship", "score": 1}}})
        self.assertEqual(self.exchanges(),
                         ["POST https://service.test/api/v1/eval/runs/r7/iterate"])
        self.assertEqual(self.body(), {
            "decision": "re_prompt", "user_prompt": "Validate this.",
            "new_artifact_parts": [{"mime_type": "text/plain", "logical_name": "sel",
                                    "text": "work"}]})

    def test_without_a_key_nothing_is_sent(self):
        self.settings = self.settings._replace(key=None)
        self.assertEqual(self.grade(SUBMITTED), failure(client.UNREACHABLE))
        self.assertEqual(self.requests, [])

    # -- submitting

    def test_every_answer_to_a_submission_has_its_verdict(self):
        response = transport.Response
        cases = [
            (None, client.UNREACHABLE),
            (response(200, b"[]"), client.UNREACHABLE),
            (response(200, b"<html>"), client.UNREACHABLE),
            (response(204, b""), client.UNREACHABLE),
            (response(200, b'{"job_id":"\xff"}'), client.UNREACHABLE),
            (response(200, b'{"a":' * 100000), client.UNREACHABLE),
            (response(200, b'{"job_id":NaN}'), client.UNREACHABLE),
            ({}, "no job_id in response"),
            ({"job_id": 7}, "no job_id in response"),
            ({"error": "busy"}, "busy"),
            ({"error": 5}, "no job_id in response"),
            (response(401, b""), AUTHORIZED_NOT.format(401)),
            (response(403, b'{"detail":"no"}'), AUTHORIZED_NOT.format(403)),
            (response(403, b'{"error":"its own"}'), "its own"),
            (response(500, b'{"detail":"d","message":"m"}'), "d"),
            (response(500, b'{"detail":5,"message":"m"}'), "m"),
            (response(500, b"<html>"), "eval API error (HTTP 500)"),
            (response(429, b'{"error":"too many"}'), "too many"),
            (response(404, b"[]"), "eval API error (HTTP 404)"),
        ]
        for found, error in cases:
            with self.subTest(answer=str(found)[:60]):
                verdict = self.grade(found)
                refused = isinstance(found, transport.Response) and found.status >= 400
                self.assertEqual(verdict.status, found.status if refused else None)
                self.assertEqual(verdict._replace(status=None), failure(error))

    def test_an_error_with_a_job_id_is_polled_all_the_same(self):
        verdict = self.grade(transport.Response(500, b'{"job_id":"j1"}'), SHIPPED)
        self.assertTrue(verdict.clears)

    # -- polling

    def test_the_sleeps_between_polls_grow_to_six_seconds(self):
        running = {"status": "running"}
        self.grade(SUBMITTED, *([running] * 8 + [SHIPPED]))
        self.assertEqual(self.clock.sleeps, [1.5, 2.5, 3.5, 4.5, 5.5, 6.0, 6.0, 6.0])

    def test_an_unreachable_answer_does_not_grow_the_interval(self):
        self.grade(SUBMITTED, None, None, {"status": "running"}, None, SHIPPED)
        self.assertEqual(self.clock.sleeps, [1.5, 1.5, 1.5, 2.5])

    def test_the_deadline_ends_it_with_its_whole_seconds(self):
        verdict = self.grade(SUBMITTED, {"status": "running"}, deadline=10.9)
        self.assertEqual(verdict, failure("grade timed out after 10s"))

    def test_a_deadline_of_zero_asks_nothing_after_the_submission(self):
        verdict = self.grade(SUBMITTED, deadline=0)
        self.assertEqual(verdict, failure("grade timed out after 0s"))
        self.assertEqual([r.method for r in self.requests], ["POST", "DELETE"])

    # -- giving up

    def test_a_job_whose_time_is_over_is_cancelled_at_the_service(self):
        self.grade(SUBMITTED, {"status": "running"}, deadline=10)
        self.assertEqual(self.exchanges()[-1],
                         "DELETE https://service.test/api/v1/eval/jobs/j1")
        self.assertEqual(self.requests[-1].headers["Authorization"], "Bearer the key")
        self.assertIsNone(self.requests[-1].body)
        self.assertNotIn("DELETE", [r.method for r in self.requests[:-1]])

    def test_a_job_that_an_exception_ends_here_is_cancelled_there(self):
        def interrupted(_step):
            raise KeyboardInterrupt
        with self.assertRaises(KeyboardInterrupt):
            self.grade(SUBMITTED, SHIPPED, progress=interrupted)
        self.assertEqual([r.method for r in self.requests], ["POST", "DELETE"])

    def test_a_job_that_is_over_is_not_cancelled(self):
        for done in (SHIPPED, {"status": "failed"}, {"status": "cancelled"}):
            self.grade(SUBMITTED, done)
        self.assertNotIn("DELETE", [r.method for r in self.requests])

    def test_an_odd_id_stays_one_part_of_the_path(self):
        self.grade({"job_id": "../runs/1?x#y"}, deadline=0)
        self.assertTrue(self.requests[-1].url.endswith("/jobs/..%2Fruns%2F1%3Fx%23y"))

    def test_with_a_hard_deadline_there_is_time_left_to_give_up(self):
        ends = []

        def send(request, _settings, until):
            ends.append((request.method, until))
            return self.send(request, _settings, until)
        self.grade(SUBMITTED, deadline=0, hard=True, send=send)
        (_, first), (method, last) = ends
        self.assertEqual(method, "DELETE")
        self.grade(SUBMITTED, {"status": "running"}, deadline=100, hard=True, send=send)
        asked, told = ends[-2][1], ends[-1][1]
        self.assertLess(asked, told + 100)
        self.assertLessEqual(told, asked + client.GIVING_UP)

    def test_a_hard_deadline_that_ends_a_submission_is_told_as_such(self):
        self.assertEqual(self.grade(None, deadline=0, hard=True),
                         failure("grade timed out after 0s"))
        self.assertEqual(self.grade(None, deadline=100, hard=True), failure(client.UNREACHABLE))

    def test_a_score_beyond_all_numbers_is_none(self):
        huge = json.dumps(SHIPPED).replace("0.9", "1e999").encode()
        self.answers = []
        verdict = self.grade(SUBMITTED, transport.Response(200, huge))
        self.assertTrue(verdict.clears)
        self.assertIsNone(verdict.score)

    def test_warming_once_seen_stays(self):
        verdict = self.grade(SUBMITTED, {"status": "queued", "progress": {"warming": True}},
                             {"status": "queued", "progress": {"warming": False}}, deadline=5)
        self.assertEqual(verdict, failure("grade timed out after 5s", warming=True))

    def test_warming_that_is_no_boolean_does_not_count(self):
        verdict = self.grade(SUBMITTED, {"progress": {"warming": 1}}, deadline=5)
        self.assertFalse(verdict.warming)

    def test_a_finished_grade_does_not_report_warming(self):
        verdict = self.grade(SUBMITTED, {"progress": {"warming": True}}, SHIPPED)
        self.assertFalse(verdict.warming)

    def test_the_status_is_compared_without_case(self):
        self.assertTrue(self.grade(SUBMITTED, dict(SHIPPED, status="COMPLETED")).clears)
        self.assertEqual(self.grade(SUBMITTED, {"status": "Failed"}), failure("grade failed"))

    def test_a_failed_or_cancelled_job_tells_its_error(self):
        self.assertEqual(self.grade(SUBMITTED, {"status": "failed", "error": "why"}),
                         failure("why"))
        self.assertEqual(self.grade(SUBMITTED, {"status": "cancelled", "error": 5}),
                         failure("grade cancelled"))

    def test_an_http_error_to_a_status_request_is_still_in_progress(self):
        verdict = self.grade(SUBMITTED, transport.Response(500, b'{"detail":"oops"}'), SHIPPED)
        self.assertTrue(verdict.clears)
        self.assertEqual(self.clock.sleeps, [1.5])

    def test_a_summary_with_flaws_does_not_fetch_the_run(self):
        self.grade(SUBMITTED, SHIPPED)
        self.assertEqual(len(self.requests), 2)

    def test_a_summary_without_flaws_fetches_those_of_the_run(self):
        done = {"status": "completed", "run_id": "r1", "result_summary": {"band": "block"}}
        flaw = {"severity": "high", "name": "n", "evidence": "e"}
        for run in ({"run": {"flaws": [flaw]}}, {"flaws": [flaw]}, {"run": 5, "flaws": [flaw]}):
            verdict = self.grade(SUBMITTED, done, run)
            self.assertEqual([f[:3] for f in verdict.flaws], [("HIGH", "n", "e")])
        self.assertEqual(self.grade(SUBMITTED, done, {"run": {}, "flaws": [flaw]}).flaws, ())

    def test_a_failed_flaws_fetch_keeps_the_verdict(self):
        done = {"status": "completed", "run_id": "r1", "result_summary": {"band": "block"}}
        for run in (None, transport.Response(500, b"x"), transport.Response(200, b"[]")):
            verdict = self.grade(SUBMITTED, done, run)
            self.assertEqual((verdict.band, verdict.flaws, verdict.run_id), ("block", (), "r1"))

    def test_a_run_id_that_is_a_number_is_none_and_fetches_nothing(self):
        verdict = self.grade(SUBMITTED, {"status": "completed", "run_id": 7})
        self.assertIsNone(verdict.run_id)
        self.assertEqual(len(self.requests), 2)

    # -- iterating

    def test_an_iterate_keeps_its_run_and_fetches_no_flaws(self):
        verdict = self.iterate({"iteration": {"critic_verdict": {"band": "block"}}})
        self.assertEqual((verdict.band, verdict.run_id, verdict.flaws), ("block", "r7", ()))

    def test_an_unreachable_iterate_is_a_failure(self):
        self.assertEqual(self.iterate(None), failure(client.UNREACHABLE))

    def test_an_iterate_that_is_refused_has_no_error_and_a_notice(self):
        verdict = self.iterate(transport.Response(404, b'{"error":"there is no such run"}'))
        self.assertEqual((verdict.band, verdict.error, verdict.score), ("unknown", None, None))
        self.assertEqual(verdict.notice, "there is no such run")

    # -- cancelling and progress

    def test_cancelling_ends_it_before_the_next_request(self):
        def told(step):
            if step.message == "running":
                self.cancel.set()
        verdict = self.grade(SUBMITTED, {"status": "running"}, progress=told)
        self.assertEqual(verdict, failure(client.CANCELLED))
        self.assertEqual([r.method for r in self.requests], ["POST", "GET", "DELETE"])

    def test_progress_grows_and_says_what_is_known(self):
        self.grade(SUBMITTED, {"status": "queued", "progress": {"position": 3}},
                   {"status": "queued", "progress": {"warming": True}}, {"status": "running"},
                   {}, SHIPPED, progress=self.steps.append)
        self.assertEqual([s.step for s in self.steps], [1, 2, 3, 4, 5])
        self.assertEqual([s.message for s in self.steps],
                         ["submitted", "queued, 3 before this one", "the grader is warming up",
                          "running", "waiting"])

    # -- the key stays out of sight

    def test_no_text_form_of_anything_holds_the_key(self):
        request = transport.Request("GET", "https://x.test", {"Authorization": "Bearer s3cret"})
        made = settings.Settings("/h", "https://x.test", "s3cret")
        for text in (repr(request), str(request), repr(made), str(made), "{}".format(made)):
            self.assertNotIn("s3cret", text)


class VerdictTest(unittest.TestCase):
    def test_bands_parse_without_case_and_else_are_unknown(self):
        for text, band in (("ship", "ship"), ("ROUTE_TO_FIX", "route_to_fix"), ("Block", "block"),
                           ("route to fix", "unknown"), ("", "unknown"), (None, "unknown"),
                           ("re_prompt", "unknown"), ("unknown", "unknown")):
            self.assertEqual(parse_band(text), band)

    def test_flaws_that_are_no_list_of_objects_are_none(self):
        for value in ("x", 5, None, {}, [{}, 5]):
            self.assertEqual(parse_flaws(value), [])

    def test_a_flaw_takes_the_first_names_that_are_strings(self):
        self.assertEqual(parse_flaws([{"severity": "critical", "name": "n",
                                       "evidence": "e"}])[0][:3],
                         ("CRITICAL", "n", "e"))
        both = {"criterion": "c", "name": "n", "detail": "d", "evidence": "e", "description": "x"}
        self.assertEqual(parse_flaws([both])[0][:3], ("", "c", "d"))
        self.assertEqual(parse_flaws([{"severity": 5}]), [Flaw("", "", "")])

    def test_the_band_wins_over_the_decision(self):
        self.assertEqual(verdict_from({"band": "block", "decision": "ship"}, None).band, "block")
        self.assertEqual(verdict_from({"band": 5, "decision": "ship"}, None).band, "ship")
        self.assertEqual(verdict_from({}, None).band, "unknown")

    def test_who_judged_and_what_nobody_did_are_read_in_their_order(self):
        verdict = verdict_from({
            "band": "ship", "checked_by": [{"engine": "e", "version": "1", "knows": "k"},
                                           {"engine": "f", "more": 5}],
            "not_checked": [{"what": "w", "why": "y", "remedy": "r"}, {"what": "x", "why": 5}]},
            None)
        self.assertEqual(verdict.checked_by, (CheckedBy("e", "1", "k"), CheckedBy("f")))
        self.assertEqual(verdict.not_checked, (NotChecked("w", "y", "r"), NotChecked("x")))

    def test_a_service_that_tells_neither_leaves_both_empty(self):
        verdict = verdict_from({"band": "ship"}, None)
        self.assertEqual((verdict.checked_by, verdict.not_checked), ((), ()))

    def test_lists_that_are_none_and_entries_without_a_name_count_as_missing(self):
        for value in ("x", 5, None, {}, [5], [{"engine": "e", "what": "w"}, 5], [[]],
                      [{"engine": "", "what": ""}], [{"engine": 5, "what": None}], [{}]):
            self.assertEqual((parse_checked_by(value), parse_not_checked(value)), ((), ()), value)

    def test_lists_and_texts_of_any_length_are_bounded(self):
        flood = [{"engine": "e" * 10000, "what": "w" * 10000, "why": "y" * 10000}] * 10000
        for entries in (parse_checked_by(flood), parse_not_checked(flood)):
            self.assertEqual(len(entries), MOST_ENTRIES)
            self.assertEqual(max(len(text) for text in entries[0]), LONGEST_ENTRY)
            self.assertTrue(entries[0][0].endswith("…"))
        whole = "w" * LONGEST_ENTRY
        self.assertEqual(parse_not_checked([{"what": whole}])[0].what, whole)

    def test_unknown_is_an_answer_only_with_what_was_not_checked_and_without_error(self):
        gap = {"what": "prose"}
        for summary, answered in (({"band": "unknown", "not_checked": [gap]}, True),
                                  ({"band": "unknown", "not_checked": []}, False),
                                  ({"band": "unknown"}, False),
                                  ({"band": "ship", "not_checked": [gap]}, False)):
            self.assertEqual(verdict_from(summary, None).is_beyond_the_service, answered, summary)
        failed = verdict_from({"not_checked": [gap]}, None)._replace(error="no")
        self.assertFalse(failed.is_beyond_the_service)

    def test_the_score_is_a_number_and_nothing_else(self):
        for value, score in ((1, 1.0), (0.5, 0.5), ("1", None), (True, None), (None, None),
                             (10 ** 400, None)):
            self.assertEqual(verdict_from({"score": value}, None).score, score)


if __name__ == "__main__":
    unittest.main()
