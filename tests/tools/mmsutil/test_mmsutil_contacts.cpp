// mmsutil's contacts commands, run as a child process on an address book and settings store in a
// temporary platform directory: what they print, their exit codes, and what they leave for the
// next run.

#include "support/tool_process.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QProcessEnvironment>
#include <QTemporaryDir>

namespace
{

using tavmms_test::expectFailure;
using tavmms_test::expectUsageError;
using tavmms_test::ToolResult;

const QByteArray kTwoContacts =
    "BEGIN:VCARD\r\n"
    "VERSION:3.0\r\n"
    "FN:Ann Lee\r\n"
    "ORG:Acme\r\n"
    "TEL;TYPE=CELL:0171 2345678\r\n"
    "EMAIL;TYPE=WORK:Ann@Work.example\r\n"
    "END:VCARD\r\n"
    "BEGIN:VCARD\r\n"
    "VERSION:2.1\r\n"
    "N;CHARSET=UTF-8;ENCODING=QUOTED-PRINTABLE:M=C3=BCller;J=C3=BCrgen\r\n"
    "TEL;HOME:+1 555 0101\r\n"
    "END:VCARD\r\n";

const QByteArray kListed = "Ann Lee (Acme)\n"
                           "  Mobile: 0171 2345678\n"
                           "  Work: Ann@Work.example\n"
                           "Jürgen Müller\n"
                           "  Home: +1 555 0101\n";

class MmsutilContactsTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(dir.isValid());
        ASSERT_TRUE(QDir().mkpath(dir.filePath(QStringLiteral("platform"))));
        writeFile(QStringLiteral("two.vcf"), kTwoContacts);
    }

    // The tool on the temporary platform directory, with `variables` (a null value removes one).
    ToolResult run(const QStringList& arguments, const QByteArray& input = QByteArray(),
                   const QList<std::pair<QString, QString>>& variables = {}) const
    {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("TAV_PLATFORM_DIR"),
                           dir.filePath(QStringLiteral("platform")));
        for (const auto& [name, value] : variables) {
            if (value.isNull())
                environment.remove(name);
            else
                environment.insert(name, value);
        }
        return tavmms_test::runTool(QStringLiteral(TAVMMS_MMSUTIL_PATH),
                                    QStringList{QStringLiteral("contacts")} + arguments, dir.path(),
                                    input, environment);
    }

    // Runs a command that must succeed without a word on standard error; gives its output.
    QByteArray succeed(const QStringList& arguments) const
    {
        const ToolResult result = run(arguments);
        EXPECT_EQ(result.exitCode, 0) << result.err.toStdString();
        EXPECT_TRUE(result.err.isEmpty()) << result.err.toStdString();
        return result.out;
    }

    // The tool printed `answer` and exited with 3, saying nothing on standard error.
    void expectNo(const ToolResult& result, const QByteArray& answer) const
    {
        EXPECT_EQ(result.exitCode, 3);
        EXPECT_EQ(result.out, answer);
        EXPECT_TRUE(result.err.isEmpty()) << result.err.toStdString();
    }

    // The two contacts in a book whose national numbers are German, whatever the locale.
    void importTwo() const
    {
        succeed({QStringLiteral("region"), QStringLiteral("DE")});
        succeed({QStringLiteral("import"), QStringLiteral("two.vcf")});
    }

    void writeFile(const QString& name, const QByteArray& data) const
    {
        QFile file(dir.filePath(name));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        ASSERT_EQ(file.write(data), data.size());
    }

    QTemporaryDir dir;
};

TEST_F(MmsutilContactsTest, ImportCountsContactsAndListsSkippedLines)
{
    writeFile(QStringLiteral("bad.vcf"), "junk\n"
                                         "BEGIN:VCARD\n"
                                         "VERSION:3.0\n"
                                         "FN:Kept\n"
                                         "no colon here\n"
                                         "END:VCARD\n"
                                         "BEGIN:VCARD\n"
                                         "FN:Never ended\n");
    // The lines skipped are warnings, on standard error; the count is the answer.
    const ToolResult result =
        run({QStringLiteral("import"), QStringLiteral("two.vcf"), QStringLiteral("bad.vcf")});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.err, "mmsutil: bad.vcf:1: text outside a vCard\n"
                          "mmsutil: bad.vcf:5: no ':' between the property name and its value\n"
                          "mmsutil: bad.vcf:7-8: vCard without END:VCARD, skipped\n");
    EXPECT_EQ(result.out, "3 contacts imported (3 new, 0 replaced), 4 lines skipped\n");
    EXPECT_EQ(succeed({QStringLiteral("list")}), kListed + "Kept\n");
}

TEST_F(MmsutilContactsTest, ImportingAgainReplacesAndAddsNothing)
{
    EXPECT_EQ(succeed({QStringLiteral("import"), QStringLiteral("two.vcf")}),
              "2 contacts imported (2 new, 0 replaced), 0 lines skipped\n");
    EXPECT_EQ(succeed({QStringLiteral("import"), QStringLiteral("two.vcf")}),
              "2 contacts imported (0 new, 2 replaced), 0 lines skipped\n");
    EXPECT_EQ(succeed({QStringLiteral("list")}), kListed);
}

