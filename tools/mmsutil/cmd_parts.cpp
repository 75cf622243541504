// mmsutil parts, extract: what a kept message holds, listed part by part and taken out into files.

#include "commands.h"
#include "mmshelpers.h"
#include "partsout.h"

#include <tavmmsutility.h>

#include <QCommandLineParser>
#include <QJsonDocument>
#include <QTextStream>

namespace
{

namespace store = tavmms::store;

// The parts of message `id`; the exit status after reporting when there are none to give.
std::optional<int> readParts(unsigned int id, store::MessageParts* parts)
{
    store::MessageStore messages;
    *parts = store::messageParts(messages, id);
    if (!parts->status.ok())
        return cli::storeFailure(parts->status);
    return std::nullopt;
}

int runParts(const cli::Command& command, const QStringList& arguments)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(
        command.summary +
        QStringLiteral(" One line a part, numbered from 1: its media type, name, charset, "
                       "Content-ID, Content-Location, the size of its data as carried, and "
                       "\"start\" for the part to present first. Exit status %1 when there is no "
                       "such message, %2 when its mail file does not load or its body does not "
                       "read.")
            .arg(cli::ExitNo)
            .arg(cli::ExitFailed));
    const QCommandLineOption json = cli::jsonOption(QStringLiteral(
        "an array of objects {index, contentType, name, charset, contentId, contentLocation, "
        "size, start}"));
    parser.addOption(json);
    unsigned int id = 0;
    if (const std::optional<int> stop =
            cli::parseRowId(parser, command, arguments, QStringLiteral("The message's id."), &id))
        return *stop;
    store::MessageParts parts;
    if (const std::optional<int> stop = readParts(id, &parts))
        return *stop;
    if (parser.isSet(json))
        return cli::printJson(QJsonDocument(cli::partsToJson(parts, false)));
    cli::out() << cli::partTable(parts);
    return cli::ExitOk;
}

// Writes the data of part `number` (from 1), or of the only part, to standard output.
int extractToStandardOutput(const cli::Command& command, const store::MessageParts& parts,
                            int number)
{
    if (number == 0 && parts.parts.size() != 1)
        return cli::usageError(command.name,
                               QStringLiteral("the message has %1 parts: give --part N to write "
                                              "one of them to standard output")
                                   .arg(parts.parts.size()));
    const int chosen = number == 0 ? 1 : number;
    const store::Status status = store::partNumberStatus(parts.parts.size(), chosen);
    if (!status.ok())
        return cli::storeFailure(status);
    const QByteArray data = tavmms::pdu::decodedData(parts.parts.at(chosen - 1));
    return cli::writeBytes(data.constData(), data.size());
}

int runExtract(const cli::Command& command, const QStringList& arguments)
{
    const QCommandLineOption part(QStringLiteral("part"),
                                  QStringLiteral("Writes part N alone (numbered from 1, as "
                                                 "'parts' lists them)."),
                                  QStringLiteral("N"));
    QCommandLineParser parser;
    parser.setApplicationDescription(
        command.summary +
        QStringLiteral(
            " Each part is written, its transfer encoding undone, to a new file in DIR, which "
            "must exist (exit status %1 when it does not), and the file's path is printed. The "
            "file is named after the part's name, else its Content-Location, else its "
            "Content-ID, else \"part-N\" with the extension of its media type; a name is "
            "stripped of directories, leading dots and control characters and cut to 255 bytes. "
            "Nothing is replaced: a name that is taken gets a number (\"photo-2.jpg\"), and no "
            "link is followed. DIR \"-\" writes the data of the part (--part N, or the only "
            "one) to standard output as it is. Exit status %2 when there is no such message or "
            "part.")
            .arg(cli::ExitFailed)
            .arg(cli::ExitNo));
    parser.addOption(part);
    parser.addPositionalArgument(QStringLiteral("ID"), QStringLiteral("The message's id."));
    parser.addPositionalArgument(QStringLiteral("DIR"),
                                 QStringLiteral("The directory to write the parts to; - for "
                                                "standard output."));
    if (const std::optional<int> stop = cli::parse(parser, command, arguments, 2))
        return *stop;
    unsigned int id = 0;
    if (const std::optional<int> stop =
            cli::rowIdOf(command, parser.positionalArguments().constFirst(), &id))
        return *stop;
    int number = 0;
    if (parser.isSet(part)) {
        const std::optional<unsigned int> given = cli::parseNumber(parser.value(part), INT_MAX);
        if (!given || *given == 0)
            return cli::usageError(command.name,
                                   QStringLiteral("--part: '%1' is not a part number (1 or more)")
                                       .arg(parser.value(part)));
        number = int(*given);
    }
    store::MessageParts parts;
    if (const std::optional<int> stop = readParts(id, &parts))
        return *stop;
    const QString directory = parser.positionalArguments().at(1);
    if (directory == QLatin1String("-"))
        return extractToStandardOutput(command, parts, number);
    const store::Extracted extracted = store::extractParts(parts.parts, directory, number);
    for (const QString& path : extracted.paths)
        cli::out() << path << '\n';
    return extracted.status.ok() ? cli::ExitOk : cli::storeFailure(extracted.status);
}

} // namespace

QList<cli::Command> partsCommands()
{
    return {
        {QStringLiteral("parts"), QStringLiteral("Lists the parts of a message."), runParts},
        {QStringLiteral("extract"),
         QStringLiteral("Writes the parts of a message to files, or one to standard output."),
         runExtract},
    };
}
