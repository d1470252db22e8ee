#!/usr/bin/env python3
"""What does the local service still do while it is under siege?

    bench/service_siege.py SERVICE [--connections N] [--descriptors N] [--socket]

Starts the service with a data folder of its own and so many descriptors, opens N connections to it
that say nothing or half a request, opens each one again that the service drops, and asks it meanwhile
for its health and to judge a short text, as an honest client. Prints how long the answers took, and
what the service needed in memory and descriptors.
"""

import argparse
import json
import os
import pathlib
import resource
import select
import socket
import statistics
import subprocess
import sys
import tempfile
import time

HALF = b"POST /api/v1/eval/jobs HTTP/1.1\r\nHost: 127.0.0.1\r\nContent-Le"
WORK = {"submission": "async", "modality": "text", "user_prompt": "Judge this.",
        "artifact_parts": [{"mime_type": "text/plain", "logical_name": "note.txt",
                            "text": "A short note, sound as it stands."}]}


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    parser.add_argument("service")
    parser.add_argument("--connections", type=int, default=10_000)
    parser.add_argument("--descriptors", type=int, default=1024, help="of the service")
    parser.add_argument("--requests", type=int, default=200)
    parser.add_argument("--socket", action="store_true", help="ask over the Unix socket")
    parser.add_argument("--besiege", type=int, help=argparse.SUPPRESS)
    options = parser.parse_args()
    _, most = resource.getrlimit(resource.RLIMIT_NOFILE)
    wanted = options.connections + 200
    if most < wanted:
        raise SystemExit("needs {} descriptors of its own; the limit is {}".format(wanted, most))
    resource.setrlimit(resource.RLIMIT_NOFILE, (wanted, most))
    if options.besiege:
        return keep_on(options)
    with tempfile.TemporaryDirectory() as folder:
        service = subprocess.Popen(
            [options.service, "--port", "0", "--data", folder, "--socket", folder + "/s/api.sock"],
            stdout=subprocess.PIPE,
            preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_NOFILE,
                                                  (options.descriptors, options.descriptors)))
        try:
            base = service.stdout.readline().decode().split()[-1]
            key = pathlib.Path(folder, "key").read_text().strip()
            port = int(base.rsplit(":", 1)[1])
            ask = (Asker(socket.AF_UNIX, folder + "/s/api.sock") if options.socket
                   else Asker(socket.AF_INET, ("127.0.0.1", port)))
            measure(options, service.pid, port, ask, key)
        finally:
            service.terminate()
            service.wait()


class Asker:
    """An honest client: one connection, one request. It comes again when it is dropped."""

    def __init__(self, family, address):
        self.family, self.address = family, address
        self.dropped = 0

    def __call__(self, method, target, key, body=b""):
        while True:
            answer = self.exchange(
                "{} {} HTTP/1.1\r\nHost: localhost\r\nAuthorization: Bearer {}\r\n"
                "Content-Type: application/json\r\nContent-Length: {}\r\n\r\n".format(
                    method, target, key, len(body)).encode() + body)
            if answer:
                return json.loads(answer.partition(b"\r\n\r\n")[2])
            self.dropped += 1

    def exchange(self, request):
        try:
            with socket.socket(self.family) as link:
                link.settimeout(60)
                link.connect(self.address)
                link.sendall(request)
                return b"".join(iter(lambda: link.recv(65536), b""))
        except ConnectionError:
            return b""


def measure(options, pid, port, ask, key):
    quiet = statistics.median(timed(lambda: ask("GET", "/healthz", key)) for _ in range(50))
    # A process of its own: as a client does, the one that asks has a core of its own when it needs one.
    siege = subprocess.Popen(
        [sys.executable, __file__, options.service, "--connections", str(options.connections),
         "--besiege", str(port)], stdin=subprocess.PIPE, stdout=subprocess.PIPE)
    try:
        print(siege.stdout.readline().decode().strip())
        waits = [timed(lambda: ask("GET", "/healthz", key)) for _ in range(options.requests)]
        begin = time.monotonic()
        job = ask("POST", "/api/v1/eval/jobs", key, json.dumps(WORK).encode())["job_id"]
        accepted = time.monotonic() - begin
        while ask("GET", "/api/v1/eval/jobs/" + job, key)["status"] != "completed":
            time.sleep(0.05)
        judged = time.monotonic() - begin
        facts = dict(line.split(":\t", 1) for line in
                     pathlib.Path("/proc/{}/status".format(pid)).read_text().splitlines()
                     if ":\t" in line)
        held = len(os.listdir("/proc/{}/fd".format(pid)))
    finally:
        print(siege.communicate()[0].decode().strip())
    waits.sort()
    print("an answer: {:.1f} ms before; median {:.1f} ms, 99 % {:.1f} ms, longest {:.1f} ms; "
          "{} dropped and asked again".format(
              quiet * 1e3, statistics.median(waits) * 1e3, waits[len(waits) * 99 // 100] * 1e3,
              waits[-1] * 1e3, ask.dropped))
    print("a job: accepted after {:.0f} ms, judged after {:.1f} s".format(accepted * 1e3, judged))
    print("the service: {} descriptors of {}, {} MB resident, {} threads".format(
        held, options.descriptors, int(facts["VmRSS"].split()[0]) // 1024, facts["Threads"].strip()))


def keep_on(options):
    """Besieges until standard input ends."""
    siege = [None] * options.connections
    begin = time.monotonic()
    opened = besiege(siege, options.besiege)
    print("{} connections opened in {:.1f} s".format(opened, time.monotonic() - begin), flush=True)
    begin, again = time.monotonic(), 0
    while not select.select([sys.stdin], [], [], 0)[0]:
        again += besiege(siege, options.besiege)
    print("{:.0f} a second more while it was asked".format(again / (time.monotonic() - begin)))


def timed(work):
    begin = time.monotonic()
    work()
    return time.monotonic() - begin


def besiege(siege, port):
    """Opens each connection that is not open. Returns how many that were."""
    opened = 0
    for index, link in enumerate(siege):
        if link is not None:
            try:
                if link.recv(1) != b"":
                    continue
            except BlockingIOError:
                continue
            except OSError:
                pass
            link.close()
        link = socket.socket()
        try:
            link.connect(("127.0.0.1", port))
            if index % 3 == 0:
                link.sendall(HALF)
        except OSError:
            pass
        link.setblocking(False)
        siege[index] = link
        opened += 1
    return opened


if __name__ == "__main__":
    main()