TEST_F(MmsutilContactsTest, ImportReadsStandardInput)
{
    const ToolResult result = run({QStringLiteral("import"), QStringLiteral("-")},
                                  "BEGIN:VCARD\nVERSION:4.0\nFN:Piped\nEND:VCARD\n");
    EXPECT_EQ(result.exitCode, 0) << result.err.toStdString();
    EXPECT_EQ(result.out, "1 contact imported (1 new, 0 replaced), 0 lines skipped\n");
    EXPECT_EQ(succeed({QStringLiteral("list")}), "Piped\n");
}

TEST_F(MmsutilContactsTest, UnreadableFileImportsNothing)
{
    expectFailure(
        run({QStringLiteral("import"), QStringLiteral("two.vcf"), QStringLiteral("missing.vcf")}));
    EXPECT_EQ(succeed({QStringLiteral("list")}), QByteArray());
}

TEST_F(MmsutilContactsTest, ImportWithoutFileIsUsageError)
{
    expectUsageError(run({QStringLiteral("import")}));
}

TEST_F(MmsutilContactsTest, LookupFindsNumberInOtherFormAndAddressInOtherCase)
{
    importTwo();
    EXPECT_EQ(succeed({QStringLiteral("lookup"), QStringLiteral("+49 (171) 234-5678")}),
              "Ann Lee (Mobile)\n");
    EXPECT_EQ(succeed({QStringLiteral("lookup"), QStringLiteral("ANN@work.example")}),
              "Ann Lee (Work)\n");
    EXPECT_EQ(succeed({QStringLiteral("lookup"), QStringLiteral("<x>[PLMN]0015550101")}),
              "Jürgen Müller (Home)\n");
}

TEST_F(MmsutilContactsTest, LookupWithoutHitSaysNotFound)
{
    importTwo();
    expectNo(run({QStringLiteral("lookup"), QStringLiteral("+491719999999")}), "not found\n");
    // The address is searched as what it is: an e-mail address is not a number.
    expectNo(run({QStringLiteral("lookup"), QStringLiteral("<x>[PLMN]ann@work.example")}),
             "not found\n");
}

TEST_F(MmsutilContactsTest, LookupInADamagedAddressBookSaysSoAndFails)
{
    const QString book = dir.filePath(QStringLiteral("platform/contacts.db"));
    {
        QFile file(book);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        ASSERT_EQ(file.write(QByteArray(8192, '\x5a')), 8192);
    }

    const ToolResult result = run({QStringLiteral("lookup"), QStringLiteral("+15550101")});

    EXPECT_EQ(result.exitCode, 1);
    EXPECT_TRUE(result.out.isEmpty()) << result.out.toStdString();
    EXPECT_EQ(result.err, "mmsutil: the address book '" + book.toUtf8() +
                              "' is damaged: it is not a database, or a corrupt one\n");
}

TEST_F(MmsutilContactsTest, RemoveNamesEachRemovedContactAndCountsThem)
{
    importTwo();
    EXPECT_EQ(succeed({QStringLiteral("remove"), QStringLiteral("+49 (171) 234-5678"),
                       QStringLiteral("<x>[PLMN]0015550101")}),
              "Ann Lee (Acme)\n"
              "Jürgen Müller\n"
              "2 contacts removed\n");
    EXPECT_EQ(succeed({QStringLiteral("list")}), QByteArray());
}

TEST_F(MmsutilContactsTest, RemoveByAddressInOtherCaseLeavesTheOthers)
{
    importTwo();
    EXPECT_EQ(succeed({QStringLiteral("remove"), QStringLiteral("ANN@work.example")}),
              "Ann Lee (Acme)\n"
              "1 contact removed\n");
    EXPECT_EQ(succeed({QStringLiteral("list")}), "Jürgen Müller\n"
                                                 "  Home: +1 555 0101\n");
    expectNo(run({QStringLiteral("lookup"), QStringLiteral("0171 2345678")}), "not found\n");
}

TEST_F(MmsutilContactsTest, RemoveOfContactWithoutNameShowsItAsListDoes)
{
    writeFile(QStringLiteral("nameless.vcf"), "BEGIN:VCARD\nVERSION:3.0\nFN:\n"
                                              "TEL:+1 555 0199\nEND:VCARD\n");
    succeed({QStringLiteral("import"), QStringLiteral("nameless.vcf")});
    EXPECT_EQ(succeed({QStringLiteral("remove"), QStringLiteral("+15550199")}),
              "(no name)\n"
              "1 contact removed\n");
    EXPECT_EQ(succeed({QStringLiteral("list")}), QByteArray());
}

