// mmsutil contacts ...: the phone's address book, filled from vCard files, and the look-ups the
// messaging applications make in it.

#include "commands.h"
#include "mmshelpers.h"
#include "settingshelpers.h"

#include <address_book_settings.h>
#include <sqlite_address_book.h>
#include <vcard_reader.h>

#include <QCommandLineParser>
#include <QTextStream>

#include <cerrno>
#include <climits>

namespace
{

using tavplatform::SqliteAddressBook;

// "1 contact", "2 contacts".
QString counted(qsizetype count, const char* noun)
{
    return QStringLiteral("%1 %2%3")
        .arg(count)
        .arg(QLatin1String(noun))
        .arg(count == 1 ? QString() : QStringLiteral("s"));
}

// A contact as the book's listing heads it: its name and, in brackets, its organization.
QString contactTitle(const tavplatform::Contact& contact)
{
    QString title = contact.name.isEmpty() ? QStringLiteral("(no name)") : contact.name;
    if (!contact.organization.isEmpty())
        title += QStringLiteral(" (") + contact.organization + QLatin1Char(')');
    return title;
}

// The device's address book, or nothing after reporting that there is no place for it.
std::optional<SqliteAddressBook> openBook()
{
    const QString path = SqliteAddressBook::defaultPath();
    if (path.isEmpty()) {
        cli::fail(QStringLiteral("there is no platform directory for the address book"));
        return std::nullopt;
    }
    return std::optional<SqliteAddressBook>(std::in_place, path);
}

int runImport(const cli::Command& command, const QStringList& arguments)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(
        command.summary +
        QStringLiteral(" Reads vCard 2.1, 3.0 and 4.0 files as phones and desktop programs export "
                       "them. A contact that is there already (the same UID, or without one the "
                       "same name, numbers and addresses) is replaced, so importing a file again "
                       "adds nothing. Lines that cannot be read are skipped and listed with their "
                       "file, line and reason; the rest of the vCard is kept. Nothing is "
                       "imported when a file cannot be read."));
    parser.addPositionalArgument(QStringLiteral("FILE"),
                                 QStringLiteral("A vCard file; \"-\" reads standard input."),
                                 QStringLiteral("FILE..."));
    if (const std::optional<int> stop = cli::parse(parser, command, arguments, 1, INT_MAX))
        return *stop;
    QList<tavplatform::Contact> contacts;
    QStringList report;
    int skipped = 0;
    for (const QString& file : parser.positionalArguments()) {
        const std::optional<QByteArray> data = cli::readInput(file);
        if (!data)
            return cli::ExitFailed;
        const tavplatform::VCardReading reading = tavplatform::readVCards(*data);
        contacts += reading.contacts;
        for (const tavplatform::VCardProblem& problem : reading.problems) {
            const QString lines = problem.lines == 1 ? QString::number(problem.line)
                                                     : QStringLiteral("%1-%2")
                                                           .arg(problem.line)
                                                           .arg(problem.line + problem.lines - 1);
            report << QStringLiteral("%1:%2: %3\n").arg(file, lines, problem.reason);
            skipped += problem.lines;
        }
    }
    std::optional<SqliteAddressBook> book = openBook();
    if (!book)
        return cli::ExitFailed;
    const std::optional<SqliteAddressBook::ImportCounts> counts = book->importContacts(contacts);
    if (!counts)
        return cli::fail(QStringLiteral("cannot write the address book '%1'")
                             .arg(SqliteAddressBook::defaultPath()));
    cli::out() << report.join(QString())
               << QStringLiteral("%1 imported (%2 new, %3 replaced), %4 skipped\n")
                      .arg(counted(contacts.size(), "contact"))
                      .arg(counts->added)
                      .arg(counts->replaced)
                      .arg(counted(skipped, "line"));
    return cli::ExitOk;
}

