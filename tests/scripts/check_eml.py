#!/usr/bin/env python3
"""Reads exported mail messages with Python's own MIME parser and checks them against what they
were made from.

Usage: check_eml.py DIRECTORY

Each NAME.eml in DIRECTORY is checked against NAME.json:

    {"headers": {"subject": TEXT, "from": [[NAME, ADDRESS]], "to": [...], "cc": [...],
                 "absent": [FIELD, ...]},
     "body": PART}

where a PART is {"type": MEDIA TYPE, "params": {NAME: VALUE}, "filename": NAME,
"text": TEXT or "data": BASE64, "parts": [PART, ...]}, every member but "type" optional. The
message must parse without defects, with CRLF line breaks and header lines of at most 78
columns.

Each NAME.mbox in DIRECTORY is read with Python's mailbox module and checked against NAME.json,
{"messages": [MESSAGE, ...]}, each MESSAGE as an .eml's NAME.json holds it, in the file's order:
LF line breaks, each message's From line "From ADDRESS DATE" with an asctime() date, and each
message, once the mboxrd quoting of its "From " lines is undone, as an .eml file is checked (but
for its line breaks).

Prints one line for each mismatch and exits with 1 when there is one.
"""

import base64
import email
import email.policy
import json
import mailbox
import pathlib
import re
import sys


def header_lines(data):
    return data.split(b"\r\n\r\n", 1)[0].split(b"\r\n")


def check_lines(name, data, problems):
    if data.replace(b"\r\n", b"").count(b"\n") or data.replace(b"\r\n", b"").count(b"\r"):
        problems.append(f"{name}: a line break that is not CRLF")
    for line in header_lines(data):
        if len(line) > 78:
            problems.append(f"{name}: header line of {len(line)} columns: {line!r}")
        if any(octet > 127 for octet in line):
            problems.append(f"{name}: header line beyond ASCII: {line!r}")


def addresses(header):
    if header is None:
        return None
    return [[a.display_name, a.addr_spec] for a in header.addresses]


def check_headers(name, message, expected, problems):
    if "subject" in expected and str(message["subject"]) != expected["subject"]:
        problems.append(f"{name}: subject {str(message['subject'])!r}, "
                        f"expected {expected['subject']!r}")
    for field in ("from", "to", "cc", "bcc"):
        if field in expected and addresses(message[field]) != expected[field]:
            problems.append(f"{name}: {field} {addresses(message[field])!r}, "
                            f"expected {expected[field]!r}")
    for field in expected.get("absent", []):
        if message[field] is not None:
            problems.append(f"{name}: {field} is there: {message[field]!r}")
    for field in ("message-id", "mime-version", "content-type"):
        if message[field] is None:
            problems.append(f"{name}: no {field}")


def lines_of(text):
    return text.replace("\r\n", "\n").replace("\r", "\n")


def check_part(name, part, expected, problems):
    if part.defects:
        problems.append(f"{name}: defects {part.defects!r}")
    if part.get_content_type() != expected["type"]:
        problems.append(f"{name}: type {part.get_content_type()}, expected {expected['type']}")
        return
    for key, value in expected.get("params", {}).items():
        if part.get_param(key) != value:
            problems.append(f"{name}: parameter {key} {part.get_param(key)!r}, expected {value!r}")
    if "filename" in expected and part.get_filename() != expected["filename"]:
        problems.append(f"{name}: filename {part.get_filename()!r}, "
                        f"expected {expected['filename']!r}")
    if "text" in expected:
        content = part.get_content()
        # A message that is one text ends with a line break of its own.
        if lines_of(content).rstrip("\n") != lines_of(expected["text"]).rstrip("\n"):
            problems.append(f"{name}: text {content!r}, expected {expected['text']!r}")
    if "data" in expected and part.get_payload(decode=True) != base64.b64decode(expected["data"]):
        problems.append(f"{name}: data differs")
    if "parts" in expected:
        parts = list(part.iter_parts())
        if len(parts) != len(expected["parts"]):
            problems.append(f"{name}: {len(parts)} parts, expected {len(expected['parts'])}")
            return
        for index, (inner, wanted) in enumerate(zip(parts, expected["parts"])):
            check_part(f"{name} part {index + 1}", inner, wanted, problems)


FROM_LINE = re.compile(r"^\S+ (Mon|Tue|Wed|Thu|Fri|Sat|Sun) "
                       r"(Jan|Feb|Mar|Apr|May|Jun|Jul|Aug|Sep|Oct|Nov|Dec) "
                       r"[ \d]\d \d\d:\d\d:\d\d \d{4}$")


def check_message(name, data, expected, problems):
    message = email.message_from_bytes(data, policy=email.policy.default)
    check_headers(name, message, expected.get("headers", {}), problems)
    check_part(name, message, expected["body"], problems)


def check_mbox(path, expected, problems):
    data = path.read_bytes()
    if b"\r" in data:
        problems.append(f"{path.name}: a CR in an mbox file")
    box = mailbox.mbox(str(path), create=False)
    keys = list(box.keys())
    if len(keys) != len(expected["messages"]):
        problems.append(f"{path.name}: {len(keys)} messages, expected {len(expected['messages'])}")
        return
    for index, (key, wanted) in enumerate(zip(keys, expected["messages"])):
        name = f"{path.name} message {index + 1}"
        from_line = box.get_message(key).get_from()
        if not FROM_LINE.match(from_line):
            problems.append(f"{name}: From line {from_line!r}")
        # mboxrd: one ">" comes off each quoted "From " line.
        unquoted = re.sub(rb"(?m)^>(>*From )", rb"\1", box.get_bytes(key))
        check_message(name, unquoted, wanted, problems)


def main():
    folder = pathlib.Path(sys.argv[1])
    problems = []
    checked = 0
    for path in sorted(folder.glob("*.eml")):
        data = path.read_bytes()
        expected = json.loads(path.with_suffix(".json").read_text(encoding="utf-8"))
        check_lines(path.name, data, problems)
        check_message(path.name, data, expected, problems)
        checked += 1
    for path in sorted(folder.glob("*.mbox")):
        check_mbox(path, json.loads(path.with_suffix(".json").read_text(encoding="utf-8")),
                   problems)
        checked += 1
    for problem in problems:
        print(problem)
    if checked == 0:
        print(f"no messages in {folder}")
        return 1
    return 1 if problems else 0


if __name__ == "__main__":
    sys.exit(main())
