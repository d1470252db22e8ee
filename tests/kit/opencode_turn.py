#!/usr/bin/env python3
"""Has `opencode serve` work on a task, as its desktop and its terminal do, until nothing is left to do.

    opencode_turn.py PROGRAM TURNS TASK

PROGRAM is OpenCode. The end of a turn is no end of the program here, so that its plugin may begin
another: TURNS says how many there are to be before the program is ended. Whoever calls this ends it
when they never come.
"""

import json
import subprocess
import sys
import time
import urllib.request

BASE = "http://127.0.0.1:7802"


def ask(path, body=None):
    """The server's answer."""
    request = urllib.request.Request(BASE + path, headers={"Content-Type": "application/json"},
                                     data=None if body is None else json.dumps(body).encode())
    with urllib.request.urlopen(request) as answer:
        return json.load(answer)


def ended(session, turns):
    """Whether so many turns have begun, and the last of them is over."""
    messages = [message["info"] for message in ask("/session/%s/message" % session)]
    return sum(message["role"] == "user" for message in messages) >= turns and \
        messages[-1]["role"] == "assistant" and messages[-1].get("finish") == "stop"


def main(program, turns, task):
    server = subprocess.Popen([program, "serve", "--hostname", "127.0.0.1", "--port", "7802"],
                              stdin=subprocess.DEVNULL, stdout=subprocess.PIPE)
    try:
        if not any(b"listening on" in line for line in server.stdout):  # who comes sooner waits long
            sys.exit("OpenCode did not begin to serve")
        session = ask("/session", {"title": "t"})["id"]
        ask("/session/%s/message" % session, {"parts": [{"type": "text", "text": task}]})
        while not ended(session, int(turns)):
            time.sleep(0.05)
    finally:
        server.terminate()
        server.wait()


if __name__ == "__main__":
    main(*sys.argv[1:])
