#include "mime_type_table.h"
#include "mms_util_common.h"

#include "support/model_helpers.h"

#include <gtest/gtest.h>

#include <cctype>
#include <string>
#include <vector>

namespace
{

// Every row, written out independently of the library's own table.
const char* const kExpectedNames[] = {
    "*/*",
    "text/*",
    "text/html",
    "text/plain",
    "text/x-hdml",
    "text/x-ttml",
    "text/x-vCalendar",
    "text/x-vCard",
    "text/vnd.wap.wml",
    "text/vnd.wap.wmlscript",
    "text/vnd.wap.wta-event",
    "multipart/*",
    "multipart/mixed",
    "multipart/form-data",
    "multipart/byterantes",
    "multipart/alternative",
    "application/*",
    "application/java-vm",
    "application/x-www-form-urlencoded",
    "application/x-hdmlc",
    "application/vnd.wap.wmlc",
    "application/vnd.wap.wmlscriptc",
    "application/vnd.wap.wta-eventc",
    "application/vnd.wap.uaprof",
    "application/vnd.wap.wtls-ca-certificate",
    "application/vnd.wap.wtls-user-certificate",
    "application/x-x509-ca-cert",
    "application/x-x509-user-cert",
    "image/*",
    "image/gif",
    "image/jpeg",
    "image/tiff",
    "image/png",
    "image/vnd.wap.wbmp",
    "application/vnd.wap.multipart.*",
    "application/vnd.wap.multipart.mixed",
    "application/vnd.wap.multipart.form-data",
    "application/vnd.wap.multipart.byteranges",
    "application/vnd.wap.multipart.alternative",
    "application/xml",
    "text/xml",
    "application/vnd.wap.wbxml",
    "application/x-x968-cross-cert",
    "application/x-x968-ca-cert",
    "application/x-x968-user-cert",
    "text/vnd.wap.si",
    "application/vnd.wap.sic",
    "text/vnd.wap.sl",
    "application/vnd.wap.slc",
    "text/vnd.wap.co",
    "application/vnd.wap.coc",
    "application/vnd.wap.multipart.related",
    "application/vnd.wap.sia",
    "text/vnd.wap.connectivity-xml",
    "application/vnd.wap.connectivity-wbxml",
    "application/pkcs7-mime",
    "application/vnd.wap.hashed-certificate",
    "application/vnd.wap.signed-certificate",
    "application/vnd.wap.cert-response",
    "application/xhtml+xml",
    "application/wml+xml",
    "text/css",
    "application/vnd.wap.mms-message",
    "application/vnd.wap.rollover-certificate",
    "multipart/related",
    "application/vnd.wap.wml+xml",
    "text/x-wap-wta-wml",
    "application/x-wap-wta-wmlc",
    "text/vnd.wap.channel",
    "application/smil",
    "application/x-shockwave-flash",
    "image/bmp",
    "image/pjpeg",
    "image/svg+xml",
    "audio/amr",
    "audio/GSM-EFR",
    "audio/imelody",
    "audio/mpeg",
    "audio/midi",
    "audio/pcma",
    "audio/pcmu",
    "audio/x-ms-wma",
    "audio/x-wav",
    "video/mpeg",
    "video/h263",
    "video/x-ms-wmv",
};
constexpr unsigned kRows = sizeof(kExpectedNames) / sizeof(kExpectedNames[0]);

// Looks `text` up through a buffer of exactly its size, so that a read past the terminator shows
// under the address sanitizer; `text` receives what the buffer holds afterwards.
unsigned char valueOf(std::string& text)
{
    std::vector<char> buffer(text.c_str(), text.c_str() + text.size() + 1);
    const unsigned char value = mime_type_getValue(buffer.data());
    text.assign(buffer.data());
    return value;
}

unsigned char valueOf(const char* text)
{
    std::string copy(text);
    return valueOf(copy);
}

bool hasCapitals(const char* text)
{
    for (; *text; ++text) {
        if (*text >= 'A' && *text <= 'Z')
            return true;
    }
    return false;
}

TEST(MimeTypeTable, HasEightySixRowsAndEightySixMeansNotFound)
{
    EXPECT_EQ(kRows, 86u);
    EXPECT_EQ(MIME_TYPE_COUNT, 86);
    EXPECT_EQ(sizeof(mime_type_names) / sizeof(mime_type_names[0]), 86u);
    EXPECT_EQ(MIME_TYPE_NOT_FOUND, 0x56);
}

TEST(MimeTypeTable, EveryRowHoldsItsExactText)
{
    for (unsigned row = 0; row < kRows; ++row) {
        ASSERT_NE(mime_type_names[row], nullptr) << "row " << row;
        EXPECT_STREQ(mime_type_names[row], kExpectedNames[row]) << "row " << row;
    }
}

TEST(MimeTypeTable, RowFourteenKeepsItsStoredSpelling)
{
    EXPECT_STREQ(mime_type_names[0x0E], "multipart/byterantes");
    EXPECT_STREQ(mime_type_names[0x25], "application/vnd.wap.multipart.byteranges");
}

TEST(MimeTypeTable, GetNameGivesEveryRow)
{
    for (unsigned row = 0; row < kRows; ++row)
        EXPECT_EQ(mime_type_getName(row), mime_type_names[row]) << "row " << row;
}

TEST(MimeTypeTable, GetNameUsesTheLowEightBits)
{
    EXPECT_STREQ(mime_type_getName(0x155), "video/x-ms-wmv");
    EXPECT_EQ(mime_type_getName(0x155), mime_type_getName(0x55));
    EXPECT_STREQ(mime_type_getName(0x100), "*/*");
    EXPECT_STREQ(mime_type_getName(0xFFFFFF1Eu), "image/jpeg");
}

TEST(MimeTypeTable, GetNameAboveTheTableGivesNull)
{
    EXPECT_EQ(mime_type_getName(86), nullptr);
    EXPECT_EQ(mime_type_getName(0xFF), nullptr);
    EXPECT_EQ(mime_type_getName(0x156), nullptr);
}

TEST(MimeTypeTable, GetValueFindsEveryLowerCaseRow)
{
    for (unsigned row = 0; row < kRows; ++row) {
        if (hasCapitals(kExpectedNames[row]) || row == 0x50)
            continue;
        EXPECT_EQ(valueOf(kExpectedNames[row]), row) << kExpectedNames[row];
    }
}

TEST(MimeTypeTable, RowsWithCapitalsAreReachableOnlyByNumber)
{
    for (const char* name : {"text/x-vCalendar", "text/x-vCard", "audio/GSM-EFR"}) {
        EXPECT_EQ(valueOf(name), MIME_TYPE_NOT_FOUND) << name;
        std::string lower(name);
        for (char& c : lower)
            c = char(std::tolower(static_cast<unsigned char>(c)));
        EXPECT_EQ(valueOf(lower.c_str()), MIME_TYPE_NOT_FOUND) << lower;
    }
    EXPECT_STREQ(mime_type_getName(0x07), "text/x-vCard");
}

TEST(MimeTypeTable, PcmuGivesTheNumberOfPcma)
{
    EXPECT_EQ(valueOf("audio/pcmu"), 0x4F);
    EXPECT_EQ(valueOf("AUDIO/PCMU"), 0x4F);
    EXPECT_EQ(valueOf("audio/pcma"), 0x4F);
    EXPECT_STREQ(mime_type_getName(0x50), "audio/pcmu");
}

TEST(MimeTypeTable, PcmuRuleNeedsTheWholeText)
{
    EXPECT_EQ(valueOf("audio/pcmu2"), MIME_TYPE_NOT_FOUND);
    EXPECT_EQ(valueOf("audio/pcm"), MIME_TYPE_NOT_FOUND);
}

TEST(MimeTypeTable, GetValueLowerCasesTheBufferInPlace)
{
    std::string text = "IMAGE/JPEG";
    EXPECT_EQ(valueOf(text), 0x1E);
    EXPECT_EQ(text, "image/jpeg");
}

TEST(MimeTypeTable, GetValueLowerCasesAlsoWhenNotFound)
{
    std::string text = "Text/X-vCard";
    EXPECT_EQ(valueOf(text), MIME_TYPE_NOT_FOUND);
    EXPECT_EQ(text, "text/x-vcard");
}

TEST(MimeTypeTable, GetValueOfMixedCaseFindsTheRow)
{
    EXPECT_EQ(valueOf("Application/Vnd.Wap.Multipart.Related"), 0x33);
    EXPECT_EQ(valueOf("Multipart/Related"), 0x40);
}

TEST(MimeTypeTable, GetValueOfUnknownTextGivesNotFound)
{
    EXPECT_EQ(valueOf(""), MIME_TYPE_NOT_FOUND);
    EXPECT_EQ(valueOf("image/jpe"), MIME_TYPE_NOT_FOUND);
    EXPECT_EQ(valueOf("image/jpeg "), MIME_TYPE_NOT_FOUND);
    EXPECT_EQ(valueOf("image/jpeg;q=1"), MIME_TYPE_NOT_FOUND);
    EXPECT_EQ(valueOf("multipart/byteranges"), MIME_TYPE_NOT_FOUND);
}

TEST(MimeTypeTable, GetValueOfNullGivesNotFound)
{
    EXPECT_EQ(mime_type_getValue(nullptr), MIME_TYPE_NOT_FOUND);
}

TEST(MimeTypeTable, GetValueOfAVeryLongTextGivesNotFound)
{
    std::string text(300, 'A');
    text.replace(0, 6, "IMAGE/");
    EXPECT_EQ(valueOf(text), MIME_TYPE_NOT_FOUND);
    EXPECT_EQ(text.size(), 300u);
    EXPECT_EQ(text.compare(0, 6, "image/"), 0);
}

TEST(MmsUtilCommonMimeType, GetValueJoinsTypeAndSubtype)
{
    EXPECT_EQ(MMS_UTIL_Common::mimeTypeGetValue(QStringLiteral("image"), QStringLiteral("jpeg")),
              0x1E);
    EXPECT_EQ(MMS_UTIL_Common::mimeTypeGetValue(QStringLiteral("application"),
                                                QStringLiteral("vnd.wap.multipart.related")),
              0x33);
    EXPECT_EQ(MMS_UTIL_Common::mimeTypeGetValue(QStringLiteral("*"), QStringLiteral("*")), 0x00);
}

TEST(MmsUtilCommonMimeType, GetValueIgnoresCase)
{
    EXPECT_EQ(MMS_UTIL_Common::mimeTypeGetValue(QStringLiteral("IMAGE"), QStringLiteral("Jpeg")),
              0x1E);
}

TEST(MmsUtilCommonMimeType, GetValueLeavesTheArgumentsUnchanged)
{
    const QString type = QStringLiteral("IMAGE");
    const QString subtype = QStringLiteral("JPEG");
    MMS_UTIL_Common::mimeTypeGetValue(type, subtype);
    EXPECT_EQ(type, QStringLiteral("IMAGE"));
    EXPECT_EQ(subtype, QStringLiteral("JPEG"));
}

TEST(MmsUtilCommonMimeType, GetValueKeepsThePcmuRule)
{
    EXPECT_EQ(MMS_UTIL_Common::mimeTypeGetValue(QStringLiteral("audio"), QStringLiteral("pcmu")),
              0x4F);
}

TEST(MmsUtilCommonMimeType, GetValueOfUnknownTypeGivesNotFound)
{
    EXPECT_EQ(MMS_UTIL_Common::mimeTypeGetValue(QStringLiteral("text"), QStringLiteral("x-vCard")),
              MIME_TYPE_NOT_FOUND);
    EXPECT_EQ(MMS_UTIL_Common::mimeTypeGetValue(QString(), QString()), MIME_TYPE_NOT_FOUND);
    EXPECT_EQ(MMS_UTIL_Common::mimeTypeGetValue(QStringLiteral("image/jpeg"), QString()),
              MIME_TYPE_NOT_FOUND);
    EXPECT_EQ(MMS_UTIL_Common::mimeTypeGetValue(QStringLiteral("image"), QStringLiteral("jpég")),
              MIME_TYPE_NOT_FOUND);
}

TEST(MmsUtilCommonMimeType, GetNameSplitsEveryRowAtItsFirstSlash)
{
    for (unsigned row = 0; row < kRows; ++row) {
        QString type;
        QString subtype;
        ASSERT_EQ(MMS_UTIL_Common::mimeTypeGetName(static_cast<unsigned char>(row), type, subtype),
                  0)
            << "row " << row;
        EXPECT_EQ(type + QLatin1Char('/') + subtype, QLatin1String(kExpectedNames[row]))
            << "row " << row;
        EXPECT_FALSE(type.contains(QLatin1Char('/'))) << "row " << row;
    }
}

TEST(MmsUtilCommonMimeType, GetNameGivesTypeAndSubtype)
{
    QString type;
    QString subtype;
    EXPECT_EQ(MMS_UTIL_Common::mimeTypeGetName(0x1E, type, subtype), 0);
    EXPECT_EQ(type, QStringLiteral("image"));
    EXPECT_EQ(subtype, QStringLiteral("jpeg"));
    EXPECT_EQ(MMS_UTIL_Common::mimeTypeGetName(0x22, type, subtype), 0);
    EXPECT_EQ(type, QStringLiteral("application"));
    EXPECT_EQ(subtype, QStringLiteral("vnd.wap.multipart.*"));
}

TEST(MmsUtilCommonMimeType, GetNameOfAnUnknownNumberLeavesTheOutputs)
{
    for (const unsigned char value : {86, 0x80, 0xFF}) {
        QString type = QStringLiteral("keep");
        QString subtype;
        EXPECT_EQ(MMS_UTIL_Common::mimeTypeGetName(value, type, subtype), 1) << int(value);
        EXPECT_EQ(type, QStringLiteral("keep"));
        EXPECT_TRUE(subtype.isNull());
    }
}

} // namespace
