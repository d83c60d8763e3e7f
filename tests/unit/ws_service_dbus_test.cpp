// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include "service/ws_service_dbus.h"

#include <gmock/gmock.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "common/ptr.h"
#include "tests/support/fake_streaming_service.h"
#include "tests/unit/bus_fixture.h"

using support::ReceivedCall;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using unit::takeRecord;

namespace {

class ServiceClient : public unit::BusTest {
 protected:
  ~ServiceClient() override {
    if (client_ != nullptr && present_) {
      settle();
    }
  }

  void appear() {
    service_.appear();
    present_ = true;
  }

  /// Waits for the replies to all calls that the service has seen; none of them may be logged.
  void settle() {
    service_.answerWithError("org.example.Last", "last");
    client_->sendResponse("s", "1.0", "r", "events", "configure", "{}");
    EXPECT_TRUE(waitForRecord("last"));
    EXPECT_THAT(takeRecord(), ElementsAre("log(16, no domain, sendResponse failed: "
                                          "GDBus.Error:org.example.Last: last)"));
    service_.answer();
  }

  /// Sends one message by each operation.
  void sendOneOfEach() {
    client_->sendResponse("s", "1.0", "r", "events", "configure", "{}");
    client_->sendErrorResponse("s", "1.0", "r", "events", "configure", 1, "m");
    client_->sendStreamData("s", "1.0", "events", "notify", "{}");
  }

  /// What the log says after each of the three calls has failed.
  std::vector<std::string> logOfThreeFailures() {
    sendOneOfEach();
    EXPECT_TRUE(support::waitFor([&] { return platform_.calls().size() >= 3; }));
    unit::turnMainContext();
    return takeRecord();
  }

  static std::vector<std::string> threeLines(const std::string& text, int streamDataLevel) {
    return {"log(16, no domain, sendResponse failed: " + text + ")",
            "log(16, no domain, sendErrorResponse failed: " + text + ")",
            "log(" + std::to_string(streamDataLevel) +
                ", no domain, sendStreamData failed: " + text + ")"};
  }

  /// The error payload as the streaming service gets it.
  std::string payloadOf(std::int32_t code, const char* message) {
    service_.clear();
    client_->sendErrorResponse("s", "1.0", "r", "events", "", code, message);
    EXPECT_TRUE(service_.waitForCalls(1));
    return service_.calls().at(0).arguments.at(5);
  }

  void answerWith(const char* error) { service_.answerWithError(error, "the text"); }

