// The rules of this system by which look-ups are answered without a name server.
#include "quillmark/platform/Dns.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

namespace {

// The look-up's result; nothing that these cases ask for needs a name server.
struct LookUp {
    explicit LookUp(const char16_t* name, WORD type = DNS_TYPE_A, DWORD options = DNS_QUERY_BYPASS_CACHE)
        : status(DnsQuery_W(name, type, options, nullptr, &records, nullptr)) {}
    ~LookUp() { DnsFree(records, DnsFreeRecordList); }
    LookUp(const LookUp&) = delete;
    LookUp& operator=(const LookUp&) = delete;

    // Overwritten by the call, also when it fails.
    PDNS_RECORD records = reinterpret_cast<PDNS_RECORD>(1);
    DNS_STATUS status;
};

TEST(DnsPosixTest, RefusesNamesThatAreNone) {
    const std::u16string longLabel = std::u16string(64, u'a') + u".example";
    const std::u16string longName = [] {
        std::u16string name = u"a";
        while (name.size() < 254) {
            name += u".b";
        }
        return name;
    }();
    for (const std::u16string& name :
         {std::u16string(), std::u16string(u"."), std::u16string(u"a..b"), std::u16string(u".a"),
          std::u16string(u"a.."), std::u16string(u"a\xD800"), longLabel, longName, std::u16string(100000, u'a')}) {
        const LookUp lookUp(name.c_str());
        EXPECT_EQ(lookUp.status, 123) << name.size();
        EXPECT_EQ(lookUp.records, nullptr);
    }
    EXPECT_EQ(LookUp(nullptr).status, 123);
}

TEST(DnsPosixTest, RefusesAddressesInPlaceOfNames) {
    for (const char16_t* name :
         {u"127.0.0.1", u"192.168.255.1.", u"0x7f.1", u"::1", u"[::1]", u"fe80::1%eth0", u"2001:db8::1"}) {
        const LookUp lookUp(name);
        EXPECT_EQ(lookUp.status, 123);
        EXPECT_EQ(lookUp.records, nullptr);
    }
}

TEST(DnsPosixTest, RefusesBlanksAndControlCharactersInNames) {
    EXPECT_EQ(LookUp(u"a b.example").status, 9560);
    EXPECT_EQ(LookUp(u"a\tb").status, 9560);
}

TEST(DnsPosixTest, AnswersLocalhostInBothFamilies) {
    const LookUp four(u"LocalHost.");
    ASSERT_EQ(four.status, 0);
    ASSERT_NE(four.records, nullptr);
    EXPECT_EQ(four.records->pNext, nullptr);
    EXPECT_EQ(std::u16string(four.records->pName), u"LocalHost");
    EXPECT_EQ(four.records->wType, 1);
    EXPECT_EQ(four.records->wDataLength, 4);
    EXPECT_EQ(four.records->Flags.S.Section, 1u);
    EXPECT_EQ(std::memcmp(&four.records->Data.A.IpAddress, "\x7F\x00\x00\x01", 4), 0);
    const LookUp six(u"localhost", DNS_TYPE_AAAA);
    ASSERT_EQ(six.status, 0);
    EXPECT_EQ(six.records->wType, 28);
    EXPECT_EQ(six.records->wDataLength, 16);
    EXPECT_EQ(six.records->Data.AAAA.Ip6Address.IP6Byte[0], 0);
    EXPECT_EQ(six.records->Data.AAAA.Ip6Address.IP6Byte[15], 1);
}

TEST(DnsPosixTest, StaysOnThisMachineWhenToldTo) {
    const LookUp lookUp(u"nowhere.invalid", DNS_TYPE_A, DNS_QUERY_NO_WIRE_QUERY);
    EXPECT_EQ(lookUp.status, 9501);
    EXPECT_EQ(lookUp.records, nullptr);
}

TEST(DnsPosixTest, RefusesArgumentsThatItHasNoUseFor) {
    PDNS_RECORD records = nullptr;
    int extra = 0;
    void* reserved = nullptr;
    EXPECT_EQ(DnsQuery_W(u"localhost", DNS_TYPE_A, 0, &extra, &records, nullptr), 87);
    EXPECT_EQ(DnsQuery_W(u"localhost", DNS_TYPE_A, 0, nullptr, &records, &reserved), 87);
    EXPECT_EQ(DnsQuery_W(u"localhost", 15, 0, nullptr, &records, nullptr), 50);
    EXPECT_EQ(records, nullptr);
}

TEST(DnsPosixTest, FreesSingleRecords) {
    PDNS_RECORD record = nullptr;
    ASSERT_EQ(DnsQuery_W(u"localhost", DNS_TYPE_A, 0, nullptr, &record, nullptr), 0);
    DnsFree(record, DnsFreeFlat);
}

}  // namespace
