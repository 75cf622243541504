"""MMS PDUs read and written for the test MMSC, by code of its own: the library's codec is what the
tests check, so it must not be what they check it with.

decode(data) -> {"fields": {NAME: VALUE}, "parts": [PART] or None}, raising PduError (with the
offset) on bytes that do not read. Values:
  X-Mms-Message-Type    its name, "m-send-req"; a number nobody assigned stays a number
  X-Mms-MMS-Version     "MAJOR.MINOR"
  From                  the address, or "#insert" when the MMSC is to insert it
  To, Cc, Bcc           lists of addresses
  Subject and the other encoded strings: the text, decoded from its charset
  Date, Message-Size    numbers
  Expiry, Delivery-Time {"absolute": SECONDS} or {"relative": SECONDS}
  the enumerations      their lower-case names ("yes", "high", "hide", "retrieved", ...)
  Content-Type          {"media": TYPE, "params": {NAME: VALUE}}
  a field of no known number: "0xNN" -> the hex of its value
  a field named in text: its name -> its text
PART: {"content_type", "params", "headers", "size", "sha256", "data_hex" (up to 256 bytes)}.

encode_send_conf(...) writes the m-send.conf the MMSC answers with.
"""

import hashlib

MESSAGE_TYPES = {
    128: "m-send-req", 129: "m-send-conf", 130: "m-notification-ind", 131: "m-notifyresp-ind",
    132: "m-retrieve-conf", 133: "m-acknowledge-ind", 134: "m-delivery-ind",
    135: "m-read-rec-ind", 136: "m-read-orig-ind", 137: "m-forward-req", 138: "m-forward-conf",
    139: "m-mbox-store-req", 140: "m-mbox-store-conf", 141: "m-mbox-view-req",
    142: "m-mbox-view-conf", 143: "m-mbox-upload-req", 144: "m-mbox-upload-conf",
    145: "m-mbox-delete-req", 146: "m-mbox-delete-conf", 147: "m-mbox-descr",
    148: "m-delete-req", 149: "m-delete-conf", 150: "m-cancel-req", 151: "m-cancel-conf",
}

YES_NO = {128: "yes", 129: "no"}
PRIORITY = {128: "low", 129: "normal", 130: "high"}
VISIBILITY = {128: "hide", 129: "show"}
STATUS = {128: "expired", 129: "retrieved", 130: "rejected", 131: "deferred",
          132: "unrecognised", 133: "indeterminate", 134: "forwarded", 135: "unreachable"}
READ_STATUS = {128: "read", 129: "deleted-without-being-read"}
MESSAGE_CLASS = {128: "personal", 129: "advertisement", 130: "informational", 131: "auto"}

CHARSETS = {3: "us-ascii", 4: "iso-8859-1", 5: "iso-8859-2", 6: "iso-8859-3", 7: "iso-8859-4",
            8: "iso-8859-5", 9: "iso-8859-6", 10: "iso-8859-7", 11: "iso-8859-8",
            12: "iso-8859-9", 17: "shift_jis", 18: "euc-jp", 38: "euc-kr", 39: "iso-2022-jp",
            106: "utf-8", 109: "iso-8859-13", 111: "iso-8859-15", 113: "gbk", 114: "gb18030",
            1000: "utf-16-be", 1015: "utf-16", 2025: "gb2312", 2026: "big5"}
# The names under which a charset's number is shown (the codec's name is Python's).
CHARSET_NAMES = {**CHARSETS, 1000: "iso-10646-ucs-2"}

CONTENT_TYPES = [
    "*/*", "text/*", "text/html", "text/plain", "text/x-hdml", "text/x-ttml",
    "text/x-vCalendar", "text/x-vCard", "text/vnd.wap.wml", "text/vnd.wap.wmlscript",
    "text/vnd.wap.wta-event", "multipart/*", "multipart/mixed", "multipart/form-data",
    "multipart/byteranges", "multipart/alternative", "application/*", "application/java-vm",
    "application/x-www-form-urlencoded", "application/x-hdmlc", "application/vnd.wap.wmlc",
    "application/vnd.wap.wmlscriptc", "application/vnd.wap.wta-eventc",
    "application/vnd.wap.uaprof", "application/vnd.wap.wtls-ca-certificate",
    "application/vnd.wap.wtls-user-certificate", "application/x-x509-ca-cert",
    "application/x-x509-user-cert", "image/*", "image/gif", "image/jpeg", "image/tiff",
    "image/png", "image/vnd.wap.wbmp", "application/vnd.wap.multipart.*",
    "application/vnd.wap.multipart.mixed", "application/vnd.wap.multipart.form-data",
    "application/vnd.wap.multipart.byteranges", "application/vnd.wap.multipart.alternative",
    "application/xml", "text/xml", "application/vnd.wap.wbxml",
    "application/x-x968-cross-cert", "application/x-x968-ca-cert",
    "application/x-x968-user-cert", "text/vnd.wap.si", "application/vnd.wap.sic",
    "text/vnd.wap.sl", "application/vnd.wap.slc", "text/vnd.wap.co", "application/vnd.wap.coc",
    "application/vnd.wap.multipart.related", "application/vnd.wap.sia",
    "text/vnd.wap.connectivity-xml", "application/vnd.wap.connectivity-wbxml",
    "application/pkcs7-mime", "application/vnd.wap.hashed-certificate",
    "application/vnd.wap.signed-certificate", "application/vnd.wap.cert-response",
    "application/xhtml+xml", "application/wml+xml", "text/css",
    "application/vnd.wap.mms-message", "application/vnd.wap.rollover-certificate",
]

