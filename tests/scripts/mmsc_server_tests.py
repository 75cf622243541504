"""Tests of the test MMSC (tests/support/mmsc_server.py) and its PDU decoder (mmsc_pdu.py).

  mmsc_server_tests.py MMSUTIL [unittest arguments]

MMSUTIL is the built tool, whose m-send.req the decoder must read.
"""

import hashlib
import http.client
import json
import os
import socket
import ssl
import subprocess
import sys
import tempfile
import threading
import time
import unittest

SUPPORT = os.path.join(os.path.dirname(os.path.abspath(__file__)), os.pardir, "support")
sys.path.insert(0, SUPPORT)
import mmsc_pdu  # noqa: E402

MMSUTIL = None
CERT = os.path.join(SUPPORT, "mmsc_test_cert.pem")
KEY = os.path.join(SUPPORT, "mmsc_test_key.pem")


def text(value):
    return value.encode() + b"\0"


class DecoderTest(unittest.TestCase):
    def test_send_req_reads_every_field_and_its_parts(self):
        smil = b"<smil/>"
        image = bytes(range(256)) * 2
        part_headers = (b"\x03\x83\x81\xea"  # general form: text/plain; charset=utf-8
                        + b"\x8e" + text("hello.txt") + b"\xc0" + text('"<t1>'))
        smil_headers = b"application/smil\0" + b"\x8e" + text("s.smil")
        disposition = b"\x81\x98" + text("cat.png")  # attachment; filename=cat.png
        image_headers = b"\xa0\xc5" + bytes([len(disposition)]) + disposition
        body = (b"\x03"
                + bytes([len(smil_headers), len(smil)]) + smil_headers + smil
                + bytes([len(part_headers), 5]) + part_headers + b"Hello"
                + bytes([len(image_headers)]) + b"\x84\x00" + image_headers + image)
        subject = "Grüße".encode()
        content_type = b"\xb3\x89" + text("application/smil") + b"\x8a" + text("<s>")
        pdu = (b"\x8c\x80" + b"\x98" + text("T-42") + b"\x8d\x92"
               + b"\x85\x04\x5f\x00\x00\x00"  # Date
               + b"\x89\x01\x81"  # From: insert
               + b"\x97" + text("+15550101/TYPE=PLMN") + b"\x97" + text("ann@example.com")
               + b"\x82" + text("+15550102/TYPE=PLMN") + b"\x81" + text("bob@example.com")
               + b"\x96" + bytes([len(subject) + 2, 0xea]) + subject + b"\0"
               + b"\x8a\x80" + b"\x88\x05\x81\x03\x09\x3a\x80"  # class personal, expiry 604800 s
               + b"\x87\x07\x80\x05\x5f\x00\x00\x00\x10"  # delivery time, absolute
               + b"\x86\x80\x90\x81\x8f\x82\x94\x80"
               + b"\x84" + bytes([len(content_type)]) + content_type + body)

        decoded = mmsc_pdu.decode(pdu)

        self.assertEqual(decoded["fields"], {
            "X-Mms-Message-Type": "m-send-req", "X-Mms-Transaction-ID": "T-42",
            "X-Mms-MMS-Version": "1.2", "Date": 0x5f000000, "From": "#insert",
            "To": ["+15550101/TYPE=PLMN", "ann@example.com"], "Cc": ["+15550102/TYPE=PLMN"],
            "Bcc": ["bob@example.com"], "Subject": "Grüße", "X-Mms-Message-Class": "personal",
            "X-Mms-Expiry": {"relative": 604800},
            "X-Mms-Delivery-Time": {"absolute": 0x5f00000010},
            "X-Mms-Delivery-Report": "yes", "X-Mms-Read-Report": "no",
            "X-Mms-Priority": "high", "X-Mms-Sender-Visibility": "hide",
            "Content-Type": {"media": "application/vnd.wap.multipart.related",
                             "params": {"type": "application/smil", "start": "<s>"}}})
        parts = decoded["parts"]
        self.assertEqual([p["content_type"] for p in parts],
                         ["application/smil", "text/plain", "image/png"])
        self.assertEqual(parts[0]["headers"], {"Content-Location": "s.smil"})
        self.assertEqual(parts[1]["params"], {"charset": "utf-8"})
        self.assertEqual(parts[1]["headers"],
                         {"Content-Location": "hello.txt", "Content-ID": "<t1>"})
        self.assertEqual(parts[1]["data_hex"], b"Hello".hex())
        self.assertEqual(parts[2]["headers"], {"Content-Disposition": {
            "disposition": "attachment", "params": {"filename": "cat.png"}}})
        self.assertEqual(parts[2]["size"], 512)
        self.assertEqual(parts[2]["sha256"], hashlib.sha256(image).hexdigest())
        self.assertNotIn("data_hex", parts[2])

    def test_notifyresp_ind(self):
        decoded = mmsc_pdu.decode(b"\x8c\x83\x98" + text("T-1") + b"\x8d\x92\x95\x81\x91\x81")
        self.assertEqual(decoded, {"fields": {
            "X-Mms-Message-Type": "m-notifyresp-ind", "X-Mms-Transaction-ID": "T-1",
            "X-Mms-MMS-Version": "1.2", "X-Mms-Status": "retrieved",
            "X-Mms-Report-Allowed": "no"}, "parts": None})

    def test_acknowledge_ind(self):
        decoded = mmsc_pdu.decode(b"\x8c\x85\x98" + text("T-2") + b"\x8d\x90\x91\x80")
        self.assertEqual(decoded["fields"], {
            "X-Mms-Message-Type": "m-acknowledge-ind", "X-Mms-Transaction-ID": "T-2",
            "X-Mms-MMS-Version": "1.0", "X-Mms-Report-Allowed": "yes"})

    def test_read_rec_ind_with_a_present_sender(self):
        sender = text("+15550103/TYPE=PLMN")
        decoded = mmsc_pdu.decode(
            b"\x8c\x87\x8d\x92\x8b" + text("M-9") + b"\x97" + text("+15550104/TYPE=PLMN")
            + b"\x89" + bytes([len(sender) + 1, 0x80]) + sender + b"\x85\x01\x7f\x9b\x81")
        self.assertEqual(decoded["fields"], {
            "X-Mms-Message-Type": "m-read-rec-ind", "X-Mms-MMS-Version": "1.2",
            "Message-ID": "M-9", "To": ["+15550104/TYPE=PLMN"], "From": "+15550103/TYPE=PLMN",
            "Date": 127, "X-Mms-Read-Status": "deleted-without-being-read"})

    def test_notification_ind_and_a_field_of_no_known_number(self):
        decoded = mmsc_pdu.decode(
            b"\x8c\x82\x98" + text("T-3") + b"\x8d\x93\x8a" + text("custom")
            + b"\x8e\x02\x30\x39" + b"\x88\x05\x81\x03\x01\x51\x80"
            + b"\x83" + text("http://mmsc.invalid/m/3") + b"\xbd\x03abc" + b"\xba\x80")
        self.assertEqual(decoded["fields"], {
            "X-Mms-Message-Type": "m-notification-ind", "X-Mms-Transaction-ID": "T-3",
            "X-Mms-MMS-Version": "1.3", "X-Mms-Message-Class": "custom",
            "X-Mms-Message-Size": 12345, "X-Mms-Expiry": {"relative": 86400},
            "X-Mms-Content-Location": "http://mmsc.invalid/m/3", "0x3d": "03616263",
            "0x3a": "80"})

    def test_an_empty_subject_is_an_empty_text(self):
        decoded = mmsc_pdu.decode(b"\x8c\x80\x96\x00\x84\x8e")
        self.assertEqual(decoded["fields"]["Subject"], "")
        self.assertEqual(decoded["fields"]["Content-Type"],
                         {"media": "multipart/byteranges", "params": {}})

    def test_send_conf_as_the_server_writes_it(self):
        conf = mmsc_pdu.encode_send_conf(0x88, "T-4", "Überlastet", "M-4")
        self.assertEqual(mmsc_pdu.decode(conf)["fields"], {
            "X-Mms-Message-Type": "m-send-conf", "X-Mms-Transaction-ID": "T-4",
            "X-Mms-MMS-Version": "1.2", "X-Mms-Response-Status": 0x88,
            "X-Mms-Response-Text": "Überlastet", "Message-ID": "M-4"})
        self.assertEqual(mmsc_pdu.encode_send_conf(0x80), b"\x8c\x81\x8d\x92\x92\x80")

    def test_bytes_that_do_not_read_are_refused_with_where(self):
        cases = {
            b"": "empty",
            b"\x98T\0": "message type first",
            b"\x8c\x80\x98T-1": "terminating zero",
            b"\x8c\x80\x89\x05\x81": "runs past the end",
            b"\x8c\x80\x89\x01\x82": "address token",
            b"\x8c\x80\x84\xa3\x01\x01\x09\x83hi": "runs past the end",
            b"\x8c\x80\x84\xa3\x01\x01\x02\x83hi!": "after the last part",
        }
        for data, why in cases.items():
            with self.subTest(data=data.hex()):
                with self.assertRaises(mmsc_pdu.PduError) as raised:
                    mmsc_pdu.decode(data)
                self.assertIn(why, str(raised.exception))

    def test_send_req_of_the_tool(self):
        with tempfile.TemporaryDirectory() as work:
            environment = dict(os.environ, TAV_PLATFORM_DIR=os.path.join(work, "platform"),
                               TAV_LOCAL_DOWNLOAD_PATH=os.path.join(work, "download"),
                               XDG_DATA_HOME=os.path.join(work, "data"), TZ="UTC")

            def tool(*arguments):
                done = subprocess.run([MMSUTIL, *arguments], cwd=work, env=environment,
                                      capture_output=True, timeout=60)
                self.assertEqual(done.returncode, 0, done.stderr)
                return done.stdout

            kept = tool("compose", "--to", "+15550101", "--cc", "ann@example.com", "--subject",
                        "Grüße", "--text", "Hello")
            request = tool("pdu", "send-req", kept.split()[0].decode())

        decoded = mmsc_pdu.decode(request)
        fields = decoded["fields"]
        self.assertEqual(fields["X-Mms-Message-Type"], "m-send-req")
        self.assertEqual(fields["X-Mms-MMS-Version"], "1.2")
        self.assertTrue(fields["X-Mms-Transaction-ID"])
        self.assertEqual(fields["From"], "#insert")
        self.assertEqual(fields["To"], ["+15550101/TYPE=PLMN"])
        self.assertEqual(fields["Cc"], ["ann@example.com"])
        self.assertEqual(fields["Subject"], "Grüße")
        self.assertEqual(fields["Content-Type"]["media"], "application/vnd.wap.multipart.related")
        texts = [p for p in decoded["parts"] if p["content_type"] == "text/plain"]
        self.assertEqual([p.get("data_hex") for p in texts], [b"Hello".hex()])


