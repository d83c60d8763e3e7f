// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include <gio/gio.h>
#include <gmock/gmock.h>

#include <string>
#include <vector>

#include "common/ptr.h"

namespace {

using ::testing::HasSubstr;

struct Outcome {
  int status = -1;
  std::string output;
  std::string errors;
};

/// Runs the tool with `input` on its standard input.
Outcome run(std::vector<std::string> arguments, const std::string& input = "") {
  std::vector<const char*> argv{LUMENFEED_FILTER_CHECK};
  for (const std::string& argument : arguments) {
    argv.push_back(argument.c_str());
  }
  argv.push_back(nullptr);
  const common::Ptr<GSubprocessLauncher, g_object_unref> launcher(g_subprocess_launcher_new(
      static_cast<GSubprocessFlags>(G_SUBPROCESS_FLAGS_STDIN_PIPE | G_SUBPROCESS_FLAGS_STDOUT_PIPE |
                                    G_SUBPROCESS_FLAGS_STDERR_PIPE)));
  g_subprocess_launcher_setenv(launcher.get(), "LC_ALL", "C", TRUE);
  const common::GObjectPtr<GSubprocess> process(
      g_subprocess_launcher_spawnv(launcher.get(), argv.data(), nullptr));
  const common::Ptr<GBytes, g_bytes_unref> in(g_bytes_new(input.data(), input.size()));
  GBytes* out = nullptr;
  GBytes* errors = nullptr;
  if (!process ||
      g_subprocess_communicate(process.get(), in.get(), nullptr, &out, &errors, nullptr) == FALSE) {
    return {};
  }
  const auto text = [](GBytes* bytes) {
    gsize size = 0;
    const auto* data = static_cast<const char*>(g_bytes_get_data(bytes, &size));
    std::string copy(data == nullptr ? "" : data, size);
    g_bytes_unref(bytes);
    return copy;
  };
  return {g_subprocess_get_exit_status(process.get()), text(out), text(errors)};
}

constexpr const char* kRecorded =
    R"(cam/onvif-ej/RuleEngine/Crossed/&1/My {Fence} {"Source":{"Rule":"Fence1"},"Data":{"Id":15}})"
    "\n\n"
    R"({"topic":"tns1:Device/Trigger","origin":"cam","property":"Changed","message":{"Data":{"Id":1e999}}})"
    "\n"
    R"({"type":"notification","payload":{"notification":)"
    R"({"topic":"tnsovra:X","message":{"Data":{"Id":"2"}}}}})"
    "\r\n";

TEST(FilterCheck, AUsableFilterIsUsable) {
  const Outcome tool =
      run({"--topic", "tns1:Device//.", "--content", "boolean(//SimpleItem[@Name='a'])"});
  EXPECT_EQ(tool.status, 0) << tool.errors;
  EXPECT_EQ(tool.output, "topic expression: usable\nmessage content: usable\n");
}

TEST(FilterCheck, EveryFaultIsShownWithACaretUnderIt) {
  const Outcome tool = run({"-t", "tns1:A|", "-t", "x", "-c", "not(", "-c", "boolean(//Item)"});
  EXPECT_EQ(tool.status, 3);
  EXPECT_EQ(
      tool.output,
      "topic expression, character 8: expected a name, found the end\n"
      "  tns1:A|\n"
      "         ^\n"
      "topic expression: usable\n"
      "message content, character 5: expected \"boolean\", \"not\" or \"(\", found the end\n"
      "  not(\n"
      "      ^\n"
      "message content, character 11: expected \"SimpleItem\" or \"ElementItem\", found \"Item\"\n"
      "  boolean(//Item)\n"
      "            ^\n");
}

TEST(FilterCheck, TheCaretKeepsStepWithTabsWideAndCombiningCharactersAndLines) {
  const Outcome tabs = run({"-t", "\ttns1:\u6e29\u5ea6e\u0301/*"});
  EXPECT_THAT(tabs.output, HasSubstr("\n  \ttns1:\u6e29\u5ea6e\u0301/*\n  \t" +
                                     std::string(5 + 2 + 2 + 1 + 1, ' ') + "^\n"));
  const Outcome lines = run({"-c", "boolean(//SimpleItem[@Name='a'])\n and\n  x\nor"});
  EXPECT_THAT(lines.output, HasSubstr("found \"x\"\n    x\n    ^\n"));
  const Outcome bytes = run({"-t", "a\xFF"});
  EXPECT_THAT(bytes.output, HasSubstr("found the byte 0xFF\n  a?\n   ^\n"));
}

TEST(FilterCheck, ALongLineIsCutAroundTheFault) {
  const Outcome tool = run({"-t", std::string(500, 'a') + "*" + std::string(500, 'b')});
  EXPECT_THAT(tool.output,
              HasSubstr("\n  \u2026" + std::string(60, 'a') + "*" + std::string(39, 'b') +
                        "\u2026\n" + std::string(63, ' ') + "^\n"));
}

TEST(FilterCheck, TellsWhichEventsMatchInEveryForm) {
  const Outcome tool =
      run({"-c", "boolean(//tt:SimpleItem[@Name=\"Id\" and not(@Value=\"15\")])", "-"}, kRecorded);
  EXPECT_EQ(tool.status, 0);
  EXPECT_EQ(tool.errors, "");
  EXPECT_THAT(tool.output, HasSubstr("line 1: no match tns1:RuleEngine/Crossed\n"));
  EXPECT_THAT(tool.output, HasSubstr("line 3: matches  tns1:Device/Trigger\n"));
  EXPECT_THAT(tool.output, HasSubstr("line 4: matches  tnsovra:X\n"));
  EXPECT_THAT(tool.output, HasSubstr("2 of 3 events match\n"));
}

TEST(FilterCheck, SaysWhichPartsSaidNoAndOnlyThose) {
  const Outcome tool =
      run({"-t", "tns1:Device//.", "-c",
           "boolean(//SimpleItem[@Name='Id']) and\n(boolean(//SimpleItem[@Name='a']) "
           "or not(boolean(//SimpleItem[@Value='15'])))",
           "-"},
          kRecorded);
  EXPECT_THAT(tool.output,
              HasSubstr("line 1: no match tns1:RuleEngine/Crossed\n"
                        "    topic expression: does not name the topic: tns1:Device//.\n"
                        "    message content: does not hold: boolean(//SimpleItem[@Name='a'])\n"
                        "    message content: holds, within not(): "
                        "boolean(//SimpleItem[@Value='15'])\n"
                        "line 3: matches  tns1:Device/Trigger\n"
                        "line 4: no match tnsovra:X\n"
                        "    topic expression: does not name the topic: tns1:Device//.\n"
                        "1 of 3 events match\n"));
}

TEST(FilterCheck, NoEventThatMatchesIsAStatusOfItsOwn) {
  EXPECT_EQ(run({"-t", "tns1:Nowhere", "-"}, kRecorded).status, 1);
  EXPECT_EQ(run({"-"}, "").status, 1);
  EXPECT_EQ(run({"-"}, kRecorded).status, 0);
}

TEST(FilterCheck, LinesThatAreNoEventsAreNamedAndDoNotCount) {
  const Outcome tool = run({"-"},
                           "x/onvif-ej/a (null)\n"
                           "x/onvif-ej/a\n"
                           "hello\n"
                           "{\"topic\":1,\"message\":{}}\n"
                           "{\"topic\":\"a\",\"message\":[]}\n"
                           "{\"topic\":\"a\"\n"
                           "x/onvif-ej/a {\"b\":01}\n"
                           "x/onvif-ej/a {}\n");
  EXPECT_EQ(tool.errors,
            "line 1: not an event: a property that was deleted: no message\n"
            "line 2: not an event: no message after the topic\n"
            "line 3: not an event: neither event JSON nor PREFIX/onvif-ej/TOPIC PAYLOAD\n"
            "line 4: not an event: a JSON object without a topic (a string) and a message (an "
            "object)\n"
            "line 5: not an event: a JSON object without a topic (a string) and a message (an "
            "object)\n"
            "line 6: not an event: byte 12: not the end of a JSON object\n"
            "line 7: not an event: the message, byte 6: not a JSON value\n");
  EXPECT_EQ(tool.output, "line 8: matches  tns1:a\n1 of 1 events match\n");
}

TEST(FilterCheck, HelpTellsOptionsFormsAndExitStatuses) {
  const Outcome tool = run({"--help"});
  EXPECT_EQ(tool.status, 0);
  for (const char* part : {"--topic", "--content", "EVENTS-FILE", "Exit status", "onvif-ej"}) {
    EXPECT_THAT(tool.output, HasSubstr(part));
  }
}

TEST(FilterCheck, WrongUsageIsToldApartFromAFilterThatSaysNo) {
  for (const std::vector<std::string>& arguments : {std::vector<std::string>{},
                                                    {"--nonsense"},
                                                    {"a", "b"},
                                                    {"-t"},
                                                    {"-t", "a", "/nowhere/at/all"},
                                                    {"-t", "a", "/"}}) {
    const Outcome tool = run(arguments);
    EXPECT_EQ(tool.status, 2);
    EXPECT_THAT(tool.errors, HasSubstr("lumenfeed-filter-check: "));
    EXPECT_THAT(tool.errors, HasSubstr("--help"));
  }
}

TEST(FilterCheck, EventsThatCannotBeReadAreNamedWithTheReason) {
  EXPECT_THAT(run({"-t", "a", "/nowhere/at/all"}).errors,
              HasSubstr("cannot read /nowhere/at/all: No such file or directory\n"));
  EXPECT_THAT(run({"-t", "a", "/"}).errors, HasSubstr("cannot read /: Is a directory\n"));
}

TEST(FilterCheck, AResultThatCannotBeWrittenIsAnError) {
  const std::string command = std::string(LUMENFEED_FILTER_CHECK) + " -t a > /dev/full";
  const char* argv[] = {"sh", "-c", command.c_str(), nullptr};
  const common::GObjectPtr<GSubprocess> shell(
      g_subprocess_newv(argv, G_SUBPROCESS_FLAGS_STDERR_SILENCE, nullptr));
  ASSERT_TRUE(shell);
  EXPECT_TRUE(g_subprocess_wait(shell.get(), nullptr, nullptr));
  EXPECT_EQ(g_subprocess_get_exit_status(shell.get()), 2);
}

}  // namespace