# Content-type parameters by number: (name, how the value reads). Several names came twice, the
# later number carrying a text value where the earlier one was of another kind.
PARAMETERS = {
    0x00: ("q", "q"), 0x01: ("charset", "charset"), 0x02: ("level", "version"),
    0x03: ("type", "integer"), 0x05: ("name", "text"), 0x06: ("filename", "text"),
    0x07: ("differences", "text"), 0x08: ("padding", "integer"), 0x09: ("type", "media"),
    0x0A: ("start", "text"), 0x0B: ("start-info", "text"), 0x0C: ("comment", "text"),
    0x0D: ("domain", "text"), 0x0E: ("max-age", "integer"), 0x0F: ("path", "text"),
    0x10: ("secure", "none"), 0x11: ("sec", "integer"), 0x12: ("mac", "text"),
    0x13: ("creation-date", "integer"), 0x14: ("modification-date", "integer"),
    0x15: ("read-date", "integer"), 0x16: ("size", "integer"), 0x17: ("name", "text"),
    0x18: ("filename", "text"), 0x19: ("start", "text"), 0x1A: ("start-info", "text"),
    0x1B: ("comment", "text"), 0x1C: ("domain", "text"), 0x1D: ("path", "text"),
}

# The header fields of a part that are read; any other keeps its value's hex.
PART_HEADERS = {0x0E: ("Content-Location", "text"), 0x40: ("Content-ID", "text"),
                0x2E: ("Content-Disposition", "disposition"),
                0x45: ("Content-Disposition", "disposition")}
DISPOSITIONS = {128: "form-data", 129: "attachment", 130: "inline"}


class PduError(ValueError):
    def __init__(self, offset, what):
        super().__init__(f"at offset {offset}: {what}")
        self.offset = offset


class Reader:
    def __init__(self, data, pos=0, end=None):
        self.data = data
        self.pos = pos
        self.end = len(data) if end is None else end

    def at_end(self):
        return self.pos >= self.end

    def fail(self, what):
        raise PduError(self.pos, what)

    def peek(self):
        if self.at_end():
            self.fail("the data ends early")
        return self.data[self.pos]

    def octet(self):
        value = self.peek()
        self.pos += 1
        return value

    def take(self, count, what="value"):
        if count > self.end - self.pos:
            self.fail(f"{what} of {count} bytes runs past the end")
        chunk = self.data[self.pos:self.pos + count]
        self.pos += count
        return chunk

    def sub(self, length, what="value"):
        """A reader of the next `length` bytes, which this one skips."""
        start = self.pos
        self.take(length, what)
        return Reader(self.data, start, start + length)

    def uintvar(self):
        value = 0
        for _ in range(5):
            byte = self.octet()
            value = (value << 7) | (byte & 0x7F)
            if not byte & 0x80:
                return value
        self.fail("a variable-length integer longer than five bytes")

    def value_length(self):
        first = self.octet()
        if first <= 30:
            return first
        if first == 31:
            return self.uintvar()
        self.pos -= 1
        self.fail(f"a value length, not 0x{first:02x}")

    def long_integer(self):
        length = self.octet()
        if length > 30 or length == 0:
            self.pos -= 1
            self.fail(f"a long integer, not a length of {length}")
        return int.from_bytes(self.take(length, "long integer"), "big")

    def integer(self):
        """A short integer (one octet with its top bit set) or a long integer."""
        if self.peek() & 0x80:
            return self.octet() & 0x7F
        return self.long_integer()

    def text_bytes(self):
        start = self.pos
        zero = self.data.find(b"\0", self.pos, self.end)
        if zero < 0:
            self.fail("a text without its terminating zero")
        self.pos = zero + 1
        raw = self.data[start:zero]
        # Neither the quote before a text whose first byte has its top bit set nor the one that
        # opens a quoted string belongs to the text.
        if raw[:1] in (b"\x7f", b'"'):
            raw = raw[1:]
        return raw

    def text(self, charset="utf-8"):
        raw = self.text_bytes()
        try:
            return raw.decode(charset)
        except (UnicodeDecodeError, LookupError):
            self.fail(f"text that is not {charset}")

    def encoded_string(self):
        if _is_text(self.peek()):
            return self.text()
        inner = self.sub(self.value_length(), "encoded string")
        charset = inner.charset_number()
        return inner.text(CHARSETS.get(charset, "utf-8"))

    def charset_number(self):
        if self.peek() == 128:  # any charset: nothing better to decode with
            self.octet()
            return 106
        return self.integer()

    def skip_value(self):
        """The bytes of a value of unknown kind, told by its first octet alone."""
        start = self.pos
        first = self.peek()
        if first <= 31:
            self.take(self.value_length())
        elif first < 128:
            self.text_bytes()
        else:
            self.octet()
        return self.data[start:self.pos]


