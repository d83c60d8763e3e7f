// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "tests/load/load_test.h"

namespace load {

namespace {

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
// A sanitizer keeps what was freed.
constexpr bool kOwnHeap = false;
#else
constexpr bool kOwnHeap = true;
#endif

constexpr std::size_t kMebibyte = std::size_t{1024} * 1024;

}  // namespace

/// Sessions come and go under events, for months.
class Rounds : public LoadTest {
 protected:
  Rounds() : LoadTest(support::PrivateBus::allowAllCalls()) {}

  std::string process(const std::string& file) const {
    return "/proc/" + std::to_string(service_->pid()) + "/" + file;
  }
  std::size_t descriptors() const {
    std::size_t count = 0;
    for (const auto& entry : std::filesystem::directory_iterator(process("fd"))) {
      count += entry.is_directory() ? 0U : 1U;
    }
    return count;
  }
  std::size_t residentBytes() const {
    std::size_t pages = 0;
    std::ifstream file(process("statm"));
    file >> pages >> pages;
    return pages * static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
  }
  /// What the bus counts of the service's connection: its match rules, as text.
  std::string matchRules() {
    const std::string all =
        client_
            .call("org.freedesktop.DBus", "/org/freedesktop/DBus",
                  "org.freedesktop.DBus.Debug.Stats", "GetConnectionStats",
                  g_variant_new("(s)", client_.connectionOf(service_->pid()).c_str()))
            .body;
    const std::size_t at = all.find("'MatchRules'");
    EXPECT_NE(at, std::string::npos) << all;
    return at == std::string::npos ? "" : all.substr(at, all.find('>', at) - at);
  }
  /// A session's whole life, with an event for each of its configurations.
  void round(std::size_t number) {
    const std::string session = "round" + std::to_string(number);
    ASSERT_NO_FATAL_FAILURE(open(session, {"A", "B"}));
    publish("A", number);
    ASSERT_TRUE(waitForCalls(streaming_.calls().size() + 1));
    publish("B", number);
    ASSERT_NO_FATAL_FAILURE(configure(session, {"C", "D", "E"}));
    publish("C", number);
    publish("D", number);
    ASSERT_TRUE(client_.removeSession(session).ok());
    streaming_.clear();
  }
};

TEST_F(Rounds, LeaveDescriptorsMemoryAndMatchRulesWhereTheyWere) {
  constexpr std::size_t kWarmUp = 100;
  std::size_t number = 0;
  for (; number < kWarmUp; ++number) {
    ASSERT_NO_FATAL_FAILURE(round(number));
  }
  const std::size_t descriptorsBefore = descriptors();
  const std::size_t bytesBefore = residentBytes();
  const std::string rulesBefore = matchRules();
  for (; number < kWarmUp + support::scaled(500); ++number) {
    ASSERT_NO_FATAL_FAILURE(round(number));
  }
  EXPECT_EQ(descriptors(), descriptorsBefore);
  EXPECT_EQ(matchRules(), rulesBefore);
  const std::size_t bytes = residentBytes();
  RecordProperty("descriptors", std::to_string(descriptorsBefore));
  RecordProperty("residentBytesBefore", std::to_string(bytesBefore));
  RecordProperty("residentBytesAfter", std::to_string(bytes));
  if (kOwnHeap) {
    EXPECT_LT(bytes, bytesBefore + kMebibyte);
  }
}

}  // namespace load
