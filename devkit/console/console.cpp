// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include "devkit/console/console.h"

#include <glib-unix.h>

#include <csignal>
#include <cstdio>
#include <utility>

#include "service/dbus_names.h"

namespace console {
namespace {

/// How long the end waits for the data source to take the session away.
constexpr int kRemoveMilliseconds = 2000;

std::string withUnit(double seconds) {
  const common::GCharPtr text(g_strdup_printf("%g s", seconds));
  return text.get();
}

}  // namespace

Console::Console(Options options)
    : options_(std::move(options)),
      loop_(g_main_loop_new(nullptr, FALSE)),
      service_([this](const Message& message) { return handleMessage(message); }) {
  g_unix_signal_add(SIGINT, onSignal, this);
  g_unix_signal_add(SIGTERM, onSignal, this);
}

Console::~Console() {
  stopTimer();
  if (watch_ != 0) {
    g_bus_unwatch_name(watch_);
  }
  if (connection_ != nullptr) {
    g_signal_handlers_disconnect_by_data(connection_.get(), this);
  }
  while (g_source_remove_by_user_data(this)) {
  }
}

ExitStatus Console::run() {
  if (connect() && appear()) {
    endWithin(options_.wait, onPatienceLost);
    // A bus that can start the data source does.
    watch_ = g_bus_watch_name_on_connection(connection_.get(), dbus_names::kDataSourceBusName,
                                            G_BUS_NAME_WATCHER_FLAGS_AUTO_START, onAppeared,
                                            onVanished, this, nullptr);
    g_main_loop_run(loop_.get());
  }
  return status_;
}

bool Console::connect() {
  common::GErrorPtr error;
  connection_.reset(g_bus_get_sync(G_BUS_TYPE_SYSTEM, nullptr, common::GErrorOut(error)));
  if (connection_ == nullptr) {
    finish(kNoBus, std::string("cannot reach the system bus: ") + error->message);
    return false;
  }
  g_dbus_connection_set_exit_on_close(connection_.get(), FALSE);
  g_signal_connect(connection_.get(), "closed", G_CALLBACK(onClosed), this);
  return true;
}

bool Console::appear() {
  common::GErrorPtr error;
  switch (service_.appear(connection_.get(), common::GErrorOut(error))) {
    case StreamingService::Name::kOwned:
      return true;
    case StreamingService::Name::kTaken:
      finish(kNameTaken, std::string(dbus_names::kServiceBusName) +
                             " is taken: a streaming service is on the bus already");
      return false;
    case StreamingService::Name::kFailed:
      break;
  }
  g_dbus_error_strip_remote_error(error.get());
  finish(kNameTaken,
         std::string("cannot own ") + dbus_names::kServiceBusName + ": " + error->message);
  return false;
}

void Console::onAppeared(GDBusConnection* /*connection*/, const char* /*name*/,
                         const char* /*owner*/, gpointer data) {
  auto* self = static_cast<Console*>(data);
  if (!self->finished_ && self->session_ == Session::kNone) {
    self->createSession();
  }
}

void Console::onVanished(GDBusConnection* /*connection*/, const char* name, gpointer data) {
  auto* self = static_cast<Console*>(data);
  if (self->finished_) {
    return;
  }
  if (self->session_ == Session::kNone) {
    g_printerr("lumenfeed-console: waiting for %s\n", name);
    return;
  }
  // Its sessions went with it.
  self->session_ = Session::kRemoved;
  self->finish(kNoDataSource, std::string(name) + " has left the bus");
}

void Console::onClosed(GDBusConnection* /*connection*/, gboolean /*remotePeer*/, GError* /*error*/,
                       gpointer data) {
  auto* self = static_cast<Console*>(data);
  self->session_ = Session::kRemoved;
  self->finish(kNoBus, "the bus has closed the connection");
}

void Console::createSession() {
  stopTimer();
  common::GErrorPtr error;
  // Without properties to load, this asks nobody and cannot fail.
  dataSource_.reset(wsdata_streaming1_data_source_proxy_new_sync(
      connection_.get(),
      static_cast<GDBusProxyFlags>(G_DBUS_PROXY_FLAGS_DO_NOT_LOAD_PROPERTIES |
                                   G_DBUS_PROXY_FLAGS_DO_NOT_CONNECT_SIGNALS |
                                   G_DBUS_PROXY_FLAGS_DO_NOT_AUTO_START),
      dbus_names::kDataSourceBusName, dbus_names::kDataSourceObjectPath, nullptr,
      common::GErrorOut(error)));
  g_dbus_proxy_set_default_timeout(G_DBUS_PROXY(dataSource_.get()),
                                   static_cast<int>(options_.wait * 1000));
  session_ = Session::kCreating;
  const char* const noGroups[] = {nullptr};
  wsdata_streaming1_data_source_call_create_session(dataSource_.get(), options_.sessionId.c_str(),
                                                    noGroups, nullptr, onCreated, this);
}

void Console::onCreated(GObject* source, GAsyncResult* result, gpointer data) {
  auto* self = static_cast<Console*>(data);
  common::GErrorPtr error;
  if (!wsdata_streaming1_data_source_call_create_session_finish(
          WSDATA_STREAMING1_DATA_SOURCE(source), result, common::GErrorOut(error))) {
    self->session_ = Session::kRemoved;
    self->finishFailed("CreateSession", error.get());
    g_main_loop_quit(self->loop_.get());
    return;
  }
  self->session_ = Session::kOpen;
  if (self->finished_) {
    self->removeSession();
  } else {
    self->configure();
  }
}

void Console::configure() {
  wsdata_streaming1_data_source_call_handle_request(
      dataSource_.get(), options_.sessionId.c_str(), options_.apiVersion.c_str(),
      options_.requestId.c_str(), options_.source.c_str(), options_.method.c_str(),
      options_.params.c_str(), nullptr, onConfigured, this);
}

void Console::onConfigured(GObject* source, GAsyncResult* result, gpointer data) {
  auto* self = static_cast<Console*>(data);
  common::GErrorPtr error;
  if (!wsdata_streaming1_data_source_call_handle_request_finish(
          WSDATA_STREAMING1_DATA_SOURCE(source), result, common::GErrorOut(error))) {
    self->finishFailed("HandleRequest", error.get());
  } else if (!self->accepted_ && !self->finished_) {
    self->endWithin(self->options_.wait, onPatienceLost);
  }
}

bool Console::handleMessage(const Message& message) {
  if (session_ != Session::kOpen || options_.sessionId != message.sessionId) {
    return false;
  }
  if (finished_) {
    return true;
  }
  print(message);
  if (g_str_equal(message.type, "response")) {
    startStreaming();
  } else if (g_str_equal(message.type, "error")) {
    finish(kRefused, "the configuration was refused");
  } else if (++notifications_ == options_.count) {
    finish(kDone);
  }
  return true;
}

void Console::startStreaming() {
  accepted_ = true;
  stopTimer();
  if (options_.seconds > 0) {
    endWithin(options_.seconds, onTimeOver);
  }
}

void Console::print(const Message& message) {
  const std::string line = messageLine(message) + "\n";
  if (std::fputs(line.c_str(), stdout) == EOF || std::fflush(stdout) != 0) {
    finish(kOutputFailed, "cannot write to standard output");
  }
}

void Console::finish(ExitStatus status, const std::string& reason) {
  if (finished_) {
    return;
  }
  finished_ = true;
  status_ = status;
  stopTimer();
  if (!reason.empty()) {
    g_printerr("lumenfeed-console: %s\n", reason.c_str());
  }
  if (session_ == Session::kOpen) {
    removeSession();
  } else if (session_ != Session::kCreating) {
    g_main_loop_quit(loop_.get());
  }
}

void Console::finishFailed(const char* method, const GError* error) {
  const std::string call(method);
  if (g_error_matches(error, G_IO_ERROR, G_IO_ERROR_TIMED_OUT)) {
    finish(kTimedOut, "no reply to " + call + " within " + withUnit(options_.wait));
  } else if (!g_dbus_error_is_remote_error(error)) {
    finish(kNoBus, call + " failed: " + error->message);
  } else if (g_error_matches(error, G_DBUS_ERROR, G_DBUS_ERROR_SERVICE_UNKNOWN) ||
             g_error_matches(error, G_DBUS_ERROR, G_DBUS_ERROR_NO_REPLY)) {
    finish(kNoDataSource, call + " found no data source");
  } else {
    const common::GCharPtr name(g_dbus_error_get_remote_error(error));
    const common::Ptr<GError, g_error_free> bare(g_error_copy(error));
    g_dbus_error_strip_remote_error(bare.get());
    finish(kRefused, call + " was refused: " + name.get() + ": " + bare->message);
  }
}

void Console::removeSession() {
  g_dbus_proxy_set_default_timeout(G_DBUS_PROXY(dataSource_.get()), kRemoveMilliseconds);
  wsdata_streaming1_data_source_call_remove_session(dataSource_.get(), options_.sessionId.c_str(),
                                                    nullptr, onRemoved, this);
}

void Console::onRemoved(GObject* source, GAsyncResult* result, gpointer data) {
  auto* self = static_cast<Console*>(data);
  common::GErrorPtr error;
  if (!wsdata_streaming1_data_source_call_remove_session_finish(
          WSDATA_STREAMING1_DATA_SOURCE(source), result, common::GErrorOut(error))) {
    g_printerr("lumenfeed-console: the session was not removed: %s\n", error->message);
  }
  self->session_ = Session::kRemoved;
  g_main_loop_quit(self->loop_.get());
}

std::string Console::tally() const {
  const std::string came = std::to_string(notifications_);
  return (options_.count != 0 ? came + " of " + std::to_string(options_.count) : came) +
         " notifications came";
}

void Console::endWithin(double seconds, GSourceFunc callback) {
  stopTimer();
  timer_ = g_timeout_add(static_cast<guint>(seconds * 1000), callback, this);
}

void Console::stopTimer() {
  if (timer_ != 0) {
    g_source_remove(timer_);
    timer_ = 0;
  }
}

gboolean Console::onPatienceLost(gpointer data) {
  auto* self = static_cast<Console*>(data);
  const std::string limit = " within " + withUnit(self->options_.wait);
  if (self->session_ == Session::kNone) {
    self->finish(kNoDataSource, dbus_names::kDataSourceBusName + (" did not appear" + limit));
  } else {
    self->finish(kTimedOut, "no answer to the configuration" + limit);
  }
  return G_SOURCE_CONTINUE;
}

gboolean Console::onTimeOver(gpointer data) {
  auto* self = static_cast<Console*>(data);
  // With --count, enough of them would have ended the run before.
  const bool enough = self->options_.count == 0 && self->notifications_ > 0;
  self->finish(enough ? kDone : kTimedOut,
               enough ? "" : self->tally() + " in " + withUnit(self->options_.seconds));
  return G_SOURCE_CONTINUE;
}

gboolean Console::onSignal(gpointer data) {
  auto* self = static_cast<Console*>(data);
  // GLib gives the signals back only after this: a second one must count from the first call on.
  std::signal(SIGINT, SIG_DFL);
  std::signal(SIGTERM, SIG_DFL);
  const bool enough = self->options_.count == 0;
  self->finish(enough ? kDone : kTimedOut, enough ? "" : "interrupted: " + self->tally());
  return G_SOURCE_REMOVE;
}

}  // namespace console
