// Writes a message with two recipients to a mail file, loads it back and prints its subject and
// recipients.
//
//   write_and_read /path/to/1.mms
//
// Against an installed library, with CMake (examples/CMakeLists.txt) or with pkg-config:
//   c++ -std=c++17 -fPIC write_and_read.cpp $(pkg-config --cflags --libs tavmmsutility)

#include <tavmmsutility.h>

#include <cstdio>
#include <memory>

int main(int argc, char** argv)
{
    if (argc != 2) {
        std::fprintf(stderr, "usage: %s MAILFILE\n", argv[0]);
        return 2;
    }
    const QString path = QString::fromLocal8Bit(argv[1]);

    MMS_UTIL_MsgHeaderBase header;
    MMS_UTIL_Entry recipient;
    recipient.name = QStringLiteral("Ann");
    recipient.type = MMS_UTIL_ADDR_PLMN;
    recipient.address = QStringLiteral("+15550101");
    header.addToRecipient(recipient); // the header keeps a copy of its own
    recipient.name = QStringLiteral("Bob");
    recipient.type = MMS_UTIL_ADDR_EMAIL;
    recipient.address = QStringLiteral("bob@example.org");
    header.addToRecipient(recipient);
    header.subject = QStringLiteral("Hello from libtavmmsutility");
    header.sendDate = QDateTime::currentDateTime();

    // The body is the message's encoded multipart data; the library stores it as opaque bytes.
    QByteArray body("encoded multipart body");
    header.messageSize = unsigned(body.size());

    // The body and header stay ours: the mail file object only points at them.
    MMS_UTIL_MailFile writer(path);
    const int written = writer.writeMailFile(reinterpret_cast<unsigned char*>(body.data()),
                                             unsigned(body.size()), &header);
    if (written != MMS_UTIL_MAILFILE_OK) {
        std::fprintf(stderr, "cannot write %s (%s)\n", argv[1],
                     written == MMS_UTIL_MAILFILE_NO_SPACE ? "device full" : "failed");
        return 1;
    }

    // loadMailFile() hands out a new header and body; freeing them is the caller's job.
    MMS_UTIL_MailFile reader(path);
    if (reader.loadMailFile() != MMS_UTIL_MAILFILE_OK) {
        std::fprintf(stderr, "cannot load %s\n", argv[1]);
        return 1;
    }
    const std::unique_ptr<MMS_UTIL_MsgHeaderBase> loaded(reader.header);
    const std::unique_ptr<unsigned char[]> loadedBody(reader.body);

    std::printf("Subject: %s\n", qPrintable(loaded->subject));
    for (const MMS_UTIL_Entry* to : loaded->toList)
        std::printf("To: %s <%s>\n", qPrintable(to->name), qPrintable(to->address));
    std::printf("Body: %u bytes\n", reader.bodyLength);
    return 0;
}
