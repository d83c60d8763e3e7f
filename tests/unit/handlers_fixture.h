// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#pragma once

#include <gmock/gmock.h>

#include <memory>
#include <string>

#include "events/event_consumer_handler.h"
#include "service/event_data_source_dbus.h"
#include "tests/support/bus_client.h"
#include "tests/unit/bus_fixture.h"
#include "tests/unit/consumer_fixture.h"

namespace unit {

constexpr const char* kErrorPrefix = "com.ovra.WSDataStreaming1.DataSource.Error.";

/// A data source that owns its name, and a caller of it.
class HandlersTest : public BusTest {
 protected:
  HandlersTest() {
    EventConsumerHandler::sessions.clear();
    EXPECT_TRUE(waitForRecord("Registered the name"));
    takeRecord();
  }
  ~HandlersTest() override {
    takeRecord();
    source_.reset();
    handler_.reset();
    EXPECT_THAT(takeRecord(),
                testing::ElementsAre("unown()", "unexport()", "event_consumer_free(consumer1)"));
    EXPECT_EQ(platform_.outstanding(), doubles::Outstanding{});
    EventConsumerHandler::sessions.clear();
  }

  static void expectEmptyReply(const support::Reply& reply) {
    EXPECT_TRUE(reply.ok()) << reply;
    EXPECT_EQ(reply.body, "()");
    EXPECT_EQ(reply.signature, "");
  }
  static void expectError(const support::Reply& reply, const std::string& name,
                          const std::string& message) {
    EXPECT_EQ(reply.errorName, kErrorPrefix + name);
    EXPECT_EQ(reply.errorMessage, message);
  }
  static SessionTable& sessions() { return EventConsumerHandler::sessions; }

  RecordingWSServiceDBus wsService_;
  std::unique_ptr<EventConsumerHandler> handler_ =
      std::make_unique<EventConsumerHandler>(&wsService_);
  std::unique_ptr<EventDataSourceDBus> source_ =
      std::make_unique<EventDataSourceDBus>(handler_.get());
  support::BusClient client_{bus_.connect()};
};

}  // namespace unit
