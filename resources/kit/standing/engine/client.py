"""The client of the evaluation service: submit, poll, fetch flaws, iterate.

    verdict = client.grade(parts, "code", intent="Validate this.", settings=settings.load())
    verdict = client.iterate(verdict.run_id, parts, settings=settings.load())

Both always return a `Verdict`; a failure is one with `error`. They block; call them on a thread of
your own, tell `cancel` (a threading.Event) to end them at once, and pass `progress` to hear what
happens: it is called on the same thread with a `Progress`. Time is `clock` and waiting is `wait`,
which tests replace. A job that is given up, because its time is over, it is cancelled or an exception
ends it here, is cancelled at the service too.
"""

import json
import threading
import time
import urllib.parse
from typing import Any, Callable, Dict, NamedTuple, Optional, Sequence, Tuple

from . import settings as settings_module
from . import transport
from .characters import first_characters
from .verdict import Verdict, failure, obj, parse_flaws, string, verdict_from

DEADLINE = 420.0
REQUEST_TIMEOUT = 30.0
LONGEST_INTENT = 4000
UNREACHABLE = "could not reach the eval API"
CANCELLED = "the grade was cancelled"
#: Seconds at most to tell the service that a job was given up; a part of a hard deadline.
GIVING_UP = 2.0
_FIRST_INTERVAL, _LAST_GROWING, _GROWTH = 1.5, 5.0, 1.0


class Progress(NamedTuple):
    """One step of a grade. `step` grows by one with each call, from 1."""

    step: int
    elapsed: float   # seconds since the start
    deadline: float
    message: str     # for people: "submitted", "queued, 2 before this one", "warming up"


def grade(parts: Sequence[Any], modality: str, vertical: Optional[str] = None, intent: str = "",
          policy: Optional[str] = None, deadline: float = DEADLINE,
          progress: Optional[Callable[[Progress], None]] = None,
          cancel: Optional[threading.Event] = None, *,
          settings: Optional[settings_module.Settings] = None,
          hard: bool = False, clock: Callable[[], float] = time.monotonic,
          send: Callable = transport.send, patience: float = REQUEST_TIMEOUT,
          first: Optional[float] = None) -> Verdict:
    """Grades the parts (each with a `json()`) as one submission. `hard` keeps single requests, and
    the last one that gives a job up, inside the deadline too, where a caller is itself being timed.
    `patience` is how long the service may stay silent. `first` is how many seconds after the
    submission it is asked a second time; where that is sooner than usual, the pauses double until
    they are the usual ones."""
    call = _Call(settings, cancel, progress, deadline, clock, send, hard, patience)
    body = {"submission": "async", "modality": modality,
            "user_prompt": first_characters(intent, LONGEST_INTENT),
            "artifact_parts": [part.json() for part in parts]}
    if vertical is not None:
        body["vertical"] = vertical
    if policy:
        body["policy_id"] = policy
    answer = call.request("POST", "/api/v1/eval/jobs", body)
    if answer is None:
        return call.without_answer()
    job_id = string(answer, "job_id")
    if job_id is None:
        error = failure(string(answer, "error") or "no job_id in response")
        return error._replace(status=call.refusal)
    try:
        call.tell("submitted")
        verdict, over = _poll(call, job_id, _FIRST_INTERVAL if first is None else first)
    except BaseException:
        call.give_up(job_id)
        raise
    if not over:
        call.give_up(job_id)
    return verdict


def iterate(run_id: str, parts: Sequence[Any], intent: str = "",
            progress: Optional[Callable[[Progress], None]] = None,
            cancel: Optional[threading.Event] = None, *,
            deadline: float = DEADLINE,
            settings: Optional[settings_module.Settings] = None,
            hard: bool = False, clock: Callable[[], float] = time.monotonic,
            send: Callable = transport.send, patience: float = REQUEST_TIMEOUT) -> Verdict:
    """Submits a revised version of a run's work. The service answers when it has judged it. A
    refusal is a verdict `unknown` without `error`; `notice` then says what the service said."""
    call = _Call(settings, cancel, progress, deadline, clock, send, hard, patience)
    body = {"decision": "re_prompt", "user_prompt": first_characters(intent, LONGEST_INTENT),
            "new_artifact_parts": [part.json() for part in parts]}
    answer = call.request("POST", "/api/v1/eval/runs/" + run_id + "/iterate", body)
    if answer is None:
        return call.without_answer()
    verdict = verdict_from(obj(obj(answer, "iteration"), "critic_verdict"), run_id)
    return verdict._replace(notice=string(answer, "error"))


