// The keys phone numbers and e-mail addresses are kept and looked up under, and the regions.

#include "phone_number_match.h"

#include "support/model_helpers.h"

#include <gtest/gtest.h>

namespace
{

using tavplatform::emailKey;
using tavplatform::isKnownRegion;
using tavplatform::phoneNumberKey;
using tavplatform::regionOfLocale;

const QString kGermany = QStringLiteral("DE");
const QString kNone = QStringLiteral("ZZ");

TEST(PossiblePhoneNumberTest, TakesNumbersAndShortNumbersOfTheRegion)
{
    const struct {
        const char* number;
        const char* region;
        bool possible;
    } cases[] = {
        {"+49 171 2345678", "ZZ", true},
        {"+1 (555) 010-0199", "US", true},
        {"0171 2345678", "DE", true},
        {"030 1234567", "DE", true},
        {"112", "DE", true},   // an emergency number
        {"911", "US", true},   // likewise
        {"0171 2345678", "ZZ", false}, // national, and no region to read it in
        {"+49 1", "DE", false},
        {"12345678901234567890", "DE", false},
        {"", "DE", false},
        {"Ann Example", "DE", false},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(std::string(c.number) + " in " + c.region);
        EXPECT_EQ(tavplatform::isPossiblePhoneNumber(QString::fromUtf8(c.number),
                                                     QLatin1String(c.region)),
                  c.possible);
    }
}

TEST(PhoneNumberKeyTest, NationalAndInternationalFormsGiveOneKey)
{
    for (const char* form :
         {"0171 2345678", "01712345678", "+49 171 2345678", "+491712345678", "0049 171 2345678",
          "(0171) 234-5678", "0171/234.56.78", "+49 (0) 171 2345678"})
        EXPECT_EQ(phoneNumberKey(QString::fromLatin1(form), kGermany),
                  QStringLiteral("+491712345678"))
            << form;
}

TEST(PhoneNumberKeyTest, RegionDecidesWhatNationalNumberIs)
{
    EXPECT_EQ(phoneNumberKey(QStringLiteral("030 1234567"), kGermany),
              QStringLiteral("+49301234567"));
    EXPECT_EQ(phoneNumberKey(QStringLiteral("030 1234567"), QStringLiteral("FR")),
              QStringLiteral("+33301234567"));
    EXPECT_EQ(phoneNumberKey(QStringLiteral("138 0013 8000"), QStringLiteral("CN")),
              QStringLiteral("+8613800138000"));
}

TEST(PhoneNumberKeyTest, InternationalFormIsTheSameInEveryRegion)
{
    for (const QString& region : {kGermany, QStringLiteral("US"), kNone})
        EXPECT_EQ(phoneNumberKey(QStringLiteral("+86 138-0013-8000"), region),
                  QStringLiteral("+8613800138000"))
            << region.toStdString();
}

TEST(PhoneNumberKeyTest, MmsTypeSuffixIsNotPartOfNumber)
{
    EXPECT_EQ(phoneNumberKey(QStringLiteral("+491712345678/TYPE=PLMN"), kGermany),
              QStringLiteral("+491712345678"));
    EXPECT_EQ(phoneNumberKey(QStringLiteral("01712345678/type=plmn"), kGermany),
              QStringLiteral("+491712345678"));
}

TEST(PhoneNumberKeyTest, NumberThatDoesNotReadKeepsItsDialCharacters)
{
    EXPECT_EQ(phoneNumberKey(QStringLiteral("*100#"), kGermany), QStringLiteral("*100#"));
    EXPECT_EQ(phoneNumberKey(QStringLiteral("0171 234-5678"), kNone),
              QStringLiteral("01712345678"));
    EXPECT_EQ(phoneNumberKey(QStringLiteral("(0171) 2345678"), kNone),
              QStringLiteral("01712345678"));
}

TEST(PhoneNumberKeyTest, TextWithoutDigitGivesEmptyKey)
{
    EXPECT_EQ(phoneNumberKey(QString(), kGermany), QString());
    EXPECT_EQ(phoneNumberKey(QStringLiteral("ann@example.org"), kGermany), QString());
    EXPECT_EQ(phoneNumberKey(QStringLiteral("+ - ( )"), kGermany), QString());
}

TEST(EmailKeyTest, LetterCaseAndBlanksAroundDoNotCount)
{
    EXPECT_EQ(emailKey(QStringLiteral(" Ann.Lee@Example.ORG ")),
              QStringLiteral("ann.lee@example.org"));
    EXPECT_EQ(emailKey(QString::fromUtf8("JÜRGEN@Ärzte.Example")),
              QString::fromUtf8("jürgen@ärzte.example"));
}

TEST(RegionTest, KnownRegionsAreUpperCaseCodesWithNumbers)
{
    EXPECT_TRUE(isKnownRegion(kGermany));
    EXPECT_TRUE(isKnownRegion(QStringLiteral("CN")));
    EXPECT_TRUE(isKnownRegion(kNone));
    EXPECT_FALSE(isKnownRegion(QStringLiteral("de")));
    EXPECT_FALSE(isKnownRegion(QStringLiteral("XX")));
    EXPECT_FALSE(isKnownRegion(QString()));
}

TEST(RegionTest, RegionOfLocaleIsItsCountryOrNone)
{
    EXPECT_EQ(regionOfLocale(QLocale(QStringLiteral("de_AT"))), QStringLiteral("AT"));
    EXPECT_EQ(regionOfLocale(QLocale(QStringLiteral("zh_CN"))), QStringLiteral("CN"));
    EXPECT_EQ(regionOfLocale(QLocale::c()), kNone);
}

} // namespace
