// mmsutil classify: the message-type code that the applications give a message of a content type.

#include "commands.h"
#include "mmshelpers.h"

#include <tavmmsutility.h>

#include <QCommandLineParser>
#include <QTextStream>

namespace
{

QString codeTable()
{
    QString table;
    for (const cli::MessageTypeMeaning& row : cli::kMessageTypeMeanings)
        table += QStringLiteral("\n  %1  %2").arg(row.code).arg(QLatin1String(row.meaning));
    return table;
}

// "69 application/smil", "86, not in the table", or "none" for the number of the "type" parameter.
QString describeStartType(unsigned char number)
{
    if (number == 0)
        return QStringLiteral("none");
    const char* name = mime_type_getName(number);
    if (!name)
        return QStringLiteral("%1, not in the table").arg(number);
    return QStringLiteral("%1 %2").arg(number).arg(QLatin1String(name));
}

int runClassify(const cli::Command& command, const QStringList& arguments)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(
        command.summary +
        QStringLiteral(
            " Type and subtype are compared without regard to case; only the binary "
            "forms application/vnd.wap.multipart.related and .mixed count as multipart messages. "
            "With PARAMS, also prints the start type read from their \"type\" parameter.\n\n"
            "Codes:") +
        codeTable());
    parser.addPositionalArgument(QStringLiteral("TYPE"),
                                 QStringLiteral("The content type, e.g. image/jpeg."),
                                 QStringLiteral("TYPE/SUBTYPE"));
    parser.addPositionalArgument(
        QStringLiteral("PARAMS"),
        QStringLiteral("Its parameters joined by ';', e.g. 'type=application/smil;start=<p1>'."),
        QStringLiteral("[PARAMS]"));
    if (const std::optional<int> stop = cli::parse(parser, command, arguments, 1, 2))
        return *stop;
    const QStringList positional = parser.positionalArguments();
    const QString name = positional.constFirst();
    const qsizetype slash = name.indexOf(QLatin1Char('/'));
    if (slash < 0)
        return cli::usageError(command.name,
                               QStringLiteral("'%1' is not of the form TYPE/SUBTYPE").arg(name));
    const bool hasParams = positional.size() > 1;
    const QString params = hasParams ? positional.at(1) : QString();

    const int code = MMS_UTIL_Common::getMsgTypeByContentType(
        MMS_CONTENT_TYPE_T{name.left(slash), name.mid(slash + 1), params});
    cli::out() << code << ' ' << cli::messageTypeMeaning(code) << '\n';
    if (hasParams)
        cli::out() << "start type: "
                   << describeStartType(MMS_UTIL_Common::getAppTypeFrParaList(params)) << '\n';
    return cli::ExitOk;
}

} // namespace

QList<cli::Command> classifyCommands()
{
    return {{QStringLiteral("classify"),
             QStringLiteral("Prints the message-type code of a content type and its meaning."),
             runClassify}};
}
