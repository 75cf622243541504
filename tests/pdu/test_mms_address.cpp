// The addresses MMS PDUs carry, as the library's entries keep them.

#include "mms_address.h"
#include "support/model_helpers.h"

#include <gtest/gtest.h>

namespace
{

using tavmms::pdu::addressEntry;
using tavmms::pdu::pduAddress;

MMS_UTIL_Entry entry(MMS_UTIL_ADDR_TYPE_T type, const char* address)
{
    return tavmms_test::makeEntry(QString(), type, QString::fromUtf8(address));
}

TEST(MmsAddressTest, TakesTheTypeSuffixOffAndTypesTheEntryByIt)
{
    const struct {
        const char* text;
        MMS_UTIL_ADDR_TYPE_T type;
        const char* address;
    } cases[] = {
        {"+15550101/TYPE=PLMN", MMS_UTIL_ADDR_PLMN, "+15550101"},
        {"+15550101/TYPE=PLNM", MMS_UTIL_ADDR_PLMN, "+15550101"}, // as real MMSCs misspell it
        {"+15550101/type=plmn", MMS_UTIL_ADDR_PLMN, "+15550101"},
        {"ann@example.org", MMS_UTIL_ADDR_EMAIL, "ann@example.org"},
        {"+15550101", MMS_UTIL_ADDR_PLMN, "+15550101"},
        {"12345", MMS_UTIL_ADDR_PLMN, "12345"},
        // A type the entries lack keeps the whole text.
        {"10.0.0.1/TYPE=IPv4", MMS_UTIL_ADDR_UNKNOWN, "10.0.0.1/TYPE=IPv4"},
        {"Operator News", MMS_UTIL_ADDR_UNKNOWN, "Operator News"},
        {"", MMS_UTIL_ADDR_UNKNOWN, ""},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.text);
        const MMS_UTIL_Entry entry = addressEntry(QString::fromUtf8(c.text));
        EXPECT_EQ(entry.type, c.type);
        EXPECT_EQ(entry.address, QString::fromUtf8(c.address));
        EXPECT_TRUE(entry.name.isEmpty());
    }
}

TEST(MmsAddressTest, WritesAPhoneNumberInItsGlobalFormWithItsType)
{
    EXPECT_EQ(pduAddress(entry(MMS_UTIL_ADDR_PLMN, "+15550101")), "+15550101/TYPE=PLMN");
    EXPECT_EQ(pduAddress(entry(MMS_UTIL_ADDR_PLMN, "+1 (555) 010-1")), "+15550101/TYPE=PLMN");
    // Only a leading "+" is kept.
    EXPECT_EQ(pduAddress(entry(MMS_UTIL_ADDR_PLMN, "555+0101")), "5550101/TYPE=PLMN");
    EXPECT_EQ(pduAddress(entry(MMS_UTIL_ADDR_PLMN, "")), "/TYPE=PLMN");
}

TEST(MmsAddressTest, WritesAnyOtherAddressAsItIs)
{
    EXPECT_EQ(pduAddress(entry(MMS_UTIL_ADDR_EMAIL, "ann@example.org")), "ann@example.org");
    EXPECT_EQ(pduAddress(entry(MMS_UTIL_ADDR_UNKNOWN, "10.0.0.1/TYPE=IPv4")), "10.0.0.1/TYPE=IPv4");
    EXPECT_EQ(pduAddress(entry(MMS_UTIL_ADDR_UNKNOWN, "+1 555")), "+1 555");
}

TEST(MmsAddressTest, AnAddressWrittenReadsBackAsTheSameEntry)
{
    for (const MMS_UTIL_Entry& written :
         {entry(MMS_UTIL_ADDR_PLMN, "+15550101"), entry(MMS_UTIL_ADDR_EMAIL, "ann@example.org"),
          entry(MMS_UTIL_ADDR_UNKNOWN, "10.0.0.1/TYPE=IPv4")}) {
        SCOPED_TRACE(written.address.toStdString());
        const MMS_UTIL_Entry read = addressEntry(pduAddress(written));
        EXPECT_EQ(read.type, written.type);
        EXPECT_EQ(read.address, written.address);
    }
}

} // namespace
