#include "support/store_backup_fixture.h"

#include "support/model_helpers.h"

#include <tavmmsutility.h>

#include <QDir>

namespace tavmms_test
{

tavmms::store::NewMessage messageWithAttachments(const QString& subject, const QDateTime& date)
{
    const tavmms::pdu::EncodedBody body = tavmms::pdu::composeBody(
        QStringLiteral("See the pictures"),
        {{"image/png", QStringLiteral("a.png"), QByteArray("\x89PNG\r\n\x1a\n\x00\x01", 10)},
         {"text/x-vcard", QStringLiteral("ann.vcf"), "BEGIN:VCARD\r\nEND:VCARD\r\n"}},
        tavmms::pdu::BodyKind::Mixed);
    tavmms::store::NewMessage message;
    message.from = makeEntry(QString(), MMS_UTIL_ADDR_PLMN, QStringLiteral("+4915550199"));
    message.to = {
        makeEntry(QStringLiteral("Bob"), MMS_UTIL_ADDR_PLMN, QStringLiteral("+4915550101"))};
    message.subject = subject;
    message.body = body.bytes;
    message.date = date;
    return message;
}

void StoreBackupFixture::SetUp()
{
    ASSERT_TRUE(dir.isValid());
    ASSERT_TRUE(QDir(dir.path()).mkpath(QStringLiteral("platform")));
    ASSERT_TRUE(book.isValid());
}

QString StoreBackupFixture::mailFile(unsigned int id) const
{
    return dir.filePath(QStringLiteral("download/mms/mailfile/%1.mms").arg(id));
}

unsigned int StoreBackupFixture::receive(const tavmms::store::NewMessage& message)
{
    const tavmms::store::Added added = tavmms::store::MessageStore().receive(message);
    EXPECT_TRUE(added.status.ok()) << added.status.text.toStdString();
    return added.id;
}

} // namespace tavmms_test
