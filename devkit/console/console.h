// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#pragma once

#include <gio/gio.h>

#include <string>

#include "common/ptr.h"
#include "dbus/generated_ws_event_dbus.h"
#include "devkit/console/exit_status.h"
#include "devkit/console/message_line.h"
#include "devkit/console/options.h"
#include "devkit/console/streaming_service.h"

namespace console {

/// One run: on the bus as the streaming service, a session, a configuration, what comes of it,
/// and the session's removal. Everything happens on the default main context.
class Console {
 public:
  explicit Console(Options options);
  ~Console();
  Console(const Console&) = delete;
  Console& operator=(const Console&) = delete;

  /// Runs to the end; says on standard error why it ended, unless all went well.
  ExitStatus run();

 private:
  bool connect();
  bool appear();
  void createSession();
  void configure();
  void startStreaming();
  bool handleMessage(const Message& message);
  void print(const Message& message);
  /// Ends the run, in order; the first reason counts.
  void finish(ExitStatus status, const std::string& reason = {});
  void finishFailed(const char* method, const GError* error);
  void removeSession();
  void endWithin(double seconds, GSourceFunc callback);
  void stopTimer();
  /// "2 of 5 notifications came"
  std::string tally() const;

  static void onAppeared(GDBusConnection* connection, const char* name, const char* owner,
                         gpointer data);
  static void onVanished(GDBusConnection* connection, const char* name, gpointer data);
  static void onClosed(GDBusConnection* connection, gboolean remotePeer, GError* error,
                       gpointer data);
  static void onCreated(GObject* source, GAsyncResult* result, gpointer data);
  static void onConfigured(GObject* source, GAsyncResult* result, gpointer data);
  static void onRemoved(GObject* source, GAsyncResult* result, gpointer data);
  static gboolean onPatienceLost(gpointer data);
  static gboolean onTimeOver(gpointer data);
  static gboolean onSignal(gpointer data);

  /// Of a session: not asked for yet, asked for, there, gone.
  enum class Session { kNone, kCreating, kOpen, kRemoved };

  const Options options_;
  const common::Ptr<GMainLoop, g_main_loop_unref> loop_;
  common::GObjectPtr<GDBusConnection> connection_;
  StreamingService service_;
  common::GObjectPtr<WSDataStreaming1DataSource> dataSource_;
  Session session_ = Session::kNone;
  bool accepted_ = false;
  bool finished_ = false;
  ExitStatus status_ = kDone;
  unsigned notifications_ = 0;
  guint watch_ = 0;
  guint timer_ = 0;
};

}  // namespace console
