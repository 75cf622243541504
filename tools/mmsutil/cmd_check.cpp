// mmsutil check: the message index against the mail file directory, one line per problem, and the
// repairs a person asks for.

#include "commands.h"
#include "mmshelpers.h"
#include "textout.h"

#include <tavmmsutility.h>

#include <algorithm>

#include <QCommandLineParser>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTextStream>

namespace
{

namespace store = tavmms::store;

// One line per problem, each with what became of it when repairing; a repair that failed says
// why on standard error first.
const char* outcomeWord(store::CheckProblem::Outcome outcome)
{
    switch (outcome) {
    case store::CheckProblem::Found:
        return "found";
    case store::CheckProblem::Repaired:
        return "repaired";
    case store::CheckProblem::RepairFailed:
        return "repairFailed";
    case store::CheckProblem::Kept:
        return "kept";
    }
    return "";
}

QJsonObject reportToJson(const store::CheckReport& report)
{
    QJsonArray problems;
    for (const store::CheckProblem& problem : report.problems)
        problems.append(
            QJsonObject{{QStringLiteral("text"), problem.text},
                        {QStringLiteral("outcome"), QLatin1String(outcomeWord(problem.outcome))},
                        {QStringLiteral("note"), problem.note},
                        {QStringLiteral("error"), problem.error}});
    QJsonArray others;
    for (const store::OtherEntry& other : report.others)
        others.append(
            QJsonObject{{QStringLiteral("name"), other.name}, {QStringLiteral("why"), other.why}});
    return QJsonObject{{QStringLiteral("directory"), report.directory},
                       {QStringLiteral("rows"), report.rows},
                       {QStringLiteral("mailFiles"), report.mailFiles},
                       {QStringLiteral("problems"), problems},
                       {QStringLiteral("others"), others},
                       {QStringLiteral("repaired"), report.repaired()},
                       {QStringLiteral("remaining"), report.remaining()}};
}

void printProblems(const store::CheckReport& report)
{
    QTextStream& out = cli::out();
    for (const store::CheckProblem& problem : report.problems) {
        switch (problem.outcome) {
        case store::CheckProblem::Found:
            out << problem.text << '\n';
            break;
        case store::CheckProblem::Kept:
            out << problem.text << " -> kept (" << problem.note << ")\n";
            break;
        case store::CheckProblem::Repaired:
            out << problem.text << " -> " << problem.note << '\n';
            break;
        case store::CheckProblem::RepairFailed:
            out.flush(); // the lines so far come before what the repair reports
            cli::fail(problem.error);
            out << problem.text << " -> failed\n";
            break;
        }
    }
}

int runCheck(const cli::Command& command, const QStringList& arguments)
{
    const QCommandLineOption repair(
        QStringLiteral("repair"),
        QStringLiteral("Renames a leftover of a save into place when its mail file is missing and "
                       "it loads completely; removes the other leftovers; completes an interrupted "
                       "delete."));
    const QCommandLineOption force(
        QStringLiteral("force"),
        QStringLiteral("With --repair, also moves mail files that do not load (a leftover that "
                       "loads completely then takes the place of one) and mail files without a "
                       "row to the quarantine folder, each with a note of why, and deletes rows "
                       "without a mail file."));
    const QCommandLineOption rebuild(
        QStringLiteral("rebuild"),
        QStringLiteral("Repairs, and makes the row of each mail file that has none from its "
                       "header, after the message index was lost or reset (see the README for "
                       "the fields a header does not hold). Each such file is renamed to its new "
                       "row's id."));
    QCommandLineParser parser;
    parser.setApplicationDescription(
        command.summary +
        QStringLiteral("\n\n"
                       "Prints one line per problem, then a summary line:\n"
                       "  row N: no mail file N.mms\n"
                       "  N.mms: no row\n"
                       "  N.mms: does not load (why)\n"
                       "  N.mms: its header does not match its row (fields)\n"
                       "  N.mms.tmp: left by an interrupted save, ...\n"
                       "  N.mms.deleted: left by an interrupted delete, ...\n"
                       "Other names in the mail file directory are listed as left alone and are\n"
                       "never touched. With --repair each line ends in what became of the\n"
                       "problem. A check waits while another program writes a message, and a\n"
                       "repair until none does, so that no message being kept is judged.\n"
                       "Nothing is deleted but rows without a mail file: the quarantine folder\n"
                       "is quarantine/ in the store's working directory. A mail file that\n"
                       "cannot be read, or whose header does not match its row, is left alone.\n"
                       "Mail files without a message index stop the check, but for --rebuild.\n"
                       "\n"
                       "Exit status: 0 the store is consistent or was repaired fully, 1 the check\n"
                       "or a repair failed, 2 bad usage, 3 problems remain."));
    const QCommandLineOption json = cli::jsonOption(QStringLiteral(
        "an object {directory, rows, mailFiles, problems, others, repaired, remaining}, each "
        "problem an object {text, outcome (found, repaired, repairFailed or kept), note, error}, "
        "each other name {name, why}"));
    parser.addOptions({repair, force, rebuild, json});
    if (const std::optional<int> stop = cli::parse(parser, command, arguments, 0))
        return *stop;
    if (parser.isSet(force) && !parser.isSet(repair) && !parser.isSet(rebuild))
        return cli::usageError(command.name,
                               QStringLiteral("--force only goes with --repair or --rebuild"));

    store::CheckOptions options;
    options.repair = parser.isSet(repair);
    options.rebuild = parser.isSet(rebuild);
    options.force = parser.isSet(force);
    const store::CheckReport report = store::checkStore(options);
    if (!report.status.ok())
        return cli::fail(report.status.text);
    // A store with problems left is an answer, not a failure; a repair that failed is one.
    const bool repairFailed = std::any_of(report.problems.begin(), report.problems.end(),
                                          [](const store::CheckProblem& p) {
                                              return p.outcome == store::CheckProblem::RepairFailed;
                                          });
    const int status =
        repairFailed ? cli::ExitFailed : (report.remaining() == 0 ? cli::ExitOk : cli::ExitNo);
    if (parser.isSet(json)) {
        const int printed = cli::printJson(QJsonDocument(reportToJson(report)));
        return printed == cli::ExitOk ? status : printed;
    }
    printProblems(report);
    for (const store::OtherEntry& other : report.others)
        cli::out() << other.name << ": " << other.why << ", left alone\n";

    QTextStream& out = cli::out();
    out << "checked " << textout::counted(report.rows, "row") << " and "
        << textout::counted(report.mailFiles, "mail file") << " in " << report.directory << ": ";
    const int problems = int(report.problems.size());
    const int remaining = report.remaining();
    if (problems == 0)
        out << "no problems\n";
    else if (!options.repair && !options.rebuild)
        out << textout::counted(problems, "problem") << '\n';
    else
        out << textout::counted(problems, "problem") << ", " << report.repaired() << " repaired, "
            << remaining << " remain" << (remaining == 1 ? "s" : "") << '\n';
    return status;
}

} // namespace

QList<cli::Command> checkCommands()
{
    return {{QStringLiteral("check"),
             QStringLiteral("Compares the message index with the mail file directory."), runCheck}};
}
