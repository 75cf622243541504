#include "eml_export.h"

#include "charsets.h"
#include "contact_book.h"
#include "content_disposition.h"
#include "export_file.h"
#include "mail_header.h"
#include "message_content_type.h"
#include "message_parts.h"
#include "mime_entity.h"
#include "mms_message.h"
#include "mms_util_msgheaderbase.h"
#include "transfer_encoding.h"

#include <QStringDecoder>
#include <QUuid>

namespace tavmms::store
{

namespace
{

// How deep multipart bodies are nested as multiparts; a part deeper down is kept as data, so
// that a body made to nest without end cannot exhaust the stack.
constexpr int kDeepestNesting = 8;

// The namespace of the Message-IDs made for messages without one.
const QUuid kMessageIdNamespace(QStringLiteral("{6f1d7c52-2b0e-4d7a-9a47-3c6e0f5b8d21}"));

// The name to show for `entry`: its own, else its contact's; an address book that cannot be read
// names nobody, which leaves the address to speak for itself.
QString displayName(const MMS_UTIL_Entry& entry)
{
    if (!entry.name.isEmpty())
        return entry.name;
    QString error;
    const std::optional<ContactMatch> match = lookupContact(entry, &error);
    return match ? match->name : QString();
}

QList<QByteArray> entryWords(const MMS_UTIL_Entry& entry)
{
    return mailboxWords(displayName(entry), addrSpec(entry));
}

// The recipients with an address, separated by commas.
QList<QByteArray> mailboxListWords(const MMS_UTIL_EntryList& entries)
{
    QList<QByteArray> words;
    for (const MMS_UTIL_Entry* entry : entries) {
        if (!entry || entry->address.isEmpty())
            continue;
        if (!words.isEmpty())
            words.last() += ',';
        words += entryWords(*entry);
    }
    return words;
}

// Every octet that is not atext (and so a dot too) as %XX: an atom whichever octets it held.
QByteArray asAtom(const QByteArray& text)
{
    return text.toPercentEncoding("!#$&'*+-/=?^_`{|}~", QByteArray(), '%').replace('.', "%2E");
}

QByteArray messageId(const MMS_UTIL_MsgHeaderBase& header, const MessageRow& row)
{
    QByteArray id = header.messageId.trimmed().toUtf8();
    if (id.startsWith('<') && id.endsWith('>'))
        id = id.mid(1, id.size() - 2);
    if (id.isEmpty()) {
        const QString seed = QStringLiteral("%1 %2 %3")
                                 .arg(row.id)
                                 .arg(row.uri(), header.sendDate.toString(Qt::ISODateWithMs));
        return '<' +
               QUuid::createUuidV5(kMessageIdNamespace, seed).toByteArray(QUuid::WithoutBraces) +
               "@mms.invalid>";
    }
    const qsizetype at = id.lastIndexOf('@');
    if (at > 0 && isDotAtom(id.first(at)) && isDotAtom(id.sliced(at + 1)))
        return '<' + id + '>';
    return '<' + asAtom(id) + "@mms.invalid>";
}

// Whether `text` is printable ASCII without blanks, as an identifier must be.
bool isVisibleAscii(QByteArrayView text)
{
    return !text.isEmpty() &&
           std::all_of(text.begin(), text.end(), [](char c) { return c > 0x20 && c < 0x7f; });
}

// The text of a text part as UTF-8 with CRLF line breaks; nothing when its charset is not one
// this library decodes, or its bytes are not valid in it.
std::optional<QByteArray> textAsUtf8(const pdu::Part& part, const QByteArray& data)
{
    const QByteArray charset = part.charset();
    if (charset.isEmpty()) {
        // Without a charset, text that reads as UTF-8 is taken for it (ASCII is too).
        QStringDecoder decoder(QStringDecoder::Utf8);
        const QString text = decoder.decode(data);
        if (decoder.hasError())
            return std::nullopt;
        return crlfLines(text.toUtf8());
    }
    const std::optional<quint64> mib = pdu::charsetMibEnum(charset);
    const std::optional<pdu::DecodedText> decoded =
        mib ? pdu::decodeText(data, *mib) : std::nullopt;
    if (!decoded || decoded->replaced)
        return std::nullopt;
    return crlfLines(decoded->text.toUtf8());
}

// The fields a part of a message carries into mail besides its type: its Content-ID,
// Content-Location and the way it is to be shown, under its name.
QByteArray partFields(const pdu::Part& part)
{
    QByteArray fields;
    QByteArray id = part.contentId().trimmed();
    if (isVisibleAscii(id)) {
        if (!id.startsWith('<'))
            id = '<' + id + '>';
        fields += headerField("Content-ID", {id});
    }
    if (const QByteArray location = part.contentLocation(); !location.isEmpty())
        fields += headerField("Content-Location",
                              {location.toPercentEncoding("!#$%&'()*+,-./:;=?@[]_~")});
    const bool attachment =
        pdu::parseDisposition(part.header("Content-Disposition")).kind.toLower() == "attachment";
    QList<QByteArray> disposition{attachment ? "attachment" : "inline"};
    if (const QByteArray name = part.name(); !name.isEmpty())
        appendParameter(&disposition, "filename", QString::fromUtf8(name));
    return fields + headerField("Content-Disposition", disposition);
}

// The Content-Type field of a part of type `mediaType`, with the parameters given, and its name.
QByteArray typeField(const QByteArray& mediaType, const QList<pdu::Parameter>& parameters)
{
    QList<QByteArray> words{mediaType};
    for (const pdu::Parameter& parameter : parameters) {
        if (!parameter.value.isEmpty())
            appendParameter(&words, parameter.name, QString::fromUtf8(parameter.value));
    }
    return headerField("Content-Type", words);
}

MimeEntity leafEntity(const pdu::Part& part)
{
    const QByteArray mediaType = part.contentType.mediaType.isEmpty()
                                     ? QByteArray("application/octet-stream")
                                     : part.contentType.mediaType.toLower();
    const QByteArray data = pdu::decodedData(part);
    const QByteArray name = part.name();
    const std::optional<QByteArray> text =
        part.contentType.is("text/*") ? textAsUtf8(part, data) : std::nullopt;
    QByteArray charset = part.contentType.is("text/*") ? part.charset() : QByteArray();
    QByteArray encoding = "base64";
    QByteArray body;
    if (text) {
        charset = "utf-8";
        encoding = isSevenBit(*text) ? "7bit" : "quoted-printable";
        body = encoding == "7bit" ? *text : quotedPrintable(*text);
    } else {
        body = base64Lines(data);
    }
    return {typeField(mediaType, {{"charset", charset}, {"name", name}}) +
                headerField("Content-Transfer-Encoding", {encoding}) + partFields(part),
            body};
}

QByteArray mailMultipartType(const pdu::ContentType& type)
{
    const QByteArray subtype = type.mediaType.toLower().split('.').last().split('/').last();
    if (subtype == "related" || subtype == "alternative")
        return "multipart/" + subtype;
    return "multipart/mixed";
}

MimeEntity partEntity(const pdu::Part& part, int depth);

// The multipart entity of `parts`, of the multipart type `type`; `fields` are the part's own
// beside its type.
MimeEntity multipartEntity(const pdu::ContentType& type, const QList<pdu::Part>& parts,
                           const QByteArray& fields, int depth)
{
    QList<MimeEntity> entities;
    for (const pdu::Part& part : parts)
        entities.append(partEntity(part, depth + 1));
    QByteArray boundary;
    QByteArray body = multipartBody(entities, &boundary);
    const QByteArray mailType = mailMultipartType(type);
    QList<pdu::Parameter> parameters{{"boundary", boundary}};
    const qsizetype start = pdu::startPart(type, parts);
    if (mailType == "multipart/related" && start >= 0) {
        const pdu::Part& first = parts.at(start);
        parameters.append({"type", first.contentType.mediaType.toLower()});
        const QByteArray id = first.contentId().trimmed();
        if (isVisibleAscii(id))
            parameters.append({"start", id.startsWith('<') ? id : '<' + id + '>'});
    }
    return {typeField(mailType, parameters) + fields, std::move(body)};
}

MimeEntity partEntity(const pdu::Part& part, int depth)
{
    if (part.isMultipart() && depth < kDeepestNesting) {
        if (const std::optional<QList<pdu::Part>> parts =
                pdu::decodeMultipart(pdu::decodedData(part)))
            return multipartEntity(part.contentType, *parts, partFields(part), depth);
    }
    return leafEntity(part);
}

QByteArray messageFields(const ReadMessage& message, const EmlOptions& options)
{
    const MMS_UTIL_MsgHeaderBase& header = *message.header;
    QByteArray fields;
    if (!header.from.address.isEmpty())
        fields += headerField("From", entryWords(header.from));
    const struct {
        const char* name;
        const MMS_UTIL_EntryList& entries;
        bool written;
    } lists[] = {{"To", header.toList, true},
                 {"Cc", header.ccList, true},
                 {"Bcc", header.bccList, options.bcc}};
    for (const auto& list : lists) {
        const QList<QByteArray> words = mailboxListWords(list.entries);
        if (list.written && !words.isEmpty())
            fields += headerField(list.name, words);
    }
    if (!header.subject.isEmpty())
        fields += headerField("Subject", unstructuredWords(header.subject));
    if (const QByteArray date = mailDate(header.sendDate); !date.isEmpty())
        fields += headerField("Date", {date});
    fields += headerField("Message-ID", {messageId(header, message.row)});
    return fields + headerField("MIME-Version", {"1.0"});
}

} // namespace

EmlMessage emlMessage(const ReadMessage& message, const EmlOptions& options)
{
    if (!message.status.ok())
        return {message.status, {}};
    if (!message.header)
        return {Status::failure(ErrorCode::Failed, message.mailFileError), {}};
    const pdu::ContentType type = codecContentType(message.header->contentType);
    MimeEntity entity;
    if (message.body.isEmpty()) {
        // A message without a body says so in an empty text, which every mail program shows.
        entity = leafEntity(pdu::Part{{"text/plain", {}}, {}, {}});
    } else {
        const MessageParts parts = messageParts(message);
        if (!parts.status.ok())
            return {parts.status, {}};
        entity = pdu::isMultipartType(type) ? multipartEntity(type, parts.parts, {}, 0)
                                            : leafEntity(parts.parts.constFirst());
    }
    // The message ends with a line break; a text that ends with one has it already.
    if (!entity.body.endsWith("\r\n"))
        entity.body += "\r\n";
    return {{}, messageFields(message, options) + entity.headers + "\r\n" + entity.body};
}

Status saveExportFile(const QString& path, const QByteArray& bytes, bool replace)
{
    ExportFile file(path);
    Status status = file.open();
    if (status.ok())
        status = file.write(bytes);
    return status.ok() ? file.commit(replace) : status;
}

} // namespace tavmms::store
