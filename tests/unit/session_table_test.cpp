// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include <gmock/gmock.h>

#include <functional>
#include <string>
#include <type_traits>

#include "events/event_consumer_handler.h"
#include "sessions/queued_request.h"
#include "sessions/session_data.h"

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Key;

namespace {

TEST(SessionTable, IsEmptyWhenTheProgramStarts) {
  EXPECT_THAT(EventConsumerHandler::sessions, IsEmpty());
}

TEST(SessionTable, HoldsThirtyTwoSessionsAtMost) {
  EXPECT_EQ(kMaxSessions, 32U);
}

TEST(SessionTable, TakesEveryIdAsItIs) {
  SessionTable table;
  for (const char* id : {"a", "", "A", " a", "a "}) {
    table.emplace(id, SessionData{});
  }
  EXPECT_THAT(table, ElementsAre(Key(""), Key(" a"), Key("A"), Key("a"), Key("a ")));
}

TEST(SessionTable, KeepsAnEntrysKeyInItsPlaceWhileOthersComeAndGo) {
  SessionTable table;
  const std::string* const key = &table.emplace("m", SessionData{}).first->first;
  for (int round = 0; round < 3; ++round) {
    for (int i = 0; i < 31; ++i) {
      table.emplace((i % 2 == 0 ? "a" : "z") + std::to_string(i), SessionData{});
    }
    EXPECT_EQ(&table.find("m")->first, key);
    for (int i = 0; i < 31; ++i) {
      table.erase((i % 2 == 0 ? "a" : "z") + std::to_string(i));
    }
    EXPECT_EQ(&table.find("m")->first, key);
  }
  EXPECT_EQ(*key, "m");
}

TEST(SessionTable, StartsASessionWithoutSubscriptions) {
  const SessionData session;
  EXPECT_EQ(session.consumerHandler, nullptr);
  EXPECT_THAT(session.subscriptionIds, IsEmpty());
}

TEST(SessionTable, IsOrderedByTheBytesOfItsKeys) {
  EXPECT_TRUE((std::is_same_v<SessionTable::key_compare, std::less<std::string>>));
  EXPECT_TRUE((std::is_same_v<decltype(EventConsumerHandler::sessions), SessionTable>));
}

TEST(QueuedRequest, HoldsCopiesOfItsTexts) {
  std::string text = "text";
  const QueuedRequest request{nullptr, text, text, text};
  text = "changed";
  EXPECT_EQ(request.sessionId, "text");
  EXPECT_EQ(request.requestId, "text");
  EXPECT_EQ(request.paramsPayload, "text");
}

}  // namespace
