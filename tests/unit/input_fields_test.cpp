// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include <gtest/gtest.h>

#include <stdexcept>

#include "input/input_handler.h"

namespace {

TEST(VersionCheck, AcceptsTheMajorVersionWithAnyMinor) {
  for (const char* version : {"1", "1.0", "1.5", "1.9", "1.x", "1.0.3", "1.", "1.0 "}) {
    EXPECT_TRUE(InputHandler::validateVersion(version)) << version;
  }
}

TEST(VersionCheck, IsAPrefixTestAndComparesNoWholeNumber) {
  for (const char* version : {"10.0", "12", "1abc", "1\xff"}) {
    EXPECT_TRUE(InputHandler::validateVersion(version)) << version;
  }
}

TEST(VersionCheck, RefusesWhatDoesNotBeginWithTheMajorVersion) {
  for (const char* version :
       {"", "0.9", "0.1", "2.0", " 1.0", "v1", ".1", "x", "-1", "\xef\xbc\x91"}) {
    EXPECT_FALSE(InputHandler::validateVersion(version)) << version;
  }
}

TEST(VersionCheck, RefusesNull) {
  EXPECT_FALSE(InputHandler::validateVersion(nullptr));
}

TEST(SourceIdCheck, AcceptsTheExactNameAlone) {
  EXPECT_TRUE(InputHandler::validateSourceId("events"));
  for (const char* sourceId : {"", "Events", "EVENTS", "events ", " events", "event", "events2",
                               "events\n", "configure"}) {
    EXPECT_FALSE(InputHandler::validateSourceId(sourceId)) << sourceId;
  }
}

TEST(SourceIdCheck, ThrowsALogicErrorOnNull) {
  EXPECT_THROW(InputHandler::validateSourceId(nullptr), std::logic_error);
}

TEST(MethodCheck, AcceptsTheExactNameAlone) {
  EXPECT_TRUE(InputHandler::validateMethod("configure"));
  for (const char* method : {"", "Configure", "CONFIGURE", "configure ", " configure", "configur",
                             "configure2", "configure\n", "events"}) {
    EXPECT_FALSE(InputHandler::validateMethod(method)) << method;
  }
}

TEST(MethodCheck, ThrowsALogicErrorOnNull) {
  EXPECT_THROW(InputHandler::validateMethod(nullptr), std::logic_error);
}

}  // namespace