def _enumerated(table):
    """Reads one octet as its name in `table`; a number of no name stays a number."""
    def read(r):
        value = r.octet()
        return table.get(value, value)
    return read


def _is_text(octet):
    """Whether a value starting with `octet` is a text (an empty one is a lone zero)."""
    return octet == 0 or 32 <= octet < 128


def _version(r):
    value = r.octet() & 0x7F
    minor = value & 0x0F
    return f"{value >> 4}.{minor}" if minor != 0x0F else str(value >> 4)


def _from(r):
    inner = r.sub(r.value_length(), "From")
    token = inner.octet()
    if token == 129:
        return "#insert"
    if token != 128:
        inner.pos -= 1
        inner.fail(f"an address token, not 0x{token:02x}")
    return inner.encoded_string()


def _time(r):
    inner = r.sub(r.value_length(), "time")
    token = inner.octet()
    if token not in (128, 129):
        inner.pos -= 1
        inner.fail(f"an absolute or relative token, not 0x{token:02x}")
    return {"absolute" if token == 128 else "relative": inner.long_integer()}


def _message_class(r):
    if r.peek() & 0x80:
        return _enumerated(MESSAGE_CLASS)(r)
    return r.text()


def _content_type(r):
    if r.peek() & 0x80:
        return {"media": _media_name(r.octet() & 0x7F), "params": {}}
    if r.peek() > 31:
        return {"media": r.text(), "params": {}}
    inner = r.sub(r.value_length(), "content type")
    media = _media_name(inner.integer()) if inner.peek() & 0x80 or inner.peek() <= 30 \
        else inner.text()
    params = {}
    while not inner.at_end():
        name, value = _parameter(inner)
        params[name] = value
    return {"media": media, "params": params}


def _media_name(number):
    return CONTENT_TYPES[number] if number < len(CONTENT_TYPES) else f"0x{number:02x}"


def _parameter(r):
    if _is_text(r.peek()):
        name = r.text()
        return name, r.text() if _is_text(r.peek()) else r.integer()
    number = r.integer()
    name, kind = PARAMETERS.get(number, (f"0x{number:02x}", "raw"))
    if kind == "charset":
        if _is_text(r.peek()):
            return name, r.text()
        charset = r.charset_number()
        return name, CHARSET_NAMES.get(charset, charset)
    if kind == "media":
        return name, r.text() if _is_text(r.peek()) else _media_name(r.integer())
    if kind == "text":
        return name, r.text()
    if kind == "integer":
        return name, r.integer()
    if kind == "q":
        return name, r.uintvar()
    if kind == "version":
        return name, _version(r) if r.peek() & 0x80 else r.text()
    if kind == "none":
        r.take(1, "no value")
        return name, None
    return name, r.skip_value().hex()