def report_address(run_id: str, *, settings: Optional[settings_module.Settings] = None,
                   send: Callable = transport.send) -> str:
    """The address to open for the report on a run, as the service states it. A service of this
    machine is asked for one that opens the report once: the address of its report alone opens
    nothing, since other users may see it."""
    settings = settings if settings is not None else settings_module.load()
    stated = "{}/console?run={}".format(settings.base, run_id)
    if not (settings.key and transport.is_of_this_machine(settings.base)):
        return stated
    call = _Call(settings, None, None, DEADLINE, time.monotonic, send, False, REQUEST_TIMEOUT)
    answer = call.request("POST", "/api/v1/eval/runs/" + run_id + "/ticket", {})
    once = string(answer or {}, "report") or ""
    here = once.startswith("http://") and transport.is_of_this_machine(once)
    return once if here and "/console?run={}&".format(run_id) in once else stated


def verdict_of(run_id: str, *, settings: Optional[settings_module.Settings] = None,
               clock: Callable[[], float] = time.monotonic,
               send: Callable = transport.send) -> Verdict:
    """The verdict on a run as it stands."""
    call = _Call(settings, None, None, REQUEST_TIMEOUT, clock, send, False, REQUEST_TIMEOUT)
    answer = call.request("GET", "/api/v1/eval/runs/" + run_id)
    if answer is None:
        return failure(UNREACHABLE)
    if call.refusal is not None:
        return failure(string(answer, "error") or UNREACHABLE)._replace(status=call.refusal)
    return verdict_from(answer["run"] if isinstance(answer.get("run"), dict) else answer, run_id)


class _Call:
    """One grade or iterate: its surroundings and its clock."""

    def __init__(self, settings, cancel, progress, deadline, clock, send, hard, patience):
        self._fixed = settings
        self._cancel = cancel or threading.Event()
        self._progress = progress
        self.deadline = deadline
        self._clock = clock
        self._send = send
        self._patience = patience
        self._until = self._end = None
        if hard:
            self._end = time.monotonic() + deadline
            self._until = self._end - min(GIVING_UP, deadline / 4)
        self._step = 0
        self.refusal: Optional[int] = None  # the status of the last answer, when it was an error
        self.start = clock()

    def elapsed(self) -> float:
        return self._clock() - self.start

    def cancelled(self) -> bool:
        return self._cancel.is_set()

    def wait(self, seconds: float) -> None:
        """Sleeps, at most to the deadline where that is hard; less when cancelled."""
        if self._until is not None:
            seconds = min(seconds, max(0.0, self._until - time.monotonic()))
        self._cancel.wait(seconds)

    def tell(self, message: str) -> None:
        self._step += 1
        if self._progress is not None:
            self._progress(Progress(self._step, self.elapsed(), self.deadline, message))

    def is_over(self) -> bool:
        """Whether there is no more time to ask how the job is."""
        return self.elapsed() >= self.deadline or self._is_cut_short()

    def _is_cut_short(self) -> bool:
        return self._until is not None and time.monotonic() >= self._until

    def timed_out(self, warming: bool = False) -> Verdict:
        """The failure of a call whose time is over."""
        return failure("grade timed out after {}s".format(int(self.deadline)), warming)

    def without_answer(self) -> Verdict:
        """The failure of a submission that nobody answered."""
        if self.cancelled():
            return failure(CANCELLED)
        return self.timed_out() if self._is_cut_short() else failure(UNREACHABLE)

    def give_up(self, job_id: str) -> None:
        """Tells the service that nobody waits for this job any more. Whether it hears it or not."""
        until = time.monotonic() + GIVING_UP
        if self._end is not None:
            until = min(until, self._end)
        settings = self._settings()
        if settings.key:
            path = "/api/v1/eval/jobs/" + urllib.parse.quote(job_id, safe="")
            self._send(transport.Request("DELETE", settings.base + path, self._headers(settings),
                                         None, GIVING_UP), settings, until)

    def _settings(self):
        return self._fixed if self._fixed is not None else settings_module.load()

    @staticmethod
    def _headers(settings) -> Dict[str, str]:
        return {"Authorization": "Bearer " + settings.key, "Accept": "application/json",
                "User-Agent": "Kelvane-Companion"}

    def request(self, method: str, path: str, body: Optional[Dict[str, Any]] = None):
        """The answer's object; None when the service could not be reached or its success was no
        JSON object. An HTTP error is an object with the key "error"."""
        settings = self._settings()
        if self.cancelled() or not settings.key:
            return None
        headers = self._headers(settings)
        data = None
        if body is not None:
            headers["Content-Type"] = "application/json"
            data = _compact(body)
            if data is None:
                return None  # a request without its body would be judged as one that is empty
        response = self._send(
            transport.Request(method, settings.base + path, headers, data, self._patience),
            settings, self._until)
        if response is None:
            return None
        answer = _parse(response.body)
        self.refusal = response.status if response.status >= 400 else None
        if response.status < 400:
            return answer
        if answer is None:
            answer = {}
        answer.setdefault("error", _error_text(response.status, answer))
        return answer


