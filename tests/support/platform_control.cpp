// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include "tests/support/platform_control.h"

#include <fcntl.h>
#include <glib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <fstream>
#include <ostream>
#include <set>
#include <stdexcept>
#include <system_error>

#include "common/ptr.h"
#include "tests/support/glib_test.h"

namespace support {

namespace {

std::string unescaped(const std::string& text) {
  return common::GCharPtr(g_strcompress(text.c_str())).get();
}

/// FUNCTION, its arguments, and "=RESULT", separated by tabs, each escaped.
PlatformRecord parse(const std::string& line) {
  PlatformRecord record;
  const common::GStrvPtr fields(g_strsplit(line.c_str(), "\t", -1));
  record.function = fields.get()[0];
  for (char** field = fields.get() + 1; *field != nullptr; ++field) {
    if (field[1] == nullptr) {
      record.result = unescaped(*field + 1);
    } else {
      record.arguments.push_back(unescaped(*field));
    }
  }
  return record;
}

bool isNote(const std::string& function) {
  static const std::set<std::string> kNotes = {"log",         "held", "urgent", "subscription",
                                               "outstanding", "sync", "exit"};
  return kNotes.count(function) != 0;
}

}  // namespace

std::string PlatformRecord::text() const {
  std::string text = function + "(";
  for (std::size_t i = 0; i < arguments.size(); ++i) {
    text += (i == 0 ? "" : ", ") + arguments[i];
  }
  return text + ")" + (result.empty() ? "" : " = " + result);
}

std::ostream& operator<<(std::ostream& out, const LogLine& line) {
  return out << line.level << " " << line.domain << " \"" << line.text << "\"";
}

PlatformControl::PlatformControl() {
  const std::string path = directory_.file("control");
  if (mkfifo(path.c_str(), 0600) != 0) {
    throw std::system_error(errno, std::generic_category(), "mkfifo " + path);
  }
  // For reading as well, so that it opens before there is a reader and keeps what nobody has read.
  control_ = open(path.c_str(), O_RDWR | O_CLOEXEC);
  directory_.write("record", "");
}

PlatformControl::~PlatformControl() {
  close(control_);
}

void PlatformControl::send(const std::string& command) const {
  const std::string line = command + "\n";
  if (write(control_, line.data(), line.size()) != static_cast<ssize_t>(line.size())) {
    throw std::system_error(errno, std::generic_category(), "write to the doubles");
  }
}

void PlatformControl::fail(const std::string& function, unsigned nth, const std::string& how,
                           const std::string& text) const {
  send("fail " + function + " " + std::to_string(nth) + " " + how + " " + text);
}

void PlatformControl::deliver(const std::string& target, const std::string& json, unsigned count,
                              const std::string& kind) const {
  send("deliver " + target + " " + std::to_string(count) + " " + kind + " " +
       common::GCharPtr(g_strescape(json.c_str(), nullptr)).get());
}

bool PlatformControl::waitUntilHeld(const std::string& text) {
  return waitFor([&] {
    const std::vector<PlatformRecord>& all = records();
    return std::any_of(all.begin(), all.end(), [&](const PlatformRecord& record) {
      return record.function == "held" && record.arguments.front() == text;
    });
  });
}

void PlatformControl::sync() {
  const std::string token = std::to_string(++tokens_);
  send("sync " + token);
  if (!waitFor([&] {
        return !records().empty() &&
               std::any_of(records_.rbegin(), records_.rend(), [&](const auto& r) {
                 return r.function == "sync" && r.arguments.front() == token;
               });
      })) {
    throw std::runtime_error("the doubles do not carry out their commands");
  }
}

const std::vector<PlatformRecord>& PlatformControl::records() {
  std::ifstream file(directory_.file("record"), std::ios::binary);
  file.seekg(static_cast<std::streamoff>(consumed_));
  // The last line may be half written.
  for (std::string line; std::getline(file, line) && !file.eof();) {
    consumed_ += line.size() + 1;
    records_.push_back(parse(line));
  }
  return records_;
}

std::vector<std::string> PlatformControl::calls() {
  std::vector<std::string> texts;
  for (const PlatformRecord& record : records()) {
    if (!isNote(record.function)) {
      texts.push_back(record.text());
    }
  }
  return texts;
}

std::vector<LogLine> PlatformControl::log() {
  std::vector<LogLine> lines;
  for (const PlatformRecord& record : records()) {
    if (record.function == "log") {
      lines.push_back({std::stoi(record.arguments[0]), record.arguments[1], record.arguments[2]});
    }
  }
  return lines;
}

bool PlatformControl::logged(int level, const std::string& text) {
  const std::vector<LogLine> lines = log();
  return std::find(lines.begin(), lines.end(), LogLine{level, "-", text}) != lines.end();
}

bool PlatformControl::waitForLog(int level, const std::string& text) {
  return waitFor([&] { return logged(level, text); });
}

bool PlatformControl::waitForCall(const std::string& function, std::size_t count) {
  return waitFor([&] { return this->count(function) >= count; });
}

std::size_t PlatformControl::count(const std::string& function) {
  const std::vector<PlatformRecord>& all = records();
  return static_cast<std::size_t>(
      std::count_if(all.begin(), all.end(),
                    [&](const PlatformRecord& record) { return record.function == function; }));
}

/// Asks for a report, and returns where it begins in the record.
std::size_t PlatformControl::report() {
  sync();
  const std::size_t begin = records().size();
  send("report");
  sync();
  return begin;
}

std::vector<LiveSubscription> PlatformControl::subscriptions() {
  std::vector<LiveSubscription> live;
  for (std::size_t i = report(); i < records_.size(); ++i) {
    const PlatformRecord& record = records_[i];
    if (record.function == "subscription") {
      live.push_back({record.arguments[0], record.arguments[1], record.arguments[2]});
    }
  }
  return live;
}

std::vector<std::string> PlatformControl::outstanding() {
  for (std::size_t i = report(); i < records_.size(); ++i) {
    if (records_[i].function == "outstanding") {
      return records_[i].arguments;
    }
  }
  return {};
}

std::vector<std::string> PlatformControl::outstandingAtExit() {
  bool exited = false;
  for (const PlatformRecord& record : records()) {
    exited = exited || record.function == "exit";
    if (exited && record.function == "outstanding") {
      return record.arguments;
    }
  }
  return {};
}

}  // namespace support
