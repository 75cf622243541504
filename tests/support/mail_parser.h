#ifndef TAVMMS_TESTS_MAIL_PARSER_H
#define TAVMMS_TESTS_MAIL_PARSER_H

#include <QByteArray>
#include <QJsonObject>
#include <QList>
#include <QString>

#include <optional>
#include <string>

namespace tavmms_test
{

// Exported mail messages read by a MIME parser that is not this library's: Python's `email`
// package, through tests/scripts/check_eml.py, which checks each NAME.eml in a directory against
// NAME.json, and each NAME.mbox, read by Python's mailbox module, against its NAME.json (the
// script says what they hold).

// Writes the message `eml` and what it is to hold, `expected`, as NAME.eml and NAME.json in
// `directory`; a failure to write fails the test.
void writeMailCase(const QString& directory, const QString& name, const QByteArray& eml,
                   const QJsonObject& expected);

// Writes what the messages of the mbox file NAME.mbox in `directory` are to hold, `messages` in
// their order, as NAME.json there; a failure to write fails the test.
void writeMboxExpectation(const QString& directory, const QString& name,
                          const QList<QJsonObject>& messages);

// What the parser found wrong in the messages of `directory`: empty when each reads as expected;
// nothing when there is no python3 to run it, for a skip.
std::optional<std::string> mailParserProblems(const QString& directory);

// The member "data" of an expected part: `bytes` in base64.
QString base64Text(const QByteArray& bytes);

} // namespace tavmms_test

#endif
