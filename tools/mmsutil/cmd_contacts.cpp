// mmsutil contacts ...: the phone's address book, filled from vCard files, and the look-ups the
// messaging applications make in it.

#include "commands.h"
#include "mmshelpers.h"
#include "settingshelpers.h"
#include "textout.h"

#include <tavmmsutility.h>

#include <QCommandLineParser>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTextStream>

#include <cerrno>
#include <climits>

namespace
{

namespace store = tavmms::store;

// A contact as the book's listing heads it: its name and, in brackets, its organization.
QString contactTitle(const store::Contact& contact)
{
    QString title = contact.name.isEmpty() ? QStringLiteral("(no name)") : contact.name;
    if (!contact.organization.isEmpty())
        title += QStringLiteral(" (") + contact.organization + QLatin1Char(')');
    return textout::oneLine(title);
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
    QList<store::VCardFile> files;
    for (const QString& file : parser.positionalArguments()) {
        std::optional<QByteArray> data = cli::readInput(file);
        if (!data)
            return cli::ExitFailed;
        files.append({file, *data});
    }
    QString error;
    const std::optional<store::ContactImport> import = store::importVCards(files, &error);
    if (!import)
        return cli::fail(error);
    int skipped = 0;
    for (const store::SkippedLines& lines : import->skipped) {
        const QString where =
            lines.lines == 1
                ? QString::number(lines.line)
                : QStringLiteral("%1-%2").arg(lines.line).arg(lines.line + lines.lines - 1);
        cli::warn(QStringLiteral("%1:%2: %3").arg(lines.file, where, lines.reason));
        skipped += lines.lines;
    }
    cli::out() << QStringLiteral("%1 imported (%2 new, %3 replaced), %4 skipped\n")
                      .arg(textout::counted(import->contacts, "contact"))
                      .arg(import->added)
                      .arg(import->replaced)
                      .arg(textout::counted(skipped, "line"));
    return cli::ExitOk;
}

QJsonArray addressesToJson(const QList<store::ContactAddress>& addresses)
{
    QJsonArray array;
    for (const store::ContactAddress& address : addresses)
        array.append(QJsonObject{{QStringLiteral("value"), address.value},
                                 {QStringLiteral("label"), address.label}});
    return array;
}

QJsonArray contactsToJson(const QList<store::Contact>& contacts)
{
    QJsonArray array;
    for (const store::Contact& contact : contacts)
        array.append(QJsonObject{{QStringLiteral("uid"), contact.uid},
                                 {QStringLiteral("name"), contact.name},
                                 {QStringLiteral("organization"), contact.organization},
                                 {QStringLiteral("numbers"), addressesToJson(contact.numbers)},
                                 {QStringLiteral("emails"), addressesToJson(contact.emails)}});
    return array;
}

int runList(const cli::Command& command, const QStringList& arguments)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(
        command.summary + QStringLiteral(" Each contact's name (and organization) is followed by "
                                         "its numbers and then its e-mail addresses, one a line "
                                         "after their labels."));
    const QCommandLineOption json = cli::jsonOption(QStringLiteral(
        "an array of the contacts, each an object {uid, name, organization, numbers, emails}, "
        "the numbers and addresses each an object {value, label}"));
    parser.addOption(json);
    if (const std::optional<int> stop = cli::parse(parser, command, arguments, 0))
        return *stop;
    QString error;
    const std::optional<QList<store::Contact>> contacts = store::listContacts(&error);
    if (!contacts)
        return cli::fail(error);
    if (parser.isSet(json))
        return cli::printJson(QJsonDocument(contactsToJson(*contacts)));
    for (const store::Contact& contact : *contacts) {
        cli::out() << contactTitle(contact) << '\n';
        for (const store::ContactAddress& item : contact.numbers + contact.emails)
            cli::out() << "  " << textout::oneLine(item.label) << ": "
                       << textout::oneLine(item.value) << '\n';
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
        store::parseAddress(parser.positionalArguments().constFirst(), &error);
    if (!entry)
        return cli::usageError(command.name, error);
    const std::optional<store::ContactMatch> match = store::lookupContact(*entry, &error);
    if (!match && !error.isEmpty())
        return cli::fail(error);
    if (!match) {
        cli::out() << "not found\n";
        return cli::ExitNo;
    }
    cli::out() << textout::oneLine(match->name) << " (" << textout::oneLine(match->label) << ")\n";
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
        const bool written = store::setOwner(values.at(0), values.at(1));
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
        cli::out() << store::contactRegion() << '\n';
        return cli::ExitOk;
    }
    const QString code = parser.positionalArguments().constFirst();
    errno = 0;
    const bool written = store::setContactRegion(code);
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
    QList<MMS_UTIL_Entry> addresses;
    for (const QString& text : texts) {
        QString error;
        const std::optional<MMS_UTIL_Entry> entry = store::parseAddress(text, &error);
        if (!entry)
            return cli::usageError(command.name, error);
        addresses.append(*entry);
    }
    QString error;
    const std::optional<store::ContactRemoval> removal = store::removeContacts(addresses, &error);
    if (!removal)
        return cli::fail(error);
    for (const store::Contact& contact : removal->removed)
        cli::out() << contactTitle(contact) << '\n';
    // Flushed first, so that on a terminal the misses follow what was removed.
    cli::out() << textout::counted(removal->removed.size(), "contact") << " removed\n" << Qt::flush;
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