# Header fields by number: (name, reader, whether it may come more than once).
FIELDS = {
    0x01: ("Bcc", Reader.encoded_string, True),
    0x02: ("Cc", Reader.encoded_string, True),
    0x03: ("X-Mms-Content-Location", Reader.text, False),
    0x04: ("Content-Type", _content_type, False),
    0x05: ("Date", Reader.long_integer, False),
    0x06: ("X-Mms-Delivery-Report", _enumerated(YES_NO), False),
    0x07: ("X-Mms-Delivery-Time", _time, False),
    0x08: ("X-Mms-Expiry", _time, False),
    0x09: ("From", _from, False),
    0x0A: ("X-Mms-Message-Class", _message_class, False),
    0x0B: ("Message-ID", Reader.text, False),
    0x0C: ("X-Mms-Message-Type", _enumerated(MESSAGE_TYPES), False),
    0x0D: ("X-Mms-MMS-Version", _version, False),
    0x0E: ("X-Mms-Message-Size", Reader.long_integer, False),
    0x0F: ("X-Mms-Priority", _enumerated(PRIORITY), False),
    0x10: ("X-Mms-Read-Report", _enumerated(YES_NO), False),
    0x11: ("X-Mms-Report-Allowed", _enumerated(YES_NO), False),
    0x12: ("X-Mms-Response-Status", Reader.octet, False),
    0x13: ("X-Mms-Response-Text", Reader.encoded_string, False),
    0x14: ("X-Mms-Sender-Visibility", _enumerated(VISIBILITY), False),
    0x15: ("X-Mms-Status", _enumerated(STATUS), False),
    0x16: ("Subject", Reader.encoded_string, False),
    0x17: ("To", Reader.encoded_string, True),
    0x18: ("X-Mms-Transaction-ID", Reader.text, False),
    0x19: ("X-Mms-Retrieve-Status", Reader.octet, False),
    0x1A: ("X-Mms-Retrieve-Text", Reader.encoded_string, False),
    0x1B: ("X-Mms-Read-Status", _enumerated(READ_STATUS), False),
}


def decode(data):
    """The fields and, for a multipart body, the parts of the PDU `data` (bytes)."""
    r = Reader(bytes(data))
    if r.at_end():
        r.fail("an empty PDU")
    if r.peek() != 0x8C:
        r.fail(f"the message type first, not 0x{r.peek():02x}")
    fields = {}
    content_type = None
    while not r.at_end():
        start = r.pos
        first = r.octet()
        if not first & 0x80:
            r.pos = start
            name = r.text()
            fields[name] = r.text()
            continue
        number = first & 0x7F
        known = FIELDS.get(number)
        if known is None:
            fields[f"0x{number:02x}"] = r.skip_value().hex()
            continue
        name, read, repeated = known
        value = read(r)
        if repeated:
            fields.setdefault(name, []).append(value)
        else:
            fields[name] = value
        if number == 0x04:
            content_type = value
            break
    parts = None
    if content_type and content_type["media"].startswith("application/vnd.wap.multipart."):
        parts = _multipart(r)
    return {"fields": fields, "parts": parts}


def _multipart(r):
    parts = []
    for _ in range(r.uintvar()):
        headers_length = r.uintvar()
        data_length = r.uintvar()
        headers = r.sub(headers_length, "part headers")
        content_type = _content_type(headers)
        part_headers = {}
        while not headers.at_end():
            name, value = _part_header(headers)
            part_headers[name] = value
        data = r.take(data_length, "part data")
        part = {"content_type": content_type["media"], "params": content_type["params"],
                "headers": part_headers, "size": len(data),
                "sha256": hashlib.sha256(data).hexdigest()}
        if len(data) <= 256:
            part["data_hex"] = data.hex()
        parts.append(part)
    if not r.at_end():
        r.fail(f"{r.end - r.pos} bytes after the last part")
    return parts


def _part_header(r):
    if not r.peek() & 0x80:
        return r.text(), r.text()
    number = r.octet() & 0x7F
    name, kind = PART_HEADERS.get(number, (f"0x{number:02x}", "raw"))
    if kind == "text":
        return name, r.text()
    if kind == "disposition":
        inner = r.sub(r.value_length(), name)
        if inner.peek() & 0x80:
            disposition = _enumerated(DISPOSITIONS)(inner)
        else:
            disposition = inner.text()
        params = {}
        while not inner.at_end():
            key, value = _parameter(inner)
            params[key] = value
        return name, {"disposition": disposition, "params": params}
    return name, r.skip_value().hex()


def _text_string(text):
    raw = text.encode("utf-8")
    if raw[:1] and raw[0] >= 0x80:
        raw = b"\x7f" + raw
    return raw + b"\0"


def _encoded_string(text):
    if text.isascii():
        return _text_string(text)
    inner = bytes([0x80 | 106]) + _text_string(text)
    return (bytes([len(inner)]) if len(inner) <= 30 else b"\x1f" + _uintvar(len(inner))) + inner


def _uintvar(value):
    out = [value & 0x7F]
    value >>= 7
    while value:
        out.append(0x80 | (value & 0x7F))
        value >>= 7
    return bytes(reversed(out))


def encode_send_conf(status, transaction_id=None, text=None, message_id=None):
    """An m-send.conf (version 1.2) with the response `status`; the optional fields only given."""
    out = bytearray(b"\x8c\x81")
    if transaction_id is not None:
        out += b"\x98" + _text_string(transaction_id)
    out += b"\x8d\x92\x92" + bytes([status & 0xFF])
    if text is not None:
        out += b"\x93" + _encoded_string(text)
    if message_id is not None:
        out += b"\x8b" + _text_string(message_id)
    return bytes(out)
