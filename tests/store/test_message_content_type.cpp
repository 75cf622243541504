// A message's content type moved between the header's text fields and the codec's parameters,
// both ways, with the values a multipart.related message carries and values that need quotes.

#include "message_content_type.h"

#include <gtest/gtest.h>

namespace
{

using tavmms::pdu::ContentType;
using tavmms::pdu::Parameter;
using tavmms::store::codecContentType;
using tavmms::store::headerContentType;

TEST(MessageContentTypeTest, JoinsTheParametersAsTheHeaderKeepsThem)
{
    const MMS_CONTENT_TYPE_T header =
        headerContentType({"application/vnd.wap.multipart.related",
                           {{"type", "application/smil"}, {"start", "<0.smil>"}}});
    EXPECT_EQ(header.type, "application");
    EXPECT_EQ(header.subtype, "vnd.wap.multipart.related");
    EXPECT_EQ(header.params, "type=application/smil;start=<0.smil>");
}

TEST(MessageContentTypeTest, SplitsTheHeadersParameters)
{
    const ContentType type =
        codecContentType({"text", "plain", " charset=utf-8; name = a.txt;;flag"});
    EXPECT_EQ(type.mediaType, "text/plain");
    EXPECT_EQ(type.parameters,
              (QList<Parameter>{{"charset", "utf-8"}, {"name", "a.txt"}, {"flag", ""}}));
}

TEST(MessageContentTypeTest, QuotesAValueThatHoldsASeparatorAndReadsItBack)
{
    const ContentType type{"application/vnd.wap.multipart.related",
                           {{"start", "<a;b>"}, {"name", "my photo.jpg"}, {"x", "say \"hi\""}}};
    const MMS_CONTENT_TYPE_T header = headerContentType(type);
    EXPECT_EQ(header.params, "start=\"<a;b>\";name=\"my photo.jpg\";x=\"say \\\"hi\\\"\"");
    EXPECT_EQ(codecContentType(header), type);
}

TEST(MessageContentTypeTest, AMediaTypeWithoutSubtypeKeepsItsText)
{
    const MMS_CONTENT_TYPE_T header = headerContentType({"text", {}});
    EXPECT_EQ(header.type, "text");
    EXPECT_TRUE(header.subtype.isEmpty());
    EXPECT_TRUE(header.params.isEmpty());
}

} // namespace
