#!/usr/bin/env python3
"""Runs a coding tool with a model and an evaluation service that are both of this file.

    mock_model.py FILE COMMAND ARGUMENT...

The model has the tool write FILE, with what $MOCK_CONTENT says, and says that it is done ever after;
where the tool runs no hooks it asks for the verdict itself in between, unless it is called "hooked".
It speaks the protocols of Claude Code (Messages), Codex (Responses), Gemini CLI, and of Copilot CLI,
OpenClaw and OpenCode (chat completions). The service holds the first work that it is sent for a flaw
in line 1, and clears what follows. Both are at http://127.0.0.1:7801, which is free in a network of
one's own: the loopback is switched on first.
Written at the end, as one line of JSON: how often the service graded, what it was sent, and all
that the model was told.
"""

import http.server
import json
import os
import subprocess
import sys
import threading

PORT = 7801
CONTENT = os.environ.get("MOCK_CONTENT", "bad = 1\n")
FLAW = {"severity": "high", "criterion": "c", "rule": "code.mock", "detail": "Line 1 is MOCKED.",
        "place": "line 1", "evidence": "bad"}
PATCH = "*** Begin Patch\n*** Add File: %s\n+bad = 1\n*** End Patch\n"


class Mock:
    def __init__(self, file):
        self.file, self.turns, self.told, self.sent = file, 0, [], []
        self.lock = threading.Lock()

    def turn(self):
        with self.lock:
            self.turns += 1
            return self.turns

    # -- the models

    def responses(self, _):
        if self.turn() == 1:
            item = {"type": "custom_tool_call", "id": "i1", "call_id": "c1", "name": "apply_patch",
                    "input": PATCH % self.file}
        else:
            item = {"type": "message", "id": "m", "role": "assistant", "status": "completed",
                    "content": [{"type": "output_text", "text": "Done.", "annotations": []}]}
        usage = {"input_tokens": 1, "output_tokens": 1, "total_tokens": 2,
                 "input_tokens_details": {"cached_tokens": 0},
                 "output_tokens_details": {"reasoning_tokens": 0}}
        return [{"type": "response.created", "response": {"id": "r"}},
                {"type": "response.output_item.done", "output_index": 0, "item": item},
                {"type": "response.completed",
                 "response": {"id": "r", "output": [item], "usage": usage}}]

    def messages(self, asked):
        """What has no tools is asked about the session, not about the task, and is no turn."""
        block, reason = {"type": "text", "text": "Done."}, "end_turn"
        if asked.get("tools") and self.turn() == 1:
            block = {"type": "tool_use", "id": "toolu_1", "name": "Write",
                     "input": {"file_path": self.file, "content": CONTENT}}
            reason = "tool_use"
        message = {"id": "msg_1", "type": "message", "role": "assistant", "model": "m",
                   "content": [block], "stop_reason": reason, "stop_sequence": None,
                   "usage": {"input_tokens": 1, "output_tokens": 1}}
        if not asked.get("stream"):
            return message, None
        begun, delta = dict(block, text=""), {"type": "text_delta", "text": "Done."}
        if block["type"] == "tool_use":
            begun = dict(block, input={})
            delta = {"type": "input_json_delta", "partial_json": json.dumps(block["input"])}
        return message, [
            {"type": "message_start", "message": dict(message, content=[], stop_reason=None)},
            {"type": "content_block_start", "index": 0, "content_block": begun},
            {"type": "content_block_delta", "index": 0, "delta": delta},
            {"type": "content_block_stop", "index": 0},
            {"type": "message_delta", "delta": {"stop_reason": reason, "stop_sequence": None},
             "usage": {"output_tokens": 1}},
            {"type": "message_stop"}]

    def chat(self, asked):
        delta, reason = {"role": "assistant", "content": "Done."}, "stop"
        turn = self.turn() if asked.get("tools") else 0
        tools = [tool["function"] for tool in asked.get("tools") or ()]
        takes = {tool["name"]: tool.get("parameters", {}).get("properties", {}) for tool in tools}
        calls = [("create", {"path": self.file, "file_text": CONTENT})]
        if "create" not in takes:  # a tool without hooks: the model itself asks for the verdict
            where = "filePath" if "filePath" in takes.get("write", {}) else "path"
            grade = [name for name in takes if name.endswith("_grade")] or ["trevix_grade"]
            calls = [("write", {where: self.file, "content": CONTENT}),
                     (grade[0], {"path": self.file})][:1 if asked.get("model") == "hooked" else 2]
        if 0 < turn <= len(calls):
            name, arguments = calls[turn - 1]
            delta = {"role": "assistant", "content": None, "tool_calls": [
                {"index": 0, "id": "c%d" % turn, "type": "function",
                 "function": {"name": name, "arguments": json.dumps(arguments)}}]}
            reason = "tool_calls"
        chunk = {"id": "x", "object": "chat.completion.chunk", "created": 1, "model": "m"}
        return [dict(chunk, choices=[{"index": 0, "delta": delta, "finish_reason": None}]),
                dict(chunk, choices=[{"index": 0, "delta": {}, "finish_reason": reason}],
                     usage={"prompt_tokens": 1, "completion_tokens": 1, "total_tokens": 2})]

    def gemini(self, _):
        part = {"text": "Done."}
        if self.turn() == 1:
            part = {"functionCall": {"name": "write_file", "args": {
                "file_path": self.file, "content": CONTENT}}}
        return {"candidates": [{"content": {"role": "model", "parts": [part]}, "index": 0,
                                "finishReason": "STOP"}],
                "usageMetadata": {"promptTokenCount": 1, "candidatesTokenCount": 1,
                                  "totalTokenCount": 2}}

    # -- the service

    def graded(self):
        held = len(self.sent) == 1
        return {"status": "completed", "run_id": "r%d" % len(self.sent), "result_summary": {
            "band": "route_to_fix" if held else "ship", "score": 0.5,
            "flaws": [FLAW] if held else []}}


