// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include "tests/load/load_test.h"

#include <algorithm>
#include <csignal>
#include <numeric>

namespace load {

namespace {

/// The payload of a configuration request.
std::string payload(const std::vector<std::string>& filters) {
  std::string list;
  for (const std::string& filter : filters) {
    const std::size_t blank = filter.find(' ');
    list += list.empty() ? "{" : ",{";
    list += R"("topicFilter":"tns1:Load/)" + filter.substr(0, blank) + "\"";
    if (blank != std::string::npos) {
      list += R"(,"contentFilter":")" + filter.substr(blank + 1) + "\"";
    }
    list += "}";
  }
  return R"({"eventFilterList":[)" + list + "]}";
}

}  // namespace

std::vector<std::size_t> numbersBelow(std::size_t count) {
  std::vector<std::size_t> numbers(count);
  std::iota(numbers.begin(), numbers.end(), 0U);
  return numbers;
}

Numbers numbersOf(const std::vector<support::ReceivedCall>& calls) {
  constexpr const char* kMark = R"("Number":)";
  Numbers numbers;
  for (const support::ReceivedCall& call : calls) {
    if (call.method == "SendStreamData") {
      const std::string& json = call.arguments.back();
      numbers[call.arguments.front()].push_back(
          std::stoul(json.substr(json.find(kMark) + std::string(kMark).size())));
    }
  }
  return numbers;
}

LoadTest::LoadTest(const std::string& busFragments)
    : bus_(busFragments),
      streaming_(bus_),
      client_(bus_.connect()),
      // GLib talks to its own debuggers, too; the second where it is confined.
      allowed_{"[debug] GLib-GIO: ",      "[debug] GLib: Failed to set thread scheduler attributes",
               "] Starting lumenfeed",    "] Registered the name",
               "] Terminating lumenfeed", "event2: Connected to the broker"} {}

void LoadTest::SetUp() {
  startBroker();
  startService();
}

void LoadTest::startService() {
  support::Environment environment = environment_;
  environment.merge(bus_.environment());
  environment["EVENT2_CONFIG"] =
      directory_.write("event2.conf", "[broker]\naddress=" + broker_.address() + "\n");
  service_ = std::make_unique<support::Process>(support::underTest(LUMENFEED_PROGRAM), environment);
  ASSERT_TRUE(waitForLog("Registered the name"));
  ASSERT_TRUE(waitForLog("Connected to the broker"));
}

void LoadTest::stopService() {
  service_->signal(SIGTERM);
  EXPECT_EQ(service_->wait(), (support::ExitStatus{false, 0}))
      << ::testing::PrintToString(service_->standardError());
  for (const std::string& line : service_->standardError()) {
    EXPECT_TRUE(std::any_of(allowed_.begin(), allowed_.end(), [&](const std::string& text) {
      return line.find(text) != std::string::npos;
    })) << line;
  }
  service_.reset();
}

void LoadTest::TearDown() {
  if (service_ != nullptr) {
    stopService();
  }
  publisher_.reset();
  GlibTest::TearDown();
}

void LoadTest::open(const std::string& session, const std::vector<std::string>& filters) {
  ASSERT_TRUE(client_.createSession(session).ok());
  configure(session, filters);
}

void LoadTest::configure(const std::string& session, const std::vector<std::string>& filters) {
  // Its own: one to a service that ended in the middle may still be on its way.
  const std::string request = "configure" + std::to_string(++requests_);
  const auto isAnswer = [&](const support::ReceivedCall& call) {
    return call.method != "SendStreamData" && call.arguments[2] == request;
  };
  const std::vector<support::ReceivedCall>& calls = streaming_.calls();
  const std::size_t before = calls.size();
  ASSERT_TRUE(client_.handleRequest(session, payload(filters), request).ok());
  const auto answer = [&] {
    return std::find_if(calls.begin() + static_cast<std::ptrdiff_t>(before), calls.end(), isAnswer);
  };
  ASSERT_TRUE(support::waitFor([&] { return answer() != calls.end(); }));
  ASSERT_EQ(answer()->method, "SendResponse") << *answer();
}

void LoadTest::publish(const std::string& topic, std::size_t number) {
  const std::string text = std::to_string(number);
  publisher_->send("device/onvif-ej/Load/" + topic,
                   R"({"Data":{"Number":)" + text + R"(,"Last":")" + text.back() + R"("}})");
}

void LoadTest::publishRubbish() {
  publisher_->send("device/onvif-ej/Load/Rubbish", "rubbish");
}

void LoadTest::killBroker() {
  broker_.kill();
  publisher_.reset();
}

void LoadTest::startBroker() {
  broker_.start();
  publisher_ = std::make_unique<support::Publisher>(broker_.socketPath());
}

bool LoadTest::waitForCalls(std::size_t count) {
  std::size_t seen = 0;
  do {
    seen = streaming_.calls().size();
    // Not an end for the whole, which may take long, but for the next of it.
    if (!support::waitFor([&] { return streaming_.calls().size() > seen || seen >= count; })) {
      return false;
    }
  } while (streaming_.calls().size() < count);
  return true;
}

Numbers LoadTest::takeNumbers() {
  Numbers numbers = numbersOf(streaming_.calls());
  streaming_.clear();
  return numbers;
}

bool LoadTest::waitForLog(const std::string& text, std::size_t times) const {
  return support::waitFor([&] { return logLines(text) >= times; });
}

std::size_t LoadTest::logLines(const std::string& text) const {
  const std::vector<std::string>& lines = service_->standardError();
  return static_cast<std::size_t>(
      std::count_if(lines.begin(), lines.end(),
                    [&](const std::string& line) { return line.find(text) != std::string::npos; }));
}

}  // namespace load
