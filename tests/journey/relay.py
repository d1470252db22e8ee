"""Stands between the product and the service, and keeps a journal of what went through.

    relay.py [--silent-after-submission | --held-until=FILE] PORT JOURNAL

Prints the port that it listens on. Each request forwarded to PORT on the loopback is a line "> METHOD
PATH" of JOURNAL, each answer handed back a line "< STATUS". With --silent-after-submission requests
that come after a job was accepted are written down, and neither forwarded nor answered; with
--held-until they wait until FILE exists. While nobody listens on PORT, connections are closed.
"""

import os
import re
import socket
import sys
import threading
import time

REQUEST = re.compile(rb"([A-Z]+) (\S+) HTTP/1\.[01]\r\n")
ANSWER = re.compile(rb"HTTP/1\.[01] (\d{3}) ")


class Relay:
    def __init__(self, port, journal, silent_after_submission, held_until):
        self.port = port
        self.journal = journal
        self.silent_after_submission = silent_after_submission
        self.held_until = held_until
        self.accepted = False

    def write(self, line):
        with open(self.journal, "a", encoding="utf-8") as file:
            file.write(line + "\n")

    def forward(self, client, service):
        while chunk := client.recv(65536):
            if begin := REQUEST.match(chunk):
                self.write(f"> {begin[1].decode()} {begin[2].decode()}")
            if self.accepted and self.silent_after_submission:
                continue
            while self.accepted and self.held_until and not os.path.exists(self.held_until):
                time.sleep(0.01)
            service.sendall(chunk)

    def hand_back(self, service, client):
        while chunk := service.recv(65536):
            client.sendall(chunk)
            if begin := ANSWER.match(chunk):
                self.accepted = self.accepted or begin[1] == b"202"
                self.write(f"< {begin[1].decode()}")

    def serve(self, client):
        with client:
            try:
                with socket.create_connection(("127.0.0.1", self.port)) as service:
                    back = threading.Thread(target=self.end_with, args=(service, client), daemon=True)
                    back.start()
                    self.forward(client, service)
            except OSError:
                pass

    def end_with(self, service, client):
        try:
            self.hand_back(service, client)
            client.shutdown(socket.SHUT_RDWR)
        except OSError:
            pass


def main():
    *options, port, journal = sys.argv[1:]
    held = [option.partition("=")[2] for option in options if option.startswith("--held-until=")]
    relay = Relay(int(port), journal, "--silent-after-submission" in options, held and held[0])
    with socket.create_server(("127.0.0.1", 0)) as server:
        print(server.getsockname()[1], flush=True)
        while True:
            client, _ = server.accept()
            threading.Thread(target=relay.serve, args=(client,), daemon=True).start()


main()
