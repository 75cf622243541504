#!/usr/bin/env python3
"""A scripted MMSC for the tests: a real HTTP server on 127.0.0.1 that answers each request with
the next step of its script and logs what it got, the PDU decoded.

  mmsc_server.py --script SCRIPT.json --log LOG.jsonl --ready READYFILE [--proxy] [--tls CERT KEY]

Once it listens, READYFILE holds its port (written whole: a reader never sees half of it).

The script: {"steps": [STEP, ...], "after": STEP}. Each request takes the next step; once they are
used up, every request gets "after" (by default 200 with no body). A STEP, every member optional:
  "status"        the HTTP status (200)
  "headers"       more response headers, {"Location": "file:///etc/passwd"}
  "body_hex", "body_file" (a path) or "send_conf": {"status", "text", "message_id",
                  "transaction_id"}: the body; an m-send.conf takes the transaction id of the
                  m-send.req it answers unless it is given one
  "content_type"  of the body (application/vnd.wap.mms-message)
  "delay"         seconds to wait first; other connections are served meanwhile
  "truncate": N   the full Content-Length but only N bytes of the body, then the connection closes
  "chunked": true the body chunked, with no Content-Length
  "drop": true    the connection closed at once, without an answer

The log: one JSON object a line, written before the answer goes out, so that a client holding
its answer finds its request there: {"method", "target", "path", "host", "headers" (lower-case
names), "proxied" (the target was absolute), "body_size", "body_hex", "pdu" (mmsc_pdu.decode, or
null), "pdu_error", "step" (the step's index; -1 for "after"; null for a request refused)}.

--proxy: the server stands for the MMS proxy: it takes only absolute targets
("POST http://mmsc.invalid/mms HTTP/1.1"), refuses others with 400, and serves those it takes
itself, by the script. --tls CERT KEY: https.
"""

import argparse
import json
import os
import re
import ssl
import sys
import threading
import time
from http.server import BaseHTTPRequestHandler, ThreadingHTTPServer
from urllib.parse import urlsplit

import mmsc_pdu

STEP_MEMBERS = {"status", "headers", "body_hex", "body_file", "send_conf", "content_type",
                "delay", "truncate", "chunked", "drop"}
ABSOLUTE_TARGET = re.compile(r"^[A-Za-z][A-Za-z0-9+.-]*://")
CHUNK_SIZE = 1024


class ScriptError(ValueError):
    pass


def check_step(step, where):
    if not isinstance(step, dict):
        raise ScriptError(f"{where} is not an object")
    unknown = set(step) - STEP_MEMBERS
    if unknown:
        raise ScriptError(f"{where} has unknown members: {', '.join(sorted(unknown))}")
    bodies = [name for name in ("body_hex", "body_file", "send_conf") if name in step]
    if len(bodies) > 1:
        raise ScriptError(f"{where} has more than one body: {', '.join(bodies)}")
    kinds = {"status": int, "headers": dict, "body_file": str, "send_conf": dict,
             "content_type": str, "delay": (int, float), "truncate": int, "chunked": bool,
             "drop": bool}
    for name, kind in kinds.items():
        if name in step and not isinstance(step[name], kind):
            raise ScriptError(f"{where}: {name} cannot be a {type(step[name]).__name__}")
    if "body_hex" in step:
        try:
            bytes.fromhex(step["body_hex"])
        except (TypeError, ValueError):
            raise ScriptError(f"{where}: body_hex is not hex") from None
    return step


class Script:
    """The steps, handed out one per request in the order the requests come."""

    def __init__(self, script):
        if not isinstance(script, dict) or not isinstance(script.get("steps", []), list):
            raise ScriptError('the script is not {"steps": [...], "after": {...}}')
        unknown = set(script) - {"steps", "after"}
        if unknown:
            raise ScriptError(f"the script has unknown members: {', '.join(sorted(unknown))}")
        self.steps = [check_step(step, f"step {index}")
                      for index, step in enumerate(script.get("steps", []))]
        self.after = check_step(script.get("after", {}), "after")
        self.used = 0
        self.lock = threading.Lock()

    def take(self):
        with self.lock:
            if self.used < len(self.steps):
                self.used += 1
                return self.used - 1, self.steps[self.used - 1]
        return -1, self.after


class Log:
    def __init__(self, path):
        self.file = open(path, "a", encoding="utf-8")
        self.lock = threading.Lock()

    def write(self, entry):
        with self.lock:
            self.file.write(json.dumps(entry) + "\n")
            self.file.flush()


class BadRequest(Exception):
    pass


