"""The client of the evaluation service: submit, poll, fetch flaws, iterate.

    verdict = client.grade(parts, "code", intent="Validate this.", settings=settings.load())
    verdict = client.iterate(verdict.run_id, parts, settings=settings.load())

Both always return a `Verdict`; a failure is one with `error`. They block; call them on a thread of
your own, tell `cancel` (a threading.Event) to end them at once, and pass `progress` to hear what
happens: it is called on the same thread with a `Progress`. Time is `clock` and waiting is `wait`,
which tests replace.
"""

import json
import threading
import time
from typing import Any, Callable, Dict, NamedTuple, Optional, Sequence

from . import settings as settings_module
from . import transport
from .characters import first_characters
from .verdict import Verdict, failure, obj, parse_flaws, string, verdict_from

DEADLINE = 420.0
REQUEST_TIMEOUT = 30.0
LONGEST_INTENT = 4000
UNREACHABLE = "could not reach the eval API"
CANCELLED = "the grade was cancelled"
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
          send: Callable = transport.send) -> Verdict:
    """Grades the parts (each with a `json()`) as one submission. `hard` keeps single requests
    inside the deadline too, where a caller is itself being timed."""
    call = _Call(settings, cancel, progress, deadline, clock, send, hard)
    body = {"submission": "async", "modality": modality,
            "user_prompt": first_characters(intent, LONGEST_INTENT),
            "artifact_parts": [part.json() for part in parts]}
    if vertical is not None:
        body["vertical"] = vertical
    if policy:
        body["policy_id"] = policy
    answer = call.request("POST", "/api/v1/eval/jobs", body)
    if answer is None:
        return failure(CANCELLED if call.cancelled() else UNREACHABLE)
    job_id = string(answer, "job_id")
    if job_id is None:
        error = failure(string(answer, "error") or "no job_id in response")
        return error._replace(status=call.refusal)
    call.tell("submitted")
    return _poll(call, job_id)


def iterate(run_id: str, parts: Sequence[Any], intent: str = "",
            progress: Optional[Callable[[Progress], None]] = None,
            cancel: Optional[threading.Event] = None, *,
            deadline: float = DEADLINE,
            settings: Optional[settings_module.Settings] = None,
            hard: bool = False, clock: Callable[[], float] = time.monotonic,
            send: Callable = transport.send) -> Verdict:
    """Submits a revised version of a run's work. The service answers when it has judged it. A
    refusal is a verdict `unknown` without `error`; `notice` then says what the service said."""
    call = _Call(settings, cancel, progress, deadline, clock, send, hard)
    body = {"decision": "re_prompt", "user_prompt": first_characters(intent, LONGEST_INTENT),
            "new_artifact_parts": [part.json() for part in parts]}
    answer = call.request("POST", "/api/v1/eval/runs/" + run_id + "/iterate", body)
    if answer is None:
        return failure(CANCELLED if call.cancelled() else UNREACHABLE)
    verdict = verdict_from(obj(obj(answer, "iteration"), "critic_verdict"), run_id)
    return verdict._replace(notice=string(answer, "error"))


def verdict_of(run_id: str, *, settings: Optional[settings_module.Settings] = None,
               clock: Callable[[], float] = time.monotonic,
               send: Callable = transport.send) -> Verdict:
    """The verdict on a run as it stands."""
    call = _Call(settings, None, None, REQUEST_TIMEOUT, clock, send, False)
    answer = call.request("GET", "/api/v1/eval/runs/" + run_id)
    if answer is None:
        return failure(UNREACHABLE)
    if call.refusal is not None:
        return failure(string(answer, "error") or UNREACHABLE)._replace(status=call.refusal)
    return verdict_from(answer["run"] if isinstance(answer.get("run"), dict) else answer, run_id)


class _Call:
    """One grade or iterate: its surroundings and its clock."""

    def __init__(self, settings, cancel, progress, deadline, clock, send, hard):
        self._fixed = settings
        self._cancel = cancel or threading.Event()
        self._progress = progress
        self.deadline = deadline
        self._clock = clock
        self._send = send
        self._until = time.monotonic() + deadline if hard else None
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

    def request(self, method: str, path: str, body: Optional[Dict[str, Any]] = None):
        """The answer's object; None when the service could not be reached or its success was no
        JSON object. An HTTP error is an object with the key "error"."""
        settings = self._fixed if self._fixed is not None else settings_module.load()
        if self.cancelled() or not settings.key:
            return None
        headers = {"Authorization": "Bearer " + settings.key, "Accept": "application/json",
                   "User-Agent": "Kelvane-Companion"}
        data = None
        if body is not None:
            headers["Content-Type"] = "application/json"
            data = _compact(body)
        response = self._send(
            transport.Request(method, settings.base + path, headers, data, REQUEST_TIMEOUT),
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


def _poll(call: _Call, job_id: str) -> Verdict:
    interval, warming = _FIRST_INTERVAL, False
    while call.elapsed() < call.deadline:
        if call.cancelled():
            return failure(CANCELLED)
        answer = call.request("GET", "/api/v1/eval/jobs/" + job_id)
        if answer is not None:
            status = (string(answer, "status") or "").lower()
            if status == "completed":
                return _completed(call, answer)
            if status in ("failed", "cancelled"):
                return failure(string(answer, "error") or "grade " + status)
            warming = warming or obj(answer, "progress").get("warming") is True
            call.tell(_state(answer, status))
        call.wait(interval)
        if answer is not None:
            interval = min(interval, _LAST_GROWING) + _GROWTH
    if call.cancelled():
        return failure(CANCELLED)
    return failure("grade timed out after {}s".format(int(call.deadline)), warming)


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
        return None  # a lone surrogate, for one: the request then goes without a body


def _refuse_constant(name: str):
    raise ValueError(name)


def _parse(body: bytes) -> Optional[Dict[str, Any]]:
    """The body as a JSON object; None for anything else, invalid UTF-8 included."""
    try:
        value = json.loads(body.decode("utf-8"), parse_constant=_refuse_constant)
    except (ValueError, RecursionError):
        return None
    return value if isinstance(value, dict) else None