int runList(const cli::Command& command, const QStringList& arguments)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(
        command.summary + QStringLiteral(" Each contact's name (and organization) is followed by "
                                         "its numbers and then its e-mail addresses, one a line "
                                         "after their labels."));
    if (const std::optional<int> stop = cli::parse(parser, command, arguments, 0))
        return *stop;
    std::optional<SqliteAddressBook> book = openBook();
    if (!book)
        return cli::ExitFailed;
    const std::optional<QList<tavplatform::Contact>> contacts = book->contacts();
    if (!contacts)
        return cli::fail(book->readError().isEmpty()
                             ? QStringLiteral("cannot read the address book '%1'")
                                   .arg(SqliteAddressBook::defaultPath())
                             : book->readError());
    for (const tavplatform::Contact& contact : *contacts) {
        cli::out() << contactTitle(contact) << '\n';
        for (const tavplatform::ContactAddress& item : contact.numbers + contact.emails)
            cli::out() << "  " << item.label << ": " << item.value << '\n';
    }
    return cli::ExitOk;
}

int runLookup(const cli::Command& command, const QStringList& arguments)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(
        command.summary +
        QStringLiteral(" Prints the contact's name and, in brackets, the label of the number or "
                       "address that matched, as a message viewer shows a sender; prints \"not "
                       "found\" and exits with 3 when no contact with a name holds it. A phone "
                       "number matches in its national and international forms, in the region "
                       "'contacts region' shows; an e-mail address in any letter case."));
    parser.addPositionalArgument(
        QStringLiteral("ADDRESS"),
        QStringLiteral("A phone number or e-mail address, bare or as \"<name>[PLMN]number\"."));
    if (const std::optional<int> stop = cli::parse(parser, command, arguments, 1))
        return *stop;
    QString error;
    std::optional<MMS_UTIL_Entry> entry =
        tavmms::store::parseAddress(parser.positionalArguments().constFirst(), &error);
    if (!entry)
        return cli::usageError(command.name, error);
    std::optional<SqliteAddressBook> book = openBook();
    if (!book)
        return cli::ExitFailed;
    // The lookup runs on this book object, so that a book that could not be read is told from
    // one that holds no such contact.
    const tavplatform::ScopedAddressBookService installed(&*book);
    MMS_UTIL_CONTACT_INFO_T info;
    MMS_UTIL_Common::srchContactInfoByVal(info, *entry);
    if (const QString why = book->readError(); !why.isEmpty())
        return cli::fail(why);
    // Without a hit the detail stays empty and the name is the address itself.
    if (info.contactDetail.isEmpty()) {
        cli::out() << "not found\n";
        return cli::ExitNo;
    }
    cli::out() << info.contactName << " (" << info.contactDetail << ")\n";
    return cli::ExitOk;
}

int runOwner(const cli::Command& command, const QStringList& arguments)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(
        command.summary +
        QStringLiteral(" Prints the owner as an entry, \"<name>[PLMN]number\", or \"no owner\" "
                       "with exit status 3 when the number is not set."));
    const QCommandLineOption set(
        QStringLiteral("set"),
        QStringLiteral(
            "Stores NAME and NUMBER as the owner's; an empty NUMBER forgets the owner."));
    parser.addOption(set);
    parser.addPositionalArgument(QStringLiteral("NAME NUMBER"),
                                 QStringLiteral("With --set: the owner's name and number."),
                                 QStringLiteral("[NAME NUMBER]"));
    if (const std::optional<int> stop = cli::parse(parser, command, arguments, 0, 2))
        return *stop;
    const QStringList values = parser.positionalArguments();
    if (parser.isSet(set) ? values.size() != 2 : !values.isEmpty())
        return cli::usageError(
            command.name, parser.isSet(set) ? QStringLiteral("--set takes a name and a number")
                                            : QStringLiteral("a name and a number go with --set"));
    if (parser.isSet(set)) {
        errno = 0;
        const bool written = tavplatform::setAddressBookOwner({values.at(0), values.at(1)});
        return cli::reportChange(written, errno, QStringLiteral("cannot set the owner"));
    }
    MMS_UTIL_Entry entry;
    if (MMS_UTIL_Common::getOwnerEntry(entry) != 0) {
        cli::out() << "no owner\n";
        return cli::ExitNo;
    }
    cli::out() << MMS_UTIL_Common::entryToString(entry) << '\n';
    return cli::ExitOk;
}

