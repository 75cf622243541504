#include "commands.h"

#include <tavmmsutility.h>

#include <QCommandLineParser>
#include <QTextStream>

namespace
{

int runPaths(const cli::Command& command, const QStringList& arguments)
{
    QCommandLineParser parser;
    if (const std::optional<int> stop = cli::parse(parser, command, arguments, 0))
        return *stop;
    const struct {
        const char* label;
        QString path;
    } rows[] = {
        {"Working directory:", MMS_UTIL_Common::getWorkDir()},
        {"Mail file directory:", MMS_UTIL_Common::getMailFileDir()},
        {"Quick page directory:", MMS_UTIL_Common::getQuickPageDir()},
        {"Factory quick pages:", MMS_UTIL_Common::getQuickPageFactoryDir()},
        {"Temporary directory:", MMS_UTIL_Common::getTmpDir()},
        {"Platform directory:", tavmms::platformDirectory()},
        {"Device database:", tavmms::store::databasePath()},
    };
    for (const auto& row : rows)
        cli::out() << QStringLiteral("%1 %2\n").arg(QLatin1String(row.label), -21).arg(row.path);
    if (const std::optional<QString> path = cli::downloadPathDefaultApplied())
        cli::out() << QStringLiteral("TAV_LOCAL_DOWNLOAD_PATH is not set: mmsutil uses %1, the "
                                     "directory 'make run' uses.\n")
                          .arg(*path);
    return cli::ExitOk;
}

} // namespace

QList<cli::Command> pathsCommands()
{
    return {{QStringLiteral("paths"),
             QStringLiteral("Prints the working directories (TAV_LOCAL_DOWNLOAD_PATH) and the "
                            "platform directory (TAV_PLATFORM_DIR)."),
             runPaths}};
}