  std::unique_ptr<WSServiceDBus> client_ = newClient();
  support::FakeStreamingService service_{bus_, false};
  bool present_ = false;
};

TEST_F(ServiceClient, SendsTheTextsOfEachOperationInTheirOrder) {
  appear();
  client_->sendResponse("session", "version", "request", "source", "method", "payload");
  client_->sendErrorResponse("session", "version", "request", "source", "method", 2102, "abc");
  client_->sendStreamData("session", "version", "source", "method", "payload");
  ASSERT_TRUE(service_.waitForCalls(3));
  EXPECT_THAT(
      service_.calls(),
      ElementsAre(
          ReceivedCall{"SendResponse",
                       {"session", "version", "request", "source", "method", "payload"}},
          ReceivedCall{"SendErrorResponse",
                       {"session", "version", "request", "source", "method",
                        R"({"code":2102,"message":"abc"})"}},
          ReceivedCall{"SendStreamData", {"session", "version", "source", "method", "payload"}}));
}

TEST_F(ServiceClient, SendsEmptyAndForeignTextsAsTheyAre) {
  appear();
  client_->sendStreamData("", "", "\xc3\xa5", "\n\"\\", "%s");
  ASSERT_TRUE(service_.waitForCalls(1));
  EXPECT_THAT(service_.calls().at(0).arguments, ElementsAre("", "", "\xc3\xa5", "\n\"\\", "%s"));
}

TEST_F(ServiceClient, CopiesTheTextsBeforeItReturns) {
  appear();
  {
    std::string text = "text of a caller who frees it at once, longer than a small string";
    client_->sendResponse(text.c_str(), "1.0", "r", "events", "configure", text.c_str());
    text.assign(text.size(), 'x');
  }
  ASSERT_TRUE(service_.waitForCalls(1));
  EXPECT_THAT(service_.calls().at(0).arguments.at(5), testing::StartsWith("text of a caller"));
}

TEST_F(ServiceClient, WritesTheWholeRangeOfErrorCodes) {
  appear();
  EXPECT_EQ(payloadOf(0, "m"), R"({"code":0,"message":"m"})");
  EXPECT_EQ(payloadOf(-1, "m"), R"({"code":-1,"message":"m"})");
  EXPECT_EQ(payloadOf(1100, "m"), R"({"code":1100,"message":"m"})");
  EXPECT_EQ(payloadOf(1234567, "m"), R"({"code":1234567,"message":"m"})");
  EXPECT_EQ(payloadOf(INT32_MAX, "m"), R"({"code":2147483647,"message":"m"})");
  EXPECT_EQ(payloadOf(INT32_MIN, "m"), R"({"code":-2147483648,"message":"m"})");
}

TEST_F(ServiceClient, PutsTheMessageIntoTheErrorPayloadUnescaped) {
  appear();
  EXPECT_EQ(payloadOf(5, ""), R"({"code":5,"message":""})");
  EXPECT_EQ(payloadOf(5, "a \"quoted\" \\ word"), R"({"code":5,"message":"a "quoted" \ word"})");
  EXPECT_EQ(payloadOf(5, "\n\x01\xc3\xa5"), "{\"code\":5,\"message\":\"\n\x01\xc3\xa5\"}");
}

TEST_F(ServiceClient, LogsNothingWhenCallsSucceed) {
  appear();
  sendOneOfEach();
  ASSERT_TRUE(service_.waitForCalls(3));
  settle();
}

TEST_F(ServiceClient, WarnsOfEachCallWhileTheServiceIsAbsent) {
  const std::string text =
      "GDBus.Error:org.freedesktop.DBus.Error.ServiceUnknown: The name "
      "com.ovra.WSDataStreaming1.Service was not provided by any .service files";
  EXPECT_EQ(logOfThreeFailures(), threeLines(text, 16));
}

TEST_F(ServiceClient, TakesAnUnknownSessionOfStreamDataAsNoSurprise) {
  appear();
  answerWith("com.ovra.WSDataStreaming1.Error.InvalidSession");
  EXPECT_EQ(logOfThreeFailures(),
            threeLines("GDBus.Error:com.ovra.WSDataStreaming1.Error.InvalidSession: the text", 64));
}

TEST_F(ServiceClient, WarnsOfAnInvalidParameter) {
  appear();
  answerWith("com.ovra.WSDataStreaming1.Error.InvalidParameter");
  EXPECT_EQ(
      logOfThreeFailures(),
      threeLines("GDBus.Error:com.ovra.WSDataStreaming1.Error.InvalidParameter: the text", 16));
}

TEST_F(ServiceClient, LooksAtTheCodeOfAFailureAndNotAtItsDomain) {
  appear();
  answerWith("org.freedesktop.DBus.Error.Failed");
  EXPECT_EQ(logOfThreeFailures(),
            threeLines("GDBus.Error:org.freedesktop.DBus.Error.Failed: the text", 64));
  answerWith("com.ovra.WSDataStreaming1.DataSource.Error.SessionAlreadyUsed.Not");
  EXPECT_EQ(
      logOfThreeFailures(),
      threeLines("GDBus.Error:com.ovra.WSDataStreaming1.DataSource.Error.SessionAlreadyUsed.Not: "
                 "the text",
                 16));
}

TEST_F(ServiceClient, WarnsOfAnyOtherError) {
  appear();
  for (const char* name : {"org.freedesktop.DBus.Error.AccessDenied",
                           "org.freedesktop.DBus.Error.NoReply", "org.example.Unheard"}) {
    answerWith(name);
    EXPECT_EQ(logOfThreeFailures(),
              threeLines(std::string("GDBus.Error:") + name + ": the text", 16));
  }
}

TEST_F(ServiceClient, ReachesAServiceThatCameBackUnderAnotherUniqueName) {
  appear();
  sendOneOfEach();
  ASSERT_TRUE(service_.waitForCalls(3));
  settle();
  service_.disappear();
  EXPECT_EQ(logOfThreeFailures().size(), 3U);
  service_.clear();
  appear();
  sendOneOfEach();
  ASSERT_TRUE(service_.waitForCalls(3));
}

TEST_F(ServiceClient, MayGoWhileCallsAreInFlight) {
  appear();
  service_.neverAnswer();
  sendOneOfEach();
  ASSERT_TRUE(service_.waitForCalls(3));
  EXPECT_THAT(takeRecord(), IsEmpty());
  client_.reset();
  service_.disappear();
  ASSERT_TRUE(support::waitFor([this] { return platform_.calls().size() == 3; }));
  EXPECT_THAT(takeRecord(), testing::UnorderedElementsAre(HasSubstr("sendResponse failed: "),
                                                          HasSubstr("sendErrorResponse failed: "),
                                                          HasSubstr("sendStreamData failed: ")));
}

TEST_F(ServiceClient, RegistersTheErrorsOfTheStreamingService) {
  EXPECT_STREQ(g_quark_to_string(WSServiceDBus::errorQuark()), "WebSocketDataStreamingError");
  const char* const names[] = {"com.ovra.WSDataStreaming1.Error.InvalidSession",
                               "com.ovra.WSDataStreaming1.Error.InvalidParameter"};
  for (int code = 0; code < 2; ++code) {
    const common::GErrorPtr error(g_dbus_error_new_for_dbus_error(names[code], "text"));
    EXPECT_TRUE(g_error_matches(error.get(), WSServiceDBus::errorQuark(), code)) << names[code];
  }
}

}  // namespace
