#include "base/host_port.h"

#include <gtest/gtest.h>

namespace {

TEST(HostPortTest, BracketsStandAroundAnIpv6AddressOnly)
{
    EXPECT_EQ("10.0.0.1", Base::BracketedHost("10.0.0.1"));
    EXPECT_EQ("array", Base::BracketedHost("array"));
    EXPECT_EQ("[fd00::1]", Base::BracketedHost("fd00::1"));
    EXPECT_EQ("[fd00::1]", Base::BracketedHost("[fd00::1]"));
    EXPECT_EQ("", Base::BracketedHost(""));
    EXPECT_EQ("fd00::1", Base::BareHost("[fd00::1]"));
    EXPECT_EQ("fd00::1", Base::BareHost("fd00::1"));
    EXPECT_EQ("[]", Base::BareHost("[]"));
    EXPECT_EQ("10.0.0.1:3260", Base::HostAndPort("10.0.0.1", 3260));
    EXPECT_EQ("[fd00::1]:3260", Base::HostAndPort("fd00::1", 3260));
}

struct SplitRow {
    const char* text;
    const char* host;
    const char* port; ///< null: none
    bool isBracketed = false;
};

TEST(HostPortTest, SplitTakesEveryFormApart)
{
    for (const SplitRow& row :
         {SplitRow{"10.0.0.1", "10.0.0.1", nullptr}, SplitRow{"10.0.0.1:3260", "10.0.0.1", "3260"},
          SplitRow{"array:1", "array", "1"}, SplitRow{"array:", "array", ""}, SplitRow{"fd00::1", "fd00::1", nullptr},
          SplitRow{"[fd00::1]", "fd00::1", nullptr, true}, SplitRow{"[fd00::1]:3260", "fd00::1", "3260", true},
          SplitRow{"", "", nullptr}, SplitRow{":1", "", "1"}, SplitRow{"[]:1", "", "1", true}}) {
        const auto parts = Base::SplitHostPort(row.text);
        ASSERT_TRUE(parts) << row.text;
        EXPECT_EQ(row.host, parts->host) << row.text;
        EXPECT_EQ(row.port != nullptr, parts->port.has_value()) << row.text;
        EXPECT_EQ(row.port != nullptr ? row.port : "", parts->port.value_or("")) << row.text;
        EXPECT_EQ(row.isBracketed, parts->isBracketed) << row.text;
    }
    for (const char* const text : {"[fd00::1", "[fd00::1]x", "[fd00::1]3260"}) {
        EXPECT_FALSE(Base::SplitHostPort(text)) << text;
    }
}

TEST(HostPortTest, PortIsADecimalNumberAndNothingElse)
{
    EXPECT_EQ(0, Base::ParsePort("0"));
    EXPECT_EQ(65535, Base::ParsePort("65535"));
    for (const char* const text : {"", "65536", "-1", "+1", " 1", "1 ", "1x", "99999999999999999999"}) {
        EXPECT_FALSE(Base::ParsePort(text)) << text;
    }
}

TEST(HostPortTest, AddressesAreToldApart)
{
    EXPECT_TRUE(Base::IsNumericAddress("10.0.0.1"));
    EXPECT_TRUE(Base::IsNumericAddress("fd00::1"));
    EXPECT_FALSE(Base::IsNumericAddress("array"));
    EXPECT_FALSE(Base::IsNumericAddress("[fd00::1]"));
    EXPECT_TRUE(Base::IsIpv6Address("::1"));
    EXPECT_FALSE(Base::IsIpv6Address("10.0.0.1"));
}

TEST(HostPortTest, LoopbackIsKnownInEachForm)
{
    for (const char* const address : {"127.0.0.1", "127.255.0.9", "::1", "::ffff:127.0.0.1"}) {
        EXPECT_TRUE(Base::IsLoopbackAddress(address)) << address;
    }
    for (const char* const address : {"128.0.0.1", "10.127.0.1", "::2", "::ffff:10.0.0.1", "", "127.evil"}) {
        EXPECT_FALSE(Base::IsLoopbackAddress(address)) << address;
    }
}

} // namespace
