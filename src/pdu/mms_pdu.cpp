#include "mms_pdu.h"

#include "wsp_writer.h"

namespace tavmms::pdu
{

namespace
{

constexpr const char* kMessageTypes[] = {
    "m-send-req",         "m-send-conf",       "m-notification-ind", "m-notifyresp-ind",
    "m-retrieve-conf",    "m-acknowledge-ind", "m-delivery-ind",     "m-read-rec-ind",
    "m-read-orig-ind",    "m-forward-req",     "m-forward-conf",     "m-mbox-store-req",
    "m-mbox-store-conf",  "m-mbox-view-req",   "m-mbox-view-conf",   "m-mbox-upload-req",
    "m-mbox-upload-conf", "m-mbox-delete-req", "m-mbox-delete-conf", "m-mbox-descr",
    "m-delete-req",       "m-delete-conf",     "m-cancel-req",       "m-cancel-conf",
};

constexpr quint8 kFirstMessageType = 128;

} // namespace

QString messageTypeName(quint64 type)
{
    if (type < kFirstMessageType || type - kFirstMessageType >= std::size(kMessageTypes))
        return QString();
    return QString::fromLatin1(kMessageTypes[type - kFirstMessageType]);
}

std::optional<MessageType> Pdu::messageType() const
{
    const std::optional<quint64> type = number(Field::MessageType);
    if (!type || messageTypeName(*type).isEmpty())
        return std::nullopt;
    return MessageType(*type);
}

const HeaderField* Pdu::find(Field field) const
{
    for (const HeaderField& header : headers) {
        if (header.is(field))
            return &header;
    }
    return nullptr;
}

QList<const HeaderField*> Pdu::findAll(Field field) const
{
    QList<const HeaderField*> found;
    for (const HeaderField& header : headers) {
        if (header.is(field))
            found.append(&header);
    }
    return found;
}

QString Pdu::text(Field field) const
{
    const HeaderField* header = find(field);
    return header ? header->text : QString();
}

std::optional<quint64> Pdu::number(Field field) const
{
    const HeaderField* header = find(field);
    return header ? std::optional(header->number) : std::nullopt;
}

const ContentType* Pdu::contentType() const
{
    const HeaderField* header = find(Field::ContentType);
    return header ? &header->contentType : nullptr;
}

std::optional<Pdu> decodePduHeader(QByteArrayView bytes, qsizetype* bodyOffset, DecodeError* error)
{
    WspReader reader(bytes);
    Pdu pdu;
    if (reader.peek() != (0x80 | quint8(Field::MessageType)))
        reader.fail(0, QStringLiteral("an X-Mms-Message-Type field first"));
    while (!reader.error() && !reader.atEnd()) {
        std::optional<HeaderField> field = readHeaderField(reader, pdu.warnings);
        if (!field)
            break;
        const bool bodyFollows = field->is(Field::ContentType);
        pdu.headers.append(std::move(*field));
        if (bodyFollows)
            break;
    }
    if (reader.error()) {
        if (error)
            *error = *reader.error();
        return std::nullopt;
    }
    *bodyOffset = reader.offset();
    return pdu;
}

std::optional<Pdu> decodePdu(QByteArrayView bytes, DecodeError* error)
{
    qsizetype bodyOffset = 0;
    std::optional<Pdu> pdu = decodePduHeader(bytes, &bodyOffset, error);
    if (pdu && pdu->contentType())
        pdu->body = bytes.sliced(bodyOffset).toByteArray();
    return pdu;
}

void writePduHeader(WspWriter& writer, const Pdu& pdu)
{
    const HeaderField* contentType = nullptr;
    for (const HeaderField& field : pdu.headers) {
        if (field.is(Field::ContentType))
            contentType = &field;
        else
            writeHeaderField(writer, field);
    }
    if (contentType)
        writeHeaderField(writer, *contentType);
}

QByteArray encodePdu(const Pdu& pdu)
{
    WspWriter writer;
    writePduHeader(writer, pdu);
    if (!pdu.contentType())
        return writer.bytes();
    writer.reserve(writer.bytes().size() + pdu.body.size());
    writer.octets(pdu.body);
    return writer.bytes();
}

} // namespace tavmms::pdu