class Server:
    """The MMSC run as the tests run it, with `script`; stopped by close()."""

    def __init__(self, script, *options):
        self.dir = tempfile.TemporaryDirectory()
        path = self.dir.name
        with open(os.path.join(path, "script.json"), "w", encoding="utf-8") as file:
            json.dump(script, file)
        self.log = os.path.join(path, "log.jsonl")
        ready = os.path.join(path, "port")
        self.process = subprocess.Popen(
            [sys.executable, "-S", os.path.join(SUPPORT, "mmsc_server.py"), "--script",
             os.path.join(path, "script.json"), "--log", self.log, "--ready", ready, *options],
            stderr=subprocess.PIPE)
        deadline = time.monotonic() + 10
        while not os.path.exists(ready):
            if self.process.poll() is not None or time.monotonic() > deadline:
                self.process.kill()
                why = self.process.stderr.read().decode()
                self.close()
                raise RuntimeError(why)
            time.sleep(0.005)
        with open(ready, encoding="ascii") as file:
            self.port = int(file.read())

    def close(self):
        self.process.kill()
        self.process.wait()
        self.process.stderr.close()
        self.dir.cleanup()

    def requests(self):
        with open(self.log, encoding="utf-8") as file:
            return [json.loads(line) for line in file]


class ServerTest(unittest.TestCase):
    def serve(self, script, *options):
        server = Server(script, *options)
        self.addCleanup(server.close)
        return server

    def connect(self, server, context=None):
        if context is None:
            connection = http.client.HTTPConnection("127.0.0.1", server.port, timeout=10)
        else:
            connection = http.client.HTTPSConnection("127.0.0.1", server.port, timeout=10,
                                                     context=context)
        self.addCleanup(connection.close)
        return connection

    def test_steps_in_order_then_after_on_one_connection(self):
        server = self.serve({"steps": [{"status": 201}, {"status": 202}], "after": {"status": 404}})
        connection = self.connect(server)
        statuses = []
        for index in range(4):
            connection.request("GET", f"/m/{index}")
            response = connection.getresponse()
            response.read()
            statuses.append(response.status)
        self.assertEqual(statuses, [201, 202, 404, 404])
        self.assertEqual([r["step"] for r in server.requests()], [0, 1, -1, -1])

    def test_logs_the_request_and_answers_a_send_conf_with_its_transaction_id(self):
        server = self.serve({"steps": [{"send_conf": {"status": 128, "message_id": "M-1"}}]})
        connection = self.connect(server)
        request = b"\x8c\x80\x98" + text("T-77") + b"\x8d\x92\x89\x01\x81\x97" + text("+1555")
        connection.request("POST", "/mms?x=1", body=request,
                           headers={"Content-Type": "application/vnd.wap.mms-message"})
        response = connection.getresponse()
        self.assertEqual(response.getheader("Content-Type"), "application/vnd.wap.mms-message")
        self.assertEqual(mmsc_pdu.decode(response.read())["fields"], {
            "X-Mms-Message-Type": "m-send-conf", "X-Mms-Transaction-ID": "T-77",
            "X-Mms-MMS-Version": "1.2", "X-Mms-Response-Status": 128, "Message-ID": "M-1"})
        logged, = server.requests()
        self.assertEqual(logged["method"], "POST")
        self.assertEqual(logged["target"], "/mms?x=1")
        self.assertEqual(logged["path"], "/mms")
        self.assertEqual(logged["host"], f"127.0.0.1:{server.port}")
        self.assertEqual(logged["headers"]["content-type"], "application/vnd.wap.mms-message")
        self.assertEqual(logged["body_hex"], request.hex())
        self.assertEqual(logged["body_size"], len(request))
        self.assertEqual(logged["pdu"]["fields"]["To"], ["+1555"])
        self.assertIsNone(logged["pdu_error"])
        self.assertFalse(logged["proxied"])

    def test_body_file_with_extra_headers(self):
        with tempfile.NamedTemporaryFile() as body:
            body.write(b"\x8c\x84")
            body.flush()
            server = self.serve({"steps": [{"body_file": body.name, "status": 302,
                                            "headers": {"Location": "file:///etc/passwd"}}]})
            connection = self.connect(server)
            connection.request("GET", "/m/1")
            response = connection.getresponse()
            self.assertEqual(response.status, 302)
            self.assertEqual(response.getheader("Location"), "file:///etc/passwd")
            self.assertEqual(response.read(), b"\x8c\x84")

    def test_delay_holds_up_no_other_connection(self):
        server = self.serve({"steps": [{"delay": 1.0}, {"status": 204}]})
        slow = self.connect(server)
        started = time.monotonic()
        slow.request("GET", "/slow")
        while not os.path.getsize(server.log):
            time.sleep(0.005)
        fast = self.connect(server)
        fast.request("GET", "/fast")
        self.assertEqual(fast.getresponse().status, 204)
        fast_answered = time.monotonic() - started
        self.assertEqual(slow.getresponse().status, 200)
        self.assertLess(fast_answered, 0.9)
        self.assertGreaterEqual(time.monotonic() - started, 1.0)

    def test_truncate_closes_short_of_the_content_length(self):
        server = self.serve({"steps": [{"body_hex": "00" * 100, "truncate": 10}]})
        connection = self.connect(server)
        connection.request("GET", "/m/1")
        response = connection.getresponse()
        self.assertEqual(response.getheader("Content-Length"), "100")
        with self.assertRaises(http.client.IncompleteRead) as raised:
            response.read()
        self.assertEqual(len(raised.exception.partial), 10)

    def test_chunked_has_no_content_length(self):
        body = bytes(range(256)) * 10
        server = self.serve({"steps": [{"body_hex": body.hex(), "chunked": True}]})
        connection = self.connect(server)
        connection.request("GET", "/m/1")
        response = connection.getresponse()
        self.assertTrue(response.chunked)
        self.assertIsNone(response.getheader("Content-Length"))
        self.assertEqual(response.read(), body)

    def test_drop_closes_without_an_answer(self):
        server = self.serve({"steps": [{"drop": True}]})
        connection = self.connect(server)
        connection.request("POST", "/mms", body=b"\x8c\x83")
        with self.assertRaises(http.client.RemoteDisconnected):
            connection.getresponse()
        self.assertEqual(len(server.requests()), 1)

    def test_proxy_refuses_an_origin_form_target(self):
        server = self.serve({"steps": [{"status": 202}]}, "--proxy")
        connection = self.connect(server)
        connection.request("POST", "/mms", body=b"\x8c\x83")
        refused = connection.getresponse()
        refused.read()
        connection.request("POST", "http://mmsc.invalid/mms", body=b"\x8c\x83")
        served = connection.getresponse()
        self.assertEqual((refused.status, served.status), (400, 202))
        first, second = server.requests()
        self.assertEqual((first["proxied"], first["step"]), (False, None))
        self.assertEqual((second["proxied"], second["step"]), (True, 0))
        self.assertEqual(second["target"], "http://mmsc.invalid/mms")
        self.assertEqual(second["path"], "/mms")

    def test_tls_with_the_committed_certificate(self):
        server = self.serve({"steps": [{"status": 201}]}, "--tls", CERT, KEY)
        context = ssl.create_default_context(cafile=CERT)
        connection = self.connect(server, context)
        connection.request("GET", "/m/1")
        self.assertEqual(connection.getresponse().status, 201)
        untrusting = self.connect(server, ssl.create_default_context())
        with self.assertRaises(ssl.SSLCertVerificationError):
            untrusting.request("GET", "/m/2")

    def test_a_bad_script_is_refused_before_the_server_listens(self):
        for script, why in [({"steps": [{"stauts": 500}]}, "stauts"),
                            ({"steps": [{"body_hex": "zz"}]}, "not hex"),
                            ({"steps": [], "befor": {}}, "befor"),
                            ({"steps": [{"delay": "1"}]}, "delay cannot be a str")]:
            with self.subTest(why=why):
                with self.assertRaises(RuntimeError) as raised:
                    Server(script)
                self.assertIn(why, str(raised.exception))

    def test_starts_well_under_a_second(self):
        started = time.monotonic()
        self.serve({})
        self.assertLess(time.monotonic() - started, 1.0)


if __name__ == "__main__":
    if len(sys.argv) < 2:
        sys.exit("usage: mmsc_server_tests.py MMSUTIL [unittest arguments]")
    MMSUTIL = sys.argv.pop(1)
    unittest.main()
