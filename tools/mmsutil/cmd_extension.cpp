// mmsutil extension: the file extension under which the composer saves an object of a MIME type.

#include "commands.h"

#include <tavmmsutility.h>

#include <QCommandLineParser>
#include <QTextStream>

namespace
{

int runExtension(const cli::Command& command, const QStringList& arguments)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(
        command.summary +
        QStringLiteral(" It is the first of the MIME registry's extensions for the type that the "
                       "phone shows (images: gif, png, jpeg, jpg, bmp, wbmp) or plays (audio and "
                       "video: see 'mmsutil media list'), in the registry's order; plain text, "
                       "vCalendar and vCard always give txt, vcs and vcf. Exit status 3, with "
                       "nothing on standard output, when no extension is known."));
    parser.addPositionalArgument(
        QStringLiteral("TYPE"), QStringLiteral("The MIME type, e.g. image/jpeg (any letter case)."),
        QStringLiteral("TYPE/SUBTYPE"));
    if (const std::optional<int> stop = cli::parse(parser, command, arguments, 1))
        return *stop;
    const QString name = parser.positionalArguments().constFirst();
    const qsizetype slash = name.indexOf(QLatin1Char('/'));
    if (slash < 0)
        return cli::usageError(command.name,
                               QStringLiteral("'%1' is not of the form TYPE/SUBTYPE").arg(name));
    const QString extension =
        MMS_COMP_Util::getFirstSupportExtNameByMIMEType(name.left(slash), name.mid(slash + 1));
    if (extension.isEmpty()) {
        cli::fail(QStringLiteral("no supported extension is known for %1").arg(name));
        return cli::ExitNo;
    }
    cli::out() << extension << '\n';
    return cli::ExitOk;
}

} // namespace

QList<cli::Command> extensionCommands()
{
    return {{QStringLiteral("extension"),
             QStringLiteral("Prints the file extension the composer gives an object of a MIME "
                            "type."),
             runExtension}};
}
