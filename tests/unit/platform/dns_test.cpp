// What a look-up answers without a name server, or when there is none.
#include <gtest/gtest.h>

#include <cstring>

#include "support/Wine.h"
#include "unit/platform/WideText.h"

namespace {

using quillmark::test::UnderWine;

struct LookUp {
    explicit LookUp(const WCHAR* name, WORD type = DNS_TYPE_A, DWORD options = DNS_QUERY_BYPASS_CACHE)
        : status(DnsQuery_W(name, type, options, nullptr, &records, nullptr)) {}
    ~LookUp() { DnsFree(records, DnsFreeRecordList); }
    LookUp(const LookUp&) = delete;
    LookUp& operator=(const LookUp&) = delete;

    PDNS_RECORD records = nullptr;
    DNS_STATUS status;
};

TEST(DnsTest, RefusesAnEmptyName) {
    const LookUp lookUp(QM_W(""));
    EXPECT_EQ(lookUp.status, 123);
    EXPECT_EQ(lookUp.records, nullptr);
}

// Windows does not say with what code; none of these can be asked for.
TEST(DnsTest, RefusesNamesThatAreNone) {
    const WideText longLabel = WideText(64, QM_W('a')) + QM_W(".example");
    const WideText longName(100000, QM_W('a'));
    for (const WCHAR* name : {static_cast<const WCHAR*>(nullptr), QM_W("a..b"), QM_W(".a"), QM_W("a.."),
                              QM_W("a\xD800"), longLabel.c_str(), longName.c_str()}) {
        const LookUp lookUp(name);
        EXPECT_NE(lookUp.status, 0);
        EXPECT_EQ(lookUp.records, nullptr);
    }
}

TEST(DnsTest, AnAddressIsNoName) {
    for (const WCHAR* name : {QM_W("127.0.0.1"), QM_W("::1"), QM_W("2001:db8::1")}) {
        const LookUp lookUp(name);
        EXPECT_EQ(lookUp.status, 123);
        EXPECT_EQ(lookUp.records, nullptr);
    }
}

TEST(DnsTest, ANameThatNobodyHasIsNotFound) {
    const LookUp lookUp(QM_W("nowhere.invalid"), DNS_TYPE_A, DNS_QUERY_NO_WIRE_QUERY);
    EXPECT_NE(lookUp.status, 0);
    EXPECT_EQ(lookUp.records, nullptr);
}

TEST(DnsTest, AnswersLocalhostInBothFamilies) {
    const LookUp four(QM_W("localhost"));
    const LookUp six(QM_W("localhost"), DNS_TYPE_AAAA);
    if (UnderWine() && (four.status != 0 || six.status != 0)) {
        // Wine asks the name servers, and there may be none, or none that knows it.
        EXPECT_TRUE(four.status == 0 || four.records == nullptr);
        EXPECT_TRUE(six.status == 0 || six.records == nullptr);
        return;
    }
    ASSERT_EQ(four.status, 0);
    ASSERT_NE(four.records, nullptr);
    EXPECT_EQ(four.records->wType, 1);
    EXPECT_EQ(four.records->wDataLength, 4);
    EXPECT_EQ(std::memcmp(&four.records->Data.A.IpAddress, "\x7F\x00\x00\x01", 4), 0);
    ASSERT_EQ(six.status, 0);
    ASSERT_NE(six.records, nullptr);
    EXPECT_EQ(six.records->wType, 28);
    EXPECT_EQ(six.records->wDataLength, 16);
    EXPECT_EQ(six.records->Data.AAAA.Ip6Address.IP6Byte[0], 0);
    EXPECT_EQ(six.records->Data.AAAA.Ip6Address.IP6Byte[15], 1);
}

TEST(DnsTest, NeedsAPlaceForTheResult) {
    EXPECT_EQ(DnsQuery_W(QM_W("localhost"), DNS_TYPE_A, 0, nullptr, nullptr, nullptr), 87);
}

TEST(DnsTest, FreesNothing) {
    DnsFree(nullptr, DnsFreeRecordList);
    DnsFree(nullptr, DnsFreeFlat);
}

}  // namespace
