// Message classification of MMS_UTIL_Common: the message-type code of a content type and the
// start type read from its parameter list.

#include "mime_type_table.h"
#include "mms_util_common.h"

#include <gtest/gtest.h>

#include <QString>

#include <map>

namespace
{

const unsigned char kNone = 0;
const unsigned char kNotFound = MIME_TYPE_NOT_FOUND;
const unsigned char kImageGif = 0x1D;
const unsigned char kXhtml = 0x3B;
const unsigned char kSmil = 0x45;

const char kRelated[] = "application/vnd.wap.multipart.related";
const char kMixed[] = "application/vnd.wap.multipart.mixed";

// "type/subtype" cut at its first "/", with `params` as the parameter list.
MMS_CONTENT_TYPE_T contentType(const QString& name, const QString& params = QString())
{
    const qsizetype slash = name.indexOf(QLatin1Char('/'));
    return MMS_CONTENT_TYPE_T{name.left(slash), name.mid(slash + 1), params};
}

int classify(const QString& name, const QString& params = QString())
{
    return MMS_UTIL_Common::getMsgTypeByContentType(contentType(name, params));
}

unsigned char startType(const QString& params)
{
    return MMS_UTIL_Common::getAppTypeFrParaList(params);
}

// A "type" parameter padded with `fill` letters right after "type", followed by `tail`: long
// enough to push the marks in `tail` past position 255.
QString longTypePiece(int fill, const QString& tail)
{
    return QStringLiteral("type") + QString(fill, QLatin1Char('x')) + tail;
}

// --- Message-type codes --------------------------------------------------------------------------

TEST(MessageTypeCodes, KeepTheirValuesWithTheirGaps)
{
    EXPECT_EQ(MMS_UTIL_Common::MSG_TYPE_RELATED_SMIL, 0);
    EXPECT_EQ(MMS_UTIL_Common::MSG_TYPE_RELATED_XHTML, 1);
    EXPECT_EQ(MMS_UTIL_Common::MSG_TYPE_MIXED, 2);
    EXPECT_EQ(MMS_UTIL_Common::MSG_TYPE_SINGLE_MEDIA, 6);
    EXPECT_EQ(MMS_UTIL_Common::MSG_TYPE_OTHER, 7);
}

// --- getMsgTypeByContentType ---------------------------------------------------------------------

TEST(MessageType, UpperCaseImageGifIsASingleMediaObject)
{
    EXPECT_EQ(classify(QStringLiteral("IMAGE/GIF")), MMS_UTIL_Common::MSG_TYPE_SINGLE_MEDIA);
}

TEST(MessageType, RelatedWithoutParametersIsSmil)
{
    EXPECT_EQ(classify(kRelated, QLatin1String("")), MMS_UTIL_Common::MSG_TYPE_RELATED_SMIL);
    EXPECT_EQ(classify(kRelated, QString()), MMS_UTIL_Common::MSG_TYPE_RELATED_SMIL);
}

TEST(MessageType, RelatedStartingWithXhtmlIsXhtml)
{
    EXPECT_EQ(classify(kRelated, QStringLiteral("type=application/xhtml+xml")),
              MMS_UTIL_Common::MSG_TYPE_RELATED_XHTML);
}

TEST(MessageType, RelatedStartingWithSmilIsSmil)
{
    EXPECT_EQ(classify(kRelated, QStringLiteral("type=application/smil;start=p1")),
              MMS_UTIL_Common::MSG_TYPE_RELATED_SMIL);
}

TEST(MessageType, RelatedStartingWithAnyOtherTypeIsSmil)
{
    // A known type, a type not in the table (86), and a start type of 0.
    for (const char* params : {"type=text/plain", "type=image/gif", "type=foo/bar", "type=/x"}) {
        SCOPED_TRACE(params);
        EXPECT_EQ(classify(kRelated, QLatin1String(params)),
                  MMS_UTIL_Common::MSG_TYPE_RELATED_SMIL);
    }
}

TEST(MessageType, RelatedIgnoresTheCaseOfTypeAndParameters)
{
    EXPECT_EQ(classify(QStringLiteral("Application/VND.WAP.Multipart.Related"),
                       QStringLiteral("Start=P1;TYPE=APPLICATION/XHTML+XML")),
              MMS_UTIL_Common::MSG_TYPE_RELATED_XHTML);
}

TEST(MessageType, RelatedWithXhtmlAfterABlankIsXhtmlOnlyAsTheLastParameter)
{
    EXPECT_EQ(classify(kRelated, QStringLiteral("start=p1; type=application/xhtml+xml")),
              MMS_UTIL_Common::MSG_TYPE_RELATED_XHTML);
    EXPECT_EQ(classify(kRelated, QStringLiteral("start=p1; type=application/xhtml+xml; x=y")),
              MMS_UTIL_Common::MSG_TYPE_RELATED_SMIL);
}

TEST(MessageType, RelatedWithQuotedXhtmlIsSmil)
{
    EXPECT_EQ(classify(kRelated, QStringLiteral("type=\"application/xhtml+xml\"")),
              MMS_UTIL_Common::MSG_TYPE_RELATED_SMIL);
}

TEST(MessageType, MixedIsMixedWhateverItsParametersSay)
{
    for (const char* params :
         {"", "type=application/xhtml+xml", "type=application/smil", "type", ";;=", "garbage"}) {
        SCOPED_TRACE(params);
        EXPECT_EQ(classify(kMixed, QLatin1String(params)), MMS_UTIL_Common::MSG_TYPE_MIXED);
    }
    EXPECT_EQ(classify(kMixed, QString()), MMS_UTIL_Common::MSG_TYPE_MIXED);
}

TEST(MessageType, AmrAudioIsOther)
{
    EXPECT_EQ(classify(QStringLiteral("audio/amr")), MMS_UTIL_Common::MSG_TYPE_OTHER);
}

TEST(MessageType, TextualMultipartTypesAreOtherEvenWithAStartType)
{
    EXPECT_EQ(
        classify(QStringLiteral("multipart/related"), QStringLiteral("type=application/smil")),
        MMS_UTIL_Common::MSG_TYPE_OTHER);
    EXPECT_EQ(
        classify(QStringLiteral("multipart/related"), QStringLiteral("type=application/xhtml+xml")),
        MMS_UTIL_Common::MSG_TYPE_OTHER);
    EXPECT_EQ(classify(QStringLiteral("multipart/mixed")), MMS_UTIL_Common::MSG_TYPE_OTHER);
}

TEST(MessageType, OnlyTenMediaTypesAreSingleMediaObjects)
{
    for (const char* name :
         {"image/gif", "image/jpeg", "image/png", "image/vnd.wap.wbmp", "image/bmp",
          "audio/imelody", "audio/mpeg", "audio/midi", "audio/x-wav", "video/mpeg"}) {
        SCOPED_TRACE(name);
        EXPECT_EQ(classify(QLatin1String(name)), MMS_UTIL_Common::MSG_TYPE_SINGLE_MEDIA);
    }
}

TEST(MessageType, OtherImageAudioAndVideoTypesAreOther)
{
    for (const char* name :
         {"image/tiff", "image/pjpeg", "image/svg+xml", "audio/amr", "audio/gsm-efr", "audio/pcma",
          "audio/pcmu", "audio/x-ms-wma", "video/h263", "video/x-ms-wmv", "image/*"}) {
        SCOPED_TRACE(name);
        EXPECT_EQ(classify(QLatin1String(name)), MMS_UTIL_Common::MSG_TYPE_OTHER);
    }
}

TEST(MessageType, EveryRowOfTheTableGetsItsCode)
{
    const std::map<unsigned, int> notOther = {
        {0x1D, MMS_UTIL_Common::MSG_TYPE_SINGLE_MEDIA},
        {0x1E, MMS_UTIL_Common::MSG_TYPE_SINGLE_MEDIA},
        {0x20, MMS_UTIL_Common::MSG_TYPE_SINGLE_MEDIA},
        {0x21, MMS_UTIL_Common::MSG_TYPE_SINGLE_MEDIA},
        {0x23, MMS_UTIL_Common::MSG_TYPE_MIXED},
        {0x33, MMS_UTIL_Common::MSG_TYPE_RELATED_SMIL},
        {0x47, MMS_UTIL_Common::MSG_TYPE_SINGLE_MEDIA},
        {0x4C, MMS_UTIL_Common::MSG_TYPE_SINGLE_MEDIA},
        {0x4D, MMS_UTIL_Common::MSG_TYPE_SINGLE_MEDIA},
        {0x4E, MMS_UTIL_Common::MSG_TYPE_SINGLE_MEDIA},
        {0x52, MMS_UTIL_Common::MSG_TYPE_SINGLE_MEDIA},
        {0x53, MMS_UTIL_Common::MSG_TYPE_SINGLE_MEDIA},
    };
    for (unsigned row = 0; row < MIME_TYPE_COUNT; ++row) {
        SCOPED_TRACE(mime_type_names[row]);
        const auto code = notOther.find(row);
        EXPECT_EQ(classify(QLatin1String(mime_type_names[row])),
                  code == notOther.end() ? MMS_UTIL_Common::MSG_TYPE_OTHER : code->second);
    }
}

TEST(MessageType, UnknownOrEmptyContentTypeIsOther)
{
    EXPECT_EQ(classify(QStringLiteral("foo/bar")), MMS_UTIL_Common::MSG_TYPE_OTHER);
    EXPECT_EQ(classify(QStringLiteral("image/gif "), QString()), MMS_UTIL_Common::MSG_TYPE_OTHER);
    EXPECT_EQ(MMS_UTIL_Common::getMsgTypeByContentType(MMS_CONTENT_TYPE_T{}),
              MMS_UTIL_Common::MSG_TYPE_OTHER);
}

TEST(MessageType, ParametersOfASingleMediaObjectDoNotMatter)
{
    EXPECT_EQ(classify(QStringLiteral("image/jpeg"), QStringLiteral("type=application/smil")),
              MMS_UTIL_Common::MSG_TYPE_SINGLE_MEDIA);
}

// --- getAppTypeFrParaList ------------------------------------------------------------------------

TEST(StartType, SmilAndXhtmlGiveTheirNumbers)
{
    EXPECT_EQ(startType(QStringLiteral("type=application/smil")), kSmil);
    EXPECT_EQ(startType(QStringLiteral("type=application/xhtml+xml")), kXhtml);
}

TEST(StartType, FindsTheTypeLaterInTheListIgnoringCase)
{
    EXPECT_EQ(startType(QStringLiteral("start=p1;Type=Application/SMIL")), kSmil);
}

TEST(StartType, FindsTheTypeAnywhereInAListWithoutBlanks)
{
    EXPECT_EQ(startType(QStringLiteral("type=application/smil;start=p1;x=y")), kSmil);
    EXPECT_EQ(startType(QStringLiteral("start=p1;type=application/smil;x=y")), kSmil);
    EXPECT_EQ(startType(QStringLiteral("start=p1;x=y;TYPE=APPLICATION/XHTML+XML")), kXhtml);
}

TEST(StartType, EmptyOrNullListGivesNone)
{
    EXPECT_EQ(startType(QLatin1String("")), kNone);
    EXPECT_EQ(startType(QString()), kNone);
}

TEST(StartType, ListWithoutTypeGivesNone)
{
    EXPECT_EQ(startType(QStringLiteral("start=p1;charset=utf-8")), kNone);
    EXPECT_EQ(startType(QStringLiteral(";;;")), kNone);
}

TEST(StartType, ValueStartingWithSlashGivesNone)
{
    EXPECT_EQ(startType(QStringLiteral("type=/smil")), kNone);
    EXPECT_EQ(startType(QStringLiteral("start=p1;type=/")), kNone);
}

TEST(StartType, TypeWithoutEqualsSignIsNotFound)
{
    EXPECT_EQ(startType(QStringLiteral("type")), kNotFound);
}

TEST(StartType, ValueWithoutSlashIsNotFound)
{
    // The whole value stands for both halves: "smil/smil".
    EXPECT_EQ(startType(QStringLiteral("type=smil")), kNotFound);
    EXPECT_EQ(startType(QStringLiteral("type=")), kNotFound);
}

TEST(StartType, PieceShorterThanFourLettersNeverMatches)
{
    EXPECT_EQ(startType(QStringLiteral("typ")), kNone);
    EXPECT_EQ(startType(QStringLiteral("typ=application/smil")), kNone);
}

TEST(StartType, AnyNameStartingWithTypeMatches)
{
    EXPECT_EQ(startType(QStringLiteral("typeface=image/gif")), kImageGif);
}

TEST(StartType, FirstTypePieceWinsEvenWhenItNamesNothing)
{
    EXPECT_EQ(startType(QStringLiteral("typeface=x;type=application/smil")), kNotFound);
    EXPECT_EQ(startType(QStringLiteral("type;type=application/smil")), kNotFound);
    EXPECT_EQ(startType(QStringLiteral("type=/x;type=application/smil")), kNone);
}

TEST(StartType, PieceWithABlankBeforeItIsFoundOnlyAtTheEnd)
{
    EXPECT_EQ(startType(QStringLiteral("start=p1; type=application/smil; x=y")), kNone);
    EXPECT_EQ(startType(QStringLiteral("start=p1; type=application/smil")), kSmil);
}

TEST(StartType, BlanksAfterAPieceCountUnlessItIsTheLast)
{
    EXPECT_EQ(startType(QStringLiteral("type=application/smil  ;start=p1")), kNotFound);
    EXPECT_EQ(startType(QStringLiteral("start=p1;type=application/smil  ")), kSmil);
}

TEST(StartType, QuotesAndBlanksAroundEqualsAreNotRemoved)
{
    EXPECT_EQ(startType(QStringLiteral("type=\"application/smil\"")), kNotFound);
    EXPECT_EQ(startType(QStringLiteral("type = application/smil")), kNotFound);
    EXPECT_EQ(startType(QStringLiteral("type==application/smil")), kNotFound);
}

TEST(StartType, ValueNotInTheTableIsNotFound)
{
    EXPECT_EQ(startType(QStringLiteral("type=application/foo")), kNotFound);
}

TEST(StartType, EmptyPiecesAreSkipped)
{
    EXPECT_EQ(startType(QStringLiteral(";;type=application/smil;;")), kSmil);
}

TEST(StartType, NonLatin1LettersDoNotMatchTheirLookalikes)
{
    // U+0131, dotless i, becomes "?" in the byte form.
    EXPECT_EQ(startType(QStringLiteral("type=application/sm\u0131l")), kNotFound);
}

TEST(StartType, EqualsSignAtPosition256CountsAsPositionZero)
{
    const QString piece = longTypePiece(252, QStringLiteral("=image/gif"));
    ASSERT_EQ(piece.indexOf(QLatin1Char('=')), 256);
    EXPECT_EQ(startType(piece), kNone);
}

TEST(StartType, LongPieceWithoutEqualsSignIsReadFromItsLastCharacters)
{
    // The missing "=" is at 255, so the value is the last (length - 256) characters.
    const QString piece = longTypePiece(252, QStringLiteral("image/gif"));
    ASSERT_EQ(piece.size(), 265);
    EXPECT_EQ(startType(piece), kImageGif);
    EXPECT_EQ(startType(QStringLiteral("typeimage/gif")), kNotFound);
}

TEST(StartType, EqualsSignAtPosition300IsTakenAsPosition44)
{
    // The value then starts at position 45, inside the filler, and is not in the table.
    const QString piece = longTypePiece(296, QStringLiteral("=image/gif"));
    ASSERT_EQ(piece.indexOf(QLatin1Char('=')), 300);
    EXPECT_EQ(startType(piece), kNotFound);
}

TEST(StartType, SlashAtPosition256OfTheValueCountsAsPositionZero)
{
    const QString value = QString(256, QLatin1Char('a')) + QStringLiteral("/gif");
    EXPECT_EQ(startType(QStringLiteral("type=") + value), kNone);
}

} // namespace
