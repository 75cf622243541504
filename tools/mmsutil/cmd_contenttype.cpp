#include "commands.h"
#include "mmshelpers.h"

#include <tavmmsutility.h>

#include <QCommandLineParser>
#include <QTextStream>

namespace
{

int runContentType(const cli::Command& command, const QStringList& arguments)
{
    QCommandLineParser parser;
    parser.addPositionalArgument(QStringLiteral("NAME|NUMBER"),
                                 QStringLiteral("A content type (e.g. image/jpeg, any letter case) "
                                                "or its number (decimal, or hex with 0x)."),
                                 QStringLiteral("NAME|NUMBER"));
    if (const std::optional<int> stop = cli::parse(parser, command, arguments, 1))
        return *stop;
    const QString text = parser.positionalArguments().constFirst();

    const cli::ContentTypeNumber number = cli::parseContentTypeNumber(text);
    if (number.written) {
        if (!number.value)
            return cli::usageError(command.name,
                                   QStringLiteral("'%1' is out of range (0 to 255)").arg(text));
        const char* name = mime_type_getName(*number.value);
        if (!name)
            return cli::fail(QStringLiteral("content type %1 is not in the table").arg(text));
        cli::out() << name << '\n';
        return cli::ExitOk;
    }

    // mime_type_getValue() lower-cases its argument in place: it gets a copy.
    QByteArray name = text.toUtf8();
    const unsigned char value = mime_type_getValue(name.data());
    if (value == MIME_TYPE_NOT_FOUND)
        return cli::fail(QStringLiteral("content type '%1' is not in the table").arg(text));
    cli::out() << QStringLiteral("%1 0x%2\n").arg(value).arg(value, 2, 16, QLatin1Char('0'));
    return cli::ExitOk;
}

} // namespace

QList<cli::Command> contentTypeCommands()
{
    return {
        {QStringLiteral("content-type"),
         QStringLiteral("Prints the number of a content type, or the content type of a number."),
         runContentType}};
}
