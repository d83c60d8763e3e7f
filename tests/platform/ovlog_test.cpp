// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include <gmock/gmock.h>
#include <syslog.h>

#include <csignal>
#include <string>
#include <vector>

#include "tests/support/process.h"

using support::ExitStatus;
using testing::ElementsAre;
using testing::IsEmpty;
using Lines = std::vector<std::string>;

namespace {

class HostLog : public testing::Test {
 protected:
  /// Runs the program that logs, without a journal unless `journal` names its stream.
  void run(const std::string& what, const std::string& journal = {}) {
    Lines arguments{"env", "-u", "JOURNAL_STREAM"};
    if (!journal.empty()) {
      arguments.push_back("JOURNAL_STREAM=" + journal);
    }
    arguments.insert(arguments.end(), {LUMENFEED_OVLOG_CHILD, what});
    support::Process child(arguments);
    status_ = child.wait();
    systemLog_ = child.standardOutput();
    standardError_ = child.standardError();
    ASSERT_FALSE(systemLog_.empty());
    opened_ = systemLog_.front();
    systemLog_.erase(systemLog_.begin());
  }

  ExitStatus status_;
  std::string opened_;
  Lines systemLog_;
  Lines standardError_;
};

TEST_F(HostLog, OpensTheSystemLogUnderTheProgramsName) {
  run("plain");
  EXPECT_EQ(opened_,
            "openlog ovlog_child " + std::to_string(LOG_PID) + " " + std::to_string(LOG_DAEMON));
  EXPECT_EQ(status_, (ExitStatus{false, 0}));
}

TEST_F(HostLog, MapsTheLevelsOfTheServiceAndOfGlib) {
  run("plain");
  EXPECT_THAT(systemLog_, ElementsAre("3 level 8", "4 level 16", "5 level 32", "6 level 64",
                                      "7 level 128", "3 level 256", "6 level 512"));
}

TEST_F(HostLog, ShowsTheSameLinesOnStandardErrorWithTheirLevels) {
  run("plain");
  EXPECT_THAT(standardError_,
              ElementsAre("ovlog_child[critical] level 8", "ovlog_child[warning] level 16",
                          "ovlog_child[message] level 32", "ovlog_child[info] level 64",
                          "ovlog_child[debug] level 128", "ovlog_child[error] level 256",
                          "ovlog_child[info] level 512"));
}

TEST_F(HostLog, LeavesStandardErrorToAJournalThatCollectsIt) {
  run("plain", "8:1234");
  EXPECT_THAT(standardError_, IsEmpty());
  EXPECT_EQ(systemLog_.size(), 7U);
}

TEST_F(HostLog, TakesTheLinesOfEveryDomain) {
  run("domains");
  EXPECT_THAT(systemLog_,
              ElementsAre("3 GLib-GIO: level 8", "4 GLib-GIO: level 16", "5 GLib-GIO: level 32",
                          "6 GLib-GIO: level 64", "7 GLib-GIO: level 128", "3 GLib-GIO: level 256",
                          "6 GLib-GIO: level 512"));
  EXPECT_EQ(standardError_.size(), 7U);
}

TEST_F(HostLog, TakesStructuredLines) {
  run("structured");
  EXPECT_THAT(systemLog_, ElementsAre("4 child-domain: a warning", "3 child-domain: a critical",
                                      "5 child-domain: a message", "6 child-domain: an info",
                                      "7 child-domain: a debug"));
  EXPECT_THAT(standardError_, testing::Contains("ovlog_child[warning] child-domain: a warning"));
}

TEST_F(HostLog, PassesTextsOnAsTheyAre) {
  run("odd-texts");
  EXPECT_THAT(systemLog_,
              ElementsAre("6 100 % %s %n", "6 ", "6 \xc3\xa5", "6 " + std::string(20000, 'x')));
}

TEST_F(HostLog, ReadsFieldsOfAGivenLengthAndLinesWithoutAText) {
  run("fields");
  EXPECT_THAT(systemLog_, ElementsAre("4 dom: bytes", "4 "));
}

TEST_F(HostLog, TakesLinesOfOtherThreads) {
  run("thread");
  EXPECT_THAT(systemLog_, ElementsAre("6 from a thread"));
}

TEST_F(HostLog, HasTheLastWordsOfAProgramThatGlibEnds) {
  run("fatal");
  EXPECT_THAT(systemLog_, ElementsAre("2 the end"));
  EXPECT_THAT(standardError_, testing::Contains("ovlog_child[fatal] the end"));
  EXPECT_TRUE(status_.signalled);
  EXPECT_THAT(status_.value, testing::AnyOf(SIGTRAP, SIGABRT));
}

TEST_F(HostLog, MayBeAskedForTwice) {
  run("twice");
  EXPECT_THAT(systemLog_, ElementsAre("6 from a thread"));
  EXPECT_EQ(standardError_.size(), 1U);
  EXPECT_EQ(status_, (ExitStatus{false, 0}));
}

TEST_F(HostLog, DoesWithoutAProgramName) {
  run("nameless");
  EXPECT_THAT(systemLog_, ElementsAre("6 from a thread"));
  EXPECT_THAT(standardError_, ElementsAre("[info] from a thread"));
  EXPECT_EQ(status_, (ExitStatus{false, 0}));
}

}  // namespace
