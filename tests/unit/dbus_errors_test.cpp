// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include "service/dbus_errors.h"

#include <gmock/gmock.h>

#include <iterator>

#include "common/ptr.h"
#include "service/dbus_names.h"
#include "tests/doubles/recording_platform.h"
#include "tests/unit/recorded_log.h"

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

class DBusErrorNames : public testing::Test {
 protected:
  DBusErrorNames() { doubles::RecordingPlatform::instance().reset(); }
  ~DBusErrorNames() override { EXPECT_THAT(unit::takeRecord(), IsEmpty()); }

  static common::GErrorPtr arrived(const char* name) {
    return common::GErrorPtr(g_dbus_error_new_for_dbus_error(name, "text"));
  }

 private:
  unit::RecordedLog log_;
};

TEST_F(DBusErrorNames, BecomeCodesOfTheirDomainInTheOrderOfTheTable) {
  const GQuark domain = g_quark_from_static_string("test-domain-1");
  const char* const names[] = {"com.ovra.Test.Error.One", "com.ovra.Test.Error.Two"};
  dbus_errors::registerNames(domain, names, std::size(names));
  for (int code = 0; code < 2; ++code) {
    EXPECT_TRUE(g_error_matches(arrived(names[code]).get(), domain, code)) << names[code];
  }
}

TEST_F(DBusErrorNames, StaySilentlyAsTheyAreWhenTheyAreRegisteredAlready) {
  const GQuark domain = g_quark_from_static_string("test-domain-2");
  const GQuark other = g_quark_from_static_string("test-domain-3");
  const char* const first[] = {"com.ovra.Test.Error.Three"};
  const char* const second[] = {"com.ovra.Test.Error.Four", "com.ovra.Test.Error.Three"};
  dbus_errors::registerNames(domain, first, std::size(first));
  dbus_errors::registerNames(domain, first, std::size(first));
  dbus_errors::registerNames(other, second, std::size(second));
  EXPECT_TRUE(g_error_matches(arrived(first[0]).get(), domain, 0));
  EXPECT_TRUE(g_error_matches(arrived(second[0]).get(), other, 0));
}

TEST_F(DBusErrorNames, OfTheDataSourceStandInTheOrderOfTheirCodes) {
  EXPECT_STREQ(dbus_names::kDataSourceErrorDomain, "WebSocketEventError");
  EXPECT_THAT(std::vector<std::string>(std::begin(dbus_names::kDataSourceErrors),
                                       std::end(dbus_names::kDataSourceErrors)),
              ElementsAre("com.ovra.WSDataStreaming1.DataSource.Error.SessionAlreadyUsed",
                          "com.ovra.WSDataStreaming1.DataSource.Error.TooManySessions",
                          "com.ovra.WSDataStreaming1.DataSource.Error.InvalidSession",
                          "com.ovra.WSDataStreaming1.DataSource.Error.InvalidSource"));
}

TEST_F(DBusErrorNames, OfTheStreamingServiceStandInTheOrderOfTheirCodes) {
  EXPECT_STREQ(dbus_names::kServiceErrorDomain, "WebSocketDataStreamingError");
  EXPECT_THAT(std::vector<std::string>(std::begin(dbus_names::kServiceErrors),
                                       std::end(dbus_names::kServiceErrors)),
              ElementsAre("com.ovra.WSDataStreaming1.Error.InvalidSession",
                          "com.ovra.WSDataStreaming1.Error.InvalidParameter"));
}

}  // namespace