TEST_F(MmsutilContactsTest, RemoveReportsAddressesThatMatchNothingAndExitsWith3)
{
    importTwo();
    const ToolResult result =
        run({QStringLiteral("remove"), QStringLiteral("+491719999999"), QStringLiteral("+15550101"),
             QStringLiteral("<x>[PLMN]ann@work.example")});
    EXPECT_EQ(result.exitCode, 3);
    EXPECT_EQ(result.out, "Jürgen Müller\n"
                          "1 contact removed\n");
    EXPECT_EQ(result.err,
              "mmsutil: contacts remove: no contact holds '+491719999999'\n"
              "mmsutil: contacts remove: no contact holds '<x>[PLMN]ann@work.example'\n");
    EXPECT_EQ(succeed({QStringLiteral("list")}), "Ann Lee (Acme)\n"
                                                 "  Mobile: 0171 2345678\n"
                                                 "  Work: Ann@Work.example\n");
}

TEST_F(MmsutilContactsTest, RemovingTwiceFindsNothingTheSecondTime)
{
    importTwo();
    succeed({QStringLiteral("remove"), QStringLiteral("+15550101")});
    const ToolResult again = run({QStringLiteral("remove"), QStringLiteral("+15550101")});
    EXPECT_EQ(again.exitCode, 3);
    EXPECT_EQ(again.out, "0 contacts removed\n");
    EXPECT_EQ(again.err, "mmsutil: contacts remove: no contact holds '+15550101'\n");
}

TEST_F(MmsutilContactsTest, RemoveWithoutAddressOrWithBadEntryIsUsageErrorAndRemovesNothing)
{
    importTwo();
    expectUsageError(run({QStringLiteral("remove")}));
    expectUsageError(run({QStringLiteral("remove"), QStringLiteral("+15550101"), QString()}));
    expectUsageError(
        run({QStringLiteral("remove"), QStringLiteral("+15550101"), QStringLiteral("<x>[FAX]1")}));
    EXPECT_EQ(succeed({QStringLiteral("list")}), kListed);
}

TEST_F(MmsutilContactsTest, RemoveIsListedInTheGroupsHelp)
{
    const QByteArray help = succeed({QStringLiteral("--help")});
    EXPECT_TRUE(
        help.contains("\n  remove  Removes the contacts of phone numbers or e-mail addresses.\n"))
        << help.toStdString();
}

TEST_F(MmsutilContactsTest, OwnerIsSetShownAndForgotten)
{
    expectNo(run({QStringLiteral("owner")}), "no owner\n");
    EXPECT_EQ(succeed({QStringLiteral("owner"), QStringLiteral("--set"), QStringLiteral("Olga O"),
                       QStringLiteral("+49 160 1")}),
              QByteArray());
    EXPECT_EQ(succeed({QStringLiteral("owner")}), "<Olga O>[PLMN]+49 160 1\n");
    succeed({QStringLiteral("owner"), QStringLiteral("--set"), QString(), QString()});
    expectNo(run({QStringLiteral("owner")}), "no owner\n");
}

TEST_F(MmsutilContactsTest, OwnerTakesNameAndNumberOnlyWithSet)
{
    expectUsageError(run({QStringLiteral("owner"), QStringLiteral("Olga")}));
    expectUsageError(run({QStringLiteral("owner"), QStringLiteral("Olga"), QStringLiteral("1")}));
    expectUsageError(run({QStringLiteral("owner"), QStringLiteral("--set"), QStringLiteral("1")}));
    expectNo(run({QStringLiteral("owner")}), "no owner\n");
}

TEST_F(MmsutilContactsTest, RegionIsStoredInUpperCaseAndGovernsNationalNumbers)
{
    importTwo();
    EXPECT_EQ(succeed({QStringLiteral("region"), QStringLiteral("fr")}), QByteArray());
    EXPECT_EQ(succeed({QStringLiteral("region")}), "FR\n");
    expectNo(run({QStringLiteral("lookup"), QStringLiteral("+491712345678")}), "not found\n");
    EXPECT_EQ(succeed({QStringLiteral("lookup"), QStringLiteral("+331712345678")}),
              "Ann Lee (Mobile)\n");
}

TEST_F(MmsutilContactsTest, UnknownRegionIsUsageErrorAndChangesNothing)
{
    succeed({QStringLiteral("region"), QStringLiteral("CN")});
    expectUsageError(run({QStringLiteral("region"), QStringLiteral("XX")}));
    EXPECT_EQ(succeed({QStringLiteral("region")}), "CN\n");
}

TEST_F(MmsutilContactsTest, RegionNotSetIsCountryOfLocale)
{
    const ToolResult german = run({QStringLiteral("region")}, QByteArray(),
                                  {{QStringLiteral("LC_ALL"), QStringLiteral("de_DE.UTF-8")},
                                   {QStringLiteral("LANG"), QStringLiteral("de_DE.UTF-8")}});
    EXPECT_EQ(german.exitCode, 0) << german.err.toStdString();
    EXPECT_EQ(german.out, "DE\n");
    const ToolResult plain = run({QStringLiteral("region")}, QByteArray(),
                                 {{QStringLiteral("LC_ALL"), QStringLiteral("C")},
                                  {QStringLiteral("LANG"), QStringLiteral("C")}});
    EXPECT_EQ(plain.exitCode, 0) << plain.err.toStdString();
    EXPECT_EQ(plain.out, "ZZ\n");
}

} // namespace
