#include "support/mail_parser.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QProcess>
#include <QStandardPaths>

#include <gtest/gtest.h>

namespace tavmms_test
{

namespace
{

void writeFile(const QString& path, const QByteArray& bytes)
{
    QFile out(path);
    ASSERT_TRUE(out.open(QIODevice::WriteOnly)) << path.toStdString();
    ASSERT_EQ(out.write(bytes), bytes.size());
}

} // namespace

void writeMailCase(const QString& directory, const QString& name, const QByteArray& eml,
                   const QJsonObject& expected)
{
    const struct {
        QString suffix;
        QByteArray bytes;
    } files[] = {{QStringLiteral(".eml"), eml},
                 {QStringLiteral(".json"), QJsonDocument(expected).toJson()}};
    for (const auto& file : files)
        writeFile(directory + QLatin1Char('/') + name + file.suffix, file.bytes);
}

void writeMboxExpectation(const QString& directory, const QString& name,
                          const QList<QJsonObject>& messages)
{
    QJsonArray array;
    for (const QJsonObject& message : messages)
        array.append(message);
    writeFile(directory + QLatin1Char('/') + name + QStringLiteral(".json"),
              QJsonDocument(QJsonObject{{QStringLiteral("messages"), array}}).toJson());
}

std::optional<std::string> mailParserProblems(const QString& directory)
{
    const QString python = QStandardPaths::findExecutable(QStringLiteral("python3"));
    if (python.isEmpty())
        return std::nullopt;
    QProcess process;
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.start(python,
                  {QStringLiteral(TAVMMS_SOURCE_DIR "/tests/scripts/check_eml.py"), directory});
    if (!process.waitForFinished(120000) || process.exitStatus() != QProcess::NormalExit)
        return "check_eml.py did not finish: " + process.errorString().toStdString();
    const std::string output = process.readAll().toStdString();
    if (process.exitCode() != 0)
        return output.empty() ? std::string("check_eml.py failed") : output;
    return std::string();
}

QString base64Text(const QByteArray& bytes)
{
    return QString::fromLatin1(bytes.toBase64());
}

} // namespace tavmms_test
