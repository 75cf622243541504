#ifndef TAVMMS_PDU_HEADER_FIELD_H
#define TAVMMS_PDU_HEADER_FIELD_H

// The header fields of MMS PDUs: each field's number, its name and the encoding of its value, and
// the value read into plain members.

#include "content_type.h"
#include "tavmms_global.h"
#include "wsp_reader.h"
#include "wsp_writer.h"

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <optional>

namespace tavmms::pdu
{

// The numbers of the MMS header fields (without the high bit they carry in a PDU).
enum class Field : quint8 {
    Bcc = 0x01,
    Cc = 0x02,
    ContentLocation = 0x03,
    ContentType = 0x04,
    Date = 0x05,
    DeliveryReport = 0x06,
    DeliveryTime = 0x07,
    Expiry = 0x08,
    From = 0x09,
    MessageClass = 0x0A,
    MessageId = 0x0B,
    MessageType = 0x0C,
    MmsVersion = 0x0D,
    MessageSize = 0x0E,
    Priority = 0x0F,
    ReadReport = 0x10,
    ReportAllowed = 0x11,
    ResponseStatus = 0x12,
    ResponseText = 0x13,
    SenderVisibility = 0x14,
    Status = 0x15,
    Subject = 0x16,
    To = 0x17,
    TransactionId = 0x18,
    RetrieveStatus = 0x19,
    RetrieveText = 0x1A,
    ReadStatus = 0x1B,
    ReplyCharging = 0x1C,
    ReplyChargingDeadline = 0x1D,
    ReplyChargingId = 0x1E,
    ReplyChargingSize = 0x1F,
    PreviouslySentBy = 0x20,
    PreviouslySentDate = 0x21,
    Store = 0x22,
    MmState = 0x23,
    MmFlags = 0x24,
    StoreStatus = 0x25,
    StoreStatusText = 0x26,
    Stored = 0x27,
    Attributes = 0x28,
    Totals = 0x29,
    MboxTotals = 0x2A,
    Quotas = 0x2B,
    MboxQuotas = 0x2C,
    MessageCount = 0x2D,
    Content = 0x2E,
    Start = 0x2F,
    AdditionalHeaders = 0x30,
    DistributionIndicator = 0x31,
    ElementDescriptor = 0x32,
    Limit = 0x33,
    RecommendedRetrievalMode = 0x34,
    RecommendedRetrievalModeText = 0x35,
    StatusText = 0x36,
    ApplicId = 0x37,
    ReplyApplicId = 0x38,
    AuxApplicInfo = 0x39,
    ContentClass = 0x3A,
    DrmContent = 0x3B,
    AdaptationAllowed = 0x3C,
    ReplaceId = 0x3D,
    CancelId = 0x3E,
    CancelStatus = 0x3F,
};

// How a field's value is encoded, and so which members of HeaderField hold it.
enum class ValueType {
    Octet,        // number: one octet (Yes 128, No 129, a priority, a status)
    Version,      // number: a short integer, major version in the high nibble
    LongInteger,  // number: a date in seconds since 1970 or a size
    Integer,      // number: a short or long integer
    Text,         // text: a text string (an id, a URI)
    EncodedText,  // text, charset: an encoded string (an address, a subject)
    Time,         // number, relative: an absolute date or seconds from now
    From,         // insertAddress, or text and charset
    ClassOrToken, // number (128 Personal to 131 Auto), or text: a token
    ContentType,  // contentType
    CountedText,  // tag: the count; text, charset
    CountedDate,  // tag: the count; number: the date
    TaggedText,   // tag: 128 Add, 129 Remove, 130 Filter; text, charset
    TaggedNumber, // tag: 128 messages, 129 size; number
    Raw,          // raw: the value as it was carried
};

// The name of field `code` ("X-Mms-Message-Type"); empty for a number the codec does not know.
TAVMMS_EXPORT QString fieldName(quint8 code);
// The encoding of field `code`'s value; Raw for one the codec does not know.
TAVMMS_EXPORT ValueType fieldValueType(quint8 code);

struct TAVMMS_EXPORT HeaderField {
    // The field's number, when the field has no name.
    quint8 code = 0;
    // The name of a text header ("X-Scanned-By") that a PDU carries among its own fields; never
    // empty for one.
    QByteArray name;

    quint64 number = 0;
    quint64 tag = 0;
    bool relative = false;
    bool insertAddress = false;
    QString text;
    // The charset (MIBenum) an encoded string named; 0 when it named none.
    quint64 charset = 0;
    // An encoded string as carried, written back as it was; null for a value made here, which is
    // written in us-ascii when it can be and else in UTF-8. A text header's value; a Raw value.
    QByteArray raw;
    ContentType contentType;

    static HeaderField octet(Field field, quint64 value);
    static HeaderField integer(Field field, quint64 value);
    static HeaderField textField(Field field, const QString& text);
    static HeaderField time(Field field, quint64 value, bool relative);
    static HeaderField from(const QString& address);
    static HeaderField insertAddressFrom();

    bool isTextHeader() const { return !name.isEmpty(); }
    Field field() const { return Field(code); }
    bool is(Field field) const { return !isTextHeader() && code == quint8(field); }
    // "X-Mms-Message-Type", or a text header's own name.
    QString displayName() const;

    bool operator==(const HeaderField& other) const;
    bool operator!=(const HeaderField& other) const { return !(*this == other); }
};

// Reads one field: a well-known one (a short integer) or a text header. Text that is not valid in
// its charset, or in a charset the codec lacks, is read all the same, with a warning appended to
// `warnings`.
TAVMMS_EXPORT std::optional<HeaderField> readHeaderField(WspReader& reader, QStringList& warnings);
TAVMMS_EXPORT void writeHeaderField(WspWriter& writer, const HeaderField& field);

} // namespace tavmms::pdu

#endif