int runRegion(const cli::Command& command, const QStringList& arguments)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(
        command.summary +
        QStringLiteral(" Numbers written without their country code are read as numbers of this "
                       "region. Until one is set, it is the country of the system's locale; ZZ "
                       "stands for none, and then only numbers written with their country code "
                       "match their other forms."));
    parser.addPositionalArgument(
        QStringLiteral("CODE"), QStringLiteral("A two-letter region code, e.g. DE, US, CN, or ZZ."),
        QStringLiteral("[CODE]"));
    if (const std::optional<int> stop = cli::parse(parser, command, arguments, 0, 1))
        return *stop;
    if (parser.positionalArguments().isEmpty()) {
        cli::out() << tavplatform::addressBookRegion() << '\n';
        return cli::ExitOk;
    }
    const QString code = parser.positionalArguments().constFirst();
    errno = 0;
    const bool written = tavplatform::setAddressBookRegion(code);
    const int error = errno;
    if (!written && error == EINVAL)
        return cli::usageError(command.name, QStringLiteral("'%1' is not a region code").arg(code));
    return cli::reportChange(written, error, QStringLiteral("cannot set the region"));
}

int runRemove(const cli::Command& command, const QStringList& arguments)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(
        command.summary +
        QStringLiteral(" Removes every contact that holds one of the numbers or addresses, matched "
                       "as 'contacts lookup' matches them, and prints the name of each removed "
                       "contact as 'contacts list' shows it, then how many were removed. An "
                       "address that no contact holds is reported, the others' contacts are "
                       "removed all the same, and the command exits with 3."));
    parser.addPositionalArgument(
        QStringLiteral("ADDRESS"),
        QStringLiteral("A phone number or e-mail address, bare or as \"<name>[PLMN]number\"."),
        QStringLiteral("ADDRESS..."));
    if (const std::optional<int> stop = cli::parse(parser, command, arguments, 1, INT_MAX))
        return *stop;
    const QStringList texts = parser.positionalArguments();
    QList<SqliteAddressBook::Address> addresses;
    for (const QString& text : texts) {
        QString error;
        const std::optional<MMS_UTIL_Entry> entry = tavmms::store::parseAddress(text, &error);
        if (!entry)
            return cli::usageError(command.name, error);
        // Every type but e-mail is a phone number to the address book, as in a lookup.
        addresses.append(
            {entry->type == MMS_UTIL_ADDR_EMAIL ? ADDRBK_SEARCH_BY_EMAIL : ADDRBK_SEARCH_BY_NUMBER,
             entry->address});
    }
    std::optional<SqliteAddressBook> book = openBook();
    if (!book)
        return cli::ExitFailed;
    const std::optional<SqliteAddressBook::Removal> removal = book->removeContacts(addresses);
    if (!removal)
        return cli::fail(QStringLiteral("cannot write the address book '%1'")
                             .arg(SqliteAddressBook::defaultPath()));
    for (const tavplatform::Contact& contact : removal->contacts)
        cli::out() << contactTitle(contact) << '\n';
    // Flushed first, so that on a terminal the misses follow what was removed.
    cli::out() << counted(removal->contacts.size(), "contact") << " removed\n" << Qt::flush;
    for (const qsizetype position : removal->unmatched)
        cli::fail(
            QStringLiteral("%1: no contact holds '%2'").arg(command.name, texts.at(position)));
    return removal->unmatched.isEmpty() ? cli::ExitOk : cli::ExitNo;
}

} // namespace

QList<cli::Command> contactsCommands()
{
    return {
        {QStringLiteral("contacts import"),
         QStringLiteral("Adds the contacts of vCard files to the address book."), runImport},
        {QStringLiteral("contacts list"),
         QStringLiteral("Prints every contact of the address book."), runList},
        {QStringLiteral("contacts lookup"),
         QStringLiteral("Finds the contact of a phone number or e-mail address."), runLookup},
        {QStringLiteral("contacts owner"),
         QStringLiteral("Prints or sets the phone owner's name and number."), runOwner},
        {QStringLiteral("contacts region"),
         QStringLiteral("Prints or sets the region of national phone numbers."), runRegion},
        {QStringLiteral("contacts remove"),
         QStringLiteral("Removes the contacts of phone numbers or e-mail addresses."), runRemove},
    };
}