def _poll(call: _Call, job_id: str, interval: float) -> Tuple[Verdict, bool]:
    """What became of the job, and whether it is over at the service."""
    warming = False
    while not call.is_over():
        if call.cancelled():
            return failure(CANCELLED), False
        answer = call.request("GET", "/api/v1/eval/jobs/" + job_id)
        if answer is not None:
            status = (string(answer, "status") or "").lower()
            if status == "completed":
                return _completed(call, answer), True
            if status in ("failed", "cancelled"):
                return failure(string(answer, "error") or "grade " + status), True
            warming = warming or obj(answer, "progress").get("warming") is True
            call.tell(_state(answer, status))
        call.wait(interval)
        if interval < _FIRST_INTERVAL:
            interval = min(2 * interval, _FIRST_INTERVAL)
        elif answer is not None:
            interval = min(interval, _LAST_GROWING) + _GROWTH
    if call.cancelled():
        return failure(CANCELLED), False
    return call.timed_out(warming), False


def _completed(call: _Call, answer: Dict[str, Any]) -> Verdict:
    run_id = string(answer, "run_id")
    verdict = verdict_from(obj(answer, "result_summary"), run_id)
    if verdict.flaws or run_id is None:
        return verdict
    run = call.request("GET", "/api/v1/eval/runs/" + run_id)
    if run is None:
        return verdict
    holder = run["run"] if isinstance(run.get("run"), dict) else run
    return verdict._replace(flaws=tuple(parse_flaws(holder.get("flaws"))))


def _state(answer: Dict[str, Any], status: str) -> str:
    progress = obj(answer, "progress")
    if progress.get("warming") is True:
        return "the grader is warming up"
    position = progress.get("position")
    if isinstance(position, int) and not isinstance(position, bool) and position > 0:
        return "{}, {} before this one".format(status or "waiting", position)
    return status or "waiting"


def _error_text(status: int, answer: Dict[str, Any]) -> str:
    if status in (401, 403):
        return "not authorized — check your Trevix key (HTTP {})".format(status)
    for key in ("detail", "message"):
        text = string(answer, key)
        if text is not None:
            return text
    return "eval API error (HTTP {})".format(status)


def _compact(body: Dict[str, Any]) -> Optional[bytes]:
    try:
        return json.dumps(body, ensure_ascii=False, separators=(",", ":"),
                          sort_keys=True).encode("utf-8")
    except (ValueError, TypeError):
        return None  # a lone surrogate, for one


def _refuse_constant(name: str):
    raise ValueError(name)


def _finite(text: str) -> Optional[float]:
    """The number; None, as no number at all, for one that is too large to have."""
    value = float(text)
    return value if abs(value) < float("inf") else None


def _parse(body: bytes) -> Optional[Dict[str, Any]]:
    """The body as a JSON object; None for anything else, invalid UTF-8 included."""
    try:
        value = json.loads(body.decode("utf-8"), parse_constant=_refuse_constant,
                           parse_float=_finite)
    except (ValueError, RecursionError):
        return None
    return value if isinstance(value, dict) else None