def handler(mock):
    class Handler(http.server.BaseHTTPRequestHandler):
        protocol_version = "HTTP/1.1"

        def log_message(self, *_):
            pass

        def reply(self, data, kind="application/json", status=200):
            self.send_response(status)
            self.send_header("content-type", kind)
            self.send_header("content-length", str(len(data)))
            self.end_headers()
            self.wfile.write(data)

        def as_json(self, value, status=200):
            self.reply(json.dumps(value).encode(), status=status)

        def as_stream(self, events, end=b""):
            lines = [("event: %s\n" % event["type"] if "type" in event else "") +
                     "data: %s\n\n" % json.dumps(event) for event in events]
            self.reply("".join(lines).encode() + end, "text/event-stream")

        def do_GET(self):
            if "/eval/" in self.path:
                return self.as_json(mock.graded())
            return self.as_json({"object": "list", "data": [{"id": "m", "object": "model"}]})

        def do_POST(self):
            body = self.rfile.read(int(self.headers.get("content-length", 0))).decode("utf-8")
            asked = json.loads(body or "{}")
            if "/eval/" in self.path:
                mock.sent.append([part.get("logical_name")
                                  for part in asked.get("artifact_parts", [])])
                return self.as_json({"job_id": "j"}, 202)
            if "count_tokens" in self.path:
                return self.as_json({"input_tokens": 1})
            if "/messages" in self.path:
                if asked.get("tools"):
                    mock.told.append(body)
                message, events = mock.messages(asked)
                return self.as_stream(events) if events else self.as_json(message)
            if asked.get("tools") or "chat/completions" not in self.path:
                mock.told.append(body)
            if "responses" in self.path:
                return self.as_stream(mock.responses(asked))
            if "treamGenerate" in self.path:
                return self.as_stream([mock.gemini(asked)])
            if "enerateContent" in self.path:
                return self.as_json(mock.gemini(asked))
            if "chat/completions" in self.path and asked.get("stream"):
                return self.as_stream(mock.chat(asked), b"data: [DONE]\n\n")
            return self.as_json({})
    return Handler


def main(arguments):
    mock = Mock(arguments[0])
    subprocess.run(["ip", "link", "set", "lo", "up"], check=True)
    server = http.server.ThreadingHTTPServer(("127.0.0.1", PORT), handler(mock))
    threading.Thread(target=server.serve_forever, daemon=True).start()
    done = subprocess.run(arguments[1:], stdin=subprocess.DEVNULL, stdout=sys.stderr, check=False)
    print(json.dumps({"sent": mock.sent, "told": mock.told, "code": done.returncode}))


if __name__ == "__main__":
    main(sys.argv[1:])