class Handler(BaseHTTPRequestHandler):
    protocol_version = "HTTP/1.1"

    def log_message(self, format, *args):
        # The log file is the record; standard error stays for what goes wrong.
        pass

    def do_GET(self):
        self.serve()

    do_POST = do_PUT = do_DELETE = do_GET

    def read_body(self):
        if self.headers.get("Transfer-Encoding", "").lower() == "chunked":
            body = bytearray()
            while True:
                line = self.rfile.readline(1024)
                try:
                    size = int(line.split(b";")[0].strip(), 16)
                except ValueError:
                    raise BadRequest("a chunk size that is not hex") from None
                if size == 0:
                    while self.rfile.readline(1024) not in (b"\r\n", b"\n", b""):
                        pass
                    return bytes(body)
                body += self.rfile.read(size)
                self.rfile.readline(1024)
        try:
            length = int(self.headers.get("Content-Length", "0"))
        except ValueError:
            raise BadRequest("a Content-Length that is not a number") from None
        body = self.rfile.read(length) if length > 0 else b""
        if len(body) != length:
            raise BadRequest("the body ended early")
        return body

    def serve(self):
        server = self.server
        proxied = bool(ABSOLUTE_TARGET.match(self.path))
        entry = {"method": self.command, "target": self.path,
                 "path": urlsplit(self.path).path, "host": self.headers.get("Host"),
                 "headers": {}, "proxied": proxied}
        for name, value in self.headers.items():
            name = name.lower()
            known = entry["headers"].get(name)
            entry["headers"][name] = value if known is None else known + ", " + value
        try:
            body = self.read_body()
        except BadRequest as error:
            body = None
            refusal = str(error)
        else:
            refusal = None
            if server.proxy and not proxied:
                refusal = "a proxy takes absolute targets only"
        entry.update(body_size=len(body or b""), body_hex=(body or b"").hex(), pdu=None,
                     pdu_error=None)
        if body:
            try:
                entry["pdu"] = mmsc_pdu.decode(body)
            except mmsc_pdu.PduError as error:
                entry["pdu_error"] = str(error)
        if refusal is not None:
            entry["step"] = None
            server.log.write(entry)
            # After a body that did not read, the next request's start is unknown.
            self.close_connection = body is None
            self.answer({"status": 400, "body_hex": refusal.encode().hex(),
                         "content_type": "text/plain"}, None)
            return
        entry["step"], step = server.script.take()
        server.log.write(entry)
        self.answer(step, entry["pdu"])

    def body_of(self, step, pdu):
        if "body_hex" in step:
            return bytes.fromhex(step["body_hex"])
        if "body_file" in step:
            with open(step["body_file"], "rb") as file:
                return file.read()
        if "send_conf" in step:
            conf = step["send_conf"]
            transaction_id = conf.get("transaction_id")
            if transaction_id is None and pdu is not None:
                transaction_id = pdu["fields"].get("X-Mms-Transaction-ID")
            return mmsc_pdu.encode_send_conf(conf.get("status", 128), transaction_id,
                                             conf.get("text"), conf.get("message_id"))
        return b""

    def answer(self, step, pdu):
        time.sleep(step.get("delay", 0))
        if step.get("drop"):
            self.close_connection = True
            return
        body = self.body_of(step, pdu)
        self.send_response(step.get("status", 200))
        extra = step.get("headers", {})
        named = {name.lower() for name in extra}
        if body and "content-type" not in named:
            self.send_header("Content-Type",
                             step.get("content_type", "application/vnd.wap.mms-message"))
        for name, value in extra.items():
            self.send_header(name, value)
        if step.get("chunked"):
            self.send_header("Transfer-Encoding", "chunked")
            self.end_headers()
            for start in range(0, len(body), CHUNK_SIZE):
                chunk = body[start:start + CHUNK_SIZE]
                self.wfile.write(b"%x\r\n%s\r\n" % (len(chunk), chunk))
            self.wfile.write(b"0\r\n\r\n")
            return
        self.send_header("Content-Length", str(len(body)))
        self.end_headers()
        if "truncate" in step:
            body = body[:step["truncate"]]
            self.close_connection = True
        self.wfile.write(body)


class Server(ThreadingHTTPServer):
    daemon_threads = True

    def __init__(self, script, log, proxy, tls):
        super().__init__(("127.0.0.1", 0), Handler)
        self.script = script
        self.log = log
        self.proxy = proxy
        self.tls = None
        if tls:
            self.tls = ssl.SSLContext(ssl.PROTOCOL_TLS_SERVER)
            self.tls.load_cert_chain(*tls)

    def finish_request(self, request, client_address):
        # The handshake runs in the connection's own thread, so that a client that never
        # completes it holds up no other.
        if self.tls is None:
            super().finish_request(request, client_address)
            return
        try:
            connection = self.tls.wrap_socket(request, server_side=True)
        except (ssl.SSLError, OSError):
            return
        try:
            super().finish_request(connection, client_address)
        finally:
            connection.close()


def write_ready(path, port):
    temporary = path + ".part"
    with open(temporary, "w", encoding="ascii") as file:
        file.write(f"{port}\n")
    os.replace(temporary, path)


def leave_with_parent():
    """Ends the server when the test that started it is gone, killed or crashed."""
    parent = os.getppid()
    while os.getppid() == parent:
        time.sleep(0.5)
    os._exit(0)


def main():
    parser = argparse.ArgumentParser(description="A scripted MMSC for the tests.")
    parser.add_argument("--script", required=True)
    parser.add_argument("--log", required=True)
    parser.add_argument("--ready", required=True)
    parser.add_argument("--proxy", action="store_true")
    parser.add_argument("--tls", nargs=2, metavar=("CERT", "KEY"))
    arguments = parser.parse_args()
    try:
        with open(arguments.script, encoding="utf-8") as file:
            script = Script(json.load(file))
        server = Server(script, Log(arguments.log), arguments.proxy, arguments.tls)
    except (OSError, ValueError, ssl.SSLError) as error:
        print(f"mmsc_server: {error}", file=sys.stderr)
        return 2
    threading.Thread(target=leave_with_parent, daemon=True).start()
    write_ready(arguments.ready, server.server_address[1])
    server.serve_forever()
    return 0


if __name__ == "__main__":
    sys.exit(main())
