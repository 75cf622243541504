#include "composed_body.h"

#include "message_content_type.h"

#include "mime_registry_service.h"

#include <QFile>
#include <QFileInfo>

namespace tavmms::store
{

namespace
{

constexpr qint64 kPiece = 1024 * 1024;

Status tooLarge(const QString& path, qint64 size, const SizeLimit& limit)
{
    return Status::failure(ErrorCode::TooLarge,
                           QStringLiteral("'%1' of %2 bytes is over %3; the message was not kept")
                               .arg(path)
                               .arg(size)
                               .arg(limit.text));
}

// The file at `path`, read when it and what came before (`taken` bytes) fit under `limit`: a
// file larger than the message may be is never read whole.
Status readFile(const QString& path, qint64 taken, const SizeLimit& limit, QByteArray* data)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return Status::failure(
            ErrorCode::Failed,
            QStringLiteral("cannot read '%1': %2").arg(path, file.errorString()));
    const qint64 room = limit.bytes - taken;
    if (file.size() > room)
        return tooLarge(path, file.size(), limit);
    // A file that tells no size (a pipe, a device) is read up to one byte over the room left, a
    // piece at a time, so that no more is held than it gives.
    data->reserve(file.size());
    while (data->size() <= room) {
        const QByteArray piece = file.read(qMin(room + 1 - data->size(), kPiece));
        if (piece.isEmpty())
            break;
        *data += piece;
    }
    if (file.error() != QFileDevice::NoError)
        return Status::failure(
            ErrorCode::Failed,
            QStringLiteral("cannot read '%1': %2").arg(path, file.errorString()));
    if (data->size() > room)
        return tooLarge(path, data->size(), limit);
    return {};
}

} // namespace

ComposedBody composeBodyFromFiles(const QString& text, const QStringList& paths, pdu::BodyKind kind,
                                  const SizeLimit& limit)
{
    ComposedBody composed;
    QList<pdu::Attachment> attachments;
    qint64 taken = text.toUtf8().size();
    for (const QString& path : paths) {
        pdu::Attachment attachment;
        composed.status = readFile(path, taken, limit, &attachment.data);
        if (!composed.status.ok())
            return composed;
        taken += attachment.data.size();
        attachment.fileName = QFileInfo(path).fileName();
        attachment.mediaType = tavplatform::mimeRegistryService().mediaTypeOfFile(path).toUtf8();
        attachments.append(std::move(attachment));
    }
    const pdu::EncodedBody encoded = pdu::composeBody(text, attachments, kind);
    composed.contentType = headerContentType(encoded.contentType);
    composed.body = encoded.bytes;
    return composed;
}

} // namespace tavmms::store
